#pragma once

// Pictures as the comparisons take them, with what they share: planes of floats, row by row.

#include "io/ImageData.h"

#include <vector>

/// One value per pixel. Reading outside repeats the nearest pixel of the border.
struct Plane
{
    int width = 0, height = 0;
    std::vector<float> values;

    Plane() = default;
    Plane(int w, int h) : width(w), height(h), values(std::size_t(w) * std::size_t(h)) {}
    float& at(int x, int y) { return values[std::size_t(y) * std::size_t(width) + std::size_t(x)]; }
    float at(int x, int y) const { return const_cast<Plane*>(this)->at(x, y); }
};

/// Red, green and blue; alpha takes no part.
struct Picture
{
    Plane channels[3];

    int width() const { return channels[0].width; }
    int height() const { return channels[0].height; }
};

/// Values as they stand in the file, 1 = white for integers. Gray becomes three equal channels.
Picture storedValues(const io::ImageData& image);

/// Linear light of a display, 0 to 1: integers are taken out of the sRGB curve, floats are clamped
/// (NaN counts as 0).
Picture displayedLight(const io::ImageData& image);

/// The sRGB curve of a display value and back, IEC 61966-2-1.
float toSrgb(float linear);
float fromSrgb(float stored);

/// 0.2126 R + 0.7152 G + 0.0722 B.
Plane luminance(const Picture& picture);

/// Convolution with one row of weights, an odd number of them, along x and then along y.
Plane filtered(const Plane& plane, const std::vector<float>& alongX,
               const std::vector<float>& alongY);
