// Module-level state of the host interface: the geometry and depth of the frame being processed,
// the processor count handed to band dispatch, and the host buffers of the current frame.
#ifndef HOST_HOSTSTATE_H
#define HOST_HOSTSTATE_H

#include "spark/spark.h"

// Frame width and height in host pixels of the current frame.
extern int DLwidth;
extern int DLheight;
// Preview resolution divisor: 1, 2, 3, 4, 6, 8, 12, 16 or 32.
extern int DLscalesr;
// Processor count handed to band dispatch (1 until the host reports its own).
extern int DLnumProc;

// 1 = the effect must run SyncControls() before its next frame; starts at 1. Read and written
// by the host too, so it is exported under this plain name.
extern "C" SPARK_EXPORT int DL_Sync_Ctrl;

// True when the host's frame depth code is 48 or 64.
extern bool DLtwelveBit;
// True when the host offered fewer than 2 image buffers; every frame is then refused.
extern bool DLprocessingDisabled;
// Id of the temporary frame buffer registered in SparkMemoryTempBuffers.
extern int DLtempBufferId;

// Host buffer records of the current frame: the temporary buffer, the five input clips (buffer
// ids 2 to 6) and the output (buffer id 1).
extern SparkMemBufStruct DLtempRecord;
extern SparkMemBufStruct DLsourceRecords[5];
extern SparkMemBufStruct DLoutputRecord;

class ImageQ4;

// The frame's pictures for a host built into the same binary that keeps them in a layout of its
// own (the OpenFX binding): it converts a clip straight into the effect's working image, or
// fills the clip's Spark buffer itself when it cannot, and takes the result straight from the
// working image. Unset in a Spark host, where every picture goes through the Spark buffers.
struct DirectFrameIO {
    void* context;
    // Clip `clip` (0 to 4) into `image` at sub-sampling `divisor`: true when done; false when
    // the clip's Spark buffer `buffer` holds the picture for the usual conversion.
    bool (*import_clip)(void* context, int clip, int divisor, void* buffer, ImageQ4* image);
    // The finished result into the host's picture: true when done; false to go through the
    // output buffer.
    bool (*export_result)(void* context, int divisor, ImageQ4* image);
};
extern DirectFrameIO* DLdirectIO;

// Divisor of the page-1 resolution list entry `entry` (0 "FULL" to 8 "1/32"); any other entry
// gives full resolution.
int ResolutionDivisor(int entry);

// True for the depth codes of 12-bit frames (48 and 64).
bool IsTwelveBitDepth(int depth_code);

#endif
