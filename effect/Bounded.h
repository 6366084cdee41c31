// Whole numbers from values that a host's control records can make anything: not-a-number,
// infinities, numbers far beyond any control's range. Every value a frame of the panel's ranges
// produces converts exactly as a plain conversion would; beyond ±2^28 the result stops at ±2^28
// (not-a-number at -2^28). A coordinate that far lies outside any frame, and sums of a few such
// numbers stay inside int.
#ifndef EFFECT_BOUNDED_H
#define EFFECT_BOUNDED_H

enum { BOUNDED_LIMIT = 1 << 28 };
// The largest shape, in pixels across, that is drawn; the largest flock and pre-roll made, four
// and ten times the panel's largest.
enum { PART_MAX_EXTENT = 1 << 14, PART_MAX_PARTICLES = 20000, PART_MAX_PREROLL = 10000 };

inline int bounded_int(double v)
{
    if (!(v > -(double)BOUNDED_LIMIT)) return -BOUNDED_LIMIT;
    if (!(v < (double)BOUNDED_LIMIT)) return BOUNDED_LIMIT;
    return (int)v;
}

// v inside lo .. hi, not-a-number taken as lo.
inline double bounded_value(double v, double lo, double hi)
{
    if (!(v > lo)) return lo;
    return v < hi ? v : hi;
}

#endif
