// The exported control records from which the host builds the four panel pages. Their initial
// Values are the factory defaults; the host writes edits into them and saves them with setups.
// Labels are host printf formats; the trailing blanks in several of them are part of the
// panel's look and are kept exactly.
#include "host/ControlTable.h"
#include "host/ControlCallbacks.h"

// The nine preview resolutions shared by the four resolution lists.
#define VESK_RESOLUTION_TITLES "FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32"

extern "C" {

// ---- Clip names --------------------------------------------------------------------------------
// Flags 16 is the host's marker for a clip-name string; passed through unchanged.
SPARK_EXPORT SparkStringStruct SparkString0 = {"1: Background Clip", "%s", 16, nullptr};
SPARK_EXPORT SparkStringStruct SparkString1 = {"2: Shape Colour", "%s", 16, nullptr};
SPARK_EXPORT SparkStringStruct SparkString2 = {"3: Shape Matte", "%s", 16, nullptr};
SPARK_EXPORT SparkStringStruct SparkString3 = {"4: Birth Matte", "%s", 16, nullptr};
SPARK_EXPORT SparkStringStruct SparkString4 = {"5: Avoidance Matte", "%s", 16, nullptr};

// ---- Page 1 "Vesk" -----------------------------------------------------------------------------
SPARK_EXPORT SparkPushStruct SparkPush6 = {"Restart   ", dlcb_6};
SPARK_EXPORT SparkPushStruct SparkPush7 = {"Restart+PreRoll   ", dlcb_7};
SPARK_EXPORT SparkPushStruct SparkPush8 = {"PreRoll   ", dlcb_8};
// Flags 8 on the pre-roll count is the host's own marker; passed through unchanged.
SPARK_EXPORT SparkIntStruct SparkInt9 = {40, 1, 1000, 1, 8, "PreRoll: %d", dlcb_9};
SPARK_EXPORT SparkPushStruct SparkPush10 = {"Advance   ", dlcb_10};
SPARK_EXPORT SparkIntStruct SparkInt11 = {20, 1, 5000, 1, 0, "Vesk Size: %d", dlcb_11};
SPARK_EXPORT SparkIntStruct SparkInt12 = {165, 1, 999, 17, 0, "Seed: %d", dlcb_12};
SPARK_EXPORT SparkFloatStruct SparkFloat13 = {84, -150, 250, 0.05f, 0, "Birth X: %.2f", dlcb_13};
SPARK_EXPORT SparkFloatStruct SparkFloat14 = {84, -150, 250, 0.05f, 0, "Birth Y: %.2f", dlcb_13};
SPARK_EXPORT SparkFloatStruct SparkFloat15 = {50, 0, 200, 0.05f, 0, "Birth Radius: %.2f", dlcb_15};
SPARK_EXPORT SparkBooleanStruct SparkBoolean20 = {0, 0, "Use Birth Matte   ", dlcb_20};
SPARK_EXPORT SparkBooleanStruct SparkBoolean21 = {0, 0, "Invert Birth Matte   ", dlcb_21};
SPARK_EXPORT SparkFloatStruct SparkFloat27 = {0, 0, 100, 0.1f, 0, "Blend: %.2f", Blend1CB};
SPARK_EXPORT SparkBooleanStruct SparkBoolean28 = {0, 0, "Clear Overlay", Overlay1CB};
SPARK_EXPORT SparkPushStruct SparkPush31 = {"Help", HelpCB};
SPARK_EXPORT SparkPushStruct SparkPush32 = {"Reset", Reset1CB};
SPARK_EXPORT SparkPupStruct SparkPup33 = {0, 9, SetRes1CB, {VESK_RESOLUTION_TITLES}};
SPARK_EXPORT SparkBooleanStruct SparkBoolean34 = {1, 0, "Auto Preview", Auto1CB};

// ---- Page 2 "Shape" ----------------------------------------------------------------------------
SPARK_EXPORT SparkPushStruct SparkPush35 = {"Restart   ", dlcb_35};
SPARK_EXPORT SparkPushStruct SparkPush36 = {"Restart+PreRoll   ", dlcb_36};
SPARK_EXPORT SparkPushStruct SparkPush37 = {"PreRoll   ", dlcb_37};
SPARK_EXPORT SparkBooleanStruct SparkBoolean38 = {0, 0, "Texturing Cycle   ", dlcb_38};
SPARK_EXPORT SparkBooleanStruct SparkBoolean39 = {0, 0, "Random Start   ", dlcb_39};
SPARK_EXPORT SparkIntStruct SparkInt40 = {5, 1, 10000, 1, 0, "Frames in Cycle: %d", dlcb_40};
SPARK_EXPORT SparkPupStruct SparkPup42 = {
    0, 9, dlcb_42,
    {"Shape: Blob  ", "Shape: Rectangle  ", "Shape: Triangle  ", "Shape: Diamond  ",
     "Shape: Four Point Star  ", "Shape: Five Point Star  ", "Shape: Cols with Matte  ",
     "Shape: Matte over Cols  ", "Shape: Colour in Matte  "}};
SPARK_EXPORT SparkFloatStruct SparkFloat43 = {72, 1, 100, 0.5f, 0, "Shape Width: %.2f", dlcb_43};
SPARK_EXPORT SparkFloatStruct SparkFloat44 = {57, 1, 100, 0.5f, 0, "Shape Height: %.2f", dlcb_44};
SPARK_EXPORT SparkFloatStruct SparkFloat45 = {60, 0, 100, 0.5f, 0, "Random Sizes: %.2f", dlcb_45};
SPARK_EXPORT SparkFloatStruct SparkFloat46 = {50, 1, 100, 0.5f, 0, "Star Sharpness: %.2f",
                                              dlcb_46};
SPARK_EXPORT SparkBooleanStruct SparkBoolean47 = {0, 0, "Living Rotate   ", dlcb_47};
SPARK_EXPORT SparkFloatStruct SparkFloat48 = {0, -360, 360, 0.01f, 0, "Base Rotation: %.2f",
                                              dlcb_48};
SPARK_EXPORT SparkColorStruct SparkColor49 = {0xFFFFFFFFul, dlcb_49};
SPARK_EXPORT SparkFloatStruct SparkFloat50 = {100, 0, 100, 0.2f, 0, "Shape Colour R: %.2f",
                                              SetShapeColCB};
SPARK_EXPORT SparkFloatStruct SparkFloat51 = {100, 0, 100, 0.2f, 0, "Shape Colour G: %.2f",
                                              SetShapeColCB};
SPARK_EXPORT SparkFloatStruct SparkFloat52 = {100, 0, 100, 0.2f, 0, "Shape Colour B: %.2f",
                                              SetShapeColCB};
SPARK_EXPORT SparkFloatStruct SparkFloat53 = {0, 0, 100, 0.5f, 0, "Random Colours: %.2f", dlcb_53};
SPARK_EXPORT SparkFloatStruct SparkFloat54 = {100, 0, 100, 0.5f, 0, "Shape Density: %.2f",
                                              dlcb_54};
SPARK_EXPORT SparkBooleanStruct SparkBoolean55 = {0, 0, "Use Shapes over Cols   ", dlcb_55};
SPARK_EXPORT SparkBooleanStruct SparkBoolean57 = {0, 0, "Clear Overlay", Overlay2CB};
SPARK_EXPORT SparkPupStruct SparkPup59 = {
    1, 2, dlcb_59, {"Render Mode: Render  ", "Render Mode: Wireframe  "}};
SPARK_EXPORT SparkPushStruct SparkPush60 = {"Help", HelpCB};
SPARK_EXPORT SparkPushStruct SparkPush61 = {"Reset", Reset2CB};
SPARK_EXPORT SparkPupStruct SparkPup62 = {0, 9, SetRes2CB, {VESK_RESOLUTION_TITLES}};
SPARK_EXPORT SparkBooleanStruct SparkBoolean63 = {1, 0, "Auto Preview", Auto2CB};

// ---- Page 3 "Influence" ------------------------------------------------------------------------
SPARK_EXPORT SparkPushStruct SparkPush64 = {"Restart   ", dlcb_64};
SPARK_EXPORT SparkPushStruct SparkPush65 = {"Restart+PreRoll   ", dlcb_65};
SPARK_EXPORT SparkPushStruct SparkPush66 = {"PreRoll   ", dlcb_66};
SPARK_EXPORT SparkBooleanStruct SparkBoolean67 = {0, 0, "Avoid Predator   ", dlcb_67};
SPARK_EXPORT SparkFloatStruct SparkFloat68 = {40, -150, 250, 0.05f, 0, "Predator X: %.2f", dlcb_68};
SPARK_EXPORT SparkFloatStruct SparkFloat69 = {40, -150, 250, 0.05f, 0, "Predator Y: %.2f", dlcb_68};
SPARK_EXPORT SparkFloatStruct SparkFloat70 = {18, 1, 100, 0.5f, 0, "Fear of Predator: %.2f",
                                              dlcb_70};
SPARK_EXPORT SparkBooleanStruct SparkBoolean71 = {1, 0, "Hunt Food   ", dlcb_71};
SPARK_EXPORT SparkFloatStruct SparkFloat72 = {20, -150, 250, 0.05f, 0, "Food X: %.2f", dlcb_72};
SPARK_EXPORT SparkFloatStruct SparkFloat73 = {15, -150, 250, 0.05f, 0, "Food Y: %.2f", dlcb_72};
SPARK_EXPORT SparkBooleanStruct SparkBoolean75 = {0, 0, "Use Avoid Matte   ", dlcb_75};
SPARK_EXPORT SparkFloatStruct SparkFloat76 = {10, 1, 100, 0.5f, 0, "Avoid Forward: %.2f", dlcb_76};
SPARK_EXPORT SparkFloatStruct SparkFloat77 = {5, 1, 100, 0.5f, 0, "Avoid Sides: %.2f", dlcb_77};
SPARK_EXPORT SparkBooleanStruct SparkBoolean78 = {0, 0, "Match Velocity   ", dlcb_78};
SPARK_EXPORT SparkFloatStruct SparkFloat79 = {20, 0, 100, 0.5f, 0, "Speed: %.2f", dlcb_79};
SPARK_EXPORT SparkFloatStruct SparkFloat80 = {3.5f, 0, 100, 0.5f, 0, "Acceleration: %.2f", dlcb_80};
SPARK_EXPORT SparkBooleanStruct SparkBoolean81 = {0, 0, "Avoid Others   ", dlcb_81};
SPARK_EXPORT SparkFloatStruct SparkFloat82 = {15, 1, 100, 0.5f, 0, "Personal Space: %.2f",
                                              dlcb_82};
SPARK_EXPORT SparkBooleanStruct SparkBoolean83 = {0, 0, "Vesk Gathering   ", dlcb_83};
SPARK_EXPORT SparkFloatStruct SparkFloat84 = {10, 0, 100, 0.5f, 0, "Vesk Grouping: %.2f", dlcb_84};
SPARK_EXPORT SparkBooleanStruct SparkBoolean86 = {0, 0, "Clear Overlay", Overlay3CB};
SPARK_EXPORT SparkPushStruct SparkPush89 = {"Help", HelpCB};
SPARK_EXPORT SparkPushStruct SparkPush90 = {"Reset", Reset3CB};
SPARK_EXPORT SparkPupStruct SparkPup91 = {0, 9, SetRes3CB, {VESK_RESOLUTION_TITLES}};
SPARK_EXPORT SparkBooleanStruct SparkBoolean92 = {1, 0, "Auto Preview", Auto3CB};

// ---- Page 4 "Presets" --------------------------------------------------------------------------
SPARK_EXPORT SparkPushStruct SparkPush93 = {"Restart   ", dlcb_93};
// The user float channel 93 has its own numbering and does not collide with SparkPush93; it only
// carries the keys of an imported amplitude file, so it has no callback.
SPARK_EXPORT SparkFloatStruct SparkUserFloat93 = {0, -1000, 1000, 0.001f, 0,
                                                  "Amplitude Import: %.1f", nullptr};
SPARK_EXPORT SparkPushStruct SparkPush94 = {"Restart+PreRoll   ", dlcb_94};
SPARK_EXPORT SparkPushStruct SparkPush95 = {"PreRoll   ", dlcb_95};
SPARK_EXPORT SparkPushStruct SparkPush100 = {"Simple Food Hunt   ", dlcb_100};
SPARK_EXPORT SparkBooleanStruct SparkBoolean101 = {0, 0, "Add Predator   ", dlcb_101};
SPARK_EXPORT SparkBooleanStruct SparkBoolean102 = {0, 0, "Add Living Rotate   ", dlcb_102};
SPARK_EXPORT SparkBooleanStruct SparkBoolean103 = {0, 0, "Add Personal Space   ", dlcb_103};
SPARK_EXPORT SparkBooleanStruct SparkBoolean104 = {0, 0, "Add Vesk Centring   ", dlcb_104};
SPARK_EXPORT SparkBooleanStruct SparkBoolean105 = {0, 0, "Add Match Velocity   ", dlcb_105};
SPARK_EXPORT SparkPushStruct SparkPush114 = {"Import Amplitude File", import_aiff_CB};
SPARK_EXPORT SparkBooleanStruct SparkBoolean115 = {0, 0, "Clear Overlay", Overlay4CB};
SPARK_EXPORT SparkPushStruct SparkPush118 = {"Help", HelpCB};
SPARK_EXPORT SparkPushStruct SparkPush119 = {"Reset", Reset4CB};
SPARK_EXPORT SparkPupStruct SparkPup120 = {0, 9, SetRes4CB, {VESK_RESOLUTION_TITLES}};
SPARK_EXPORT SparkBooleanStruct SparkBoolean121 = {1, 0, "Auto Preview", Auto4CB};

}  // extern "C"
