/*
 * The Spark host interface on x86-64 Linux: the records a host and a plug-in exchange, the host
 * functions a plug-in imports and the entry points it exports. Both sides include this header, so
 * every offset below is checked at compile time against the layout an IFFFS host uses.
 */
#ifndef SPARK_SPARK_H
#define SPARK_SPARK_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Marks a symbol that the plug-in exports to its host; everything else stays hidden. */
#define SPARK_EXPORT __attribute__((visibility("default")))

typedef unsigned long ulong;


/* The frame information record, passed by value. */
typedef struct SparkInfoStruct {
    char Name[4096];         /* setup name; sparkLoadSetup/sparkSaveSetup receive its address */
    int FrameBufferX;        /* viewer origin */
    int FrameBufferY;
    int TotalBuffers;
    int TotalClips;
    int FramePixels;
    int FrameBytes;
    char Mode;               /* interaction-enabled / blend flag byte */
    unsigned int FrameNo;    /* current frame */
    unsigned int TotalFrameNo; /* the following frame value */
    int FrameWidth;
    int FrameHeight;
    int FrameDepth;          /* 24 = 8-bit RGB; 48 or 64 = 12-bit in 16-bit words */
    ulong** Buffers;
    char NumProcessors;
    char Context;
    ulong RenderQuality;
    ulong reserved[11];
} SparkInfoStruct;

/* Every control callback has this signature; a non-null result is a rendered frame. */
typedef unsigned long* (*SparkCallback)(int reason, struct SparkInfoStruct info);

/* Filled by sparkMemGetBuffer. */
typedef struct SparkMemBufStruct {
    int TotalBuffers;
    ulong* Buffer;           /* the pixels */
    int BufState;            /* bit 2 = locked */
    int BufSize;             /* bytes */
    int BufFmt;
    int BufWidth;
    int BufHeight;
    int BufDepth;
    int Stride;              /* bytes per row */
    int Inc;                 /* bytes per pixel */
    ulong reserved[10];
} SparkMemBufStruct;

#define SPARK_BUF_LOCKED 4

/* Filled by sparkGraphSetup. */
typedef struct SparkGraphInfoStruct {
    float PixelAspectRatio;
    long GraphicsMaxX;
    long GraphicsMaxY;
    ulong reserved[12];
} SparkGraphInfoStruct;

/* Control records: exported data symbols the host reads to build its panel. */
typedef struct SparkFloatStruct {   /* SparkFloatN, SparkUserFloatN */
    float Value, Min, Max, Increment;
    unsigned int Flags;
    const char* Title;
    SparkCallback Callback;
} SparkFloatStruct;

typedef struct SparkIntStruct {     /* SparkIntN */
    int Value, Min, Max, Increment;
    unsigned int Flags;
    const char* Title;
    SparkCallback Callback;
} SparkIntStruct;

typedef struct SparkBooleanStruct { /* SparkBooleanN */
    int Value;                      /* the low byte is the state */
    int Flags;
    const char* Title;
    SparkCallback Callback;
} SparkBooleanStruct;

typedef struct SparkPushStruct {    /* SparkPushN */
    const char* Title;
    SparkCallback Callback;
} SparkPushStruct;

#define SPARK_PUP_MAX_TITLES 20
typedef struct SparkPupStruct {     /* SparkPupN */
    int Value;
    int TitleCount;
    SparkCallback Callback;
    const char* Titles[SPARK_PUP_MAX_TITLES];
} SparkPupStruct;

typedef struct SparkColorStruct {   /* SparkColorN */
    ulong Color;                    /* low 32 bits: R, G, B, 0xFF from the low byte up */
    SparkCallback Callback;
} SparkColorStruct;

#define SPARK_STRING_LENGTH 200
typedef struct SparkStringStruct {  /* SparkStringN */
    char Value[SPARK_STRING_LENGTH];
    const char* Title;
    unsigned int Flags;
    SparkCallback Callback;
} SparkStringStruct;

/* Host functions the plug-in imports (resolved from the loading process). */
float sparkAPIVersionInfo(void);
const char* sparkProgramGetName(void);
void sparkMessage(char* text);
void sparkError(char* text);
int sparkMessageConfirm(char* text);
int sparkMemGetFreeMemory(void);
int sparkMemRegisterBuffer(void);
int sparkMemGetBuffer(int id, SparkMemBufStruct* rec);
void sparkGetFrame(int clip, int frame, ulong* destination);
void sparkGraphSetup(SparkGraphInfoStruct* g);
float sparkGetViewerRatio(void);
void sparkViewingDraw(void);
void sparkViewingCursor(int cursor);
void sparkCursorBusy(void);
void sparkControlUpdate(int control);
void sparkEnableParameter(int type, int control);
void sparkDisableParameter(int type, int control);
void sparkControlTitle(int page, char* title);
void sparkClipControlTitle(int clip, char* title);
int sparkSetControlName(int type, int control, char* name);
float sparkGetCurveValuef(int type, int control, float frame);
void sparkSetCurveKey(int type, int control, int frame, float value);
void sparkCeAddFolder(int level, char* name);
void sparkCeAddControl(int level, int type, int control);
void sparkLoadSetup(char* name);
void sparkSaveSetup(char* name);
void sparkWorkingDir(char* directory);
void sparkFileBrowserDisplay(char* path, char* extension, void (*done)(char* file));
void sparkMpFork(void (*job)(), int nargs, ...);
void sparkMpInfo(ulong* offset, ulong* count);

/* Entry points the plug-in exports, as function types for a host's loader. */
typedef unsigned int (*SparkInitialiseFn)(SparkInfoStruct);
typedef int (*SparkClipsFn)(void);
typedef int (*SparkMemoryTempBuffersFn)(void);
typedef int (*SparkProcessStartFn)(SparkInfoStruct);
typedef unsigned long* (*SparkProcessFn)(SparkInfoStruct);
typedef void (*SparkUnInitialiseFn)(SparkInfoStruct);
typedef unsigned long* (*SparkInteractFn)(SparkInfoStruct, int sx, int sy, float pressure,
                                          float vx, float vy, float zoom);
typedef void (*SparkOverlayFn)(SparkInfoStruct, float zoom);
typedef int (*SparkChannelEditorFn)(void);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
#define SPARK_STATIC_ASSERT static_assert
#else
#define SPARK_STATIC_ASSERT _Static_assert
#endif

SPARK_STATIC_ASSERT(sizeof(void*) == 8 && sizeof(ulong) == 8, "x86-64 LP64 only");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, Name) == 0x0000, "Name");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameBufferX) == 0x1000, "FrameBufferX");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameBufferY) == 0x1004, "FrameBufferY");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, TotalBuffers) == 0x1008, "TotalBuffers");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, TotalClips) == 0x100C, "TotalClips");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FramePixels) == 0x1010, "FramePixels");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameBytes) == 0x1014, "FrameBytes");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, Mode) == 0x1018, "Mode");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameNo) == 0x101C, "FrameNo");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, TotalFrameNo) == 0x1020, "TotalFrameNo");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameWidth) == 0x1024, "FrameWidth");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameHeight) == 0x1028, "FrameHeight");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, FrameDepth) == 0x102C, "FrameDepth");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, Buffers) == 0x1030, "Buffers");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, NumProcessors) == 0x1038, "NumProcessors");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, Context) == 0x1039, "Context");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, RenderQuality) == 0x1040, "RenderQuality");
SPARK_STATIC_ASSERT(offsetof(SparkInfoStruct, reserved) == 0x1048, "reserved");
SPARK_STATIC_ASSERT(sizeof(SparkInfoStruct) == 0x10A0, "SparkInfoStruct size");

SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, TotalBuffers) == 0, "TotalBuffers");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, Buffer) == 8, "Buffer");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufState) == 16, "BufState");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufSize) == 20, "BufSize");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufFmt) == 24, "BufFmt");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufWidth) == 28, "BufWidth");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufHeight) == 32, "BufHeight");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, BufDepth) == 36, "BufDepth");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, Stride) == 40, "Stride");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, Inc) == 44, "Inc");
SPARK_STATIC_ASSERT(offsetof(SparkMemBufStruct, reserved) == 48, "reserved");
SPARK_STATIC_ASSERT(sizeof(SparkMemBufStruct) == 128, "SparkMemBufStruct size");

SPARK_STATIC_ASSERT(offsetof(SparkGraphInfoStruct, PixelAspectRatio) == 0, "PixelAspectRatio");
SPARK_STATIC_ASSERT(offsetof(SparkGraphInfoStruct, GraphicsMaxX) == 8, "GraphicsMaxX");
SPARK_STATIC_ASSERT(offsetof(SparkGraphInfoStruct, GraphicsMaxY) == 16, "GraphicsMaxY");

SPARK_STATIC_ASSERT(sizeof(SparkFloatStruct) == 40, "SparkFloat size");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Value) == 0, "Float Value");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Min) == 4, "Float Min");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Max) == 8, "Float Max");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Increment) == 12, "Float Increment");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Flags) == 16, "Float Flags");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Title) == 24, "Float Title");
SPARK_STATIC_ASSERT(offsetof(SparkFloatStruct, Callback) == 32, "Float Callback");
SPARK_STATIC_ASSERT(sizeof(SparkIntStruct) == 40, "SparkInt size");
SPARK_STATIC_ASSERT(offsetof(SparkIntStruct, Flags) == 16, "Int Flags");
SPARK_STATIC_ASSERT(offsetof(SparkIntStruct, Title) == 24, "Int Title");
SPARK_STATIC_ASSERT(offsetof(SparkIntStruct, Callback) == 32, "Int Callback");
SPARK_STATIC_ASSERT(sizeof(SparkBooleanStruct) == 24, "SparkBoolean size");
SPARK_STATIC_ASSERT(offsetof(SparkBooleanStruct, Title) == 8, "Boolean Title");
SPARK_STATIC_ASSERT(offsetof(SparkBooleanStruct, Callback) == 16, "Boolean Callback");
SPARK_STATIC_ASSERT(sizeof(SparkPushStruct) == 16, "SparkPush size");
SPARK_STATIC_ASSERT(sizeof(SparkPupStruct) == 176, "SparkPup size");
SPARK_STATIC_ASSERT(offsetof(SparkPupStruct, TitleCount) == 4, "Pup TitleCount");
SPARK_STATIC_ASSERT(offsetof(SparkPupStruct, Callback) == 8, "Pup Callback");
SPARK_STATIC_ASSERT(offsetof(SparkPupStruct, Titles) == 16, "Pup Titles");
SPARK_STATIC_ASSERT(sizeof(SparkColorStruct) == 16, "SparkColor size");
SPARK_STATIC_ASSERT(offsetof(SparkColorStruct, Callback) == 8, "Color Callback");
SPARK_STATIC_ASSERT(sizeof(SparkStringStruct) == 224, "SparkString size");
SPARK_STATIC_ASSERT(offsetof(SparkStringStruct, Title) == 200, "String Title");
SPARK_STATIC_ASSERT(offsetof(SparkStringStruct, Flags) == 208, "String Flags");
SPARK_STATIC_ASSERT(offsetof(SparkStringStruct, Callback) == 216, "String Callback");

#endif /* SPARK_SPARK_H */
