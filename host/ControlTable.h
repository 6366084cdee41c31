// The plug-in's control panel as the host sees it: the exported control records, the AuxQ4 range
// records, and the bridge that binds them to the effect's framework controls.
#ifndef HOST_CONTROLTABLE_H
#define HOST_CONTROLTABLE_H

#include "spark/spark.h"

// ---- Exported control records ---------------------------------------------------------------
// The host finds these by symbol name, builds its panel from them and writes the user's edits
// straight into their Value fields before calling the record's callback.
extern "C" {
// Clip names (records 0 to 4).
extern SPARK_EXPORT SparkStringStruct SparkString0, SparkString1, SparkString2, SparkString3,
    SparkString4;

// Page 1 "Vesk" (6 to 34).
extern SPARK_EXPORT SparkPushStruct SparkPush6, SparkPush7, SparkPush8, SparkPush10, SparkPush31,
    SparkPush32;
extern SPARK_EXPORT SparkIntStruct SparkInt9, SparkInt11, SparkInt12;
extern SPARK_EXPORT SparkFloatStruct SparkFloat13, SparkFloat14, SparkFloat15, SparkFloat27;
extern SPARK_EXPORT SparkBooleanStruct SparkBoolean20, SparkBoolean21, SparkBoolean28,
    SparkBoolean34;
extern SPARK_EXPORT SparkPupStruct SparkPup33;

// Page 2 "Shape" (35 to 63).
extern SPARK_EXPORT SparkPushStruct SparkPush35, SparkPush36, SparkPush37, SparkPush60, SparkPush61;
extern SPARK_EXPORT SparkBooleanStruct SparkBoolean38, SparkBoolean39, SparkBoolean47,
    SparkBoolean55, SparkBoolean57, SparkBoolean63;
extern SPARK_EXPORT SparkIntStruct SparkInt40;
extern SPARK_EXPORT SparkPupStruct SparkPup42, SparkPup59, SparkPup62;
extern SPARK_EXPORT SparkFloatStruct SparkFloat43, SparkFloat44, SparkFloat45, SparkFloat46,
    SparkFloat48, SparkFloat50, SparkFloat51, SparkFloat52, SparkFloat53, SparkFloat54;
extern SPARK_EXPORT SparkColorStruct SparkColor49;

// Page 3 "Influence" (64 to 92).
extern SPARK_EXPORT SparkPushStruct SparkPush64, SparkPush65, SparkPush66, SparkPush89, SparkPush90;
extern SPARK_EXPORT SparkBooleanStruct SparkBoolean67, SparkBoolean71, SparkBoolean75,
    SparkBoolean78, SparkBoolean81, SparkBoolean83, SparkBoolean86, SparkBoolean92;
extern SPARK_EXPORT SparkFloatStruct SparkFloat68, SparkFloat69, SparkFloat70, SparkFloat72,
    SparkFloat73, SparkFloat76, SparkFloat77, SparkFloat79, SparkFloat80, SparkFloat82,
    SparkFloat84;
extern SPARK_EXPORT SparkPupStruct SparkPup91;

// Page 4 "Presets" (93 to 121) and the user float channel 93.
extern SPARK_EXPORT SparkPushStruct SparkPush93, SparkPush94, SparkPush95, SparkPush100,
    SparkPush114, SparkPush118, SparkPush119;
extern SPARK_EXPORT SparkBooleanStruct SparkBoolean101, SparkBoolean102, SparkBoolean103,
    SparkBoolean104, SparkBoolean105, SparkBoolean115, SparkBoolean121;
extern SPARK_EXPORT SparkPupStruct SparkPup120;
extern SPARK_EXPORT SparkFloatStruct SparkUserFloat93;
}

// ---- AuxQ4 range records ---------------------------------------------------------------------
// One per animatable framework control; each starts with the control's range and is otherwise
// zero. The plug-in never reads them; they are part of the exported interface.
struct AuxQ4FloatRecord { float min, max; unsigned char rest[1028]; };          // Float, Size, Angle
struct AuxQ4IntegerRecord { int min, max; unsigned char rest[1028]; };
struct AuxQ4PositionRecord { float x_min, x_max, y_min, y_max; unsigned char rest[1028]; };
struct AuxQ4ColourRecord { int packed, zero; unsigned char rest[1032]; };
struct AuxQ4ListRecord { int selected, count; const char* titles[20]; unsigned char rest[1032]; };
struct AuxQ4CheckboxRecord { unsigned char zero[2528]; };
static_assert(sizeof(AuxQ4FloatRecord) == 1036, "AuxQ4 float record");
static_assert(sizeof(AuxQ4IntegerRecord) == 1036, "AuxQ4 integer record");
static_assert(sizeof(AuxQ4PositionRecord) == 1044, "AuxQ4 position record");
static_assert(sizeof(AuxQ4ColourRecord) == 1040, "AuxQ4 colour record");
static_assert(sizeof(AuxQ4ListRecord) == 1200, "AuxQ4 list record");
static_assert(sizeof(AuxQ4CheckboxRecord) == 2528, "AuxQ4 checkbox record");

extern "C" {
extern SPARK_EXPORT AuxQ4IntegerRecord AuxQ4Integer9, AuxQ4Integer11, AuxQ4Integer12,
    AuxQ4Integer40;
extern SPARK_EXPORT AuxQ4PositionRecord AuxQ4Position13, AuxQ4Position68, AuxQ4Position72;
extern SPARK_EXPORT AuxQ4FloatRecord AuxQ4Size15, AuxQ4Float43, AuxQ4Float44, AuxQ4Float45,
    AuxQ4Float46, AuxQ4Angle48, AuxQ4Float53, AuxQ4Float54, AuxQ4Float70, AuxQ4Float76,
    AuxQ4Float77, AuxQ4Float79, AuxQ4Float80, AuxQ4Float82, AuxQ4Float84;
extern SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox20, AuxQ4Checkbox21, AuxQ4Checkbox38,
    AuxQ4Checkbox39, AuxQ4Checkbox47, AuxQ4Checkbox55, AuxQ4Checkbox67, AuxQ4Checkbox71,
    AuxQ4Checkbox75, AuxQ4Checkbox78, AuxQ4Checkbox81, AuxQ4Checkbox83, AuxQ4Checkbox101,
    AuxQ4Checkbox102, AuxQ4Checkbox103, AuxQ4Checkbox104, AuxQ4Checkbox105;
extern SPARK_EXPORT AuxQ4ListRecord AuxQ4List42, AuxQ4List59;
extern SPARK_EXPORT AuxQ4ColourRecord AuxQ4Colour49;
}

// ---- Bridge ----------------------------------------------------------------------------------
// Binds every framework control of Instance to its host control number and record, resets the
// two callback flags (disabled false, refresh true) and greys the three texturing-cycle
// controls 38, 39 and 40. Called once by SparkInitialise.
void BindControls();

// Takes every bound control's host value into its framework control before a frame (integer,
// float, size and angle as they stand; the birth, predator and food positions and the birth
// radius as fractions of the frame; lists counting from 1; checkboxes as on/off; the colour
// swatch on the 15-bit scale). Called by SparkProcess before SyncControls and ProcessFrame.
void CopyControlValues();

// The same copy restricted to what the viewer overlay shows (birth position and radius, food
// and predator positions, Hunt Food and Avoid Predator); SparkOverlay calls it before drawing.
void CopyOverlayControlValues();

// Ties the four viewer handles to the controls they edit, their colours and the effect's overlay
// geometry; SparkOverlay calls it before every draw.
void BindOverlayHandles();

// Runs Sync() on every framework control of the effect (used after a Reset).
void SyncAllControls();

// Host control callbacks (the host's callback signature). DefaultCB is the common tail: with
// the page-1 "Auto Preview" on and reason 1 it renders the frame again, otherwise it redraws
// the viewer and returns null.
unsigned long* DefaultCB(int reason, SparkInfoStruct info);
unsigned long* SetShapeColCB(int reason, SparkInfoStruct info);
unsigned long* GetShapeColCB(int reason, SparkInfoStruct info);

// Standard input pages (host/InputPages.cpp).
unsigned long* Blend1CB(int reason, SparkInfoStruct info);
unsigned long* Overlay1CB(int reason, SparkInfoStruct info);
unsigned long* Overlay2CB(int reason, SparkInfoStruct info);
unsigned long* Overlay3CB(int reason, SparkInfoStruct info);
unsigned long* Overlay4CB(int reason, SparkInfoStruct info);
unsigned long* Reset1CB(int reason, SparkInfoStruct info);
unsigned long* Reset2CB(int reason, SparkInfoStruct info);
unsigned long* Reset3CB(int reason, SparkInfoStruct info);
unsigned long* Reset4CB(int reason, SparkInfoStruct info);
unsigned long* SetRes1CB(int reason, SparkInfoStruct info);
unsigned long* SetRes2CB(int reason, SparkInfoStruct info);
unsigned long* SetRes3CB(int reason, SparkInfoStruct info);
unsigned long* SetRes4CB(int reason, SparkInfoStruct info);
unsigned long* Auto1CB(int reason, SparkInfoStruct info);
unsigned long* Auto2CB(int reason, SparkInfoStruct info);
unsigned long* Auto3CB(int reason, SparkInfoStruct info);
unsigned long* Auto4CB(int reason, SparkInfoStruct info);

// Help (host/Help.cpp): display_help_topic returns 0 when the browser command was started.
int display_help_topic(const char* topic);
unsigned long* HelpCB(int reason, SparkInfoStruct info);

// Channels and amplitude import (host/Channels.cpp).
void RenameChannelEditorEntries();
unsigned long* import_aiff_CB(int reason, SparkInfoStruct info);
void aiff_file_CB(char* path);
extern "C" SPARK_EXPORT int SparkChannelEditor(void);

// Viewer redraw of the "Clear Overlay" controls; defined with the interaction bridge.
unsigned long* OverlayCB();

// The frame entry point, which callbacks call to render the current frame at once.
extern "C" SPARK_EXPORT unsigned long* SparkProcess(SparkInfoStruct info);

#endif
