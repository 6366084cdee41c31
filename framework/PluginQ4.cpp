// The effect base class, its band dispatch, and the small support functions shared by the host
// interface and the effect.
#include "framework/PluginQ4.h"

#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include "Library/Q4Image.h"
#include "host/HostState.h"
#include "spark/spark.h"

PluginQ4::PluginQ4()
    : frame(0.0),
      frame_next(0.0),
      first_flag(true),
      second_flag(true),
      lib_job(nullptr),
      lib_arg(nullptr),
      int_setting(15),
      double_setting(25.0),
      pen_pressure(0.0f),
      tv_source(nullptr),
      tv_plane(nullptr) {}

PluginQ4::~PluginQ4() {}
void PluginQ4::ProcessFrame() {}
void PluginQ4::ProcessFrameOGL(int, int, double, double, double, double) {}
void PluginQ4::SyncControls() {}
void PluginQ4::Load(FILE*, int) {}
void PluginQ4::Save(FILE*) {}
void PluginQ4::LoadPrivate() {}
void PluginQ4::SavePrivate() {}
void PluginQ4::Reset(int) {}
void PluginQ4::FrameChange(double) {}

namespace {

// One job of a MultiProcess fork. The host calls it once per processor with the four
// arguments given to sparkMpFork; the job finds its own index from sparkMpInfo.
void band_job(PluginQ4::BandMethod* method, PluginQ4* self, int rows, int /*jobs*/) {
    ulong offset = 0;
    ulong count = 1;
    sparkMpInfo(&offset, &count);
    // The host numbers its jobs by offset / count.
    int index = count != 0 ? (int)((double)(offset / count) + 0.2) : 0;

    // The band count is the processor count of the frame; a host that reports none still gets
    // one band rather than a division by zero.
    int bands = DLnumProc < 1 ? 1 : DLnumProc;
    int per_band = rows / bands;
    int first = per_band * index;
    // The last band takes the remainder.
    int last = index >= bands - 1 ? rows - 1 : per_band * (index + 1) - 1;
    (self->**method)(first, last);
}

}  // namespace

void PluginQ4::MultiProcess(BandMethod method, int rows) {
    if (method == nullptr) return;
    BandMethod target = method;
    sparkMpFork(reinterpret_cast<void (*)()>(&band_job), 4, &target, this, rows, DLnumProc);
}

int PluginQ4::AbortRender() { return 0; }

void PluginQ4::LoadPrivateData(void*, int*, char*) {}
void PluginQ4::SavePrivateData(void*, int, char*) {}

void PluginQ4::mp_ImgToTV(int first, int last) {
    if (tv_source == nullptr || tv_plane == nullptr) return;
    const int width = tv_source->width;
    for (int y = first; y <= last; ++y) {
        const PixelQ4* row = tv_source->rows[y];
        float* out = tv_plane + (size_t)y * width * 2;
        for (int x = 0; x < width; ++x) {
            const PixelQ4& p = row[x];
            // A 16-bit word does not fit one 15-bit channel: its upper bits sit in one channel
            // and its lowest bit comes from the top of the other. Read signed, in 1/256 units.
            int16_t first_half = (int16_t)(uint16_t)((p.g << 1) | (p.r >> 7));
            int16_t second_half = (int16_t)(uint16_t)((p.a << 1) | (p.b >> 7));
            out[2 * x] = first_half * 0.00390625f;
            out[2 * x + 1] = second_half * 0.00390625f;
        }
    }
}

void PluginQ4::execute_library_mp_func(int first, int last) {
    if (lib_job != nullptr) lib_job(lib_arg, first, last);
}

void PluginQ4::GetTrackData(SourceQ4*, double) {}

void lib_mp_exec(PluginQ4* p, LibraryJobQ4 job, int rows, void* arg) {
    if (p == nullptr) return;
    p->lib_job = job;
    p->lib_arg = arg;
    p->MultiProcess(&PluginQ4::execute_library_mp_func, rows);
}

int lib_abort_render(void* plugin) {
    if (plugin == nullptr) return 0;
    return static_cast<PluginQ4*>(plugin)->AbortRender();
}

void PrintError(const char* text) {
    if (text == nullptr) return;
    sparkMessage(const_cast<char*>(text));
    // Long enough to read the message before the host's line changes again.
    sleep(2);
    fprintf(stderr, "SPARK_MESSAGE::\t%s\n", text);
}

void strcpy_strip(char* dst, const char* src) {
    if (dst == nullptr || src == nullptr) return;
    memmove(dst, src, strlen(src) + 1);
    for (size_t i = strlen(dst); i > 0; --i) {
        char c = dst[i - 1];
        if (c != ' ' && c != '\n') break;
        dst[i - 1] = '\0';
    }
}

void strcpy_addlock(char* dst, const char* src) {
    if (dst == nullptr || src == nullptr) return;
    size_t n = strlen(src);
    memmove(dst, src, n);
    dst[n] = '*';
    dst[n + 1] = '\0';
}

void strcpy_dellock(char* dst, const char* src) {
    if (dst == nullptr || src == nullptr) return;
    memmove(dst, src, strlen(src) + 1);
    for (size_t i = strlen(dst); i > 0 && dst[i - 1] == '*'; --i) dst[i - 1] = '\0';
}
