// The performance goals, side by side in one run: each optimised path against the path it
// replaced (kept as the oracle of the tests), or against a memcpy of the bytes it moves, on one
// thread. Each figure is the best of several repetitions of the thread's processor time, the two
// paths of a goal timed in turn, which keeps the ratios steady on a busy machine. Prints one line per goal: the two times, the ratio, the target, met or not met.
// The memcpy time of one HD image goes to the file named by the first argument, for the frame
// goals that scripts/bench.sh measures through sparkhost; a second argument limits the run to the
// goals it names.
#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "Library/Q4Convert.h"
#include "Library/Q4Image.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "framework/RandomQ4.h"
#include "host/ControlTable.h"
#include "sparkhost/lib/Host.h"
#include "tests/oracle/literal_raster.h"
#include "tests/oracle/literal_steering.h"

extern int DLnumProc;

namespace {

const int kW = 1920, kH = 1080;


double thread_ms()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return (double)t.tv_sec * 1e3 + (double)t.tv_nsec * 1e-6;
}

// Processor time of the calling thread (every goal here runs on one thread), so that other
// work on the machine does not count.
template <typename F>
double best_ms(F f, int reps)
{
    double best = 1e300;
    for (int r = 0; r < reps; ++r) {
        const double t0 = thread_ms();
        f();
        best = std::min(best, thread_ms() - t0);
    }
    return best;
}

// Two paths timed in turn, so that both meet the same conditions of a machine whose speed drifts;
// the best of each over the repetitions.
template <typename A, typename B>
void best_pair_ms(A a, B b, int reps, double* a_ms, double* b_ms)
{
    *a_ms = *b_ms = 1e300;
    for (int r = 0; r < reps; ++r) {
        *a_ms = std::min(*a_ms, best_ms(a, 1));
        *b_ms = std::min(*b_ms, best_ms(b, 1));
    }
}

// A goal met when the ratio is at least (faster) or at most (slower) the target.
void report(const char* goal, const char* what, const char* a_name, double a, const char* b_name,
            double b, bool at_least, double target)
{
    const double ratio = at_least ? a / b : b / a;
    const bool met = at_least ? ratio >= target : ratio <= target;
    std::printf("goal %s %-34s %s %8.3f ms, %s %8.3f ms: %6.2fx (target %s %.2gx): %s\n", goal, what,
                a_name, a, b_name, b, ratio, at_least ? ">=" : "<=", target, met ? "met" : "NOT MET");
}

double memcpy_ms(size_t bytes)
{
    static std::vector<unsigned char> from, to;
    if (from.size() < bytes) {
        from.assign(bytes, 7);
        to.assign(bytes, 0);
    }
    return best_ms([&] { std::memcpy(to.data(), from.data(), bytes); }, 7);
}

// 1. The steering pass over 5000 particles with every neighbour rule, the predator and the food.
void neighbour_goal()
{
    BindControls();
    Vesk& v = Instance;
    tagPARTSET* s = v.set;
    v.part_set_free_all(s);
    s->width = s->width2 = kW;
    s->height = s->height2 = kH;
    s->mates = 10;
    s->hunt_food = 1.0f, s->food_x = 0.2f, s->food_y = 0.15f;
    s->avoid_others = s->match_velocity = s->gathering = s->avoid_predator = 1;
    s->predator_x = s->predator_y = 0.5f, s->predator_fear = 0.18f;
    s->personal_space = 0.075f, s->grouping = 0.45f, s->max_speed = 0.02f, s->max_accel = 0.01f;
    int seed = 12345;
    std::vector<tagPART*> parts;
    for (int i = 0; i < 5000; ++i) {
        tagPART* p = v.part_alloc(s);
        p->pos.x = randQ4(seed) / 32768.0f, p->pos.y = randQ4(seed) / 32768.0f;
        p->vel.x = (randQ4(seed) - 16384) * 1e-6f, p->vel.y = (randQ4(seed) - 16384) * 1e-6f;
        p->speed_k = p->accel_k = p->space_k = 1.0f;
        p->next = s->live_list;
        s->live_list = p;
        s->live_count++;
    }
    for (tagPART* p = s->live_list; p; p = p->next) parts.push_back(p);
    const int n = (int)parts.size();
    std::vector<float> literal_acc;
    double exhaustive, grid;
    best_pair_ms([&] {
        tagF_MATE table[PART_MAX_MATES];
        literal_acc.clear();
        for (int i = 0; i < n; ++i) {
            LiteralNeighbours(parts.data(), n, i, s->mates, table);
            v.calc_accel(table, parts[(size_t)i]);
            literal_acc.push_back(parts[(size_t)i]->acc[0]);
        }
    }, [&] { v.calc_vesk(); }, 5, &exhaustive, &grid);
    int differ = 0;
    for (int i = 0; i < n; ++i) differ += parts[(size_t)i]->acc[0] != literal_acc[(size_t)i];
    if (differ) std::printf("goal 1 accelerations differ from the exhaustive search: %d\n", differ);
    report("1", "steering pass, 5000 particles", "exhaustive", exhaustive, "grid", grid, true, 20);
    v.part_set_free_all(s);
}

// A Vesk whose set draws into frame-sized images of this bench.
struct Frame {
    std::unique_ptr<Vesk> vesk{new Vesk()};
    std::vector<std::unique_ptr<ImageQ4>> images;
    ImageQ4* image()
    {
        images.emplace_back(new ImageQ4(kW, kH));
        images.back()->Fill(9000, 12000, 15000, 32767);
        return images.back().get();
    }
    Frame()
    {
        tagPARTSET* s = vesk->set;
        s->width = s->width2 = kW;
        s->height = s->height2 = kH;
        for (int i = 0; i < 4; ++i) s->work[i] = image();
        s->result = image();
        s->source2 = image();
        s->source3 = image();
        s->density = 1.0f;
        vesk->bands = 4;
    }
    ~Frame()
    {
        tagPARTSET* s = vesk->set;
        for (int i = 0; i < 4; ++i) s->work[i] = nullptr;
        s->result = s->source2 = s->source3 = nullptr;
    }
};

// 2. 5000 five-point stars of the panel's default sizes (72 x 57 with Random Sizes 60), turned.
void polygon_goal()
{
    Frame f;
    std::vector<std::vector<tagPOS>> stars;
    int seed = 4711;
    for (int i = 0; i < 5000; ++i) {
        const float cx = (float)(randQ4(seed) % kW), cy = (float)(randQ4(seed) % kH);
        const float k = 1.0f - 0.6f * (float)randQ4(seed) / 32768.0f;
        const float rx = 36.0f * k, ry = 28.5f * k, turn = (float)randQ4(seed) / 5215.0f;
        std::vector<tagPOS> v;
        for (int j = 0; j < 10; ++j) {
            const float t = turn + 0.6283185f * (float)j, r = j % 2 ? 0.5f : 1.0f;
            v.push_back(tagPOS{cx + rx * r * std::cos(t), cy + ry * r * std::sin(t), 0.0f});
        }
        stars.push_back(v);
    }
    tagPART p{};
    p.colour[0] = 30000, p.colour[1] = 20000, p.colour[2] = 10000;
    std::vector<tagPOS> v(10);
    double literal, runs;
    best_pair_ms([&] {
        for (const auto& star : stars) {
            v = star;
            LiteralConcave(*f.vesk, 10, v.data(), &p, 0);
        }
    }, [&] {
        for (const auto& star : stars) {
            v = star;
            f.vesk->concave_d(10, v.data(), &p, 0);
        }
    }, 5, &literal, &runs);
    report("2", "5000 stars at HD, one thread", "whole mask", literal, "runs", runs, true, 5);
}

// 3. 5000 sprites textured from clips, of the sprite example's sizes (60 x 34 with Random Sizes
// 55), turned: the literal box filter against the summed-area table, built once as in a frame.
void texture_goal()
{
    Frame f;
    Vesk& v = *f.vesk;
    tagPARTSET* s = v.set;
    int seed = 1789;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            s->source2->rows[y][x] = PixelQ4(randQ4(seed), randQ4(seed), randQ4(seed), 32767);
            s->source3->rows[y][x] = PixelQ4(randQ4(seed), 0, 0, 0);
        }
    s->shape = 6;
    s->living_rotate = 0;
    v.pixel_ratio = v.lump_param = 1.0;
    struct Sprite {
        int x, y, w, h;
        float turn;
    };
    std::vector<Sprite> sprites;
    for (int i = 0; i < 5000; ++i) {
        const float k = 1.0f - 0.55f * (float)randQ4(seed) / 32768.0f;
        sprites.push_back({randQ4(seed) % kW, randQ4(seed) % kH, (int)(60.0f * k + 0.5f),
                           (int)(34.0f * k + 0.5f), (float)(randQ4(seed) % 360)});
    }
    tagPART p{};
    p.colour[0] = 30000, p.colour[1] = 20000, p.colour[2] = 10000;
    auto draw_all = [&](int band) {
        for (const Sprite& t : sprites) {
            s->base_rotation = t.turn;
            v.draw_texture(t.x, t.y, t.w, t.h, 0, kH - 1, &p, band);
        }
    };
    for (int i = 0; i < 2; ++i) s->work[i]->Fill(0, 0, 0, 0);
    const double literal = best_ms([&] {
        v.texture_sums.ready = false;
        draw_all(0);
    }, 1);
    const double table = best_ms([&] {
        v.build_texture_sums();
        draw_all(1);
    }, 3);
    // The literal path drew once, the table three times over the same layer: compare one pass.
    s->work[1]->Fill(0, 0, 0, 0);
    v.build_texture_sums();
    draw_all(1);
    if (std::memcmp(s->work[0]->pixels, s->work[1]->pixels, sizeof(PixelQ4) * kW * kH) != 0)
        std::printf("goal 3 the summed-area sprites differ from the literal filter\n");
    report("3", "5000 textured sprites at HD", "box scan", literal, "table", table, true, 10);
}

// 4. The per-pixel passes of a frame on one thread against a memcpy of the bytes each reads and
// writes.
void pass_goals()
{
    const size_t px = (size_t)kW * kH;
    Frame f;
    std::vector<unsigned char> host8(px * 3, 200);
    std::vector<unsigned short> host12(px * 3, 0x9ab0);
    ImageQ4* a = f.vesk->set->result;
    ImageQ4* b = f.vesk->set->source2;
    auto pass = [&](const char* name, size_t bytes, auto&& run) {
        const double t = best_ms(run, 7);
        report("4", name, "memcpy", memcpy_ms(bytes), "pass", t, false, 2);
    };
    pass("import 8-bit", px * 11, [&] { ConvertFromDLImage8(host8.data(), kW, kH, 1.0, 1, a, 1); });
    pass("import 12-bit", px * 14, [&] { ConvertFromDLImage12(host12.data(), kW, kH, 1.0, 1, a, 1); });
    // At 1/2 every other host row is read whole (samples lie closer than a cache line), and a
    // quarter of the pixels written.
    pass("import 12-bit at 1/2", px * 6 / 2 + px * 8 / 4, [&] { ConvertFromDLImage12(host12.data(), kW, kH, 1.0, 2, b, 1); });
    pass("export 8-bit", px * 11, [&] { ConvertToDLImage8(a, host8.data(), kW, kH, 1); });
    pass("export 12-bit", px * 20, [&] { ConvertToDLImage12(a, host12.data(), kW, kH, 1, 0); });
    pass("copy of the background", px * 16, [&] { a->CopyValues(b, 1.0f, 1.0f, 1.0f, 1.0f); });
    Vesk& v = *f.vesk;
    // Every pixel of the four layers drawn: the most the clear and the composite can have to do.
    auto draw_all_layers = [&] {
        for (int i = 0; i < 4; ++i) {
            v.layers[i] = v.set->work[i];
            v.layer_cols[i].assign(2 * (size_t)kH, 0);
            v.mark_layer_area(i, 0, kH - 1, 0, kW - 1);
        }
    };
    pass("clear of four drawn layers", px * 32, [&] {
        draw_all_layers();
        v.mp_clear_layers(0, kH - 1);
    });
    draw_all_layers();
    for (int i = 0; i < 4; ++i) v.set->work[i]->Fill(3000, 2000, 1000, 9000);
    pass("composite of four drawn layers", px * 48, [&] { v.mp_Composite(0, kH - 1); });
    for (int i = 0; i < 4; ++i) v.layers[i] = nullptr;
    pass("blend", px * 24, [&] { a->InBlend(0.3f, b); });
    pass("alpha copy", px * 24, [&] { a->CopyAlpha(b); });
}

}  // namespace

int main(int argc, char** argv)
{
    sparkhost::Host host;
    host.setEcho(false);
    host.setProcessors(1);
    DLnumProc = 1;
    const double hd = memcpy_ms((size_t)kW * kH * 8);
    std::printf("memcpy of one HD 16-bit RGBA image: %.3f ms\n", hd);
    if (argc > 1) {
        if (FILE* out = std::fopen(argv[1], "w")) {
            std::fprintf(out, "%.6f\n", hd);
            std::fclose(out);
        }
    }
    // A second argument picks goals by number ("1", "24"); all of them otherwise.
    auto chosen = [&](char goal) { return argc < 3 || std::strchr(argv[2], goal) != nullptr; };
    if (chosen('1')) neighbour_goal();
    if (chosen('2')) polygon_goal();
    if (chosen('3')) texture_goal();
    if (chosen('4')) pass_goals();
    return 0;
}
