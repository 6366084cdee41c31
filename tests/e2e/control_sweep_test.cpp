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

namespace {

// What a record can hold beyond any range: not-a-number, both infinities, the far ends of the
// number types and values just beside zero.
const float kFloatExtremes[] = {NAN, INFINITY, -INFINITY, 1e30f, -1e30f, FLT_MAX, -FLT_MAX, FLT_TRUE_MIN, -0.0f};
const int kIntExtremes[] = {INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1, -1, 1 << 30};

// A small drawn swarm on a textured plate, with every rule on, so that a value reaches the births,
// the steering, the motion and the drawing.
void StartDrawnSwarm(InProcess& p)
{
    p.loadAndInitialise();
    p.host.setClipProvider([](int clip, int, FrameBuffer& dest) {
        harness::fillPattern(dest, 7u + unsigned(clip));
        return true;
    });
    p.setRecords({"Render Mode=Render", "Vesk Size=40", "Vesk Gathering=1", "Avoid Others=1", "Match Velocity=1",
                  "Hunt Food=1", "Avoid Predator=1", "Living Rotate=1", "PreRoll=3"});
    p.plugin.startRender();
}

// Two frames after the value is stored as a setup stores it, two more after the host's edit
// callback has seen it, as a person's edit does; the record is then put back and the swarm
// restarted for the next value.
template <typename Store, typename Restore>
void DrawWith(InProcess& p, const Control& c, int& frame, Store store, Restore restore)
{
    store();
    for (int i = 0; i < 2; ++i) ASSERT_EQ(p.plugin.renderFrame(++frame), p.host.buffer(1).words());
    store();
    p.plugin.callCallback(c);
    for (int i = 0; i < 2; ++i) ASSERT_EQ(p.plugin.renderFrame(++frame), p.host.buffer(1).words());
    restore();
    p.plugin.callCallback(c);
    std::string error;
    ASSERT_TRUE(p.plugin.press("SparkPush6", &error)) << error;
}

}  // namespace

// Every control in turn holds each value a record can store whatever the panel's range; the
// plug-in draws a frame for each. The sanitizer build turns undefined behaviour on the way (a
// conversion out of range, an overflow, an access outside an image) into a failure.
TEST(ControlSweep, EveryRecordValueOutsideTheRangesOneControlAtATime)
{
    InProcess p(33, 19, 8, 4);
    StartDrawnSwarm(p);
    int frame = 0;
    for (const Control& c : p.plugin.panel().controls()) {
        SCOPED_TRACE(c.record);
        switch (c.kind) {
        case ControlKind::Float:
        case ControlKind::UserFloat: {
            const float saved = c.asFloat()->Value;
            for (float v : kFloatExtremes) {
                SCOPED_TRACE(v);
                DrawWith(p, c, frame, [&] { c.asFloat()->Value = v; }, [&] { c.asFloat()->Value = saved; });
            }
            break;
        }
        case ControlKind::Int:
        case ControlKind::Boolean:
        case ControlKind::List: {
            // The three records start with their int value.
            int* value = static_cast<int*>(c.address);
            const int saved = *value;
            for (int v : kIntExtremes) {
                SCOPED_TRACE(v);
                DrawWith(p, c, frame, [&] { *value = v; }, [&] { *value = saved; });
            }
            break;
        }
        case ControlKind::Colour: {
            const unsigned long saved = c.asColour()->Color;
            DrawWith(p, c, frame, [&] { c.asColour()->Color = ~0ul; }, [&] { c.asColour()->Color = saved; });
            break;
        }
        default: break;
        }
        if (HasFatalFailure()) return;
    }
}

// The pixel aspect ratio the host reports is a float like any other: each value draws a frame.
TEST(ControlSweep, EveryPixelAspectTheHostCanReport)
{
    InProcess p(33, 19, 8, 4);
    StartDrawnSwarm(p);
    int frame = 0;
    for (float aspect : {NAN, INFINITY, -INFINITY, 0.0f, -1.0f, 1e30f, 1e-30f, FLT_TRUE_MIN}) {
        SCOPED_TRACE(aspect);
        p.host.setPixelAspectRatio(aspect);
        for (int i = 0; i < 3; ++i) ASSERT_EQ(p.plugin.renderFrame(++frame), p.host.buffer(1).words());
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
