// Animation curves: linear between keys, flat outside them, and the host's channel queries.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "spark/spark.h"
#include "sparkhost/lib/Curve.h"
#include "sparkhost/lib/Host.h"

using namespace sparkhost;

TEST(Curve, LinearBetweenKeysFlatOutside) {
    Curve c;
    c.setKey(20, 300.0f);   // keys set out of order are still read in frame order
    c.setKey(1, 0.0f);
    c.setKey(2, 10.0f);
    c.setKey(40, -100.0f);
    const std::pair<double, float> at[] = {
        {-3.5, 0.0f}, {1, 0.0f}, {1.9, 9.0f}, {2, 10.0f},
        {11, 10.0f + 290.0f * 9.0f / 18.0f}, {30, 100.0f},   // half way from 300 to -100
        {39, 300.0f - 400.0f * 19.0f / 20.0f}, {40, -100.0f}, {1000, -100.0f}};
    for (const auto& [frame, value] : at) EXPECT_FLOAT_EQ(c.valueAt(frame), value) << frame;
    // A key set again replaces the old one.
    c.setKey(20, 100.0f);
    EXPECT_FLOAT_EQ(c.valueAt(11), 10.0f + 90.0f * 9.0f / 18.0f);
    EXPECT_EQ(c.size(), 4u);
    // Keys at both ends of int: their span does not fit an int.
    Curve wide;
    wide.setKey(INT_MIN, 0.0f);
    wide.setKey(INT_MAX, 2.0f);
    EXPECT_NEAR(wide.valueAt(0), 1.0f, 1e-6f);
}

TEST(Curve, HostChannelsThroughTheSparkFunctions) {
    Host host;
    host.setEcho(false);
    // Keys set by a plug-in land on the channel they name and nowhere else.
    sparkSetCurveKey(0, 93, 1, 2.0f);
    sparkSetCurveKey(0, 93, 5, 10.0f);
    sparkSetCurveKey(0, 93, 7, INFINITY);   // refused: a channel holds numbers only
    EXPECT_FLOAT_EQ(sparkGetCurveValuef(0, 93, 3.0f), 6.0f);
    EXPECT_FLOAT_EQ(sparkGetCurveValuef(0, 93, 9.0f), 10.0f);
    EXPECT_EQ(host.findCurve(0, 93)->size(), 2u);
    ASSERT_NE(host.findCurve(0, 93), nullptr);
    EXPECT_EQ(host.findCurve(1, 93), nullptr);
    // Without a plug-in's panel a channel with no keys has nothing to answer but 0.
    EXPECT_FLOAT_EQ(sparkGetCurveValuef(1, 93, 3.0f), 0.0f);
}
