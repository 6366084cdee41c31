// Cost of one simulation step (births settled, no drawing: wireframe mode) for swarms of
// 20, 500 and 5000 particles. The neighbour search compares every pair, so the step grows
// with the square of the swarm; the reported complexity puts that on record.
#include <benchmark/benchmark.h>

#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "framework/RandomQ4.h"
#include "host/ControlTable.h"

namespace {

// A swarm of n particles scattered over a 1920 x 1080 frame with every steering rule on.
tagPARTSET* ScatteredSwarm(int n) {
    static bool bound = false;
    if (!bound) {
        BindControls();
        bound = true;
    }
    Vesk& v = Instance;
    tagPARTSET* s = v.set;
    v.part_set_free_all(s);
    s->width = s->width2 = 1920;
    s->height = s->height2 = 1080;
    s->aspect = 1920.0f / 1080.0f;
    s->size = n;
    s->mates = n - 1 < 11 ? (n - 1 > 0 ? n - 1 : 1) : 10;
    s->hunt_food = 1.0f;
    s->food_x = 0.2f;
    s->food_y = 0.15f;
    s->avoid_others = 1;
    s->match_velocity = 1;
    s->gathering = 1;
    s->avoid_predator = 1;
    s->predator_x = 0.5f;
    s->predator_y = 0.5f;
    s->predator_fear = 0.18f;
    s->personal_space = 0.075f;
    s->grouping = 0.45f;
    s->max_speed = 0.02f;
    s->max_accel = 0.01f;
    int seed = 12345;
    for (int i = 0; i < n; ++i) {
        tagPART* p = v.part_alloc(s);
        p->pos.x = randQ4(seed) / 32768.0f;
        p->pos.y = randQ4(seed) / 32768.0f;
        p->speed_k = p->accel_k = p->space_k = 1.0f;
        p->next = s->live_list;
        s->live_list = p;
        s->live_count++;
    }
    return s;
}

void BM_SwarmStep(benchmark::State& state) {
    const int n = (int)state.range(0);
    tagPARTSET* s = ScatteredSwarm(n);
    int frame = 0;
    for (auto _ : state) {
        Instance.part_set_execute(s, frame++);
        benchmark::DoNotOptimize(s->live_list->acc[0]);
    }
    state.SetComplexityN(n);
    state.counters["particles"] = n;
}

}  // namespace

BENCHMARK(BM_SwarmStep)
    ->Arg(20)
    ->Arg(500)
    ->Arg(5000)
    ->Complexity(benchmark::oNSquared)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
