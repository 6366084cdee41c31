// Every control of the panel at its minimum and at its maximum, with every shape, at frames of a
// few pixels and at odd sizes, at every preview resolution and both depths. The plug-in must draw
// every frame; the suite's sanitizer build turns any memory fault or undefined behaviour on the
// way into a failure.
#include <cfloat>
#include <climits>
#include <cmath>

#include "harness.h"
#include "sparkhost/lib/ValueText.h"

using harness::InProcess;
using sparkhost::Control;
using sparkhost::ControlKind;
using sparkhost::FrameBuffer;

namespace {

const int kResolutionList = 33, kRenderModeList = 59, kVeskSize = 11;

// Every number at one end of its range, every switch on or off, every other list at its first or
// last entry, colours black or white; Render Mode stays "Render" so that the shapes are drawn.
void SetEveryControl(InProcess& p, bool maximum, int veskSize)
{
    sparkhost::Panel& panel = p.plugin.panel();
    for (const Control& c : panel.controls()) {
        std::string value;
        double lo, hi, step;
        if (panel.range(c, &lo, &hi, &step)) value = sparkhost::formatNumber(maximum ? hi : lo);
        else if (c.kind == ControlKind::Boolean) value = maximum ? "1" : "0";
        else if (c.kind == ControlKind::Colour) value = maximum ? "0xFFFFFFFF" : "0xFF000000";
        else if (c.kind == ControlKind::List && c.number != kResolutionList && c.number != kRenderModeList)
            value = maximum ? std::to_string(panel.listEntries(c).size() - 1) : "0";
        if (c.number == kVeskSize && c.kind == ControlKind::Int) value = std::to_string(veskSize);
        std::string error;
        if (!value.empty()) {
            ASSERT_TRUE(panel.setRawValue(c, value, &error)) << error;
        }
    }
}

struct Geometry {
    int width, height;
};

}  // namespace

// One plug-in per depth; the host changes the frame size between frames. Each frame size and
// resolution is drawn with every control at its minimum and then at its maximum, the shape
// turning with both so that every shape meets every resolution at each depth.
TEST(ControlSweep, EveryControlAtBothEndsAtTinyAndOddSizesEveryResolutionAndDepth)
{
    const Geometry sizes[] = {{1, 1}, {2, 2}, {3, 2}, {7, 5}, {33, 19}};
    for (int bits : {8, 12}) {
        InProcess p(1, 1, bits, 4);
        p.loadAndInitialise();
        p.host.setClipProvider([](int clip, int, FrameBuffer& dest) {
            harness::fillPattern(dest, 40u + unsigned(clip));
            return true;
        });
        p.plugin.startRender();
        int frame = 0;
        for (int s = 0; s < 5; ++s)
            for (int resolution = 0; resolution < 9; ++resolution)
                for (bool maximum : {false, true}) {
                    const int shape = (resolution + s + (maximum ? 4 : 0)) % 9;
                    SCOPED_TRACE(std::to_string(sizes[s].width) + "x" + std::to_string(sizes[s].height) +
                                 " " + std::to_string(bits) + "-bit, resolution entry " +
                                 std::to_string(resolution + 1) + ", shape " + std::to_string(shape + 1) +
                                 (maximum ? ", maximum" : ", minimum"));
                    p.host.setFrameSize(sizes[s].width, sizes[s].height);
                    SetEveryControl(p, maximum, maximum ? 60 : 1);
                    p.setRecord("Render Mode", "Render");
                    p.setRecord("33", std::to_string(resolution + 1));
                    p.setRecord("Shape", std::to_string(shape + 1));
                    ASSERT_EQ(p.plugin.renderFrame(++frame), p.host.buffer(1).words());
                }
    }
}

// The largest flock the panel allows, every rule on, at both ends of the frame sizes.
TEST(ControlSweep, LargestFlockWithEveryRuleOn)
{
    for (const Geometry& g : {Geometry{3, 2}, Geometry{33, 19}}) {
        InProcess p(g.width, g.height, 12, 4);
        p.loadAndInitialise();
        p.setRecord("Render Mode", "Render");
        SetEveryControl(p, true, 5000);
        p.plugin.startRender();
        ASSERT_EQ(p.plugin.renderFrame(1), p.host.buffer(1).words());
    }
}

// sparkhost passes only ratios a picture can have: anything else is refused by name, before any
// frame, with exit code 2.
TEST(ControlSweep, SparkhostRefusesPixelAspectsNoPictureHas)
{
    const std::string dir = harness::freshDir("pixel_aspect");
    for (const char* aspect : {"nan", "-nan", "0", "-0", "-1", "inf", "-inf", "1e39", "1e-50", "two", "1.5x"}) {
        SCOPED_TRACE(aspect);
        harness::Outcome r = harness::runSparkhost({"render", harness::vesk(), "--frames", "1", "--size", "16x9",
                                                    "--pixel-aspect", aspect, "-o", dir + "/f.####.png"});
        EXPECT_EQ(r.code, 2);
        EXPECT_TRUE(harness::contains(r.err, "--pixel-aspect")) << r.err;
        EXPECT_TRUE(harness::contains(r.err, "positive number")) << r.err;
        EXPECT_TRUE(harness::isEmptyDir(dir));
    }
    harness::Outcome r = harness::runSparkhost({"render", harness::vesk(), "--frames", "1", "--size", "16x9",
                                                "--pixel-aspect", "0.5", "-o", dir + "/f.####.png"});
    EXPECT_EQ(r.code, 0) << r.err;
}
