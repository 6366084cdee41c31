// Seeded pseudo-random generators of the framework.
//
// Every generator advances a 32-bit seed held by the caller. All but randQ4 also
// keep hidden state (shuffle tables, a last value) in process-wide storage, one
// set per generator, so a reproducible run reseeds with a negative (or, for the
// ran1 family, non-positive) seed first. None of them lock: one generator must
// not be used from two threads at once.
#ifndef FRAMEWORK_RANDOMQ4_H
#define FRAMEWORK_RANDOMQ4_H

// Linear congruential generator; the seed is its whole state. Result 0..32767.
int randQ4(int& seed);

// Park-Miller minimal standard with a 32-entry Bays-Durham shuffle.
// Result in (0, 0.99999988]; never 1.0.
float ran1fQ4(int* seed);

// The hidden state of ran1fQ4, so that a caller keeping a long run of its draws can put the
// generator back where that run left it without drawing the run again.
struct Ran1fStateQ4 {
    int table[32];
    int iy;
};
void ran1fQ4GetState(Ran1fStateQ4* state);
void ran1fQ4SetState(const Ran1fStateQ4& state);

// The same generator with its own table, returning the shuffled integer
// (1 .. 2147483646) instead of a float.
int ran1Q4(int* seed);

// Three linear congruential generators with a 97-entry shuffle table.
// Result in [0, 1) for the seeds used in practice.
float ran2Q4(int* seed);

// Normal deviate (mean 0, variance 1) by the polar Box-Muller method over
// ran2Q4. Values come in pairs: every second call returns a stored value and
// draws nothing.
float gasdevQ4(int* seed);

#endif
