#include "core/znRTSpectralData.h"

#include "core/spectralTables.h"

namespace {

// CIE XYZ to linear sRGB (IEC 61966-2-1), from the primaries and the white (0.3127, 0.3290).
const double xyzToRGB[3][3] = {{3.2409699419045235, -1.5373831775700944, -0.4986107602930036},
                               {-0.9692436362808797, 1.8759675015077204, 0.041555057407175626},
                               {0.05563007969699364, -0.20397695888897652, 1.0569715142428786}};

double sumOfBands(const znRTSpectrum& spectrum)
{
    double sum = 0.0;
    for (float band : spectrum.bands)
        sum += band;
    return sum;
}

float weightedSum(const znRTSpectrum& weights, const znRTSpectrum& spectrum)
{
    double sum = 0.0;
    for (int i = 0; i < znRTSpectrum::bandCount; ++i)
        sum += double(weights[i]) * spectrum[i];
    return float(sum);
}

} // namespace

znRTSpectralData& znRTSpectralData::Instance()
{
    static znRTSpectralData data;
    return data;
}

znRTSpectralData::znRTSpectralData()
    : x(spectralTables::matchingX), y(spectralTables::matchingY), z(spectralTables::matchingZ),
      a(spectralTables::standardA), d65(spectralTables::standardD65),
      e(spectralTables::standardE), refl{znRTSpectrum(spectralTables::reflWhite),
                                         znRTSpectrum(spectralTables::reflCyan),
                                         znRTSpectrum(spectralTables::reflMagenta),
                                         znRTSpectrum(spectralTables::reflYellow),
                                         znRTSpectrum(spectralTables::reflRed),
                                         znRTSpectrum(spectralTables::reflGreen),
                                         znRTSpectrum(spectralTables::reflBlue)},
      illu{znRTSpectrum(spectralTables::illuWhite),   znRTSpectrum(spectralTables::illuCyan),
           znRTSpectrum(spectralTables::illuMagenta), znRTSpectrum(spectralTables::illuYellow),
           znRTSpectrum(spectralTables::illuRed),     znRTSpectrum(spectralTables::illuGreen),
           znRTSpectrum(spectralTables::illuBlue)}
{
    for (int channel = 0; channel < 3; ++channel)
        for (int i = 0; i < znRTSpectrum::bandCount; ++i)
            emittedWeights[channel][i] =
                float(xyzToRGB[channel][0] * x[i] + xyzToRGB[channel][1] * y[i] +
                      xyzToRGB[channel][2] * z[i]);
    reinit();
}

const znRTSpectrum& znRTSpectralData::getIlluminantSpectrum() const
{
    return illuminant == illuminantA ? a : illuminant == illuminantE ? e : d65;
}

void znRTSpectralData::reinit()
{
    for (int channel = 0; channel < 3; ++channel) {
        znRTSpectrum& weights = reflectedWeights[channel];
        weights = emittedWeights[channel] * getIlluminantSpectrum();
        weights *= float(1.0 / sumOfBands(weights));
    }
}

znRTColor znRTSpectralData::getReflectedColor(const znRTSpectrum& reflectance) const
{
    return {weightedSum(reflectedWeights[0], reflectance),
            weightedSum(reflectedWeights[1], reflectance),
            weightedSum(reflectedWeights[2], reflectance)};
}

znRTColor znRTSpectralData::getEmittedColor(const znRTSpectrum& light) const
{
    return {weightedSum(emittedWeights[0], light), weightedSum(emittedWeights[1], light),
            weightedSum(emittedWeights[2], light)};
}
