// Cost of the two rendering passes of a 1920 x 1080 frame, with 40 and with 5000 particles: the
// render pass (each job draws its chunk of particles into its own layer, through the host's fork)
// and the composite pass (the layers laid over the base, by rows). Each is reported beside a
// memcpy of the same image bytes measured in the same run, as a yardstick of memory speed.
#include <benchmark/benchmark.h>

#include <sys/sysinfo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "Library/Q4Image.h"
#include "effect/Lumps.h"
#include "effect/PartRender.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "framework/RandomQ4.h"
#include "sparkhost/lib/Host.h"

extern int DLnumProc;

namespace {

const int kW = 1920, kH = 1080;

// The effect object with its set wired to frame-sized images and a swarm of n particles scattered
// over the frame, sized and coloured as the panel's defaults make them (72 x 57 pixels with
// Random Sizes 60).
struct Scene {
    sparkhost::Host host;
    std::unique_ptr<Vesk> vesk{new Vesk()};
    std::vector<std::unique_ptr<ImageQ4>> images;
    std::vector<tagPART> parts;

    Scene(int n, int shape)
    {
        host.setEcho(false);
        host.setProcessors(get_nprocs());
        DLnumProc = get_nprocs();
        tagPARTSET* s = vesk->set;
        s->width = s->width2 = kW;
        s->height = s->height2 = kH;
        for (int i = 0; i < 4; ++i) s->work[i] = Image();
        s->result = Image();
        s->source2 = Image();
        s->source3 = Image();
        s->result->Fill(12000, 14000, 16000, 32767);
        s->density = 1.0f;
        s->shape = shape;
        s->star_sharpness = 0.5f;
        s->living_rotate = 1;
        vesk->pixel_ratio = vesk->lump_param = 1.0;
        for (int i = 0; i < s->lump_count; ++i) s->lumps[i] = part_lump_create((float)(i + 1), 1, 1);

        parts.assign((size_t)n, tagPART{});
        int seed = 4711;
        for (int i = 0; i < n; ++i) {
            tagPART& p = parts[(size_t)i];
            p.pos.x = (float)randQ4(seed) / 32768.0f;
            p.pos.y = (float)randQ4(seed) / 32768.0f;
            const float f = 1.0f - 0.6f * (float)randQ4(seed) / 32768.0f;
            p.size_cur[0] = std::max(8.0f, 72.0f * f);
            p.size_cur[1] = std::max(8.0f, 57.0f * f);
            p.isize_cur = (int)p.size_cur[0];
            const float angle = (float)randQ4(seed) / 32768.0f * 6.2831853f;
            p.heading[0] = std::cos(angle);
            p.heading[1] = std::sin(angle);
            for (int c = 0; c < 3; ++c) p.colour[c] = (float)randQ4(seed);
            p.next = i + 1 < n ? &parts[(size_t)i + 1] : nullptr;
        }
        s->live_list = n ? &parts[0] : nullptr;
        s->live_count = n;
        vesk->bands = part_render_layers(s, get_nprocs());
        part_set_split_bands(s, vesk->bands, PART_BAND_SLOTS - 1);
    }

    ~Scene()
    {
        tagPARTSET* s = vesk->set;
        for (int i = 0; i < 4; ++i) s->work[i] = nullptr;
        s->result = s->source2 = s->source3 = nullptr;
        s->live_list = nullptr;
        s->live_count = 0;
        for (int i = 0; i < PART_BAND_SLOTS; ++i) s->band_start[i] = nullptr;
    }

    ImageQ4* Image()
    {
        images.emplace_back(new ImageQ4(kW, kH));
        images.back()->Fill(0, 0, 0, 0);
        return images.back().get();
    }

    void ClearLayers()
    {
        for (int i = 0; i < 4; ++i) vesk->set->work[i]->Fill(0, 0, 0, 0);
    }
    void Render()
    {
        vesk->MultiProcess(static_cast<PluginQ4::BandMethod>(&Vesk::mp_PartRender), kH);
    }
    void Composite()
    {
        vesk->MultiProcess(static_cast<PluginQ4::BandMethod>(&Vesk::mp_Composite), kH);
    }
};

const int kStar = 5, kBlob = 0, kColsWithMatte = 6;

void BM_RenderPass(benchmark::State& state)
{
    Scene scene((int)state.range(0), (int)state.range(1));
    for (auto _ : state) {
        state.PauseTiming();
        scene.ClearLayers();
        state.ResumeTiming();
        scene.Render();
    }
    state.SetBytesProcessed((int64_t)state.iterations() * kW * kH * 8);
}

void BM_CompositePass(benchmark::State& state)
{
    Scene scene((int)state.range(0), kStar);
    scene.Render();
    for (auto _ : state) scene.Composite();
    state.SetBytesProcessed((int64_t)state.iterations() * kW * kH * 8);
}

// The yardstick: one frame of PixelQ4 copied with memcpy.
void BM_MemcpyFrame(benchmark::State& state)
{
    std::vector<PixelQ4> a((size_t)kW * kH, PixelQ4(1, 2, 3, 4)), b((size_t)kW * kH);
    for (auto _ : state) {
        std::memcpy(b.data(), a.data(), a.size() * sizeof(PixelQ4));
        benchmark::DoNotOptimize(b.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed((int64_t)state.iterations() * kW * kH * 8);
}

}  // namespace

BENCHMARK(BM_MemcpyFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenderPass)
    ->ArgNames({"particles", "shape"})
    ->Args({40, kStar})
    ->Args({5000, kStar})
    ->Args({40, kBlob})
    ->Args({5000, kBlob})
    // Each texture sprite box-filters a whole clip frame; running row sums of the clips, built once
    // per chunk, make a box cost one step per row.
    ->Args({40, kColsWithMatte})
    ->Args({5000, kColsWithMatte})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_CompositePass)->Arg(40)->Arg(5000)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
