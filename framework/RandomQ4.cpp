// Seeded pseudo-random generators. The arithmetic is 32-bit signed with
// wrap-around where the recurrences can overflow, so every machine produces the
// same sequences; the hidden state is process-wide, one set per generator.
#include "framework/RandomQ4.h"

#include <cmath>
#include <cstdint>

namespace {

// 32-bit wrap-around helpers: signed overflow is undefined in C++, but the
// sequences must wrap exactly as 32-bit registers do.
inline int32_t wrap_add(int32_t a, int32_t b) { return (int32_t)((uint32_t)a + (uint32_t)b); }
inline int32_t wrap_sub(int32_t a, int32_t b) { return (int32_t)((uint32_t)a - (uint32_t)b); }
inline int32_t wrap_mul(int32_t a, int32_t b) { return (int32_t)((uint32_t)a * (uint32_t)b); }
inline int32_t wrap_neg(int32_t a) { return (int32_t)(0u - (uint32_t)a); }

// ---- minimal standard generator with a Bays-Durham shuffle ----

const int32_t MS_IA = 16807;
const int32_t MS_IM = 2147483647;
const int32_t MS_IQ = 127773;
const int32_t MS_IR = 2836;
const int MS_NTAB = 32;
const int32_t MS_NDIV = 1 + (MS_IM - 1) / MS_NTAB;  // 67108864
const float MS_AM = 4.656612873077392578125e-10f;   // 2^-31
const float MS_RNMX = 0.99999988f;                  // largest float below 1 - 1.2e-7

struct ShuffleState {
    int32_t table[MS_NTAB];
    int32_t iy;  // 0 until the table has been filled
};

ShuffleState ran1f_state = {{0}, 0};
ShuffleState ran1_state = {{0}, 0};

// Schrage's method: IA * seed mod IM without overflow for 0 < seed <= IM.
inline int32_t minimal_standard_step(int32_t seed) {
    int32_t k = seed / MS_IQ;
    seed = wrap_sub(wrap_mul(MS_IA, wrap_sub(seed, wrap_mul(k, MS_IQ))), wrap_mul(MS_IR, k));
    if (seed < 0) seed = wrap_add(seed, MS_IM);
    return seed;
}

// One draw; returns the shuffled integer iy.
int32_t shuffled_draw(ShuffleState& st, int* seed) {
    int32_t s = *seed;
    if (s <= 0 || st.iy == 0) {
        // A non-positive seed restarts the sequence; zero is treated as -1.
        s = wrap_neg(s);
        if (s < 1) s = 1;
        for (int j = MS_NTAB + 7; j >= 0; --j) {
            s = minimal_standard_step(s);
            if (j < MS_NTAB) st.table[j] = s;
        }
        st.iy = st.table[0];
    }
    s = minimal_standard_step(s);
    int j = st.iy / MS_NDIV;
    st.iy = st.table[j];
    st.table[j] = s;
    *seed = s;
    return st.iy;
}

// ---- three congruential generators with a 97-entry shuffle ----

const int32_t M1 = 259200, IA1 = 7141, IC1 = 54773;
const int32_t M2 = 134456, IA2 = 8121, IC2 = 28411;
const int32_t M3 = 243000, IA3 = 4561, IC3 = 51349;
const float RM1 = 3.8580247e-6f;  // 1 / M1
const float RM2 = 7.4373775e-6f;  // 1 / M2

struct TripleState {
    int32_t ix1, ix2, ix3;
    float table[98];  // entries 1..97 are used
    int initialised;
};

TripleState ran2_state = {0, 0, 0, {0.0f}, 0};

inline float combine(int32_t ix1, int32_t ix2) {
    // Single precision throughout, as the table has always been built.
    return ((float)ix1 + (float)ix2 * RM2) * RM1;
}

// ---- pairs of Gaussian deviates ----

struct GaussState {
    int stored;
    float value;
};

GaussState gauss_state = {0, 0.0f};

}  // namespace

int randQ4(int& seed) {
    seed = wrap_add(wrap_mul(seed, 214013), 2531011);
    return (int)(((uint32_t)seed >> 16) & 0x7FFF);
}

float ran1fQ4(int* seed) {
    int32_t iy = shuffled_draw(ran1f_state, seed);
    float temp = (float)iy * MS_AM;
    return temp > MS_RNMX ? MS_RNMX : temp;
}

void ran1fQ4GetState(Ran1fStateQ4* state) {
    for (int j = 0; j < MS_NTAB; ++j) state->table[j] = ran1f_state.table[j];
    state->iy = ran1f_state.iy;
}

void ran1fQ4SetState(const Ran1fStateQ4& state) {
    for (int j = 0; j < MS_NTAB; ++j) ran1f_state.table[j] = state.table[j];
    ran1f_state.iy = state.iy;
}

int ran1Q4(int* seed) {
    return shuffled_draw(ran1_state, seed);
}

float ran2Q4(int* seed) {
    TripleState& st = ran2_state;
    if (*seed < 0 || !st.initialised) {
        st.initialised = 1;
        st.ix1 = wrap_sub(IC1, *seed) % M1;
        st.ix1 = (IA1 * st.ix1 + IC1) % M1;
        st.ix2 = st.ix1 % M2;
        st.ix1 = (IA1 * st.ix1 + IC1) % M1;
        st.ix3 = st.ix1 % M3;
        for (int j = 1; j <= 97; ++j) {
            st.ix1 = (IA1 * st.ix1 + IC1) % M1;
            st.ix2 = (IA2 * st.ix2 + IC2) % M2;
            st.table[j] = combine(st.ix1, st.ix2);
        }
        *seed = 1;
    }
    st.ix1 = (IA1 * st.ix1 + IC1) % M1;
    st.ix2 = (IA2 * st.ix2 + IC2) % M2;
    st.ix3 = (IA3 * st.ix3 + IC3) % M3;
    int32_t q = (97 * st.ix3) / M3;
    // An out-of-range slot (only reachable from a huge positive first seed,
    // which makes the remainders negative) falls back to slot 1 instead of
    // stopping the program.
    int j = (q < 0 || q > 96) ? 1 : 1 + q;
    float temp = st.table[j];
    st.table[j] = combine(st.ix1, st.ix2);
    return temp;
}

float gasdevQ4(int* seed) {
    if (gauss_state.stored) {
        gauss_state.stored = 0;
        return gauss_state.value;
    }
    float a, b, rsq;
    do {
        a = (float)(2.0 * ran2Q4(seed) - 1.0);
        b = (float)(2.0 * ran2Q4(seed) - 1.0);
        rsq = a * a + b * b;
        // Only points on or outside the unit circle are rejected; the centre
        // itself is accepted and yields a non-number, as it always has.
    } while (rsq >= 1.0f);
    double fac = std::sqrt(-2.0 * std::log((double)rsq) / (double)rsq);
    gauss_state.value = (float)(a * fac);
    gauss_state.stored = 1;
    return (float)(b * fac);
}
