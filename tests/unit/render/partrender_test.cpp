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
        std::vector<int> sizes;
        for (int b = 0; b < chunks; ++b) {
            int count = 0;
            for (tagPART* p = set->band_start[b]; p && p != set->band_start[b + 1]; p = p->next) ++count;
            sizes.push_back(count);
        }
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

// The first chunk holds per = count / layers particles and every later chunk per + 1.
TEST_F(ChunkTest, UnevenSplitOfTheParticleList)
{
    {
        LiveList l(vesk->set, 10);
        EXPECT_EQ(part_set_split_bands(vesk->set, 4, 4), 4);
        EXPECT_EQ(l.ChunkSizes(4), (std::vector<int>{2, 3, 3, 2}));
        EXPECT_EQ(vesk->set->band_start[0], &l.parts[0]);
        EXPECT_EQ(vesk->set->band_start[1], &l.parts[2]);
        EXPECT_EQ(vesk->set->band_start[4], nullptr);
    }
    {
        LiveList l(vesk->set, 9);
        part_set_split_bands(vesk->set, 4, 4);
        EXPECT_EQ(l.ChunkSizes(4), (std::vector<int>{2, 3, 3, 1}));
    }
    {
        LiveList l(vesk->set, 7);
        part_set_split_bands(vesk->set, 2, 2);
        EXPECT_EQ(l.ChunkSizes(2), (std::vector<int>{3, 4}));
    }
    {
        // Fewer particles than layers: everything stays in chunk 0; stale heads are cleared.
        LiveList l(vesk->set, 3);
        vesk->set->band_start[2] = &l.parts[1];
        EXPECT_EQ(part_set_split_bands(vesk->set, 4, 4), 1);
        EXPECT_EQ(l.ChunkSizes(4), (std::vector<int>{3, 0, 0, 0}));
        for (int i = 1; i <= 4; ++i) EXPECT_EQ(vesk->set->band_start[i], nullptr);
    }
    // One layer per processor, at most four; one for per-particle clip time.
    EXPECT_EQ(part_render_layers(vesk->set, 2), 2);
    EXPECT_EQ(part_render_layers(vesk->set, 16), 4);
    vesk->set->single_band = 1;
    EXPECT_EQ(part_render_layers(vesk->set, 16), 1);
}

using RenderPassTest = RenderTest;

namespace {

// Particle i of the list drawn as a 4 x 4 rectangle at its own place in a frame of this width.
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

// Pixel of the rectangle of particle i: centre (3 + 6i, 8) plus one, half-extent 2.5, so
// supersamples 12 + 48i .. 51 + 48i across, four full blocks from pixel (12 + 48i) / 8 = 1 + 6i.
bool Drawn(const ImageQ4* img, int i) { return img->rows[8][3 + 6 * i].a != 0; }

}  // namespace

// Jobs get bands of height / jobs rows; the job index picks the chunk and its layer.
TEST_F(RenderPassTest, EachJobDrawsItsChunkIntoItsLayer)
{
    ProcCount procs(2);
    vesk->bands = 2;
    LiveList l(vesk->set, 4);
    Place(l);
    part_set_split_bands(vesk->set, 2, 2);
    vesk->mp_PartRender(12, 23);  // job 1 of 2 over 24 rows
    EXPECT_TRUE(IsClear(layer(0)));
    EXPECT_FALSE(Drawn(layer(1), 0));
    EXPECT_FALSE(Drawn(layer(1), 1));
    EXPECT_TRUE(Drawn(layer(1), 2));
    EXPECT_TRUE(Drawn(layer(1), 3));
    vesk->mp_PartRender(0, 11);
    EXPECT_TRUE(Drawn(layer(0), 0));
    EXPECT_TRUE(Drawn(layer(0), 1));
    EXPECT_FALSE(Drawn(layer(0), 2));
    // The rectangle's one-pixel offset: centre (3 + 1, 8 + 1) with half-extent 2.5 spans
    // supersamples 12..51 x 52..91: pixels 1..4 x 6..9.
    ExpectPixel(layer(0), 1, 6, 30000, 30000, 30000, 32767);
    ExpectPixel(layer(0), 4, 9, 30000, 30000, 30000, 32767);
    ExpectPixel(layer(0), 0, 6, 0, 0, 0, 0);
    ExpectPixel(layer(0), 5, 9, 0, 0, 0, 0);
    ExpectPixel(layer(0), 1, 10, 0, 0, 0, 0);
}

// Jobs beyond the layer count find an empty chunk; the last job takes the remainder rows and
// still draws the last chunk, even when the remainder is larger than a band.
TEST_F(RenderPassTest, JobsBeyondTheLayersDrawNothingAndTheLastJobKeepsItsChunk)
{
    Wire(64, 27);
    ProcCount procs(4);
    vesk->bands = 2;
    LiveList l(vesk->set, 10);
    Place(l, 64);
    part_set_split_bands(vesk->set, 2, 4);
    vesk->mp_PartRender(12, 17);  // job 2: band clamped to 2, whose head is null
    vesk->mp_PartRender(18, 26);  // job 3
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(IsClear(layer(i))) << i;

    vesk->bands = 4;
    part_set_split_bands(vesk->set, 4, 4);  // chunks of 2, 3, 3, 2
    vesk->mp_PartRender(18, 26);            // job 3 of 4: bands of 6 rows, 9 for the last
    EXPECT_TRUE(Drawn(layer(3), 8));
    EXPECT_TRUE(Drawn(layer(3), 9));
    EXPECT_FALSE(Drawn(layer(3), 7));
    EXPECT_TRUE(IsClear(layer(2)));

    // Fewer rows than jobs: empty bands draw nothing, the one job holding rows draws every chunk.
    Wire(64, 27);
    vesk->bands = 4;
    ProcCount many(64);
    vesk->mp_PartRender(0, -1);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(IsClear(layer(i))) << i;
    vesk->mp_PartRender(0, 26);
    EXPECT_TRUE(Drawn(layer(0), 1));
    EXPECT_TRUE(Drawn(layer(2), 5));
    EXPECT_TRUE(Drawn(layer(3), 9));
    EXPECT_FALSE(Drawn(layer(0), 9));
}

TEST_F(RenderPassTest, DispatchByShape)
{
    tagPART p = Particle(20000, 20000, 20000);
    p.pos.x = 12.0f / 32.0f;
    p.pos.y = 12.0f / 24.0f;
    p.size_cur[0] = 7.6f;  // rounds to 8
    p.size_cur[1] = 7.4f;  // rounds to 7
    p.isize_cur = 1;

    // Triangle: no offset, rx = 4, ry = 3 around (12, 12).
    vesk->set->shape = 2;
    const float c[3] = {20000, 20000, 20000};
    auto want = ReferenceLayer({{18, 12}, {10, 15}, {10, 9}}, c, layer(), 1);
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    ExpectLayer(layer(), want);

    // Blob: the lump of index isize_cur (radius 2), centre weight 257.
    Wire(kW, kH);
    vesk->set->shape = 0;
    vesk->set->lumps[1] = part_lump_create(2.0f, 1.0f, 1.0f);
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    const int a = 32894;
    const int v = std::min(32767, (20000 * a) >> 15);
    ExpectPixel(layer(), 12, 12, v, v, v, 32767);
    ExpectPixel(layer(), 14, 12, 0, 0, 0, 0);
    part_lump_destroy(vesk->set->lumps[1]);
    vesk->set->lumps[1] = nullptr;

    // Outside the table and unknown shapes draw nothing.
    Wire(kW, kH);
    vesk->set->shape = 0;
    p.isize_cur = 1000;
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    vesk->set->shape = 9;
    vesk->part_render(vesk->set, &p, 0, kH - 1, 0);
    EXPECT_TRUE(IsClear(layer()));
}

using CompositeTest = RenderTest;

TEST_F(CompositeTest, EmptyLayersShrinkFullValuesByOne)
{
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) vesk->set->result->rows[y][x] = PixelQ4(32767, 1, 0, 32767);
    vesk->bands = 1;
    vesk->mp_Composite(0, kH - 1);
    // (32767 * 32767) >> 15 = 32766; 1 becomes 0.
    ExpectPixel(vesk->set->result, 0, 0, 32766, 0, 0, 32766);
    // Three more empty layers take one more each time: v * 32767 / 32768 lies between v - 1 and v.
    vesk->bands = 4;
    vesk->mp_Composite(0, kH - 1);
    ExpectPixel(vesk->set->result, 5, 5, 32762, 0, 0, 32762);
}

TEST_F(CompositeTest, PremultipliedOverInLayerOrder)
{
    ImageQ4* out = vesk->set->result;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) out->rows[y][x] = PixelQ4(20000, 10000, 6000, 32767);
    // An opaque layer hides what is beneath: k = 0.
    layer(0)->rows[1][1] = PixelQ4(3000, 2000, 1000, 32767);
    // Half alpha: k = 16383.
    layer(0)->rows[2][2] = PixelQ4(8000, 8000, 8000, 16384);
    vesk->bands = 1;
    vesk->mp_Composite(0, 2);
    ExpectPixel(out, 1, 1, 3000, 2000, 1000, 32767);
    ExpectPixel(out, 2, 2, 8000 + ((20000 * 16383) >> 15), 8000 + ((10000 * 16383) >> 15),
                8000 + ((6000 * 16383) >> 15), 16384 + ((32767 * 16383) >> 15));

    // Layer 1 goes over layer 0.
    layer(0)->rows[3][3] = PixelQ4(3000, 2000, 1000, 32767);
    layer(1)->rows[3][3] = PixelQ4(16000, 0, 0, 16384);
    vesk->bands = 2;
    vesk->mp_Composite(3, 9);
    ExpectPixel(out, 3, 3, 16000 + ((3000 * 16383) >> 15), (2000 * 16383) >> 15, (1000 * 16383) >> 15,
                16384 + ((32767 * 16383) >> 15));
    // Elsewhere two empty layers: one less per layer.
    ExpectPixel(out, 9, 9, 19998, 9998, 5998, 32765);
    // Rows outside the band are left alone.
    ExpectPixel(out, 9, 10, 20000, 10000, 6000, 32767);
}

// Colour above alpha (texture sprites) can push a sum past full; the result is clamped.
TEST_F(CompositeTest, ResultsAreClamped)
{
    ImageQ4* out = vesk->set->result;
    out->rows[0][0] = PixelQ4(32767, 0, 0, 32767);
    layer(0)->rows[0][0] = PixelQ4(30000, 0, 0, 0);
    vesk->bands = 1;
    vesk->mp_Composite(0, 0);
    ExpectPixel(out, 0, 0, 32767, 0, 0, 32766);
}

// A chunk of several texture particles filters through running row sums of the clips; the
// sprites must come out exactly as when every box is summed pixel by pixel.
TEST_F(RenderPassTest, TextureChunksMatchThePixelByPixelFilter)
{
    ProcCount procs(1);
    ImageQ4* col = vesk->set->source2;
    ImageQ4* mat = vesk->set->source3;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            col->rows[y][x] = PixelQ4((unsigned short)(x * 1013 % 32768), (unsigned short)(y * 1361),
                                      (unsigned short)((x * y * 97) % 32768), 0);
            mat->rows[y][x] = PixelQ4((unsigned short)((x * 7 + y * 13) * 211 % 32768), 0, 0, 0);
        }
    for (int mode = 6; mode <= 8; ++mode) {
        layer()->Fill(0, 0, 0, 0);
        vesk->set->shape = mode;
        vesk->set->base_rotation = 25.0f;
        LiveList l(vesk->set, 3);
        const float at[3][4] = {{0.3f, 0.4f, 6.2f, 5.0f}, {0.05f, 0.9f, 9.0f, 4.4f}, {0.7f, 0.2f, 3.6f, 7.0f}};
        for (int i = 0; i < 3; ++i) {
            l.parts[(size_t)i].pos.x = at[i][0];
            l.parts[(size_t)i].pos.y = at[i][1];
            l.parts[(size_t)i].size_cur[0] = at[i][2];
            l.parts[(size_t)i].size_cur[1] = at[i][3];
            l.parts[(size_t)i].colour[0] = 21000.0f;
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
