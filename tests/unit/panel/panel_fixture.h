// A host in the test process with the effect linked in: every test starts from the factory
// panel, bound as at start-up, with buffers ready so that a callback may render a frame.
#ifndef TESTS_UNIT_PANEL_PANEL_FIXTURE_H
#define TESTS_UNIT_PANEL_PANEL_FIXTURE_H

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "host/HostState.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/Pauses.h"
#include "tests/e2e/panel_records.h"

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

inline const sparkhost::Control& record(const std::string& name)
{
    const sparkhost::Control* c = factory().findRecord(name);
    if (c == nullptr) throw std::runtime_error("no record " + name);
    return *c;
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
    static int state(const SparkBooleanStruct& r) { return r.Value & 0xFF; }

    sparkhost::Host host;
};

}  // namespace panel_test

#endif
