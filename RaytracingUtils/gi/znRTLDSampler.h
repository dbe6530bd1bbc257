#pragma once

// Low-discrepancy sequences: coordinates are radical inverses, scrambled digit by digit
// (radicalInverse.h), and lie in [0, 1].

#include "gi/znRTSampler.h"

class znRTLDSampler : public znRTSampler
{
public:
    using znRTSampler::znRTSampler;

    /// For programs that lay several sequences side by side; nothing here reads them.
    static u32 s_padValue, s_padOffset;
};

/// Regular steps in x, Larcher-Pillichshammer in y.
class znRTVDCSampler : public znRTLDSampler
{
public:
    /// Sequence of n m points: x = (index + 1/2) / (n m + 1), below 1 up to that many.
    /// @param n  below 4 counts as 1
    znRTVDCSampler(u32 n, u32 m);
    /// Only y is scrambled.
    znRTVector2f getSample(int index, const int* scramble) const override;
    znRTVector2fPacket getSample(const znIntType<2>& index,
                                 const znIntType<2>* scramble) const override;

private:
    float invCount, halfInvCount;
};

/// Halton's sequence in bases 2 and 3, unscrambled. Its digits come from float quotients, which are
/// exact below 3,000,000.
class znRTVDCSSampler : public znRTLDSampler
{
public:
    explicit znRTVDCSSampler(u32 n) : znRTLDSampler(n) {}
    /// @param scramble  not read, may be null
    znRTVector2f getSample(int index, const int* scramble) const override;
    znRTVector2fPacket getSample(const znIntType<2>& index,
                                 const znIntType<2>* scramble) const override;
};

/// Van der Corput in x, Larcher-Pillichshammer in y.
class znRTVDCLSampler : public znRTLDSampler
{
public:
    explicit znRTVDCLSampler(u32 n) : znRTLDSampler(n) {}
    znRTVector2f getSample(int index, const int* scramble) const override;
    znRTVector2fPacket getSample(const znIntType<2>& index,
                                 const znIntType<2>* scramble) const override;
};

/// Sobol in x, Larcher-Pillichshammer in y.
class znRTSLSampler : public znRTLDSampler
{
public:
    explicit znRTSLSampler(u32 n) : znRTLDSampler(n) {}
    znRTVector2f getSample(int index, const int* scramble) const override;
    znRTVector2fPacket getSample(const znIntType<2>& index,
                                 const znIntType<2>* scramble) const override;
};
