#include "gi/znRTLDSampler.h"

#include "gi/radicalInverse.h"

u32 znRTLDSampler::s_padValue = 56;
u32 znRTLDSampler::s_padOffset = 0;

namespace {

/// Remainder of an unsigned lane by base 3. 65536 leaves 1, so the halves may be added; the sum
/// has 17 bits, and the half keeps its third off the whole numbers.
znIntType<2> remainderOf3(znIntType<2> i)
{
    const znIntType<2> folded = (i >> 16) + (i & znIntType<2>(0xffff));
    const znIntType<2> third = toInt((toFloat(folded) + 0.5f) * (1.0f / 3.0f));
    return folded - (third + third + third);
}

/// J. Halton, "On the Efficiency of Certain Quasi-Random Sequences of Points", 1960. Digits stay
/// where they are: the permutation of each base is the identity.
float radicalInverse(u32 i, u32 base)
{
    const float inverseBase = 1.0f / float(base);
    float result = 0.0f;
    for (float weight = inverseBase; i != 0; weight *= inverseBase) {
        result += float(i % base) * weight;
        i = u32(float(i) * inverseBase);
    }
    return result;
}

template <class Remainder>
znFloatType<2> radicalInverse(znIntType<2> i, float inverseBase, Remainder remainder)
{
    znFloatType<2> result(0.0f);
    // Lanes that are done add zeros until the longest index is.
    for (float weight = inverseBase; moveMask(i == znIntType<2>(0)) != 15; weight *= inverseBase) {
        result += toFloat(remainder(i)) * weight;
        i = toInt(unsignedToFloat(i) * inverseBase);
    }
    return result;
}

} // namespace

znRTVDCSampler::znRTVDCSampler(u32 n, u32 m)
    : znRTLDSampler(n), invCount(1.0f / float(u64(numSamples) * m + 1)),
      halfInvCount(0.5f * invCount)
{
}

znRTVector2f znRTVDCSampler::getSample(int index, const int* scramble) const
{
    return {float(index) * invCount + halfInvCount,
            fractionToFloat(LarcherPillichshammerRI(u32(index), u32(scramble[1])))};
}

znRTVector2fPacket znRTVDCSampler::getSample(const znIntType<2>& index,
                                             const znIntType<2>* scramble) const
{
    return {toFloat(index) * invCount + halfInvCount,
            fractionToFloat(LarcherPillichshammerRI(index, scramble[1]))};
}

znRTVector2f znRTVDCSSampler::getSample(int index, const int*) const
{
    return {radicalInverse(u32(index), 2), radicalInverse(u32(index), 3)};
}

znRTVector2fPacket znRTVDCSSampler::getSample(const znIntType<2>& index, const znIntType<2>*) const
{
    const auto remainderOf2 = [](znIntType<2> i) { return i & znIntType<2>(1); };
    return {radicalInverse(index, 1.0f / 2.0f, remainderOf2),
            radicalInverse(index, 1.0f / 3.0f, remainderOf3)};
}

znRTVector2f znRTVDCLSampler::getSample(int index, const int* scramble) const
{
    return {fractionToFloat(BitReverseRI(u32(index), u32(scramble[0]))),
            fractionToFloat(LarcherPillichshammerRI(u32(index), u32(scramble[1])))};
}

znRTVector2fPacket znRTVDCLSampler::getSample(const znIntType<2>& index,
                                              const znIntType<2>* scramble) const
{
    return {fractionToFloat(BitReverseRI(index, scramble[0])),
            fractionToFloat(LarcherPillichshammerRI(index, scramble[1]))};
}

znRTVector2f znRTSLSampler::getSample(int index, const int* scramble) const
{
    return {fractionToFloat(SobolRI(u32(index), u32(scramble[0]))),
            fractionToFloat(LarcherPillichshammerRI(u32(index), u32(scramble[1])))};
}

znRTVector2fPacket znRTSLSampler::getSample(const znIntType<2>& index,
                                            const znIntType<2>* scramble) const
{
    return {fractionToFloat(SobolRI(index, scramble[0])),
            fractionToFloat(LarcherPillichshammerRI(index, scramble[1]))};
}
