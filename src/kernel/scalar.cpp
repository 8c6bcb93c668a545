// Scalar functions and the float-to-integer conversions that are not inline.
//
// Arguments are floats, results are doubles: a caller that stores one into a
// float rounds it there. The exponential routines build 2^t from 2^f (f the
// fraction of t) scaled by 2^i (i its integer part), so that the scaling is
// exact and only 2^f is approximated.
#include <math.h>

#include "kernel/kernel.h"

namespace span3d {

namespace {

constexpr double kPi = 3.14159265358979323846;
// The fixed factors of the degree entries. They are constants of their own,
// in double, not the AngleToRadians / AngleToDegrees words.
constexpr double kDegreesToRadians = kPi / 180.0;
constexpr double kRadiansToDegrees = 180.0 / kPi;
constexpr double kLog2E = 1.44269504088896340736;

// 2^f * 2^i. The exponent is clamped to a range that already saturates both
// ways, so that an infinite or huge i cannot overflow the integer; a NaN i
// comes with a NaN f, which makes the result NaN whatever exponent is used.
inline double ScaleByPowerOfTwo(double twoToF, double i)
{
    int exponent = 0;
    if (i > 100000.0)
        exponent = 100000;
    else if (i < -100000.0)
        exponent = -100000;
    else if (i == i)
        exponent = static_cast<int>(i);
    return ldexp(twoToF, exponent);
}

inline uint32_t Bits(float x)
{
    return __builtin_bit_cast(uint32_t, x);
}

inline bool IsInteger(double x) { return nearbyint(x) == x; }

}  // namespace

double ScalarSqrt(float x) { return sqrt(double(x)); }
double ScalarInverseSqrt(float x) { return 1.0 / sqrt(double(x)); }

double ScalarSin(float x) { return sin(double(x)); }
double ScalarCos(float x) { return cos(double(x)); }
double ScalarTan(float x) { return tan(double(x)); }
double ScalarSinDegrees(float x) { return sin(double(x) * kDegreesToRadians); }
double ScalarCosDegrees(float x) { return cos(double(x) * kDegreesToRadians); }
double ScalarTanDegrees(float x) { return tan(double(x) * kDegreesToRadians); }

// The angle of the point (x, y): the FIRST argument is the x, so
// ScalarAtan2(1, 0) is 0 and ScalarAtan2(0, 1) is pi/2, the reverse of the
// C library's argument order.
double ScalarAtan2(float x, float y) { return atan2(double(y), double(x)); }
double ScalarAtan(float x) { return atan2(double(x), 1.0); }

// Both arc functions go through atan2 with sqrt((1 + x)(1 - x)) as the other
// side, which keeps full accuracy near +-1. Beyond [-1, 1] the square root is
// a NaN and so is the result.
double ScalarAsin(float x)
{
    const double v = x;
    return atan2(v, sqrt((1.0 + v) * (1.0 - v)));
}

double ScalarAcos(float x)
{
    const double v = x;
    return atan2(sqrt((1.0 + v) * (1.0 - v)), v);
}

double ScalarAtan2Degrees(float x, float y) { return ScalarAtan2(x, y) * kRadiansToDegrees; }
double ScalarAtanDegrees(float x) { return ScalarAtan(x) * kRadiansToDegrees; }
double ScalarAsinDegrees(float x) { return ScalarAsin(x) * kRadiansToDegrees; }
double ScalarAcosDegrees(float x) { return ScalarAcos(x) * kRadiansToDegrees; }

// e^x = 2^(x log2 e), with t = x log2 e split by truncation: i = trunc(t),
// f = t - i, so f lies in (-1, 1) with the sign of t. An infinite x makes
// f = inf - inf, a NaN, and so does the result; that is accepted.
double ScalarExp(float x)
{
    const double t = double(x) * kLog2E;
    const double i = trunc(t);
    return ScaleByPowerOfTwo(exp2(t - i), i);
}

double ScalarLog(float x) { return log(double(x)); }

// x^y = 2^(y log2 |x|), split at the nearest integer n of t = y log2 |x|.
// Sign rules, on bits rather than values:
//  - y of +0.0 gives 1 at once; -0.0 goes the long way, which still gives 1
//    for a finite nonzero x but NaN for x = 0 (-0 * log2 0 is -0 * -inf).
//  - x with its sign bit set (-0.0 included) is raised as -x, and the result
//    negated when y is an odd integer (y/2 not an integer). A non-integer y
//    gives |x|^y, never a NaN; an infinite y counts as even.
//  - x = +0 with y > 0 gives NaN: t is -inf and t - n is inf - inf.
double ScalarPow(float x, float y)
{
    if (Bits(y) == 0)
        return 1.0;
    const bool negativeBase = (Bits(x) >> 31) != 0;
    const double base = negativeBase ? -double(x) : double(x);
    const double t = double(y) * log2(base);
    const double n = nearbyint(t);
    const double result = ScaleByPowerOfTwo(exp2(t - n), n);
    if (negativeBase) {
        const double yd = y;
        if (IsInteger(yd) && !IsInteger(yd * 0.5))
            return -result;
    }
    return result;
}

double ScalarHypot(float a, float b)
{
    const double x = a, y = b;
    return sqrt(x * x + y * y);
}

double ScalarAbs(float x) { return fabs(double(x)); }

// ---------------------------------------------------------------- conversions
// Floor and ceiling round in floating form first and then convert the whole
// number exactly. An x87 build switches the rounding field of its control
// word for the rounding, and passes the results of these two and of
// RoundToInt through module-wide words; with SSE the rounding direction is
// part of the operation (floorf / ceilf, cvtss2si), so no mode is touched, no
// module-wide word is needed, and all three are reentrant. CeilToInt rounds
// up for negative arguments as well: -1.5 gives -1.

int32_t FloorToInt(float x) { return RoundToInt(floorf(x)); }
int32_t CeilToInt(float x) { return RoundToInt(ceilf(x)); }

}  // namespace span3d
