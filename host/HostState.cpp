// Module-level state of the host interface.
#include "host/HostState.h"

int DLwidth = 0;
int DLheight = 0;
int DLscalesr = 1;
// One band until the host reports its processor count with the first frame.
int DLnumProc = 1;

extern "C" {
SPARK_EXPORT int DL_Sync_Ctrl = 1;
}

bool DLtwelveBit = false;
bool DLprocessingDisabled = false;
int DLtempBufferId = 0;

SparkMemBufStruct DLtempRecord;
SparkMemBufStruct DLsourceRecords[5];
SparkMemBufStruct DLoutputRecord;
DirectFrameIO* DLdirectIO = nullptr;

int ResolutionDivisor(int entry) {
    // The list entries "FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32".
    static const int divisors[9] = {1, 2, 3, 4, 6, 8, 12, 16, 32};
    if (entry < 0 || entry > 8) return 1;
    return divisors[entry];
}

bool IsTwelveBitDepth(int depth_code) { return depth_code == 64 || depth_code == 48; }
