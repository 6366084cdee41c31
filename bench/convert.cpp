// Host pixel conversion and a band-parallel point operation against memcpy of the same bytes,
// for a 1920x1080 frame, one job.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "Library/Q4Convert.h"
#include "Library/Q4Image.h"
#include "sparkhost/lib/Host.h"

extern int DLnumProc;

namespace {

const int W = 1920, H = 1080;

void BM_Memcpy8BitFrame(benchmark::State& state) {
    std::vector<unsigned char> a(W * H * 3, 7), b(W * H * 3);
    for (auto _ : state) {
        std::memcpy(b.data(), a.data(), a.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)a.size());
}

void BM_Import8(benchmark::State& state) {
    std::vector<unsigned char> host(W * H * 3, 200);
    ImageQ4 img(W, H);
    for (auto _ : state) {
        ConvertFromDLImage8(host.data(), W, H, 1.0, 1, &img, 1);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)host.size());
}

void BM_Export12(benchmark::State& state) {
    std::vector<unsigned short> host(W * H * 3, 0x1230);
    ImageQ4 img(W, H);
    img.Fill(20000, 10000, 5000, 32767);
    for (auto _ : state) {
        ConvertToDLImage12(&img, host.data(), W, H, 1, 0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)host.size() * 2);
}

void BM_MemcpyImage(benchmark::State& state) {
    ImageQ4 a(W, H), b(W, H);
    a.Fill(1, 2, 3, 4);
    for (auto _ : state) {
        std::memcpy(b.pixels, a.pixels, (size_t)W * H * sizeof(PixelQ4));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)W * H * 8);
}

void BM_BlendBack(benchmark::State& state) {
    ImageQ4 a(W, H), b(W, H);
    a.Fill(30000, 2000, 300, 32767);
    b.Fill(1000, 2000, 3000, 0);
    for (auto _ : state) {
        b.BlendBack(0.5f, &a);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * (int64_t)W * H * 8);
}

BENCHMARK(BM_Memcpy8BitFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Import8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Export12)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemcpyImage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlendBack)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    sparkhost::Host host;
    host.setEcho(false);
    host.setProcessors(1);
    DLnumProc = 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
