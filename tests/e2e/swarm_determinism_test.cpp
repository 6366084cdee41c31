// The swarm is a pure function of its controls, its seed and the sequence of restarts and
// frames: the same session replayed after a restart, and the same render in two processes,
// give bit-identical frames.
#include "harness.h"

using harness::InProcess;
using sparkhost::FrameBuffer;

namespace {

bool sameFrame(const FrameBuffer& a, const FrameBuffer& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            for (int c = 0; c < 3; ++c)
                if (a.raw(x, y, c) != b.raw(x, y, c)) return false;
    return true;
}

std::vector<FrameBuffer> renderFrames(InProcess& p, int first, int last) {
    std::vector<FrameBuffer> frames;
    for (int f = first; f <= last; ++f) {
        p.plugin.prepareFrame(f);
        EXPECT_NE(p.plugin.renderFrame(f), nullptr) << "frame " << f;
        frames.push_back(p.host.buffer(1));
    }
    return frames;
}

}  // namespace

TEST(SwarmDeterminism, ARestartReplaysTheSameFramesBitForBit) {
    InProcess p(64, 48, 12, 3);
    p.loadAndInitialise();
    FrameBuffer plate(64, 48, p.host.depthCode());
    harness::fillPattern(plate, 5u);
    p.host.setClipProvider([plate](int clip, int, FrameBuffer& dest) {
        if (clip != 0) return false;
        dest = plate;
        return true;
    });
    p.setRecord("Render Mode", "Render");
    p.setRecord("Vesk Size", "60");
    p.setRecord("Shape", "Five Point Star");
    p.setRecord("Random Colours", "40");
    p.setRecord("Avoid Others", "on");
    p.setRecord("Match Velocity", "on");
    p.plugin.startRender();

    std::vector<FrameBuffer> first = renderFrames(p, 1, 6);
    // With Auto Preview on (its default) the press itself renders: the first step after the
    // restart, which must be frame 1 again; the following frames continue from there.
    std::string error;
    unsigned long* rendered = nullptr;
    ASSERT_TRUE(p.plugin.press("Restart", &error, &rendered)) << error;
    ASSERT_NE(rendered, nullptr);
    std::vector<FrameBuffer> again = {p.host.buffer(1)};
    for (FrameBuffer& f : renderFrames(p, 2, 6)) again.push_back(f);

    ASSERT_EQ(first.size(), again.size());
    for (size_t i = 0; i < first.size(); ++i)
        EXPECT_TRUE(sameFrame(first[i], again[i])) << "frame " << i + 1 << " differs after restart";
    // The frames show a moving swarm over the plate, not the plate alone.
    EXPECT_FALSE(sameFrame(first[0], plate));
    EXPECT_FALSE(sameFrame(first[0], first[5]));

    // Without a restart the swarm simply goes on: the next frame 1 is a later state.
    std::vector<FrameBuffer> later = renderFrames(p, 1, 1);
    EXPECT_FALSE(sameFrame(later[0], first[0]));
}

TEST(SwarmDeterminism, TwoProcessesRenderIdenticalFiles) {
    std::string dir = harness::freshDir("swarm_twice");
    std::vector<std::string> outputs;
    for (const char* name : {"a", "b"}) {
        std::string pattern = dir + "/" + name + ".####.png";
        harness::Outcome run = harness::runSparkhost(
            {"render", harness::vesk(), "--frames", "1-4", "--size", "80x60", "--threads", "2",
             "--set", "Render Mode=Render", "--set", "Vesk Size=40", "--set",
             "Shape=Five Point Star", "--set", "Vesk Gathering=on", "-o", pattern});
        ASSERT_EQ(run.code, 0) << run.err;
        outputs.push_back(dir + "/" + name + ".");
    }
    std::string firstA, lastA;
    for (int f = 1; f <= 4; ++f) {
        char number[8];
        std::snprintf(number, sizeof number, "%04d", f);
        std::string a = harness::readFile(outputs[0] + number + ".png");
        std::string b = harness::readFile(outputs[1] + number + ".png");
        ASSERT_FALSE(a.empty()) << "frame " << f << " missing";
        EXPECT_EQ(a, b) << "frame " << f << " differs between the two processes";
        if (f == 1) firstA = a;
        if (f == 4) lastA = a;
    }
    EXPECT_NE(firstA, lastA);  // the swarm moved between frame 1 and frame 4
}
