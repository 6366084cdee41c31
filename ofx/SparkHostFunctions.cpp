// The spark… functions the effect imports, answered inside the OpenFX plug-in: buffers of the
// frame being rendered, band jobs on a fixed number of threads, curve values from the control
// records the engine loaded for the frame, and messages handed to the render's message route.
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "host/ControlTable.h"
#include "ofx/ControlParams.h"
#include "ofx/SparkFrame.h"
#include "spark/spark.h"

namespace vesk_ofx {

namespace {

SparkFrame g_frame;
std::mutex g_controls_lock;  // the enabled table and channel keys are also read outside renders
std::map<int, bool> g_enabled;
std::vector<ChannelKey> g_channel_keys;

thread_local int t_job_index = 0;

using U = unsigned long;
enum { kMaxForkArgs = 16 };

void call_job(void (*job)(), int nargs, const std::array<U, kMaxForkArgs>& a) {
    // Every argument travels in one integer register's worth on x86-64; a job that takes fewer
    // than it is given ignores the rest.
    typedef void (*Job16)(U, U, U, U, U, U, U, U, U, U, U, U, U, U, U, U);
    (void)nargs;
    reinterpret_cast<Job16>(job)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9],
                                 a[10], a[11], a[12], a[13], a[14], a[15]);
}

}  // namespace

void SparkFrame::resize(int w, int h, bool twelve) {
    if (w != width || h != height || twelve != twelve_bit)
        for (bool& b : black) b = false;
    width = w;
    height = h;
    twelve_bit = twelve;
    for (int id = 1; id < kBufferCount; ++id) buffers[id].resize(frame_bytes());
}

SparkFrame& CurrentFrame() { return g_frame; }

bool ControlEnabled(int number) {
    std::lock_guard<std::mutex> hold(g_controls_lock);
    auto it = g_enabled.find(number);
    return it == g_enabled.end() ? true : it->second;
}

std::vector<ChannelKey> TakeChannelKeys() {
    std::lock_guard<std::mutex> hold(g_controls_lock);
    std::vector<ChannelKey> keys;
    keys.swap(g_channel_keys);
    return keys;
}

}  // namespace vesk_ofx

using vesk_ofx::g_frame;
using vesk_ofx::U;
using vesk_ofx::kMaxForkArgs;
using vesk_ofx::call_job;

extern "C" {

float sparkAPIVersionInfo(void) { return 4.0f; }

const char* sparkProgramGetName(void) { return "OpenFX"; }

void sparkMessage(char* text) {
    if (text && g_frame.message) g_frame.message(text, false);
}

void sparkError(char* text) {
    if (text && g_frame.message) g_frame.message(text, true);
}

int sparkMessageConfirm(char* text) {
    if (!g_frame.confirm) return 1;
    return g_frame.confirm(text ? text : "") ? 1 : 0;
}

int sparkMemGetFreeMemory(void) { return vesk_ofx::kBufferCount; }

int sparkMemRegisterBuffer(void) { return vesk_ofx::kTempBuffer; }

int sparkMemGetBuffer(int id, SparkMemBufStruct* record) {
    if (!record || id < 1 || id >= vesk_ofx::kBufferCount || !g_frame.buffers_ready) return 0;
    std::vector<uint8_t>& pixels = g_frame.buffers[id];
    if (pixels.size() != g_frame.frame_bytes() || pixels.empty()) return 0;
    memset(record, 0, sizeof *record);
    record->TotalBuffers = vesk_ofx::kBufferCount - 1;
    record->Buffer = reinterpret_cast<ulong*>(pixels.data());
    record->BufState = SPARK_BUF_LOCKED;
    record->BufSize = (int)pixels.size();
    record->BufFmt = g_frame.twelve_bit ? 48 : 24;
    record->BufWidth = g_frame.width;
    record->BufHeight = g_frame.height;
    record->BufDepth = record->BufFmt;
    record->Stride = g_frame.width * g_frame.bytes_per_pixel();
    record->Inc = g_frame.bytes_per_pixel();
    return 1;
}

void sparkGetFrame(int clip, int frame, ulong* destination) {
    if (!destination) return;
    uint8_t* pixels = reinterpret_cast<uint8_t*>(destination);
    if (!g_frame.fetch || !g_frame.fetch(clip, frame, pixels)) memset(pixels, 0, g_frame.frame_bytes());
}

void sparkGraphSetup(SparkGraphInfoStruct* g) {
    if (!g) return;
    memset(g, 0, sizeof *g);
    g->PixelAspectRatio = g_frame.pixel_aspect;
    g->GraphicsMaxX = g_frame.width;
    g->GraphicsMaxY = g_frame.height;
}

float sparkGetViewerRatio(void) { return 1.0f; }
void sparkViewingDraw(void) {}
void sparkViewingCursor(int) {}
void sparkCursorBusy(void) {}
void sparkControlUpdate(int) {}

void sparkEnableParameter(int type, int control) {
    if (type != 1) return;
    std::lock_guard<std::mutex> hold(vesk_ofx::g_controls_lock);
    vesk_ofx::g_enabled[control] = true;
}

void sparkDisableParameter(int type, int control) {
    if (type != 1) return;
    std::lock_guard<std::mutex> hold(vesk_ofx::g_controls_lock);
    vesk_ofx::g_enabled[control] = false;
}

void sparkControlTitle(int, char*) {}
void sparkClipControlTitle(int, char*) {}
int sparkSetControlName(int, int, char*) { return 1; }

// The engine loads every control record with the parameter values of the frame it simulates
// before the effect runs, so the curve value at that frame is the record's value.
float sparkGetCurveValuef(int type, int control, float) {
    if (type == 0) return SparkUserFloat93.Value;
    return vesk_ofx::RecordValue(control);
}

void sparkSetCurveKey(int type, int control, int frame, float value) {
    if (type != 0 || control != 93) return;
    std::lock_guard<std::mutex> hold(vesk_ofx::g_controls_lock);
    vesk_ofx::g_channel_keys.push_back({frame, value});
}

void sparkCeAddFolder(int, char*) {}
void sparkCeAddControl(int, int, int) {}
void sparkLoadSetup(char*) {}
void sparkSaveSetup(char*) {}

void sparkWorkingDir(char* directory) {
    if (!directory) return;
    if (!getcwd(directory, 1024)) directory[0] = '\0';
}

// The compositor has no file browser to offer: the binding keeps the file's path in a
// parameter and answers the browser with it at once.
void sparkFileBrowserDisplay(char*, char*, void (*done)(char* file)) {
    std::string path = vesk_ofx::AmplitudeFilePath();
    if (done && !path.empty()) done(const_cast<char*>(path.c_str()));
}

void sparkMpFork(void (*job)(), int nargs, ...) {
    if (!job) return;
    std::array<U, kMaxForkArgs> args{};
    va_list ap;
    va_start(ap, nargs);
    for (int i = 0; i < nargs && i < kMaxForkArgs; ++i) args[(size_t)i] = va_arg(ap, U);
    va_end(ap);
    std::thread workers[vesk_ofx::kSparkJobs - 1];
    for (int j = 1; j < vesk_ofx::kSparkJobs; ++j) {
        workers[j - 1] = std::thread([job, nargs, &args, j] {
            vesk_ofx::t_job_index = j;
            call_job(job, nargs, args);
        });
    }
    const int saved = vesk_ofx::t_job_index;
    vesk_ofx::t_job_index = 0;
    call_job(job, nargs, args);
    vesk_ofx::t_job_index = saved;
    for (std::thread& worker : workers) worker.join();
}

// Inside a job: offset / count is the job's index.
void sparkMpInfo(ulong* offset, ulong* count) {
    if (offset) *offset = (ulong)vesk_ofx::t_job_index;
    if (count) *count = 1;
}

}  // extern "C"
