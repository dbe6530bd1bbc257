#pragma once

// A colour with strength: linear Rec. 709 RGB, or a spectrum where one is given and switched on.

#include "host/osg/FCPtr.h"
#include "host/osg/Vector.h"

namespace osg {

struct ColorComponent
{
    Vec3f color{1.0f, 1.0f, 1.0f};
    float intensity = 1.0f;
    Ref<Spectrum> spectrum;
    float temperature = 0.0f; ///< kelvin of a black body that replaces the colour; 0 = unused

    ColorComponent() = default;
    ColorComponent(const Vec3f& color_, float intensity_ = 1.0f)
        : color(color_), intensity(intensity_)
    {
    }
    ColorComponent(float r, float g, float b) : color(r, g, b) {}
    explicit ColorComponent(float gray) : color(gray, gray, gray) {}
    bool operator==(const ColorComponent&) const = default;

    const Vec3f& getColor() const { return color; }
    float getIntensity() const { return intensity; }
    float getTemperature() const { return temperature; }
    /// Null when the colour is RGB. Lives as long as the component.
    Spectrum* getSpectrum() const;
};

} // namespace osg

using osg::ColorComponent;
