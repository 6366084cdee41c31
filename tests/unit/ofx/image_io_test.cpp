// Eight-bit pictures between the compositor's RGBA images and the effect's packed RGB frames at
// scale 1: every row width the byte copies treat apart (one pixel, the last pixel of a row) and
// a frame large enough to be converted in bands give each pixel's own bytes, rows flipped.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "Library/Q4Convert.h"
#include "Library/Q4Image.h"
#include "ofx/ImageIO.h"

using vesk_ofx::Image;
using vesk_ofx::Placement;

namespace {

Image rgba8(std::vector<uint8_t>& pixels, int w, int h) {
    Image image;
    image.data = pixels.data();
    image.bounds = OfxRectI{0, 0, w, h};
    image.row_bytes = 4 * w;
    image.components = 4;
    image.bytes = 1;
    return image;
}

}  // namespace

TEST(OfxImageIO, EightBitRowsKeepEveryByteAtEveryWidth) {
    std::mt19937 random(7);
    for (int w : {1, 2, 3, 5, 640}) {
        const int h = w == 640 ? 480 : 3;
        std::vector<uint8_t> source((size_t)4 * w * h), output((size_t)4 * w * h, 0xAB);
        for (uint8_t& b : source) b = (uint8_t)random();
        Placement place;
        place.width = w;
        place.height = h;
        const Image in = rgba8(source, w, h);

        // In: the Spark frame's row r is the image's row h - 1 - r, alpha left out.
        std::vector<uint8_t> spark((size_t)3 * w * h + 1, 0xCD);
        vesk_ofx::ImageToSpark(in, place, false, spark.data());
        for (int r = 0; r < h; ++r)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(spark[(size_t)3 * (r * w + x) + c], source[(size_t)4 * ((h - 1 - r) * w + x) + c])
                        << "width " << w << " row " << r << " column " << x;
        EXPECT_EQ(spark.back(), 0xCD) << "written past the frame at width " << w;
        spark.pop_back();

        // Out: another picture's colours with the source's alpha beside them.
        for (uint8_t& b : spark) b = (uint8_t)random();
        const Image out = rgba8(output, w, h);
        vesk_ofx::SparkToImage(spark, &spark, &in, place, false, OfxRectI{0, 0, w, h}, out);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const size_t at = (size_t)4 * (y * w + x);
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(output[at + c], spark[(size_t)3 * ((h - 1 - y) * w + x) + c])
                        << "width " << w << " row " << y << " column " << x;
                ASSERT_EQ(output[at + 3], source[at + 3]) << "alpha at width " << w;
            }
    }
}

// Straight into the effect's working image and back out of it: the values the way through a Spark
// buffer gives, for RGB and RGBA pictures, odd widths (the whole-word reads of the last pixel) and
// a frame converted in bands.
TEST(OfxImageIO, DirectConversionsGiveTheBufferPathsValues) {
    std::mt19937 random(11);
    for (int components : {3, 4})
        for (int w : {1, 5, 641}) {
            const int h = w == 641 ? 300 : 4;
            std::vector<uint8_t> pixels((size_t)components * w * h), alpha((size_t)4 * w * h);
            for (uint8_t& b : pixels) b = (uint8_t)random();
            for (uint8_t& b : alpha) b = (uint8_t)random();
            Image in = rgba8(pixels, w, h);
            in.components = components;
            in.row_bytes = components * w;
            Placement place;
            place.width = w;
            place.height = h;
            ASSERT_TRUE(vesk_ofx::DirectImportable(in, place, false));

            std::vector<uint8_t> spark((size_t)3 * w * h);
            vesk_ofx::ImageToSpark(in, place, false, spark.data());
            ImageQ4 through(w, h), direct(w, h);
            ConvertFromDLImage8(spark.data(), w, h, 1.0, 1, &through, 1);
            ASSERT_TRUE(vesk_ofx::ImportDirect(in, place, &direct));
            for (int y = 0; y < h; ++y)
                ASSERT_EQ(memcmp(through.rows[y], direct.rows[y], sizeof(PixelQ4) * w), 0) << "row " << y << " width " << w;

            // Out, over a source whose alpha the output carries; the working image holds values
            // beyond what eight bits show (saturated on the way out).
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    PixelQ4& p = direct.rows[y][x];
                    p.r = (unsigned short)(random() & 0xFFFF);
                    p.g = (unsigned short)(random() & 0x7FFF);
                    p.b = (unsigned short)(random() & 0xFFFF);
                }
            const Image source = rgba8(alpha, w, h);
            std::vector<uint8_t> want((size_t)4 * w * h), got((size_t)4 * w * h);
            ConvertToDLImage8(&direct, spark.data(), w, h, 1);
            vesk_ofx::SparkToImage(spark, &spark, &source, place, false, OfxRectI{0, 0, w, h}, rgba8(want, w, h));
            ASSERT_TRUE(vesk_ofx::DirectExportable(rgba8(got, w, h), &source, place, false, OfxRectI{0, 0, w, h}));
            ASSERT_TRUE(vesk_ofx::ExportDirect(&direct, place, rgba8(got, w, h), &source));
            EXPECT_EQ(want, got) << components << " components, width " << w;
        }
}
