// Handles on the input clips and the output clip.
#include <string.h>

#include "Library/Q4Convert.h"
#include "framework/ControlQ4.h"
#include "framework/PluginQ4.h"
#include "host/HostState.h"

SourceQ4::SourceQ4()
    : temp_record(nullptr), temp_id(0), index(0), twelve_bit(0), flag(1), image(nullptr) {}

void SourceQ4::GetValue(double frame, ImageQ4*& target) {
    if (temp_record == nullptr) {
        PrintError("Random Frame Access requested via GetValue(), but no temp buf allocated. "
                   "(DLRandom in .plugin?)\n");
        return;
    }
    if (target == nullptr) return;
    sparkGetFrame(index, (int)(frame + 0.5), temp_record->Buffer);
    // The frame lands in the image given, at the working resolution of the current frame and
    // with that image's own pixel ratio.
    if (twelve_bit)
        target = ConvertFromDLImage12(temp_record->Buffer, DLwidth, DLheight, target->ratio,
                                      DLscalesr, target, 1);
    else
        target = ConvertFromDLImage8(temp_record->Buffer, DLwidth, DLheight, target->ratio,
                                     DLscalesr, target, 1);
}

ResultQ4::ResultQ4() : temp_record(nullptr), temp_id(0), index(0), twelve_bit(0), image(nullptr) {}
