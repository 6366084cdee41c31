// The composite pass as first written: every pixel of every present layer read, in chunk order,
// in wide integers. The oracle of Vesk::mp_Composite's drawn spans and 16-bit lanes.
#ifndef TESTS_ORACLE_LITERAL_COMPOSITE_H
#define TESTS_ORACLE_LITERAL_COMPOSITE_H

#include "Library/Q4Image.h"

inline void LiteralComposite(ImageQ4* out, ImageQ4* const* layers, int layer_count, int first_row,
                             int last_row)
{
    for (int y = first_row; y <= last_row; ++y)
        for (int x = 0; x < out->width; ++x) {
            PixelQ4& o = out->rows[y][x];
            long long v[4] = {o.r, o.g, o.b, o.a};
            for (int i = 0; i < layer_count; ++i) {
                if (!layers[i]) continue;
                const PixelQ4& P = layers[i]->rows[y][x];
                const long long k = 32767 - P.a;
                for (int c = 0; c < 4; ++c) v[c] = P.c[c] + ((v[c] * k) >> 15);
            }
            for (int c = 0; c < 4; ++c) o.c[c] = (unsigned short)(v[c] < 0 ? 0 : (v[c] > 32767 ? 32767 : v[c]));
        }
}

#endif
