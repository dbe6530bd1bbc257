#include "light/znRTEnvironmentMap.h"

#include "host/znRTTextureSampler.h"
#include "light/polarImage.h"

#include <algorithm>
#include <cmath>

bool znRTEnvironmentMap::setSampler(const znRTSampler2D* newSampler)
{
    const bool fits = newSampler && newSampler->isValid() &&
                      newSampler->pixelType == znRTSampler2D::typeRGBAFloat;
    sampler = fits ? newSampler : nullptr;
    return fits;
}

void znRTEnvironmentMap::setColor(const znMatrix4x4* correction, float newScale)
{
    isCorrected = correction != nullptr;
    if (correction)
        matrix = *correction;
    scale = newScale;
}

int znRTEnvironmentMap::getWidth() const
{
    return sampler ? sampler->width : 0;
}

int znRTEnvironmentMap::getHeight() const
{
    return sampler ? sampler->height : 0;
}

znRTColor znRTEnvironmentMap::correct(const znRTColor& color) const
{
    if (!isCorrected)
        return {color.r, color.g, color.b, 1.0f};
    const auto row = [&](int i) {
        return std::max(matrix[0][i] * color.r + matrix[1][i] * color.g + matrix[2][i] * color.b +
                            matrix[3][i],
                        0.0f);
    };
    return {row(0), row(1), row(2), 1.0f};
}

znRTColor znRTEnvironmentMap::getCorrected(const znRTColor& color) const
{
    const znRTColor c = correct(color);
    return {c.r * scale, c.g * scale, c.b * scale, 1.0f};
}

znRTColor znRTEnvironmentMap::at(float u, float v) const
{
    const int width = sampler->width, height = sampler->height;
    const float x = (u - std::floor(u)) * float(width) - 0.5f;
    const float y = std::clamp(v * float(height) - 0.5f, 0.0f, float(height - 1));
    const float left = std::floor(x);
    const int column = int(left), row = int(y);
    const int columns[2] = {(column + width) % width, (column + 1) % width};
    const int rows[2] = {row, std::min(row + 1, height - 1)};
    const float across = x - left, down = y - float(row);
    const float weights[4] = {(1.0f - across) * (1.0f - down), across * (1.0f - down),
                              (1.0f - across) * down, across * down};
    float sum[3] = {0.0f, 0.0f, 0.0f};
    for (int i = 0; i < 4; ++i) {
        const auto* const texel = reinterpret_cast<const float*>(
            sampler->getLayerDataFast(0, 0, columns[i & 1], rows[i >> 1]));
        for (int c = 0; c < 3; ++c)
            sum[c] += weights[i] * texel[c];
    }
    return correct({sum[0], sum[1], sum[2], 1.0f});
}

znRTColorPacket znRTEnvironmentMap::getCorrected(const znRTColorPacket& color,
                                                 const znFloatType<2>& mask) const
{
    znRTColorPacket c = color;
    if (isCorrected) {
        const auto row = [&](int i) {
            return maximum(color.r * matrix[0][i] + color.g * matrix[1][i] +
                               color.b * matrix[2][i] + matrix[3][i],
                           0.0f);
        };
        c = {row(0), row(1), row(2), 1.0f};
    }
    return znRTColorPacket(c.r * scale, c.g * scale, c.b * scale, 1.0f) & mask;
}

znRTColorPacket znRTEnvironmentMap::lookup(const znRTVector2fPacket& uv,
                                           const znFloatType<2>& mask) const
{
    if (!sampler)
        return znRTColorPacket(0.0f);
    const znRTPolarPlaces places(uv, sampler->width, sampler->height);
    return getCorrected(places.read(*sampler, 0, mask), mask);
}

float znRTEnvironmentMap::luminance(float u, float v) const
{
    const znRTColor c = at(u, v);
    return 0.2125f * c.r + 0.7154f * c.g + 0.0721f * c.b;
}
