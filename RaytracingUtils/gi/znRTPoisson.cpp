#include "gi/znRTPoisson.h"

/// Written at build time by generators/writePointTable.cpp.
extern const float znRTPointTable[];

namespace {

constexpr u32 floatCount = 2 * (znRTPoisson::rowMask + 1);

} // namespace

const float* znRTPoisson::s_randomValues = nullptr;
u32 znRTPoisson::s_samples = 0;
u32 znRTPoisson::s_num = 0;

void znRTPoisson::init(u32, u32)
{
    if (s_randomValues)
        return;
    s_randomValues = znRTPointTable;
    s_samples = floatCount;
    s_num = floatCount - 1;
}

void znRTPoisson::destroy()
{
    s_randomValues = nullptr;
    s_samples = 0;
    s_num = 0;
}
