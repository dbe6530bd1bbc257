#pragma once

// Point sequences of the unit square for programs around the renderer; frames draw from
// znRTPoisson. Immutable after construction, one point per index, in any order, on any thread.

#include "core/znRTVector2fPacket.h"
#include "host/znAligned.h"

class znRTSampler
{
public:
    znRTSampler() = default;
    /// @param n  below 4 counts as 1
    explicit znRTSampler(u32 n) : numSamples(n < 4 ? 1 : n) {}

    // The order of the virtual operations is part of the interface.
    /// @param scramble  two integers: of x and of y
    virtual znRTVector2f getSample(int index, const int* scramble) const = 0;
    /// One index per lane; every lane equals the form above.
    /// @param scramble  two packets: of x and of y
    virtual znRTVector2fPacket getSample(const znIntType<2>& index,
                                         const znIntType<2>* scramble) const = 0;
    virtual ~znRTSampler() = default;

    u32 getNumSamples() const { return numSamples; }

protected:
    u32 numSamples = 1;
};
