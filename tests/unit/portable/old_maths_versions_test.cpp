// The plug-ins call the glibc 2.2.5 versions of exp, exp2, log, log2 and pow (cmake/
// OldGlibcSymbols.c) so that they load on glibc 2.28. Their frames stay the same only if those
// versions return exactly what the current versions return: both are looked up by version in
// the running maths library and compared bit for bit over every kind of input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <limits>
#include <random>
#include <vector>

namespace {

using Unary = double (*)(double);
using Binary = double (*)(double, double);

template <typename F>
F versionOf(const char* name, const char* version) {
    void* libm = ::dlopen("libm.so.6", RTLD_NOW | RTLD_NOLOAD);
    if (!libm) libm = ::dlopen("libm.so.6", RTLD_NOW);
    void* f = libm ? ::dlvsym(libm, name, version) : nullptr;
    return reinterpret_cast<F>(f);
}

uint64_t bits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, sizeof u);
    return u;
}

double fromBits(uint64_t u) {
    double d;
    std::memcpy(&d, &u, sizeof d);
    return d;
}

bool same(double a, double b) { return (std::isnan(a) && std::isnan(b)) || bits(a) == bits(b); }

const double kInf = std::numeric_limits<double>::infinity();
const double kSpecials[] = {0.0, -0.0, 1.0, -1.0, 2.0, -2.0, 0.5, -0.5, 3.0, -3.0, kInf, -kInf,
                            std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min(),
                            -std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::min(),
                            std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(), 709.782712893384,
                            709.782712893385, -745.1332191019411, -745.1332191019412, 1024.0, -1074.0, -1075.0,
                            1.0 + 0x1p-52, 1.0 - 0x1p-53, 0x1p-1022, 1e-300, 1e300};

// Inputs of every kind: specials, doubles drawn from every bit pattern, values spread over the
// range where the result is finite and not zero, and values just around 1.
std::vector<double> inputs(double lo, double hi) {
    std::mt19937_64 random(20260101);
    std::vector<double> v(std::begin(kSpecials), std::end(kSpecials));
    std::uniform_real_distribution<double> spread(lo, hi), nearOne(-0x1p-20, 0x1p-20);
    for (int i = 0; i < 400000; ++i) {
        v.push_back(fromBits(random()));
        v.push_back(spread(random));
        v.push_back(1.0 + nearOne(random));
        v.push_back(static_cast<float>(spread(random)));  // the plug-in's own arguments are floats
    }
    return v;
}

void compareUnary(const char* name, double lo, double hi) {
    SCOPED_TRACE(name);
    Unary older = versionOf<Unary>(name, "GLIBC_2.2.5"), newer = versionOf<Unary>(name, "GLIBC_2.29");
    ASSERT_NE(older, nullptr);
    ASSERT_NE(newer, nullptr);
    ASSERT_NE(reinterpret_cast<void*>(older), reinterpret_cast<void*>(newer));
    int differ = 0;
    for (double x : inputs(lo, hi))
        if (!same(older(x), newer(x)) && ++differ <= 5)
            ADD_FAILURE() << name << "(" << x << "): " << older(x) << " and " << newer(x);
    EXPECT_EQ(differ, 0);
}

}  // namespace

TEST(OldMathsVersions, ExpAndExp2GiveTheSameBits) {
    compareUnary("exp", -760.0, 720.0);
    compareUnary("exp2", -1100.0, 1030.0);
}

TEST(OldMathsVersions, LogAndLog2GiveTheSameBits) {
    compareUnary("log", 0.0, 1e6);
    compareUnary("log2", 0.0, 1e6);
}

TEST(OldMathsVersions, PowGivesTheSameBits) {
    Binary older = versionOf<Binary>("pow", "GLIBC_2.2.5"), newer = versionOf<Binary>("pow", "GLIBC_2.29");
    ASSERT_NE(older, nullptr);
    ASSERT_NE(newer, nullptr);
    ASSERT_NE(reinterpret_cast<void*>(older), reinterpret_cast<void*>(newer));
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> base(0.0, 50.0), exponent(-60.0, 60.0);
    std::uniform_int_distribution<int> whole(-40, 40);
    std::vector<std::pair<double, double>> pairs;
    for (double x : kSpecials)
        for (double y : kSpecials) pairs.emplace_back(x, y);
    for (int i = 0; i < 400000; ++i) {
        pairs.emplace_back(fromBits(random()), fromBits(random()));
        pairs.emplace_back(base(random), exponent(random));
        pairs.emplace_back(-base(random), whole(random));  // negative bases need whole exponents
        pairs.emplace_back(static_cast<float>(base(random)), static_cast<float>(exponent(random)));
    }
    int differ = 0;
    for (auto [x, y] : pairs)
        if (!same(older(x, y), newer(x, y)) && ++differ <= 5)
            ADD_FAILURE() << "pow(" << x << ", " << y << "): " << older(x, y) << " and " << newer(x, y);
    EXPECT_EQ(differ, 0);
}
