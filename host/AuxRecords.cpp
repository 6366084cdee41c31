// The AuxQ4 records: one per animatable framework control, carrying the control's range (or, for
// lists and the colour swatch, its starting state) ahead of a zero-filled body. They belong to
// the exported interface that existing setups and hosts expect; the plug-in itself never reads
// or writes them.
#include "host/ControlTable.h"

extern "C" {

SPARK_EXPORT AuxQ4IntegerRecord AuxQ4Integer9 = {1, 1000, {}};
SPARK_EXPORT AuxQ4IntegerRecord AuxQ4Integer11 = {1, 5000, {}};
SPARK_EXPORT AuxQ4IntegerRecord AuxQ4Integer12 = {1, 999, {}};
SPARK_EXPORT AuxQ4PositionRecord AuxQ4Position13 = {-150, 250, -150, 250, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Size15 = {0, 200, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox20 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox21 = {};

SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox38 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox39 = {};
SPARK_EXPORT AuxQ4IntegerRecord AuxQ4Integer40 = {1, 10000, {}};
// The framework's list records hold the entries without the "Shape: " / "Render Mode: " prefix
// that the host's lists show.
SPARK_EXPORT AuxQ4ListRecord AuxQ4List42 = {
    0, 9,
    {"Blob  ", "Rectangle  ", "Triangle  ", "Diamond  ", "Four Point Star  ",
     "Five Point Star  ", "Cols with Matte  ", "Matte over Cols  ", "Colour in Matte  "},
    {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float43 = {1, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float44 = {1, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float45 = {0, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float46 = {1, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox47 = {};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Angle48 = {-360, 360, {}};
SPARK_EXPORT AuxQ4ColourRecord AuxQ4Colour49 = {static_cast<int>(0xFFFFFFFFu), 0, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float53 = {0, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float54 = {0, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox55 = {};
SPARK_EXPORT AuxQ4ListRecord AuxQ4List59 = {1, 2, {"Render  ", "Wireframe  "}, {}};

SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox67 = {};
SPARK_EXPORT AuxQ4PositionRecord AuxQ4Position68 = {-150, 250, -150, 250, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float70 = {1, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox71 = {};
SPARK_EXPORT AuxQ4PositionRecord AuxQ4Position72 = {-150, 250, -150, 250, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox75 = {};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float76 = {1, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float77 = {1, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox78 = {};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float79 = {0, 100, {}};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float80 = {0, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox81 = {};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float82 = {1, 100, {}};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox83 = {};
SPARK_EXPORT AuxQ4FloatRecord AuxQ4Float84 = {0, 100, {}};

SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox101 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox102 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox103 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox104 = {};
SPARK_EXPORT AuxQ4CheckboxRecord AuxQ4Checkbox105 = {};

}  // extern "C"
