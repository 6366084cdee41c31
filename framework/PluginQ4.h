// Base class of an effect: the operations a host adapter calls on it, and the band-parallel
// dispatch through which an effect (or code outside the class, such as the image library) spreads
// row bands over the host's processors.
#ifndef FRAMEWORK_PLUGINQ4_H
#define FRAMEWORK_PLUGINQ4_H

#include <cstdio>

class ImageQ4;
class SourceQ4;

// A banded job run from outside the class: job(arg, first_row, last_row), rows inclusive.
typedef void (*LibraryJobQ4)(void* arg, int first, int last);

class PluginQ4 {
public:
    // A member band worker: called once per processor with an inclusive row range.
    typedef void (PluginQ4::*BandMethod)(int first, int last);

    PluginQ4();

    // Virtual operations, in this order; the base bodies do nothing, an effect overrides what
    // it needs.
    virtual ~PluginQ4();
    virtual void ProcessFrame();
    virtual void ProcessFrameOGL(int, int, double, double, double, double);
    virtual void SyncControls();
    virtual void Load(FILE*, int);
    virtual void Save(FILE*);
    virtual void LoadPrivate();
    virtual void SavePrivate();
    virtual void Reset(int);
    virtual void FrameChange(double);

    // Runs method(first, last) once per processor (DLnumProc jobs through sparkMpFork), each job
    // on its own band of `rows` rows; the last band takes the remainder.
    void MultiProcess(BandMethod method, int rows);

    // Asked by long-running band workers between rows; this framework never aborts.
    int AbortRender();

    // Hooks for effects that keep private data in the setup; the base keeps none.
    void LoadPrivateData(void* data, int* size, char* name);
    void SavePrivateData(void* data, int size, char* name);

    // Band worker: reads the two signed 16-bit values that each pixel of `tv_source` holds
    // spread over its four channels, and writes them as two floats per pixel into `tv_plane`
    // (width x height x 2 floats).
    void mp_ImgToTV(int first, int last);

    // Band worker behind lib_mp_exec: hands the band to the stored library job.
    void execute_library_mp_func(int first, int last);

    // Tracking data of a clip at a frame; the base has none to give.
    void GetTrackData(SourceQ4* source, double frame);

    // ---- fields, in this order ----
    double frame;            // current frame, set by SparkProcess before each frame
    double frame_next;       // the host value that follows the frame number, set with it
    bool first_flag;         // true after construction
    bool second_flag;        // true after construction; SparkProcess clears it before every
                             // frame, and while it is set ProcessFrame skips its final alpha copy
    LibraryJobQ4 lib_job;    // set by lib_mp_exec
    void* lib_arg;           // set by lib_mp_exec
    int int_setting;         // 15
    double double_setting;   // 25.0
    float pen_pressure;      // pressure of the latest pointer event; cleared by every SparkProcess

    // Operands of mp_ImgToTV.
    ImageQ4* tv_source;
    float* tv_plane;
};

// Runs job(arg, first, last) over `rows` rows in bands on the processors of plug-in `p`.
void lib_mp_exec(PluginQ4* p, LibraryJobQ4 job, int rows, void* arg);

// The abort question for code outside the class: plugin is a PluginQ4*; returns its
// AbortRender() (0 for a null plug-in).
int lib_abort_render(void* plugin);

// Shows `text` on the host's message line, pauses 2 seconds so it can be read, and writes it to
// standard error after "SPARK_MESSAGE::\t".
void PrintError(const char* text);

// Copies src, then cuts off every trailing blank or newline.
void strcpy_strip(char* dst, const char* src);
// Writes src followed by "*": the title of a locked (disabled) control.
void strcpy_addlock(char* dst, const char* src);
// Copies src without its trailing "*" marks.
void strcpy_dellock(char* dst, const char* src);

#endif
