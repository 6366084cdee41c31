// The spark… functions a plug-in imports. Each one hands its request to the current Host.
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <string>
#include <unistd.h>

#include "spark/spark.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/JobPool.h"

using sparkhost::Host;
using sparkhost::HostMessage;

namespace {

std::string text(const char* s) { return s ? std::string(s) : std::string(); }

}  // namespace

extern "C" {

float sparkAPIVersionInfo(void) { return Host::current().apiVersion(); }

const char* sparkProgramGetName(void) { return Host::current().programName().c_str(); }

void sparkMessage(char* message) { Host::current().showMessage(text(message)); }

void sparkError(char* message) { Host::current().report(HostMessage::Error, text(message)); }

int sparkMessageConfirm(char* message) {
    Host& host = Host::current();
    bool yes = host.confirm(text(message));
    host.report(HostMessage::Confirm, text(message) + (yes ? " [yes]" : " [no]"));
    return yes ? 1 : 0;
}

int sparkMemGetFreeMemory(void) { return Host::current().freeMemory(); }

int sparkMemRegisterBuffer(void) { return Host::current().registerBuffer(); }

int sparkMemGetBuffer(int id, SparkMemBufStruct* record) {
    return Host::current().fillBufferRecord(id, record) ? 1 : 0;
}

void sparkGetFrame(int clip, int frame, ulong* destination) {
    Host& host = Host::current();
    sparkhost::FrameBuffer scratch;
    bool found = host.fetchFrame(clip, frame, scratch);
    if (!found && (clip < 0 || clip >= host.inputClips()))
        host.report(HostMessage::Error, "sparkGetFrame: there is no input clip " +
                                            std::to_string(clip) + " (clips count from 0)");
    if (destination && !scratch.empty()) std::memcpy(destination, scratch.data(), scratch.bytes());
}

void sparkGraphSetup(SparkGraphInfoStruct* g) {
    if (!g) return;
    Host& host = Host::current();
    std::memset(g, 0, sizeof *g);
    g->PixelAspectRatio = host.pixelAspectRatio();
    g->GraphicsMaxX = host.frameWidth();
    g->GraphicsMaxY = host.frameHeight();
}

float sparkGetViewerRatio(void) { return Host::current().viewerRatio(); }

void sparkViewingDraw(void) { Host::current().noteViewingDraw(); }

void sparkViewingCursor(int cursor) { Host::current().noteCursor(cursor); }

void sparkCursorBusy(void) { Host::current().noteCursorBusy(); }

void sparkControlUpdate(int control) { Host::current().noteControlUpdate(control); }

void sparkEnableParameter(int type, int control) {
    Host::current().setParameterEnabled(type, control, true);
}

void sparkDisableParameter(int type, int control) {
    Host::current().setParameterEnabled(type, control, false);
}

void sparkControlTitle(int page, char* title) { Host::current().setPageTitle(page, text(title)); }

void sparkClipControlTitle(int clip, char* title) {
    Host::current().setClipTitle(clip, text(title));
}

int sparkSetControlName(int type, int control, char* name) {
    Host::current().setControlName(type, control, text(name));
    return 1;
}

float sparkGetCurveValuef(int type, int control, float frame) {
    return Host::current().curveValue(type, control, frame);
}

void sparkSetCurveKey(int type, int control, int frame, float value) {
    // A channel holds numbers only: an infinite key (a key file's 1e999) could be neither applied
    // nor saved in a setup.
    if (!std::isfinite(value)) {
        Host::current().report(HostMessage::Note, "ignoring a key of channel " + std::to_string(control) +
                                                      " at " + std::to_string(frame) + ": not a finite number");
        return;
    }
    Host::current().curve(type, control).setKey(frame, value);
}

void sparkCeAddFolder(int level, char* name) {
    Host::current().addChannelFolder(level, text(name));
}

void sparkCeAddControl(int level, int type, int control) {
    Host::current().addChannelControl(level, type, control);
}

void sparkLoadSetup(char* name) { Host::current().loadSetupRequest(name); }

void sparkSaveSetup(char* name) { Host::current().saveSetupRequest(name); }

// The caller's buffer must hold 1024 bytes; longer directories are cut there.
void sparkWorkingDir(char* directory) {
    if (!directory) return;
    std::string dir = Host::current().workingDir();
    if (dir.empty()) {
        char cwd[1024];
        if (getcwd(cwd, sizeof cwd)) dir = cwd;
    }
    std::strncpy(directory, dir.c_str(), 1023);
    directory[1023] = '\0';
}

void sparkFileBrowserDisplay(char* path, char* extension, void (*done)(char* file)) {
    Host::current().fileBrowser(path, extension, done);
}

// Every argument is taken as one integer register's worth: pointers and integers pass through
// unchanged on x86-64, which is all a plug-in hands to its jobs.
void sparkMpFork(void (*job)(), int nargs, ...) {
    unsigned long args[16] = {0};
    va_list ap;
    va_start(ap, nargs);
    for (int i = 0; i < nargs && i < 16; ++i) args[i] = va_arg(ap, unsigned long);
    va_end(ap);
    Host::current().fork(job, nargs, args);
}

// Inside a job: offset / count is the job's index (offset = index, count = 1).
void sparkMpInfo(ulong* offset, ulong* count) {
    int job = sparkhost::JobPool::currentJob();
    if (offset) *offset = ulong(job < 0 ? 0 : job);
    if (count) *count = 1;
}

}  // extern "C"
