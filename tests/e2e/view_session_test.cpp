// The window's time model without the window: replayed frames equal continued ones, and in the
// IFFFS mode every processed frame moves the swarm on.
#include "harness.h"
#include "sparkhost/view/ViewSession.h"

namespace {

struct Session {
    sparkhost::ViewSession session;
    explicit Session(bool everyFrameSteps) {
        sparkhost::ViewOptions o;
        o.plugin = harness::vesk();
        o.frames = "1-8";
        o.width = 160;
        o.height = 90;
        o.everyFrameSteps = everyFrameSteps;
        std::string error;
        testing::internal::CaptureStdout();  // the plug-in's banner at every load
        EXPECT_TRUE(session.open(o, &error)) << error;
        const sparkhost::Control* mode =
            session.panel().resolve("Render Mode", sparkhost::ControlUse::Value, &session.host(), &error);
        EXPECT_TRUE(mode && session.setValue(*mode, "Render", &error)) << error;
    }
    ~Session() { testing::internal::GetCapturedStdout(); }
    sparkhost::FrameBuffer at(int frame) {
        EXPECT_TRUE(session.goTo(frame));
        return session.shownFrame();
    }
};

TEST(ViewSession, ReplayedFramesEqualContinuedOnes) {
    Session s(false);
    s.at(3);
    const sparkhost::FrameBuffer continued = s.at(4);   // one step on from frame 3
    s.at(7);
    const sparkhost::FrameBuffer replayed = s.at(4);    // back: brought forward from frame 1
    EXPECT_TRUE(continued.samePixels(replayed));
    EXPECT_FALSE(replayed.samePixels(s.at(1)));         // the swarm does move between them
}

TEST(ViewSession, ForwardJumpsContinueToTheReplayedFrame) {
    Session s(false);
    s.at(2);
    const sparkhost::FrameBuffer jumped = s.at(6);   // on from frame 2, frames 3 to 5 stepped
    ASSERT_TRUE(s.session.refresh());                // frame 6 brought forward from frame 1
    EXPECT_TRUE(jumped.samePixels(s.session.shownFrame()));
    EXPECT_FALSE(jumped.samePixels(s.at(7)));        // and the live state goes on from there
}

TEST(ViewSession, EveryProcessedFrameStepsInTheIfffsMode) {
    Session s(true);
    const sparkhost::FrameBuffer first = s.at(3);
    EXPECT_FALSE(first.samePixels(s.at(3)));
}

}  // namespace
