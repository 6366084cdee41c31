// Chunking of the particle list into layers, the render pass's choice of layer per job, the
// per-particle dispatch by shape, and the composite arithmetic.
#include "effect/PartRender.h"
#include "render_fixture.h"

extern int DLnumProc;

namespace {

// A live list of n particles, newest first, as the particle set keeps it.
struct LiveList {
    explicit LiveList(tagPARTSET* s, int n) : set(s), parts((size_t)n)
    {
        for (int i = 0; i < n; ++i) parts[(size_t)i].next = i + 1 < n ? &parts[(size_t)i + 1] : nullptr;
        set->live_list = n ? &parts[0] : nullptr;
        set->live_count = n;
    }
    std::vector<int> ChunkSizes(int chunks) const
    {
        std::vector<int> sizes((size_t)chunks, 0);
        for (int b = 0; b < chunks; ++b)
            for (tagPART* p = set->band_start[b]; p && p != set->band_start[b + 1]; p = p->next) ++sizes[(size_t)b];
        return sizes;
    }
    tagPARTSET* set;
    std::vector<tagPART> parts;
};

struct ProcCount {
    explicit ProcCount(int n) : saved(DLnumProc) { DLnumProc = n; }
    ~ProcCount() { DLnumProc = saved; }
    int saved;
};

}  // namespace

using ChunkTest = RenderTest;

// The first chunk holds per = count / layers particles and every later chunk per + 1, the last
// the rest; with fewer particles than layers everything stays in chunk 0 and stale heads clear.
TEST_F(ChunkTest, UnevenSplitOfTheParticleList)
{
    const struct {
        int count, layers;
        std::vector<int> sizes;
    } cases[] = {{10, 4, {2, 3, 3, 2}}, {9, 4, {2, 3, 3, 1}}, {7, 2, {3, 4}}, {3, 4, {3, 0, 0, 0}}};
    for (const auto& c : cases) {
        LiveList l(vesk->set, c.count);
        vesk->set->band_start[2] = &l.parts[1];
        part_set_split_bands(vesk->set, c.layers, 4);
        EXPECT_EQ(l.ChunkSizes(c.layers), c.sizes) << c.count << " on " << c.layers;
        EXPECT_EQ(vesk->set->band_start[0], &l.parts[0]);
        EXPECT_EQ(vesk->set->band_start[c.layers], nullptr);
    }
    // One layer per processor, at most four; one for per-particle clip time.
    EXPECT_EQ(part_render_layers(vesk->set, 2), 2);
    EXPECT_EQ(part_render_layers(vesk->set, 16), 4);
    vesk->set->single_band = 1;
    EXPECT_EQ(part_render_layers(vesk->set, 16), 1);
}

using RenderPassTest = RenderTest;

namespace {

// Particle i of the list drawn as a 4 x 4 rectangle centred at (3 + 6i, 8) in a frame of this
// width; the rectangle's one-pixel offset puts it at (4 + 6i, 9), half-extent 2.5: supersamples
// 12 + 48i .. 51 + 48i across and 52..91 down, pixels 1 + 6i .. 4 + 6i x 6..9.
void Place(LiveList& l, int width = 32)
{
    for (size_t i = 0; i < l.parts.size(); ++i) {
        tagPART& p = l.parts[i];
        p.pos.x = (float)(3 + 6 * (int)i) / (float)width;
        p.pos.y = 8.0f / 24.0f;
        p.size_cur[0] = p.size_cur[1] = 4.0f;
        p.colour[0] = p.colour[1] = p.colour[2] = 30000.0f;
    }
}

bool Drawn(const ImageQ4* img, int i) { return img->rows[8][3 + 6 * i].a != 0; }

}  // namespace

// Jobs get bands of height / jobs rows; the job index picks the chunk and its layer. Jobs beyond
// the layer count find an empty chunk; the last job takes the remainder rows and still draws the
// last chunk; with fewer rows than jobs the one job holding rows draws every chunk.
TEST_F(RenderPassTest, EachJobDrawsItsChunkIntoItsLayer)
{
    ProcCount procs(2);
    vesk->bands = 2;
    LiveList l(vesk->set, 4);
    Place(l);
    part_set_split_bands(vesk->set, 2, 2);
    vesk->mp_PartRender(12, 23);  // job 1 of 2 over 24 rows
    EXPECT_TRUE(IsClear(layer(0)));
    EXPECT_TRUE(!Drawn(layer(1), 1) && Drawn(layer(1), 2) && Drawn(layer(1), 3));
    vesk->mp_PartRender(0, 11);
    EXPECT_TRUE(Drawn(layer(0), 0) && Drawn(layer(0), 1) && !Drawn(layer(0), 2));
    for (int x = 0; x <= 5; ++x)
        for (int y = 5; y <= 10; ++y) {
            const bool in = x >= 1 && x <= 4 && y >= 6 && y <= 9;
            EXPECT_EQ(layer(0)->rows[y][x].a, in ? 32767 : 0) << x << "," << y;
        }

    Wire(64, 27);
    ProcCount four(4);
    vesk->bands = 2;
    LiveList ten(vesk->set, 10);
    Place(ten, 64);
    part_set_split_bands(vesk->set, 2, 4);
    vesk->mp_PartRender(12, 17);  // job 2: band clamped to 2, whose head is null
    vesk->mp_PartRender(18, 26);  // job 3
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(IsClear(layer(i))) << i;

    vesk->bands = 4;
    part_set_split_bands(vesk->set, 4, 4);  // chunks of 2, 3, 3, 2
    vesk->mp_PartRender(18, 26);            // job 3 of 4: bands of 6 rows, 9 for the last
    EXPECT_TRUE(Drawn(layer(3), 8) && Drawn(layer(3), 9) && !Drawn(layer(3), 7));
    EXPECT_TRUE(IsClear(layer(2)));

    Wire(64, 27);
    vesk->bands = 4;
    ProcCount many(64);
    vesk->mp_PartRender(0, -1);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(IsClear(layer(i))) << i;
    vesk->mp_PartRender(0, 26);
    EXPECT_TRUE(Drawn(layer(0), 1) && Drawn(layer(2), 5) && Drawn(layer(3), 9) && !Drawn(layer(0), 9));
}

// Sizes round (7.6 -> 8, 7.4 -> 7), positions are width * x + 0.5 truncated; the triangle has no
// offset; a blob takes the lump of index isize_cur (radius 2, centre 257); a lump index outside
// the table and an unknown shape draw nothing.
TEST_F(RenderPassTest, DispatchByShape)
{
    tagPART p = Particle(20000, 20000, 20000);
    p.pos = tagPOS{12.0f / 32.0f, 12.0f / 24.0f, 0.0f};
    p.size_cur[0] = 7.6f, p.size_cur[1] = 7.4f, p.isize_cur = 1;
    vesk->set->shape = 2;
    const float c[3] = {20000, 20000, 20000};
    auto want = ReferenceLayer({{18, 12}, {10, 15}, {10, 9}}, c, layer());
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    ExpectLayer(layer(), want);

    Wire(kW, kH);
    vesk->set->shape = 0;
    vesk->set->lumps[1] = part_lump_create(2.0f, 1.0f, 1.0f);
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    const int v = (20000 * 32894) >> 15;
    ExpectPixel(layer(), 12, 12, v, v, v, 32767);
    ExpectPixel(layer(), 14, 12, 0, 0, 0, 0);
    part_lump_destroy(vesk->set->lumps[1]);
    vesk->set->lumps[1] = nullptr;

    Wire(kW, kH);
    vesk->set->shape = 0;
    p.isize_cur = 1000;
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    vesk->set->shape = 9;
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    EXPECT_TRUE(IsClear(layer()));
}

using CompositeTest = RenderTest;

// Base (20000, 10000, 6000, 32767). Each layer lays its pixel P over what lies beneath:
// v = P + ((v * (32767 - P.alpha)) >> 15), clamped at the end. An opaque layer leaves its own
// colour; an empty one shrinks a value by 1/32768 (32767 -> 32766).
TEST_F(CompositeTest, PremultipliedOverInLayerOrder)
{
    ImageQ4* out = vesk->set->result;
    FillImage(out, PixelQ4(20000, 10000, 6000, 32767));
    out->rows[0][0] = PixelQ4(32767, 1, 0, 32767);
    out->rows[4][4] = PixelQ4(32767, 0, 0, 32767);
    layer(0)->rows[1][1] = PixelQ4(3000, 2000, 1000, 32767);
    layer(0)->rows[2][2] = PixelQ4(8000, 8000, 8000, 16384);
    layer(0)->rows[4][4] = PixelQ4(30000, 0, 0, 0);  // colour above alpha: the sum is clamped
    vesk->bands = 1;
    vesk->mp_Composite(0, 4);
    ExpectPixel(out, 0, 0, 32766, 0, 0, 32766);
    ExpectPixel(out, 1, 1, 3000, 2000, 1000, 32767);
    const int k = 32767 - 16384;
    ExpectPixel(out, 2, 2, 8000 + ((20000 * k) >> 15), 8000 + ((10000 * k) >> 15), 8000 + ((6000 * k) >> 15),
                16384 + ((32767 * k) >> 15));
    ExpectPixel(out, 4, 4, 32767, 0, 0, 32766);

    // Layer 1 over layer 0, two layers in use; rows outside the band are left alone.
    FillImage(out, PixelQ4(20000, 10000, 6000, 32767));
    layer(0)->rows[3][3] = PixelQ4(3000, 2000, 1000, 32767);
    layer(1)->rows[3][3] = PixelQ4(16000, 0, 0, 16384);
    vesk->bands = 2;
    vesk->mp_Composite(3, 9);
    ExpectPixel(out, 3, 3, 16000 + ((3000 * k) >> 15), (2000 * k) >> 15, (1000 * k) >> 15,
                16384 + ((32767 * k) >> 15));
    ExpectPixel(out, 9, 9, 19998, 9998, 5998, 32765);
    ExpectPixel(out, 9, 10, 20000, 10000, 6000, 32767);
    // Four empty layers over 32767: 32766, 32765, 32764, 32763.
    FillImage(out, PixelQ4(32767, 0, 0, 32767));
    vesk->bands = 4;
    vesk->mp_Composite(5, 5);
    ExpectPixel(out, 5, 5, 32763, 0, 0, 32763);
}

// A chunk of several texture particles filters through running row sums of the clips; the
// sprites must come out exactly as when every box is summed pixel by pixel.
TEST_F(RenderPassTest, TextureChunksMatchThePixelByPixelFilter)
{
    ProcCount procs(1);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            vesk->set->source2->rows[y][x] = PixelQ4(x * 1013 % 32768, y * 1361, x * y * 97 % 32768, 0),
            vesk->set->source3->rows[y][x] = PixelQ4((x * 7 + y * 13) * 211 % 32768, 0, 0, 0);
    const float at[3][4] = {{0.3f, 0.4f, 6.2f, 5.0f}, {0.05f, 0.9f, 9.0f, 4.4f}, {0.7f, 0.2f, 3.6f, 7.0f}};
    vesk->set->base_rotation = 25.0f;
    for (int mode = 6; mode <= 8; ++mode) {
        layer()->Fill(0, 0, 0, 0);
        vesk->set->shape = mode;
        LiveList l(vesk->set, 3);
        for (int i = 0; i < 3; ++i) {
            tagPART& p = l.parts[(size_t)i];
            p.pos = tagPOS{at[i][0], at[i][1], 0.0f};
            p.size_cur[0] = at[i][2], p.size_cur[1] = at[i][3], p.colour[0] = 21000.0f;
        }
        part_set_split_bands(vesk->set, 1, 1);
        vesk->mp_PartRender(0, kH - 1);
        std::vector<PixelQ4> chunk(layer()->pixels, layer()->pixels + kW * kH);
        EXPECT_FALSE(IsClear(layer()));
        layer()->Fill(0, 0, 0, 0);
        for (tagPART& p : l.parts) vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
        ExpectLayer(layer(), chunk);
    }
}
