// Scalar functions and float-to-integer conversions.
#include <gtest/gtest.h>

#include <math.h>
#include <stdint.h>
#include <string.h>

#include "kernel/kernel.h"

namespace span3d {
namespace {

constexpr double kPi = 3.14159265358979323846;

uint64_t Bits(double x)
{
    uint64_t b;
    memcpy(&b, &x, sizeof b);
    return b;
}

// ---------------------------------------------------------------- conversions

TEST(Conversions, FloatRoundings)
{
    enum Op { kRound, kFloor, kCeil };
    struct Case {
        const char* name;
        Op op;
        float x;
        int32_t expected;
    };
    const float nan = __builtin_nanf("");
    const Case cases[] = {
        // Ties go to the even neighbour.
        {"round 0.5", kRound, 0.5f, 0}, {"round 2.5", kRound, 2.5f, 2}, {"round 3.5", kRound, 3.5f, 4},
        {"round -2.5", kRound, -2.5f, -2}, {"round 2.4999998", kRound, 2.4999998f, 2},
        // Beyond 32 bits and NaN: the processor's integer indefinite.
        {"round 3e9", kRound, 3e9f, INT32_MIN}, {"round nan", kRound, nan, INT32_MIN}, {"floor 1.5", kFloor, 1.5f, 1},
        {"floor -1.5", kFloor, -1.5f, -2}, {"floor -1e-30", kFloor, -1e-30f, -1}, {"floor -2", kFloor, -2.0f, -2},
        {"floor -0", kFloor, -0.0f, 0},
        // Up for negatives as well: -1.5 goes to -1, not away from zero.
        {"ceil -1.5", kCeil, -1.5f, -1}, {"ceil 1.5", kCeil, 1.5f, 2}, {"ceil 1e-30", kCeil, 1e-30f, 1},
        {"ceil -1e-30", kCeil, -1e-30f, 0}, {"ceil -2", kCeil, -2.0f, -2},
        {"ceil 2^24+2", kCeil, 16777218.0f, 16777218}, {"ceil 3e9", kCeil, 3e9f, INT32_MIN},
    };
    for (const Case& c : cases) {
        int32_t got = 0;
        switch (c.op) {
        case kRound: got = RoundToInt(c.x); break;
        case kFloor: got = FloorToInt(c.x); break;
        case kCeil: got = CeilToInt(c.x); break;
        }
        EXPECT_EQ(got, c.expected) << c.name;
    }
}

TEST(Conversions, FloatToIntIsNearestEvenOver64Bits)
{
    struct Case {
        const char* name;
        double x;
        int64_t expected;
    };
    const double two40 = 1099511627776.0;
    const Case cases[] = {
        {"1.5", 1.5, 2}, {"2.5", 2.5, 2}, {"-2.5", -2.5, -2}, {"0.49999999999999994", 0.49999999999999994, 0},
        {"255.5", 255.5, 256}, {"3e9", 3e9, 3000000000ll}, {"-3e9", -3e9, -3000000000ll},
        {"2^40 + 0.5", two40 + 0.5, 1099511627776ll}, {"2^40 + 1.5", two40 + 1.5, 1099511627778ll},
        {"2^53 - 1", 9007199254740991.0, 9007199254740991ll}, {"-2^63", -9223372036854775808.0, INT64_MIN},
        {"2^63", 9223372036854775808.0, INT64_MIN}, {"nan", __builtin_nan(""), INT64_MIN},
    };
    for (const Case& c : cases)
        EXPECT_EQ(FloatToInt(c.x), c.expected) << c.name;
    // Callers that want 32 bits take the low word.
    EXPECT_EQ(static_cast<uint32_t>(FloatToInt(4294967295.0)), 0xffffffffu);
    EXPECT_EQ(static_cast<int32_t>(FloatToInt(-1.0)), -1);
}

// ---------------------------------------------------------------- pow and exp

TEST(ScalarPow, SignsAndZeros)
{
    struct Case {
        const char* name;
        float x, y;
        double expected;
        double tolerance;  // absolute; 0 means exact
    };
    const Case cases[] = {
        {"(-2)^3 odd: negated", -2.0f, 3.0f, -8.0, 0}, {"(-2)^2 even", -2.0f, 2.0f, 4.0, 0},
        {"(-2)^-3 odd", -2.0f, -3.0f, -0.125, 0},
        // Not an integer: |x|^y, never a NaN.
        {"(-2)^0.5", -2.0f, 0.5f, 1.4142135623730951, 1e-15}, {"(-8)^(1/3)", -8.0f, 1.0f / 3.0f, 2.0, 1e-6},
        {"5^0", 5.0f, 0.0f, 1.0, 0}, {"5^-0", 5.0f, -0.0f, 1.0, 0}, {"2^10", 2.0f, 10.0f, 1024.0, 0},
        {"2^-1", 2.0f, -1.0f, 0.5, 0}, {"10^2", 10.0f, 2.0f, 100.0, 1e-12},
        {"1.5^2.5", 1.5f, 2.5f, 2.7556759606310752, 1e-14}, {"+0^+0 by bits", 0.0f, 0.0f, 1.0, 0},
        {"-0^+0 by bits", -0.0f, 0.0f, 1.0, 0},
    };
    for (const Case& c : cases) {
        const double got = ScalarPow(c.x, c.y);
        if (c.tolerance == 0)
            EXPECT_EQ(got, c.expected) << c.name;
        else
            EXPECT_NEAR(got, c.expected, c.tolerance) << c.name;
    }
    // Only +0.0 by bit pattern short-cuts to 1: with -0.0 the exponent goes
    // the long way, where -0 * log2(0) = -0 * -inf is NaN.
    EXPECT_TRUE(isnan(ScalarPow(0.0f, -0.0f)));
    // A zero base follows log2(0) = -inf: t = y * -inf is infinite and its
    // fraction t - round(t) is NaN.
    EXPECT_TRUE(isnan(ScalarPow(0.0f, 2.0f)));
    // (-2)^3 really is negative, not merely equal to -8 by chance of sign.
    EXPECT_EQ(Bits(ScalarPow(-2.0f, 3.0f)), Bits(-8.0));
}

TEST(ScalarExp, PowersOfTwoScaleExactly)
{
    EXPECT_EQ(ScalarExp(0.0f), 1.0);
    EXPECT_NEAR(ScalarExp(1.0f), 2.718281828459045, 1e-15);
    EXPECT_NEAR(ScalarExp(-1.0f), 0.36787944117144233, 1e-16);
    EXPECT_NEAR(ScalarExp(20.0f) / 485165195.40979028, 1.0, 1e-14);
    EXPECT_NEAR(ScalarExp(-20.0f) / 2.061153622438558e-09, 1.0, 1e-14);
    // Beyond the double range the 2^i scaling saturates.
    EXPECT_EQ(ScalarExp(1000.0f), INFINITY);
    EXPECT_EQ(ScalarExp(-1000.0f), 0.0);
}

// ---------------------------------------------------------------- the rest

TEST(ScalarArcs, FirstArgumentIsX)
{
    struct Case {
        const char* name;
        double got, expected;
    };
    const Case cases[] = {
        {"atan2(1, 0)", ScalarAtan2(1.0f, 0.0f), 0.0}, {"atan2(0, 1)", ScalarAtan2(0.0f, 1.0f), kPi / 2},
        {"atan2(-1, 0)", ScalarAtan2(-1.0f, 0.0f), kPi}, {"atan2(0, -1)", ScalarAtan2(0.0f, -1.0f), -kPi / 2},
        {"atan2 degrees (1, 1)", ScalarAtan2Degrees(1.0f, 1.0f), 45.0},
        {"atan2 degrees (0, 1)", ScalarAtan2Degrees(0.0f, 1.0f), 90.0}, {"atan(1)", ScalarAtan(1.0f), kPi / 4},
        {"atan degrees(-1)", ScalarAtanDegrees(-1.0f), -45.0}, {"asin(1)", ScalarAsin(1.0f), kPi / 2},
        {"asin(-0.5)", ScalarAsin(-0.5f), -kPi / 6}, {"asin degrees(0.5)", ScalarAsinDegrees(0.5f), 30.0},
        {"acos(1)", ScalarAcos(1.0f), 0.0}, {"acos(-1)", ScalarAcos(-1.0f), kPi},
        {"acos(0)", ScalarAcos(0.0f), kPi / 2}, {"acos degrees(0.5)", ScalarAcosDegrees(0.5f), 60.0},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(c.got, c.expected, 1e-13) << c.name;
    // Outside [-1, 1] the side sqrt((1 + x)(1 - x)) is NaN.
    EXPECT_TRUE(isnan(ScalarAsin(1.5f)));
    EXPECT_TRUE(isnan(ScalarAcos(-1.5f)));
}

TEST(ScalarMisc, PlainFunctions)
{
    struct Case {
        const char* name;
        double got, expected;
    };
    const Case cases[] = {
        {"sqrt 2", ScalarSqrt(2.0f), 1.4142135623730951}, {"inverse sqrt 4", ScalarInverseSqrt(4.0f), 0.5},
        {"sin pi/6", ScalarSin(float(kPi / 6)), 0.5}, {"cos 0", ScalarCos(0.0f), 1.0},
        {"tan pi/4", ScalarTan(float(kPi / 4)), 1.0}, {"sin 90 degrees", ScalarSinDegrees(90.0f), 1.0},
        {"cos 180 degrees", ScalarCosDegrees(180.0f), -1.0}, {"tan 45 degrees", ScalarTanDegrees(45.0f), 1.0},
        {"log e", ScalarLog(2.7182817f), 1.0}, {"log 1", ScalarLog(1.0f), 0.0},
        {"hypot 3 4", ScalarHypot(3.0f, 4.0f), 5.0}, {"abs -2.5", ScalarAbs(-2.5f), 2.5},
    };
    for (const Case& c : cases)
        EXPECT_NEAR(c.got, c.expected, 1e-7) << c.name;
    EXPECT_EQ(Bits(ScalarAbs(-0.0f)), Bits(0.0));
    // No guard against zero: the unit's infinity comes back.
    EXPECT_EQ(ScalarInverseSqrt(0.0f), INFINITY);
}

}  // namespace
}  // namespace span3d
