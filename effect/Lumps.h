// Soft round particles ("lumps") and the records of clip-textured particles.
//
// A lump is a square table of integer weights with a sine fall-off from the centre (257) to the
// rim (0). One table per integer radius is built when the frame's aspect changes and stamped for
// every particle of that size, so the square root and sine are paid once per radius, not per
// particle. Stamping, texturing and the box filter are members of Vesk (effect/Vesk.h), since
// they blend into the band's layer of the particle set.
#ifndef EFFECT_LUMPS_H
#define EFFECT_LUMPS_H

// One lump; width and height are always equal and odd.
struct tagPARTLUMP {
    int width;
    int height;
    int* weights;  // width x height weights, row by row, 0 .. 257
};

// The centre weight of every lump. It is 257 rather than 256, so the centre of a lump at full
// density is stamped slightly above full coverage and then clamped; kept so existing setups
// render the same pixels.
enum { LUMP_CENTRE_WEIGHT = 257 };

// Builds the lump of radius r (raised to 0.01 at least), stretched by the aspect values ax and
// ay. Returns null when memory runs out.
tagPARTLUMP* part_lump_create(float r, float ax, float ay);

// Frees the weights and the record. A null lump is ignored.
void part_lump_destroy(tagPARTLUMP* lump);

// Mean colour and matte of the source pixels one texture sprite pixel covers.
struct tagTEXEL {
    int matte;
    int blue;
    int green;
    int red;
};

// Entries of the effect's gradient table (unit vectors).
enum { GRADIENT_TABLE_SIZE = 256 };

#endif
