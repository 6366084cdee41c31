// Whole numbers from values a host record can make anything (not a number, far beyond any
// range). A value an int can hold truncates as a plain conversion does; any other gives what the
// processor's own conversion gives, the lowest int, so frames of values in range never change
// and the rest are defined.
#ifndef BASE_Q4_INT_H
#define BASE_Q4_INT_H

#include <climits>

inline int q4_truncated_int(double v)
{
    return (v > -2147483649.0 && v < 2147483648.0) ? (int)v : INT_MIN;
}

#endif
