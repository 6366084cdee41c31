// A host in the test process with the effect linked in: every test starts from the factory
// panel, bound as at start-up, with buffers ready so that a callback may render a frame.
#ifndef TESTS_UNIT_PANEL_PANEL_FIXTURE_H
#define TESTS_UNIT_PANEL_PANEL_FIXTURE_H

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <cstdint>
#include <string>

#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "host/HostState.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/Pauses.h"

extern "C" {
unsigned int SparkInitialise(SparkInfoStruct);
int SparkMemoryTempBuffers(void);
}

namespace panel_test {

// The panel exactly as the plug-in exported it, discovered before any test touched a record.
inline sparkhost::Panel& factory()
{
    static sparkhost::Panel panel = [] {
        sparkhost::Panel p;
        p.discover([](const char* name) { return dlsym(RTLD_DEFAULT, name); });
        return p;
    }();
    return panel;
}

inline void restore_factory_records()
{
    for (const sparkhost::Control& c : factory().controls())
        std::memcpy(c.address, c.initial.data(), c.initial.size());
}

// A record's value as one number: checkbox state byte, list entry (from 0), packed colour word,
// or the numeric value; `initial` reads the factory copy instead of the live record.
inline double value_of(const sparkhost::Control& c, bool initial = false)
{
    const void* p = initial ? static_cast<const void*>(c.initial.data()) : c.address;
    switch (c.kind) {
    case sparkhost::ControlKind::Boolean: return *static_cast<const int*>(p) & 0xFF;
    case sparkhost::ControlKind::List: case sparkhost::ControlKind::Int:
        return *static_cast<const int*>(p);
    case sparkhost::ControlKind::Colour: return *static_cast<const uint32_t*>(p);
    default: return *static_cast<const float*>(p);
    }
}

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        restore_factory_records();
        host.setEcho(false);
        host.setFrameSize(24, 16);
        host.setDepthCode(24);
        host.setProcessors(1);
        host.setConfirmAnswer(true);
        testing::internal::CaptureStdout();
        SparkInitialise(host.info());
        testing::internal::GetCapturedStdout();
        SparkMemoryTempBuffers();
        host.loadInputs(1);
        host.buffer(1);
        Instance.restart_flag = 0;
        Instance.preroll_flag = 0;
        sparkhost::resetPauses();
    }
    void TearDown() override
    {
        DLtwelveBit = false;
        restore_factory_records();
    }

    SparkInfoStruct info() const { return host.info(); }
    int renders() const { return host.cursorBusyCount(); }
    int redraws() const { return host.viewingDraws(); }
    bool shown(int control) const { return host.parameterEnabled(1, control); }
    int updates(int control) const
    {
        const auto& u = host.controlUpdates();
        return static_cast<int>(std::count(u.begin(), u.end(), control));
    }
    static int state(const SparkBooleanStruct& r) { return r.Value & 0xFF; }
    void edit(SparkBooleanStruct& box, int on)
    {
        box.Value = on;
        box.Callback(1, info());
    }

    sparkhost::Host host;
};

}  // namespace panel_test

#endif
