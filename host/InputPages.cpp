// The standard block that closes every panel page: "Clear Overlay", "Help", "Reset", the
// resolution list and "Auto Preview" (plus "Blend" on page 1). The four copies of each are kept
// equal, so a change on any page shows on all of them; the rest of the plug-in reads the page-1
// records only.
#include "effect/Vesk.h"
#include "host/ControlTable.h"

namespace {

SparkBooleanStruct* const kAutoPreview[4] = {&SparkBoolean34, &SparkBoolean63, &SparkBoolean92,
                                             &SparkBoolean121};
SparkBooleanStruct* const kClearOverlay[4] = {&SparkBoolean28, &SparkBoolean57, &SparkBoolean86,
                                              &SparkBoolean115};
SparkPupStruct* const kResolution[4] = {&SparkPup33, &SparkPup62, &SparkPup91, &SparkPup120};
const int kAutoPreviewNumber[4] = {34, 63, 92, 121};
const int kClearOverlayNumber[4] = {28, 57, 86, 115};
const int kResolutionNumber[4] = {33, 62, 91, 120};

// Copies the state byte of page `page`'s boolean into the other three copies; only the edited
// page's control is refreshed by the host.
void mirror_boolean(SparkBooleanStruct* const copies[4], int page)
{
    const int state = static_cast<int>(static_cast<unsigned>(copies[page]->Value) & 0xFFu);
    for (int p = 0; p < 4; ++p)
        if (p != page)
            copies[p]->Value = state;
}

unsigned long* auto_preview(int page, int reason, SparkInfoStruct info)
{
    sparkControlUpdate(kAutoPreviewNumber[page]);
    mirror_boolean(kAutoPreview, page);
    return DefaultCB(reason, info);
}

unsigned long* clear_overlay(int page)
{
    sparkControlUpdate(kClearOverlayNumber[page]);
    mirror_boolean(kClearOverlay, page);
    return OverlayCB();
}

unsigned long* set_resolution(int page, SparkInfoStruct info)
{
    sparkControlUpdate(kResolutionNumber[page]);
    for (int p = 0; p < 4; ++p)
        if (p != page)
            kResolution[p]->Value = kResolution[page]->Value;
    // A new preview resolution is always shown at once, whatever "Auto Preview" says.
    return SparkProcess(info);
}

void reset_int(SparkIntStruct& record, int number, int value)
{
    record.Value = value;
    sparkControlUpdate(number);
}
void reset_float(SparkFloatStruct& record, int number, float value)
{
    record.Value = value;
    sparkControlUpdate(number);
}
void reset_boolean(SparkBooleanStruct& record, int number, int value)
{
    record.Value = value;
    sparkControlUpdate(number);
}
void reset_list(SparkPupStruct& record, int number, int entry)
{
    record.Value = entry;
    sparkControlUpdate(number);
}

// Factory values of the effect controls on each page; the standard controls are left alone.
void reset_page1()
{
    reset_int(SparkInt9, 9, 40);
    reset_int(SparkInt12, 12, 165);
    reset_float(SparkFloat13, 13, 84);
    reset_float(SparkFloat14, 14, 84);
    reset_float(SparkFloat15, 15, 50);
    reset_boolean(SparkBoolean20, 20, 0);
    reset_boolean(SparkBoolean21, 21, 0);
    reset_int(SparkInt11, 11, 20);
}

void reset_page2()
{
    reset_list(SparkPup42, 42, 0);
    reset_float(SparkFloat43, 43, 72);
    reset_float(SparkFloat44, 44, 57);
    reset_float(SparkFloat45, 45, 60);
    reset_float(SparkFloat46, 46, 50);
    reset_list(SparkPup59, 59, 1);
    SparkColor49.Color = 0xFFFFFFFFul;
    sparkControlUpdate(49);
    reset_float(SparkFloat50, 50, 100);
    reset_float(SparkFloat51, 51, 100);
    reset_float(SparkFloat52, 52, 100);
    reset_float(SparkFloat53, 53, 0);
    reset_float(SparkFloat54, 54, 100);
    reset_boolean(SparkBoolean55, 55, 0);
    reset_boolean(SparkBoolean47, 47, 0);
    reset_float(SparkFloat48, 48, 0);
    reset_boolean(SparkBoolean38, 38, 0);
    reset_boolean(SparkBoolean39, 39, 0);
    reset_int(SparkInt40, 40, 5);
}

void reset_page3()
{
    reset_boolean(SparkBoolean67, 67, 0);
    reset_float(SparkFloat68, 68, 40);
    reset_float(SparkFloat69, 69, 40);
    reset_float(SparkFloat70, 70, 18);
    reset_boolean(SparkBoolean71, 71, 1);
    reset_float(SparkFloat72, 72, 20);
    reset_float(SparkFloat73, 73, 15);
    reset_boolean(SparkBoolean75, 75, 0);
    reset_float(SparkFloat76, 76, 10);
    reset_float(SparkFloat77, 77, 5);
    reset_boolean(SparkBoolean78, 78, 0);
    reset_float(SparkFloat79, 79, 20);
    reset_float(SparkFloat80, 80, 3.5f);
    reset_boolean(SparkBoolean81, 81, 0);
    reset_float(SparkFloat82, 82, 15);
    reset_boolean(SparkBoolean83, 83, 0);
    reset_float(SparkFloat84, 84, 10);
}

void reset_page4()
{
    reset_boolean(SparkBoolean101, 101, 0);
    reset_boolean(SparkBoolean102, 102, 0);
    reset_boolean(SparkBoolean103, 103, 0);
    reset_boolean(SparkBoolean104, 104, 0);
    reset_boolean(SparkBoolean105, 105, 0);
}

unsigned long* reset(void (*reset_page)(), int reason, SparkInfoStruct info)
{
    if (!sparkMessageConfirm(const_cast<char*>(
            "Are you sure you want to reset the current settings to default values?")))
        return nullptr;
    reset_page();
    SyncAllControls();
    Instance.SyncControls();
    return DefaultCB(reason, info);
}

}  // namespace

unsigned long* Auto1CB(int reason, SparkInfoStruct info) { return auto_preview(0, reason, info); }
unsigned long* Auto2CB(int reason, SparkInfoStruct info) { return auto_preview(1, reason, info); }
unsigned long* Auto3CB(int reason, SparkInfoStruct info) { return auto_preview(2, reason, info); }
unsigned long* Auto4CB(int reason, SparkInfoStruct info) { return auto_preview(3, reason, info); }

unsigned long* Overlay1CB(int, SparkInfoStruct) { return clear_overlay(0); }
unsigned long* Overlay2CB(int, SparkInfoStruct) { return clear_overlay(1); }
unsigned long* Overlay3CB(int, SparkInfoStruct) { return clear_overlay(2); }
unsigned long* Overlay4CB(int, SparkInfoStruct) { return clear_overlay(3); }

unsigned long* SetRes1CB(int, SparkInfoStruct info) { return set_resolution(0, info); }
unsigned long* SetRes2CB(int, SparkInfoStruct info) { return set_resolution(1, info); }
unsigned long* SetRes3CB(int, SparkInfoStruct info) { return set_resolution(2, info); }
unsigned long* SetRes4CB(int, SparkInfoStruct info) { return set_resolution(3, info); }

unsigned long* Reset1CB(int reason, SparkInfoStruct info) { return reset(reset_page1, reason, info); }
unsigned long* Reset2CB(int reason, SparkInfoStruct info) { return reset(reset_page2, reason, info); }
unsigned long* Reset3CB(int reason, SparkInfoStruct info) { return reset(reset_page3, reason, info); }
unsigned long* Reset4CB(int reason, SparkInfoStruct info) { return reset(reset_page4, reason, info); }

unsigned long* Blend1CB(int reason, SparkInfoStruct info)
{
    sparkViewingDraw();
    // The host sets its mode byte to 1 when the edit is one the effect should act on; any other
    // change of the blend only redraws.
    if (reason == 1 && info.Mode == 1) {
        sparkControlUpdate(27);
        return DefaultCB(reason, info);
    }
    return nullptr;
}
