#include "core/znRTSpectrum.h"

#include "core/packetMath.h"
#include "core/smitsWeights.h"
#include "core/znRTSpectralData.h"
#include "host/osg/Spectrum.h"

#include <algorithm>

znRTSpectrum::znRTSpectrum(const float* values)
{
    std::copy_n(values, bandCount, bands.begin());
}

znRTSpectrum::znRTSpectrum(const osg::Spectrum& source, float scale) : scalar(scale)
{
    const std::vector<float>& samples = source.getSamples();
    bands.fill(0.0f);
    std::copy_n(samples.begin(), std::min(samples.size(), bands.size()), bands.begin());
}

znRTSpectrum& znRTSpectrum::operator+=(const znRTSpectrum& other)
{
    for (int i = 0; i < bandCount; ++i)
        bands[i] += other[i];
    return *this;
}

znRTSpectrum& znRTSpectrum::operator*=(const znRTSpectrum& other)
{
    for (int i = 0; i < bandCount; ++i)
        bands[i] *= other[i];
    return *this;
}

znRTSpectrum& znRTSpectrum::operator*=(float factor)
{
    for (float& band : bands)
        band *= factor;
    return *this;
}

float znRTSpectrum::getSampleAt(float position) const
{
    // The negated test drops NaN as well.
    if (!(position >= 0.0f && position < float(bandCount)))
        return 0.0f;
    const int i = int(position);
    const float f = position - float(i);
    // Beyond the outer centres their bands come back unrounded.
    if (f < 0.5f)
        return i == 0 ? bands[0] : (f + 0.5f) * bands[i] + (0.5f - f) * bands[i - 1];
    return i == bandCount - 1 ? bands[i] : (f - 0.5f) * bands[i + 1] + (1.5f - f) * bands[i];
}

znFloatType<2> znRTSpectrum::getSamplesAt2(const znFloatType<2>& position) const
{
    return {getSampleAt(position[0]), getSampleAt(position[1]), getSampleAt(position[2]),
            getSampleAt(position[3])};
}

float znRTSpectrum::getPhotometricValue() const
{
    const float* weights = znRTSpectralData::Instance().getY().bands.data();
    znFloatType<2> sum(0.0f);
    for (int i = 0; i < bandCount; i += 4)
        sum += znFloatType<2>::load(&bands[i]) * znFloatType<2>::load(weights + i);
    return (sum[0] + sum[1]) + (sum[2] + sum[3]);
}

namespace {

znRTSpectrum fromBases(const znRTSpectrum* bases, float scale, float r, float g, float b)
{
    const znSmitsWeights weights(r, g, b);
    const znRTSpectrum& white = bases[znSmitsWeights::white];
    const znRTSpectrum& secondary = bases[weights.secondary];
    const znRTSpectrum& primary = bases[weights.primary];
    znRTSpectrum result;
    for (int i = 0; i < znRTSpectrum::bandCount; ++i)
        result[i] = scale * (weights.ofWhite * white[i] + weights.ofSecondary * secondary[i] +
                             weights.ofPrimary * primary[i]);
    return result;
}

} // namespace

znRTSpectrum znRTSpectrum::RGB2ReflSpec(float r, float g, float b)
{
    return fromBases(znRTSpectralData::Instance().getReflBases(), reflectanceScale, r, g, b);
}

znRTSpectrum znRTSpectrum::RGB2IlluSpec(float r, float g, float b)
{
    if (r == 0.0f && g == 0.0f && b == 0.0f)
        return znRTSpectrum();
    return fromBases(znRTSpectralData::Instance().getIlluBases(), illuminationScale, r, g, b);
}
