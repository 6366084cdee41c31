// The swarm is a pure function of its controls, its seed and the sequence of restarts and
// frames: for every shape, at both depths and at full and half resolution, a session replayed
// after a restart gives the same frames, and two processes write byte-identical files.
#include "harness.h"

using harness::InProcess;
using sparkhost::FrameBuffer;

namespace {

const char* const kShapes[9] = {"Blob", "Rectangle", "Triangle", "Diamond", "Four Point Star",
                                "Five Point Star", "Cols with Matte", "Matte over Cols",
                                "Colour in Matte"};

}  // namespace

// With Auto Preview on (its default) the Restart press itself renders the first step after the
// restart, which must be frame 1 again; the following frames continue from there. Without a
// restart the swarm goes on: frame 1 rendered again is a later state.
TEST(SwarmDeterminism, ARestartReplaysTheSameFramesForEveryShapeDepthAndResolution)
{
    for (int bits : {8, 12})
        for (bool half : {false, true})
            for (const char* shape : kShapes) {
                SCOPED_TRACE(std::to_string(bits) + "-bit " + shape + (half ? " half" : " full"));
                InProcess p(96, 72, bits, 2);
                p.loadAndInitialise();
                FrameBuffer plate(96, 72, p.host.depthCode()), colour = plate, matte = plate;
                harness::fillPattern(plate, 11u);
                harness::fillPattern(colour, 12u);
                harness::fillPattern(matte, 13u);
                const FrameBuffer clips[3] = {plate, colour, matte};
                p.host.setClipProvider([clips](int clip, int, FrameBuffer& dest) {
                    if (clip > 2) return false;
                    dest = clips[clip];
                    return true;
                });
                p.setRecords({"Render Mode=Render", "Vesk Size=25", "Shape Width=24",
                                        "Shape Height=18", "Living Rotate=on", "Random Colours=50",
                                        "Avoid Others=on", "Match Velocity=on"});
                p.setRecord("Shape", shape);
                if (half) p.setRecord("33", "1/2");
                p.plugin.startRender();
                std::vector<FrameBuffer> first;
                for (int f = 1; f <= 3; ++f) {
                    ASSERT_NE(p.plugin.renderFrame(f), nullptr);
                    first.push_back(p.host.buffer(1));
                }
                EXPECT_FALSE(first[2].samePixels(plate)) << "nothing was drawn";
                EXPECT_FALSE(first[2].samePixels(first[0])) << "the swarm did not move";
                std::string error;
                unsigned long* rendered = nullptr;
                ASSERT_TRUE(p.plugin.press("Restart", &error, &rendered)) << error;
                ASSERT_NE(rendered, nullptr);
                EXPECT_TRUE(p.host.buffer(1).samePixels(first[0])) << "frame 1";
                for (int f = 2; f <= 3; ++f) {
                    ASSERT_NE(p.plugin.renderFrame(f), nullptr);
                    EXPECT_TRUE(p.host.buffer(1).samePixels(first[(size_t)f - 1])) << "frame " << f;
                }
                ASSERT_NE(p.plugin.renderFrame(1), nullptr);
                EXPECT_FALSE(p.host.buffer(1).samePixels(first[0])) << "frame 1 without a restart";
            }
}

TEST(SwarmDeterminism, TwoProcessesWriteIdenticalFilesForEveryShape)
{
    const std::string dir = harness::freshDir("swarm_twice");
    for (const char* shape : kShapes) {
        std::string bytes[2];
        for (int run = 0; run < 2; ++run) {
            const std::string out = dir + "/r" + std::to_string(run) + ".####.png";
            harness::Run r = harness::runSparkhost(
                {"render", harness::vesk(), "--frames", "3", "--size", "120x90", "--threads", "2",
                 "--set", "Render Mode=Render", "--set", "Vesk Size=30", "--set",
                 std::string("Shape=") + shape, "--set", "Living Rotate=on", "--set",
                 "Vesk Gathering=on", "-o", out});
            ASSERT_EQ(r.code, 0) << r.err;
            bytes[run] = harness::readFile(dir + "/r" + std::to_string(run) + ".0003.png");
        }
        ASSERT_FALSE(bytes[0].empty()) << shape;
        EXPECT_EQ(bytes[0], bytes[1]) << shape;
    }
}
