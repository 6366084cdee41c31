// The overlay's placement over a compositor's canonical coordinates.
#include <gtest/gtest.h>

#include "ofx/OverlayView.h"

namespace {

using vesk_ofx::MakeOverlayView;
using vesk_ofx::OverlayView;

TEST(OverlayView, PalFrameWithWidePixelsSpansItsCanonicalWidth) {
    // PAL 720 x 576 at 1.0667 covers 768 canonical units; the effect's frame is 720 pixels wide
    // and its overlay, as a Spark viewer of that ratio shows it, 768 wide.
    const double scale[2] = {1.0, 1.0};
    const OverlayView v = MakeOverlayView(OfxRectD{0, 0, 768, 576}, 1.0667, scale);
    EXPECT_EQ(v.frame_width, 720);
    EXPECT_EQ(v.frame_height, 576);
    EXPECT_EQ(v.overlay_width, 768);
    EXPECT_EQ(v.overlay_height, 576);
    // The viewer's ratio is the pixel aspect, so the bridge's aspect correction is 1: circles
    // stay round.
    EXPECT_FLOAT_EQ(v.aspect_num, 1.0f);
    float x = 0, y = 0;
    v.ToOverlay(0.0, 576.0, &x, &y);   // canonical top-left is the frame's first row
    EXPECT_FLOAT_EQ(x, 0.0f);
    EXPECT_FLOAT_EQ(y, 0.0f);
    v.ToOverlay(384.0, 0.0, &x, &y);   // bottom, halfway across
    EXPECT_FLOAT_EQ(x, 384.0f);
    EXPECT_FLOAT_EQ(y, 576.0f);
}

TEST(OverlayView, OffsetFrameAndViewerScale) {
    // A frame whose region starts at (100, 50): overlay pixel 0 is its left edge and top row.
    const double scale[2] = {0.5, 0.5};   // zoomed in: half a canonical unit per screen pixel
    const OverlayView v = MakeOverlayView(OfxRectD{100, 50, 500, 350}, 1.0, scale);
    float x = 0, y = 0;
    v.ToOverlay(100.0, 350.0, &x, &y);
    EXPECT_FLOAT_EQ(x, 0.0f);
    EXPECT_FLOAT_EQ(y, 0.0f);
    double cx = 0, cy = 0;
    v.ToCanonical(200.0f, 100.0f, &cx, &cy);
    EXPECT_DOUBLE_EQ(cx, 300.0);
    EXPECT_DOUBLE_EQ(cy, 250.0);
    // Two screen pixels per canonical unit: handles sized in screen pixels halve in the overlay.
    EXPECT_FLOAT_EQ(v.zoom, 2.0f);
}

TEST(OverlayView, EmptyRegionGivesNoView) {
    const double scale[2] = {1.0, 1.0};
    EXPECT_FALSE(MakeOverlayView(OfxRectD{0, 0, 0, 0}, 1.0, scale).valid());
    EXPECT_FALSE(MakeOverlayView(OfxRectD{10, 10, 5, 20}, 1.0, scale).valid());
}

}  // namespace
