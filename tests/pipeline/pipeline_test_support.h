// Small helpers shared by the pipeline tests: float bit patterns and
// matrices written out row by row.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include "kernel/kernel.h"

namespace span3d {
namespace test {

inline uint32_t Bits(float value) { return __builtin_bit_cast(uint32_t, value); }
inline float FromBits(uint32_t bits) { return __builtin_bit_cast(float, bits); }

// A Matrix34 from its 12 entries, row-major (rotation 3x3 with the
// translation in column 3).
inline Matrix34 MakeMatrix(const float (&v)[12])
{
    Matrix34 m;
    memcpy(m.m, v, sizeof(m.m));
    return m;
}

// Names parameterised cases after their `name` (or `Name`) member.
struct CaseName {
    template <class T>
    std::string operator()(const testing::TestParamInfo<T>& info) const
    {
        if constexpr (requires { info.param.Name; }) return info.param.Name;
        else return info.param.name;
    }
};

}  // namespace test
}  // namespace span3d
