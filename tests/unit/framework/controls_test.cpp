// Framework controls over host records: value mappings both ways, animation through the host's
// curves, exclusion groups, range locking, hiding, and random frame access.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "Library/Q4Image.h"
#include "framework/ControlQ4.h"
#include "host/HostState.h"
#include "sparkhost/lib/Host.h"

namespace {

SparkFloatStruct floats(float value, float min = 0, float max = 100) {
    SparkFloatStruct r{};
    r.Value = value, r.Min = min, r.Max = max, r.Title = "Label: %.2f";
    return r;
}

class ControlTest : public ::testing::Test {
protected:
    void SetUp() override { host.setEcho(false); }
    std::vector<int> updates_since(size_t start) const {
        const std::vector<int>& all = host.controlUpdates();
        return std::vector<int>(all.begin() + long(start), all.end());
    }
    bool shown(int control) const { return host.parameterEnabled(1, control); }
    sparkhost::Host host;
};

TEST_F(ControlTest, NumbersReadTheCurveOrTheCacheForNowAndSizesAreFractions) {
    SparkIntStruct preroll{40, 1, 1000, 1, 8, "PreRoll: %d", nullptr};
    IntegerControlQ4 i;
    i.Bind(9, &preroll);
    EXPECT_TRUE(i.refresh);
    i.Sync();
    host.curve(1, 9).setKey(10, 7.9f);
    EXPECT_EQ(i.GetValue(10.0), 7);    // truncated
    EXPECT_EQ(i.GetValue(-0.5), 40);   // any negative time is "now"
    i.SetValue(0.0, 1650);             // written as it is, out of range or not
    EXPECT_EQ(preroll.Value, 1650);
    EXPECT_EQ(i.cache, 1650);

    SparkFloatStruct rotation = floats(-45.5f, -360, 360);
    AngleControlQ4 a;
    a.Bind(48, &rotation);
    host.curve(1, 48).setKey(3, 90.25f);
    EXPECT_EQ(a.GetValue(3.0), 90.25);

    // A size reads as a fraction, and "now" is the cached fraction divided once more.
    SparkFloatStruct radius = floats(250.0f, 0, 200);
    SizeControlQ4 size;
    size.Bind(15, &radius);
    host.curve(1, 15).setKey(1, 250.0f);
    EXPECT_DOUBLE_EQ(size.GetValue(1.0), 2.5);
    size.Sync();
    EXPECT_DOUBLE_EQ(size.GetValue(-1.0), 0.025);
    size.SetValue(0.0, 0.25);
    EXPECT_FLOAT_EQ(radius.Value, 25.0f);
    EXPECT_DOUBLE_EQ(size.cache, 0.25);
}

TEST_F(ControlTest, PositionSpansTwoControlsInPercent) {
    SparkFloatStruct x = floats(84, -150, 250), y = floats(84, -150, 250);
    PositionControlQ4 c;
    c.Bind(13, &x, &y);
    c.SetValue(0.0, 0.8, 0.2);
    EXPECT_FLOAT_EQ(x.Value, 80.0f);
    EXPECT_FLOAT_EQ(y.Value, 20.0f);
    EXPECT_EQ(updates_since(0), (std::vector<int>{13, 14}));
    host.curve(1, 13).setKey(5, 40.0f);
    host.curve(1, 14).setKey(5, -120.0f);
    double px = 0, py = 0;
    c.GetValue(5.0, px, py);
    EXPECT_DOUBLE_EQ(px, 0.4);
    EXPECT_DOUBLE_EQ(py, -1.2);
    c.cache_x = 0.5, c.cache_y = 0.25;
    c.Sync();  // leaves the cache alone
    c.GetValue(-1.0, px, py);
    EXPECT_DOUBLE_EQ(px, 0.005);
    EXPECT_DOUBLE_EQ(py, 0.0025);
}

TEST_F(ControlTest, ListsCountFromOneAndTheHostFromZero) {
    SparkPupStruct mode{};
    mode.Value = 1;
    ListControlQ4 c;
    c.Bind(59, &mode);
    c.Sync();
    EXPECT_EQ(c.cache, 2);
    c.SetValue(7.0, 1);
    EXPECT_EQ(mode.Value, 0);
    EXPECT_EQ(c.cache, 1);
    mode.Value = 8;
    EXPECT_EQ(c.GetValue(100.0), 9);
}

TEST_F(ControlTest, CheckboxesUseTheLowByteAndClearTheirGroup) {
    SparkBooleanStruct a{}, b{}, d{};
    a.Value = 0x200, b.Value = 1, d.Value = 1;
    CheckboxGroupQ4 group{};
    group.Add(102, reinterpret_cast<unsigned char*>(&b.Value));
    group.Add(104, reinterpret_cast<unsigned char*>(&d.Value));
    CheckboxControlQ4 c;
    c.Bind(101, &a, &group);
    c.Sync();
    EXPECT_FALSE(c.GetValue(5.0));
    c.SetValue(0.0, false);  // switching off touches no other control
    EXPECT_EQ(b.Value, 1);
    EXPECT_EQ(updates_since(0), std::vector<int>{101});
    c.SetValue(0.0, true);
    EXPECT_EQ(a.Value, 0x201);  // the rest of the word is the host's
    EXPECT_EQ(b.Value, 0);
    EXPECT_EQ(d.Value, 0);
    EXPECT_EQ(updates_since(1), (std::vector<int>{102, 104, 101}));
    EXPECT_TRUE(c.GetValue(-1.0));
}

TEST_F(ControlTest, ColourMapsBytesToTheFifteenBitScale) {
    SparkColorStruct swatch{};
    swatch.Color = 0xFF4080FFul;  // red 0xFF, green 0x80, blue 0x40
    SparkFloatStruct r = floats(0), g = floats(0), b = floats(0);
    ColourControlQ4 c;
    c.Bind(49, &swatch, &r, &g, &b);
    c.Sync();  // the low bits are filled, so 255 reaches 32767
    EXPECT_EQ(c.cache.r, 32767);
    EXPECT_EQ(c.cache.g, 0x80 * 128 + 0x40);
    EXPECT_EQ(c.cache.a, 32767);
    PixelQ4 v(0, 0, 0, 0);
    c.GetValue(12.0, v);  // no fill: 255 reads 32640
    EXPECT_EQ(v.r, 32640);
    EXPECT_EQ(v.g, 0x80 * 128);
    EXPECT_EQ(v.a, 32767);

    c.SetValue(0.0, PixelQ4(32640, 16448, 0, 32640));
    EXPECT_EQ(swatch.Color & 0xFFFFFFFFul, 0xFF0080FFul);
    EXPECT_FLOAT_EQ(r.Value, 100.0f);  // 255 / 2.55
    EXPECT_FLOAT_EQ(g.Value, float(128 / 2.55));
    EXPECT_FLOAT_EQ(b.Value, 0.0f);
    EXPECT_EQ(updates_since(0), (std::vector<int>{50, 51, 52, 49}));
    EXPECT_EQ(c.cache.g, 128 * 128 + 64);  // the cache follows the host
}

TEST_F(ControlTest, FileNamesLoseEveryWhiteSpaceInTheHostTextToo) {
    SparkStringStruct text{};
    std::strcpy(text.Value, " /tmp/my keys\t.txt \n");
    FileControlQ4 c;
    c.Bind(110, &text);
    EXPECT_EQ(c.GetValue(0.0), text.Value);
    EXPECT_STREQ(text.Value, "/tmp/mykeys.txt");
    c.SetValue(0.0, std::string(300, 'x').c_str());
    EXPECT_EQ(std::strlen(text.Value), size_t(SPARK_STRING_LENGTH - 1));
    EXPECT_EQ(updates_since(0), std::vector<int>{117});  // the name field, seven places on
}

TEST_F(ControlTest, DisableLocksRangesToTheValueAndRestoresTheConfiguredOnes) {
    SparkIntStruct preroll{40, 1, 1000, 1, 8, "PreRoll: %d", nullptr};
    IntegerControlQ4 i;
    i.Bind(9, &preroll);
    i.Disable(true);
    EXPECT_EQ(preroll.Min, 40);
    EXPECT_EQ(preroll.Max, 40);
    EXPECT_STREQ(preroll.Title, "PreRoll: %d");  // the host keeps its title
    i.Disable(true);  // no change of state: the host is not told again
    preroll.Value = 77;
    i.Disable(false);
    EXPECT_EQ(preroll.Min, 1);
    EXPECT_EQ(preroll.Max, 1000);
    EXPECT_EQ(updates_since(0), (std::vector<int>{9, 9}));

    SparkFloatStruct x = floats(20, -150, 250), y = floats(15, -150, 250);
    PositionControlQ4 p;
    p.Bind(72, &x, &y);
    p.Disable(true);
    EXPECT_EQ(x.Max * 1000 + y.Min, 20 * 1000 + 15);
    p.Disable(false);
    EXPECT_EQ(x.Min * 1000 + y.Max, -150 * 1000 + 250);

    SparkColorStruct swatch{};
    SparkFloatStruct r = floats(100, 10, 100), g = floats(50), b = floats(0);
    ColourControlQ4 c;
    c.Bind(49, &swatch, &r, &g, &b);
    c.Disable(true);
    EXPECT_EQ(g.Min, 50);
    EXPECT_EQ(g.Max, 50);
    c.Disable(false);  // the sliders go back to 0 to 100, whatever they held before
    EXPECT_EQ(r.Min, 0);
    EXPECT_EQ(b.Max, 100);
    EXPECT_EQ(updates_since(2), (std::vector<int>{72, 73, 72, 73, 49, 49}));

    // Hiding covers every host control of the control.
    p.Hide(true);
    c.Hide(true);
    EXPECT_FALSE(shown(72) || shown(73) || shown(49) || shown(50) || shown(51) || shown(52));
    p.Hide(false);
    EXPECT_TRUE(shown(72) && shown(73) && !shown(49));
}

TEST_F(ControlTest, RandomFrameAccessFetchesTheRoundedFrameOrReportsAMissingBuffer) {
    DLwidth = 4, DLheight = 2, DLscalesr = 1;
    host.setFrameSize(4, 2);
    host.setClipProvider([](int, int frame, sparkhost::FrameBuffer& dest) {
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 4; ++x)
                for (int ch = 0; ch < 3; ++ch) dest.setValue(x, y, ch, unsigned(frame * 10 + ch));
        return true;
    });
    SourceQ4 source;
    source.index = 3;
    ImageQ4 frame(4, 2);
    frame.Fill(9, 9, 9, 9);
    frame.ratio = 1.5;
    ImageQ4* image = &frame;
    source.GetValue(12.0, image);  // no temporary buffer yet
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_EQ(host.messages()[0].text, "Random Frame Access requested via GetValue(), but no temp "
                                       "buf allocated. (DLRandom in .plugin?)\n");
    EXPECT_TRUE(host.frameRequests().empty());
    EXPECT_EQ(frame.rows[1][3].r, 9);

    sparkhost::FrameBuffer temp(4, 2, 24);
    SparkMemBufStruct record{};
    record.Buffer = temp.words();
    source.temp_record = &record;
    source.GetValue(6.5, image);
    EXPECT_EQ(host.frameRequests(), (std::vector<std::pair<int, int>>{{3, 7}}));
    EXPECT_EQ(image, &frame);
    EXPECT_EQ(frame.rows[1][3].r, (70 << 7) | (70 >> 1));
    EXPECT_EQ(frame.rows[1][3].b, (72 << 7) | (72 >> 1));
    EXPECT_EQ(frame.rows[0][0].a, 32767);
    EXPECT_DOUBLE_EQ(frame.ratio, 1.5);
}

}  // namespace
