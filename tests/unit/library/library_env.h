// Test environment of the image library: a host whose sparkMpFork runs a chosen number of jobs,
// with the plug-in's processor count set to match.
#ifndef TESTS_UNIT_LIBRARY_LIBRARY_ENV_H
#define TESTS_UNIT_LIBRARY_LIBRARY_ENV_H

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "Library/Q4Image.h"
#include "sparkhost/lib/Host.h"

extern int DLnumProc;

class WithHost : public ::testing::Test {
protected:
    std::unique_ptr<sparkhost::Host> host;
    void UseProcessors(int n) {
        host.reset();
        host = std::make_unique<sparkhost::Host>();
        host->setEcho(false);
        host->setProcessors(n);
        DLnumProc = n;
    }
    void SetUp() override { UseProcessors(3); }
    void TearDown() override { host.reset(); }
};

// An image of pseudo-random pixels in the working range.
inline void fill_random(ImageQ4& img, unsigned seed, int max = 32767) {
    std::mt19937 gen(seed);
    std::uniform_int_distribution<int> d(0, max);
    for (int y = 0; y < img.height; y++)
        for (int x = 0; x < img.width; x++)
            for (int c = 0; c < 4; c++) img.rows[y][x].c[c] = (unsigned short)d(gen);
}

inline bool same_pixels(const ImageQ4& a, const ImageQ4& b) {
    if (a.width != b.width || a.height != b.height) return false;
    for (int y = 0; y < a.height; y++)
        for (int x = 0; x < a.width; x++)
            for (int c = 0; c < 4; c++)
                if (a.rows[y][x].c[c] != b.rows[y][x].c[c]) return false;
    return true;
}

#endif
