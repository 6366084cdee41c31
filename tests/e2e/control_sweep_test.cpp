// Every control of the panel at its minimum and at its maximum, with every shape, at frames of a
// few pixels and at odd sizes, at every preview resolution and both depths. The plug-in must draw
// every frame; the suite's sanitizer build turns any memory fault or undefined behaviour on the
// way into a failure.
#include "harness.h"

using harness::InProcess;
using sparkhost::Control;
using sparkhost::ControlKind;
using sparkhost::FrameBuffer;

namespace {

const int kResolutionList = 33, kRenderModeList = 59, kShapeList = 42, kVeskSize = 11;

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
        if (!value.empty()) ASSERT_TRUE(panel.setRawValue(c, value, &error)) << error;
    }
}

struct Geometry {
    int width, height;
};

}  // namespace

TEST(ControlSweep, EveryControlAtBothEndsAtTinyAndOddSizesEveryResolutionAndDepth)
{
    const Geometry sizes[] = {{1, 1}, {2, 2}, {3, 2}, {7, 5}, {33, 19}};
    for (int bits : {8, 12})
        for (const Geometry& g : sizes)
            for (int resolution = 0; resolution < 9; ++resolution) {
                SCOPED_TRACE(std::to_string(g.width) + "x" + std::to_string(g.height) + " " +
                             std::to_string(bits) + "-bit, resolution entry " + std::to_string(resolution));
                InProcess p(g.width, g.height, bits, 4);
                p.loadAndInitialise();
                std::vector<FrameBuffer> clips(5, FrameBuffer(g.width, g.height, p.host.depthCode()));
                for (unsigned i = 0; i < clips.size(); ++i) harness::fillPattern(clips[i], 40u + i);
                p.host.setClipProvider([&clips](int clip, int, FrameBuffer& dest) {
                    dest = clips[size_t(clip)];
                    return true;
                });
                p.setRecord("Render Mode", "Render");
                p.setRecord("33", std::to_string(resolution + 1));
                p.plugin.startRender();
                for (bool maximum : {false, true})
                    for (int shape = 0; shape < 9; ++shape) {
                        SetEveryControl(p, maximum, maximum ? 60 : 1);
                        std::string error;
                        const Control* list = p.plugin.panel().find(ControlKind::List, kShapeList);
                        ASSERT_TRUE(p.plugin.panel().setRawValue(*list, std::to_string(shape), &error));
                        ASSERT_EQ(p.plugin.renderFrame(1 + shape), p.host.buffer(1).words())
                            << (maximum ? "maximum" : "minimum") << ", shape " << shape;
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
