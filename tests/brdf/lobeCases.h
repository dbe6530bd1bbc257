#pragma once

// The lobes with a density, as rows: how each is set up, what publication its values come from, and
// which of the common promises it does not make.

#include "brdf/analytic/znRTFresnelBlendBRDF.h"
#include "brdf/referenceLobes.h"
#include "brdf/znRTBxDFAttributes.h"
#include "brdf/znRTLobeParameters.h"

#include <functional>
#include <memory>
#include <ostream>
#include <string>

/// Two consecutive parameter records, as shading keeps them.
using LobeBlock = std::array<znRTLobeParameters, 2>;

struct LobeCase
{
    std::string name;
    std::function<std::shared_ptr<znRTBRDF>()> lobe;
    /// Value without the cosine, 1/sr, of the red channel.
    std::function<double(const reference::Vector& wo, const reference::Vector& wi)> value;
    std::function<double(const reference::Vector& wo, const reference::Vector& wi)> density;

    /// Largest value * cosine / density of a drawn direction; 0: not bounded by less than 300.
    double maxWeight = 0.0;
    double maxAlbedo = 1.01;
    /// Writes what a lobe of form 1 reads; such a lobe has no parameters of its own.
    std::function<void(LobeBlock&)> block = {};
    bool isReciprocal = true;
    /// Asked in the frame of the negated normal.
    bool isTransmission = false;

    friend std::ostream& operator<<(std::ostream& stream, const LobeCase& c)
    {
        return stream << c.name;
    }
};

/// Surroundings of a lobe in a test: no textures unless the case has a block.
struct LobeSetting
{
    explicit LobeSetting(const LobeCase& c);
    LobeSetting(const LobeSetting&) = delete;

    std::shared_ptr<znRTBRDF> lobe;
    LobeBlock block{};
    znRTDifferentialGeometry dg{};
};

/// All rows.
const std::vector<LobeCase>& lobeCases();
/// Pairs of rows with the same parameters, the first from setup and the second from the block.
const std::vector<std::pair<std::string, std::string>>& lobeForms();
const LobeCase& lobeCase(const std::string& name);

/// A viewer at a polar angle in degrees, below the surface for transmission.
inline reference::Vector viewer(const LobeCase& c, double degrees)
{
    constexpr double azimuth = 0.7; // between the axes of anisotropic lobes
    const auto wo = reference::Vector::polar(degrees * reference::pi / 180.0, azimuth);
    return c.isTransmission ? reference::Vector{wo.x, wo.y, -wo.z} : wo;
}

/// The same direction in all lanes.
inline znRTVector3fPacket lanesOf(const reference::Vector& v)
{
    return znRTVector3fPacket(v.toFloat());
}
