// Soak run: 10,000 frames of a 64x36 flock with every steering rule on, born from a birth matte,
// kept out of an obstacle by an avoid matte and drawn as clip-textured sprites, rendered by the
// plug-in in sparkhost's host and written to an image file every frame. The flock restarts every
// 500 frames so that particles are freed and born again throughout. The resident memory at frame
// 1,000 and at the last frame must agree within 5 %.
//
//   vesk_soak [FRAMES] [OUTPUT]      defaults: 10000 out/bench/soak.png
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Plugin.h"

using namespace sparkhost;

namespace {

const int kWidth = 64, kHeight = 36, kRestartEvery = 500, kFirstLook = 1000;

long residentKiB()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word)
        if (word == "VmRSS:") {
            long kib = 0;
            status >> kib;
            return kib;
        }
    return 0;
}

// Clip images: 1 a gradient plate, 2 a coloured texture, 3 a round texture matte, 4 a birth
// matte white in the left third, 5 an avoid matte white but for a block in the middle.
FrameBuffer clipImage(int clip)
{
    FrameBuffer f(kWidth, kHeight, kDepth8);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 3; ++c) {
                unsigned v = 0;
                const int dx = x - kWidth / 2, dy = y - kHeight / 2;
                switch (clip) {
                case 0: v = unsigned(x * 3 + y * 2 + c * 20); break;
                case 1: v = unsigned((x * 37 + y * 11 + c * 85) % 256); break;
                case 2: v = dx * dx * 4 + dy * dy * 9 < 900 ? 255 : 0; break;
                case 3: v = x < kWidth / 3 ? 255 : 0; break;
                default: v = (dx > -6 && dx < 6 && dy > -5 && dy < 5) ? 0 : 255; break;
                }
                f.setValue(x, y, c, v);
            }
    return f;
}

bool set(Plugin& plugin, const char* name, const char* value)
{
    std::string error;
    if (plugin.setControl(name, value, &error)) return true;
    std::fprintf(stderr, "soak: %s\n", error.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::atoi(argv[1]) : 10000;
    const std::string output = argc > 2 ? argv[2] : "out/bench/soak.png";
    Host host;
    host.setEcho(false);
    host.setFrameSize(kWidth, kHeight);
    host.setBitDepth(8);
    host.setProcessors(4);
    std::vector<FrameBuffer> clips;
    for (int clip = 0; clip < 5; ++clip) clips.push_back(clipImage(clip));
    host.setClipProvider([&clips](int clip, int, FrameBuffer& destination) {
        destination = clips[size_t(clip)];
        return true;
    });
    Plugin plugin(host);
    std::string error;
    if (!plugin.load(VESK_PLUGIN_PATH, &error)) {
        std::fprintf(stderr, "soak: %s\n", error.c_str());
        return 2;
    }
    plugin.initialise();
    // Edits before the first frame, as the command line makes them: no preview is drawn.
    host.setBuffersReady(false);
    const char* settings[][2] = {
        {"Render Mode", "Render"},      {"Vesk Size", "120"},          {"Shape", "Cols with Matte"},
        {"Shape Width", "12"},          {"Shape Height", "8"},         {"Living Rotate", "on"},
        {"Random Colours", "40"},       {"Use Birth Matte", "on"},     {"Use Avoid Matte", "on"},
        {"Match Velocity", "on"},       {"Avoid Others", "on"},        {"Vesk Gathering", "on"},
        {"Avoid Predator", "on"},       {"Hunt Food", "on"},           {"Predator X", "60"},
        {"Predator Y", "40"},           {"Birth X", "15"},             {"Birth Y", "50"},
        {"Birth Radius", "20"}};
    for (const auto& s : settings)
        if (!set(plugin, s[0], s[1])) return 2;
    // The food goes round the frame by keys on its two channels, once between restarts.
    const float foodX[] = {20, 80, 80, 20, 20}, foodY[] = {20, 20, 80, 80, 20};
    for (int k = 0; k < 5; ++k) {
        host.curve(1, 72).setKey(k * kRestartEvery / 4, foodX[k]);
        host.curve(1, 73).setKey(k * kRestartEvery / 4, foodY[k]);
    }
    plugin.startRender();

    long firstLook = 0, lastLook = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int frame = 1; frame <= frames; ++frame) {
        if (frame % kRestartEvery == 1 && frame > 1 && !plugin.press("Restart", &error)) {
            std::fprintf(stderr, "soak: %s\n", error.c_str());
            return 2;
        }
        unsigned long* result = plugin.renderFrame(frame % kRestartEvery);
        if (result != host.buffer(kOutputBuffer).words()) {
            std::fprintf(stderr, "soak: the plug-in rendered nothing for frame %d\n", frame);
            return 1;
        }
        if (!writeImage(output, host.buffer(kOutputBuffer), &error)) {
            std::fprintf(stderr, "soak: %s\n", error.c_str());
            return 1;
        }
        if (frame == kFirstLook) firstLook = residentKiB();
        if (frame == frames) lastLook = residentKiB();
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double growth = firstLook > 0 ? 100.0 * double(lastLook - firstLook) / double(firstLook) : 0.0;
    const bool met = firstLook > 0 && growth <= 5.0 && growth >= -5.0;
    std::printf("soak: %d frames of %dx%d in %.1f s (%.0f frames/s); resident memory %ld KiB at frame "
                "%d, %ld KiB at frame %d: %+.2f %% (target: within 5 %%): %s\n",
                frames, kWidth, kHeight, seconds, frames / seconds, firstLook, kFirstLook, lastLook,
                frames, growth, met ? "met" : "not met");
    return met ? 0 : 1;
}
