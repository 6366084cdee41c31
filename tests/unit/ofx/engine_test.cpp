// The binding linked into the test: what render orders cost in simulation steps, how edits,
// events and buttons reach the effect, and the pictures of the output modes and depths.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "MiniHost.h"
#include "ofx/Checkpoints.h"
#include "ofx/Engine.h"

extern "C" OfxPlugin* OfxGetPlugin(int nth);

using minihost::Picture;
using vesk_ofx::CheckpointCache;
using vesk_ofx::Engine;

namespace {

constexpr int kW = 48, kH = 32;

// A plate that changes from frame to frame, or not at all, at any depth; float plates use
// values off the 12-bit grid, so that a quantised pixel shows.
Picture plate(double time, const std::string& depth, bool moving = true) {
    Picture p;
    p.allocate(kW, kH, 4, depth);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            for (int c = 0; c < 3; ++c) {
                const double f = std::fmod(0.1234567 + 0.0137 * x + 0.0211 * y + 0.3 * c + (moving ? 0.05 * time : 0.0), 1.0);
                p.put(x, y, c, depth == kOfxBitDepthByte ? std::floor(f * 255) : depth == kOfxBitDepthShort ? std::floor(f * 65535) : f);
            }
            p.put(x, y, 3, depth == kOfxBitDepthByte ? 255 : depth == kOfxBitDepthShort ? 65535 : 1.0);
        }
    return p;
}

minihost::Host& host() {
    static minihost::Host h(OfxGetPlugin(0));
    return h;
}

// A drawn food hunt of stars over the plate.
std::unique_ptr<minihost::Effect> swarm(const std::string& depth = kOfxBitDepthByte, bool moving = true) {
    auto e = host().create_instance(kW, kH, depth);
    EXPECT_TRUE(e);
    host().connect(*e, kOfxImageEffectSimpleSourceClipName, [depth, moving](double t) { return plate(t, depth, moving); });
    e->params.at("renderMode")->value = {0};
    e->params.at("shape")->value = {5};
    e->params.at("veskSize")->value = {40};
    e->params.at("shapeWidth")->value = {10};
    e->params.at("shapeHeight")->value = {8};
    return e;
}

uint64_t steps_for(const std::function<void()>& work) {
    const uint64_t before = Engine::shared().frames_processed();
    work();
    return Engine::shared().frames_processed() - before;
}

bool same(const Picture& a, const Picture& b) { return a.bytes == b.bytes; }

}  // namespace

// In order a frame costs one step; the same frame again costs one; a jump back starts from the
// nearest kept state; a parameter that only drawing reads costs one step; a simulation
// parameter costs the whole shot again.
TEST(OfxEngine, RenderOrdersCostWhatTheCheckpointsPromise) {
    CheckpointCache::shared().clear();
    auto e = swarm();
    for (int f = 1; f <= 24; ++f) EXPECT_EQ(steps_for([&] { host().render(*e, f); }), 1u) << "frame " << f;
    const Picture frame24 = host().render(*e, 24);
    EXPECT_LE(steps_for([&] { host().render(*e, 13); }), 1u);

    // A fresh instance with the same inputs shares the states.
    auto other = swarm();
    EXPECT_EQ(steps_for([&] { EXPECT_TRUE(same(host().render(*other, 24), frame24)); }), 1u);

    e->params.at("shapeDensity")->value = {50};
    host().user_edit(*e, "shapeDensity", {50}, 24);
    Picture thinner;
    EXPECT_EQ(steps_for([&] { thinner = host().render(*e, 24); }), 1u);
    EXPECT_FALSE(same(thinner, frame24));

    host().user_edit(*e, "speed", {35}, 24);
    EXPECT_EQ(steps_for([&] { host().render(*e, 24); }), 24u);
}

// Under memory pressure the states of every tenth frame stay longest and the newest stays always.
TEST(OfxEngine, CheckpointCacheKeepsSpacedStatesWithinItsBound) {
    auto state = std::make_shared<vesk_ofx::SimState>();
    state->particles.resize(1000);
    const size_t one = state->bytes();
    CheckpointCache cache(one * 5 + one / 2);
    for (int f = 1; f <= 40; ++f) cache.store((uint64_t)f, f, state);
    EXPECT_LE(cache.bytes(), cache.limit());
    EXPECT_TRUE(cache.find(40));
    for (int f : {10, 20, 30}) EXPECT_TRUE(cache.find((uint64_t)f)) << f;
    EXPECT_FALSE(cache.find(15));
}

// Frames rendered backwards on fresh instances, with the cache emptied in between, equal the
// frames rendered in order.
TEST(OfxEngine, AnyOrderAnyInstanceSameBytes) {
    CheckpointCache::shared().clear();
    auto e = swarm(kOfxBitDepthShort);
    std::vector<Picture> in_order;
    for (int f = 1; f <= 12; ++f) in_order.push_back(host().render(*e, f));
    for (int f = 12; f >= 1; f -= 3) {
        CheckpointCache::shared().clear();
        auto fresh = swarm(kOfxBitDepthShort);
        EXPECT_TRUE(same(host().render(*fresh, f), in_order[(size_t)f - 1])) << "frame " << f;
    }
}

// Three threads at once, on fresh instances and on one instance, the same frame twice among
// them, give the frames of one thread rendering in order.
TEST(OfxEngine, ConcurrentRendersGiveTheSameBytes) {
    CheckpointCache::shared().clear();
    auto e = swarm();
    std::vector<Picture> in_order;
    for (int f = 1; f <= 9; ++f) in_order.push_back(host().render(*e, f));
    CheckpointCache::shared().clear();
    std::vector<std::unique_ptr<minihost::Effect>> fresh;
    for (int i = 0; i < 3; ++i) fresh.push_back(swarm());
    const int frames[6] = {9, 5, 9, 7, 3, 8};
    Picture got[6];
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back([&, i] { got[i] = host().render(i < 3 ? *fresh[(size_t)i] : *e, frames[i]); });
    for (std::thread& t : threads) t.join();
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(same(got[i], in_order[(size_t)frames[i] - 1])) << "frame " << frames[i];
}

// A restart placed at frame 6 makes frame 6 the first frame of a new swarm: over a still plate it
// is frame 1 again. The button writes the event as one undoable edit.
TEST(OfxEngine, RestartButtonPlacesAnEventTheRenderReplays) {
    auto e = swarm(kOfxBitDepthByte, false);
    const Picture first = host().render(*e, 1);
    const Picture before = host().render(*e, 6);
    const int edits = e->edits_done;
    host().press(*e, "restartButton", 6);
    EXPECT_EQ(e->params.at("events")->text, "6 Restart\n");
    EXPECT_EQ(e->edits_done, edits + 1);
    const Picture restarted = host().render(*e, 6);
    EXPECT_TRUE(same(restarted, first));
    EXPECT_FALSE(same(restarted, before));

    // Advance at frame 3 is one more step: frame 3 then shows what frame 4 showed without it.
    auto a = swarm(kOfxBitDepthByte, false);
    const Picture four = host().render(*a, 4);
    host().set_string(*a, "events", "3 Advance\n");
    host().user_edit(*a, "events", {}, 3);
    EXPECT_TRUE(same(host().render(*a, 3), four));
}

// Merging Swarm Only over the plate gives the composited frame within one code.
TEST(OfxEngine, SwarmOnlyMergesBackToTheFrame) {
    auto e = swarm();
    const Picture over = host().render(*e, 8);
    e->params.at("output")->value = {1};
    host().user_edit(*e, "output", {1}, 8);
    const Picture alone = host().render(*e, 8);
    const Picture back = plate(8, kOfxBitDepthByte);
    int covered = 0, worst = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const double a = alone.get(x, y, 3) / 255.0;
            covered += a > 0.0;
            for (int c = 0; c < 3; ++c) {
                EXPECT_LE(alone.get(x, y, c), alone.get(x, y, 3));  // premultiplied
                const double merged = alone.get(x, y, c) + (1.0 - a) * back.get(x, y, c);
                worst = std::max(worst, (int)std::lround(std::fabs(merged - over.get(x, y, c))));
            }
        }
    EXPECT_GT(covered, 20);
    EXPECT_LE(worst, 1);
}

// With float images the plate keeps its own values where the swarm does not draw; drawn pixels
// are the effect's 12-bit levels.
TEST(OfxEngine, FloatPlateKeepsItsValuesWhereUntouched) {
    auto e = swarm(kOfxBitDepthFloat);
    e->params.at("veskSize")->value = {6};
    const Picture out = host().render(*e, 6);
    const Picture in = plate(6, kOfxBitDepthFloat);
    int kept = 0, drawn = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            if (out.get(x, y, 0) == in.get(x, y, 0) && out.get(x, y, 1) == in.get(x, y, 1)) {
                ++kept;
                continue;
            }
            ++drawn;
            for (int c = 0; c < 3; ++c) {
                const double level = out.get(x, y, c) * 4095.0;
                EXPECT_NEAR(level, std::round(level), 1e-3);
            }
        }
    EXPECT_GT(kept, kW * kH / 2) << drawn << " drawn";
    EXPECT_GT(drawn, 10);
}

// A preset is one edit that writes its values into the parameters; the show/hide rules grey
// what the settings make meaningless; a missing input a setting needs is a persistent message.
TEST(OfxEngine, PanelCallbacksReachTheParameters) {
    auto e = swarm();
    const int edits = e->edits_done;
    host().press(*e, "simpleFoodHunt", 1);
    EXPECT_EQ(e->edits_done, edits + 1);
    EXPECT_EQ(e->params.at("veskSize")->value[0], 40);
    EXPECT_EQ(e->params.at("seed")->value[0], 1650);
    EXPECT_EQ(e->params.at("shape")->value[0], 5);  // "Five Point Star"
    EXPECT_EQ(e->params.at("food")->value, (std::vector<double>{20.0, 20.0}));

    host().user_edit(*e, "huntFood", {0}, 1);
    EXPECT_EQ(e->params.at("food")->props.integer(kOfxParamPropEnabled), 0);
    host().user_edit(*e, "huntFood", {1}, 1);
    EXPECT_EQ(e->params.at("food")->props.integer(kOfxParamPropEnabled), 1);

    host().user_edit(*e, "useBirthMatte", {1}, 1);
    EXPECT_NE(e->persistent.find("Birth Matte"), std::string::npos);
    host().user_edit(*e, "useBirthMatte", {0}, 1);
    EXPECT_EQ(e->persistent, "");
}

// At half scale the flock is the same flock, drawn from the same full-resolution frame: each
// proxy pixel is the full frame's pixel its centre falls in.
TEST(OfxEngine, ProxyScaleDrawsTheSameFlockSmaller) {
    auto e = swarm();
    const Picture full = host().render(*e, 7);
    const Picture half = host().render(*e, 7, 0.5);
    ASSERT_EQ(half.width, kW / 2);
    int wrong = 0;
    for (int y = 0; y < half.height; ++y)
        for (int x = 0; x < half.width; ++x)
            for (int c = 0; c < 4; ++c) wrong += half.get(x, y, c) != full.get(2 * x + 1, 2 * y + 1, c);
    EXPECT_EQ(wrong, 0);
}

// The Events text: events at one frame keep the order they are listed in, names are read without
// case or blanks, comments and blank lines are skipped, and each bad line is reported by number
// while the good ones stand.
TEST(OfxEngine, EventsTextIsReadLineByLine) {
    const vesk_ofx::EventList list = vesk_ofx::ParseEvents(
        "12 Advance\n\n# a comment\n12 restart + preroll\n7 PreRoll  # why\nseven Restart\n9 Jump\n");
    using B = vesk_ofx::EventButton;
    ASSERT_NE(list.find(12), nullptr);
    EXPECT_EQ(*list.find(12), (std::vector<B>{B::Advance, B::RestartPreRoll}));
    EXPECT_EQ(*list.find(7), (std::vector<B>{B::PreRoll}));
    EXPECT_EQ(list.find(9), nullptr);
    ASSERT_EQ(list.errors.size(), 2u);
    EXPECT_NE(list.errors[0].find("line 6"), std::string::npos);
    EXPECT_NE(list.errors[1].find("Jump"), std::string::npos);
    EXPECT_EQ(vesk_ofx::AppendEvent("3 Restart", 8, B::Advance), "3 Restart\n8 Advance\n");
}
