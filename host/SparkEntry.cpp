// The host's entry points: start-up, clip and buffer counts, one frame, shut-down.
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "Library/Q4Convert.h"
#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "host/HostState.h"
#include "spark/spark.h"

namespace {

// The five input clips in host buffer order (buffer ids 2 to 6).
SourceQ4* const kSources[5] = {&Instance.info.source1, &Instance.info.source2,
                               &Instance.info.source3, &Instance.info.source4,
                               &Instance.info.source5};

const char kLibraryVersion[] = "5.0";
const char kMinorVersion[] = "7";
const char kProduct[] = "4-Vesk";
const char kHostWord[] = " ";
const char kInterfaceTag[] = "UCAPI";

const int kBuffersNeeded = 2;
const int kRuleWidth = 51;

void print_rule(char c) {
    for (int i = 0; i < kRuleWidth; ++i) fputc(c, stdout);
    fputc('\n', stdout);
}

// Destroys the frame images of the clips; their blocks go back to the effect's cache. A frame
// abandoned half-way (a buffer the host could not give) releases what it had made too: the
// effect never sees those images.
void release_source_images() {
    for (SourceQ4* source : kSources) {
        Instance.frame_blocks.Give(source->image);
        source->image = nullptr;
    }
}

// Pixels of a reduced image that no host sample reaches (the even rounding of its size) read
// as zero, as in a freshly mapped block, rather than as whatever an earlier frame left there.
void clear_unreached(ImageQ4* image, int width, int height, int divisor) {
    const int cols = ConvertSamplesReached(width, divisor);
    const int rows = ConvertSamplesReached(height, divisor);
    for (int y = 0; y < image->height; ++y) {
        const int from = y < rows ? cols : 0;
        if (from < image->width)
            memset(image->rows[y] + from, 0, (size_t)(image->width - from) * sizeof(PixelQ4));
    }
}

void convert_band(void* job, int first, int last) {
    ConvertRows(static_cast<const ConvertJobQ4*>(job), first, last);
}

// A conversion in row bands on every job: the bands give the same pixels as the conversion on
// one thread, in a fraction of the time.
void convert_in_bands(void* buffer, ImageQ4* image, int width, int height, int divisor,
                      int to_host) {
    ConvertJobQ4 job = {buffer, image, width, height, divisor, DLtwelveBit ? 1 : 0, to_host};
    lib_mp_exec(&Instance, convert_band, ConvertRowCount(image, height, divisor, to_host), &job);
}

// The frame image of a clip or of the result, over a block of the cache, set up as the conversion
// sets it up; a clip's pixels follow in bands (convert_source).
ImageQ4* frame_image(void* pixels, int width, int height, double ratio, int divisor) {
    if (!pixels) return nullptr;
    ImageQ4* image = Instance.frame_blocks.Take(ConvertWorkingSize(width, divisor),
                                                ConvertWorkingSize(height, divisor));
    if (!image) return nullptr;
    return DLtwelveBit ? ConvertFromDLImage12(pixels, width, height, ratio, divisor, image, 0)
                       : ConvertFromDLImage8(pixels, width, height, ratio, divisor, image, 0);
}

void convert_source(void* pixels, ImageQ4* image, int width, int height, int divisor) {
    if (divisor > 1) clear_unreached(image, width, height, divisor);
    convert_in_bands(pixels, image, width, height, divisor, 0);
}

}  // namespace

extern "C" {

SPARK_EXPORT unsigned int SparkInitialise(SparkInfoStruct info) {
    if (sparkAPIVersionInfo() < 4.0f) {
        // Reported only: start-up goes on, and the host keeps the panel it has built.
        sparkError(const_cast<char*>(
            "This version of \"4-Vesk\" needs IFFFS 7.0/4.0 (sparks API 4.0) or higher."));
    }
    DLtwelveBit = IsTwelveBitDepth(info.FrameDepth);
    sparkLoadSetup(reinterpret_cast<char*>(&info));

    printf("\n\nINTERACTIVE BUILD. The HOST PROGRAM is called: %s\n", sparkProgramGetName());
    print_rule('=');
    // The build date and time are the compiler's, so the banner names the build that runs.
    printf("Corvane MP-V%s.%s Bramble %s for Discreet %s\n    %s  Built %s at %s\n",
           kLibraryVersion, kMinorVersion, kProduct, kHostWord, kInterfaceTag, __DATE__,
           __TIME__);
    print_rule('=');
    fflush(stdout);
    printf(DLtwelveBit ? "... 12 bit mode selected.\n" : "... 8-10 bit mode selected.\n");

    int buffers = sparkMemGetFreeMemory();
    printf("Available buffers = %d\n", buffers);
    print_rule('+');
    printf("\n");
    if (buffers < kBuffersNeeded) {
        printf("ERROR: we need %d image buffers, but we only got %d.\n", kBuffersNeeded, buffers);
        printf("... Processing will be turned off ...\n");
        sparkMessage(const_cast<char*>("Insufficient image buffers available! Giving up!"));
        sleep(5);
    }
    // A host short of buffers still gets a working panel; only rendering is refused.
    DLprocessingDisabled = buffers < kBuffersNeeded;

    // The long image filters ask the effect whether to stop between lines.
    ImageQ4::set_image_abort_hook(lib_abort_render, static_cast<PluginQ4*>(&Instance));
    BindControls();

    // The fourth page is titled twice on purpose and the later title wins; the order is kept
    // as existing hosts have always been given it.
    sparkControlTitle(3, const_cast<char*>("Import AIFF"));
    sparkControlTitle(0, const_cast<char*>("Vesk"));
    sparkControlTitle(1, const_cast<char*>("Shape"));
    sparkControlTitle(2, const_cast<char*>("Influence"));
    sparkControlTitle(3, const_cast<char*>("Presets"));
    sparkClipControlTitle(0, const_cast<char*>("Back"));
    sparkClipControlTitle(1, const_cast<char*>("SColour"));
    sparkClipControlTitle(2, const_cast<char*>("SMatte"));

    DL_Sync_Ctrl = 1;
    RenameChannelEditorEntries();
    return 2;
}

SPARK_EXPORT int SparkClips(void) { return 5; }

SPARK_EXPORT int SparkMemoryTempBuffers(void) {
    DLtempBufferId = sparkMemRegisterBuffer();
    return DLtempBufferId;
}

SPARK_EXPORT int SparkProcessStart(SparkInfoStruct) { return 1; }

SPARK_EXPORT unsigned long* SparkProcess(SparkInfoStruct info) {
    Instance.pen_pressure = 0.0f;
    sparkCursorBusy();
    if (DLprocessingDisabled) {
        sparkMessage(const_cast<char*>(" Q4-Vesk cannot run due to insufficient buffers."));
        sleep(5);
        return nullptr;
    }

    const int divisor = ResolutionDivisor(SparkPup33.Value);
    SparkGraphInfoStruct graph{};
    sparkGraphSetup(&graph);
    const float aspect = graph.PixelAspectRatio;

    DLnumProc = (signed char)info.NumProcessors;
    DLheight = info.FrameHeight;
    DLwidth = info.FrameWidth;
    DLscalesr = divisor;
    Instance.second_flag = false;
    Instance.frame = (double)(int)info.FrameNo;
    Instance.frame_next = (double)(int)info.TotalFrameNo;

    if (!sparkMemGetBuffer(DLtempBufferId, &DLtempRecord)) return nullptr;
    for (int id = 2; id <= 6; ++id) {
        SparkMemBufStruct& record = DLsourceRecords[id - 2];
        if (!sparkMemGetBuffer(id, &record)) {
            release_source_images();
            return nullptr;
        }
        SourceQ4* source = kSources[id - 2];
        source->index = id - 2;
        source->twelve_bit = DLtwelveBit ? 1 : 0;
        source->temp_id = DLtempBufferId;
        source->temp_record = &DLtempRecord;
        // Converted below, once the controls of this frame say whether it reads the clip.
        source->image = frame_image(record.Buffer, DLwidth, DLheight, aspect, divisor);
    }
    if (!sparkMemGetBuffer(1, &DLoutputRecord)) {
        release_source_images();
        return nullptr;
    }
    ResultQ4& result = Instance.info.result;
    result.image = frame_image(DLoutputRecord.Buffer, DLwidth, DLheight, aspect, divisor);

    CopyControlValues();
    if (DL_Sync_Ctrl == 1) {
        Instance.SyncControls();
        DL_Sync_Ctrl = 0;
    }
    // A clip the frame does not read keeps its block unconverted: no step of the frame looks
    // at its pixels, so the frame is the same and the conversion's time is saved.
    for (int i = 0; i < 5; ++i) {
        SourceQ4* source = kSources[i];
        if (!source->image || !Instance.reads_source(i)) continue;
        if (DLdirectIO && DLdirectIO->import_clip(DLdirectIO->context, i, divisor, DLsourceRecords[i].Buffer,
                                                  source->image))
            continue;
        convert_source(DLsourceRecords[i].Buffer, source->image, DLwidth, DLheight, divisor);
    }
    Instance.ProcessFrame();

    // Blend mixes the untouched background back over the effect; zero leaves the result alone.
    const float blend = SparkFloat27.Value / 100.0f;
    if (blend > 0.0f && result.image != nullptr)
        result.image->InBlend(blend, Instance.info.source1.image);

    release_source_images();
    if (result.image && DLoutputRecord.Buffer &&
        !(DLdirectIO && DLdirectIO->export_result(DLdirectIO->context, divisor, result.image)))
        convert_in_bands(DLoutputRecord.Buffer, result.image, DLwidth, DLheight, divisor, 1);
    Instance.frame_blocks.Give(result.image);
    result.image = nullptr;

    sparkViewingCursor(1);
    return DLoutputRecord.Buffer;
}

SPARK_EXPORT void SparkUnInitialise(SparkInfoStruct info) {
    sparkSaveSetup(reinterpret_cast<char*>(&info));
}

}  // extern "C"
