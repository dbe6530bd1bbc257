#pragma once

// Records that carry the parameters of a material to its lobes, between frames. Each lobe tests the
// record's class and leaves records of other classes alone, so a blend of lobes can hand one record
// to both.

#include "host/znRTVector.h"

#include <vector>

class znRTSampler3D;

struct znRTBxDFAttributes
{
    virtual ~znRTBxDFAttributes() = default;
};

/// Indices of refraction on both sides of a surface.
struct znRTRefractionIndices
{
    float indexA = 1.5f; ///< inside
    float indexB = 1.0f; ///< outside
    /// Indices by bands of osg::Spectrum, used when both have at least 40; not owned.
    const std::vector<float>* spectrumA = nullptr;
    const std::vector<float>* spectrumB = nullptr;
};

/// What light meets below a surface.
struct znRTSubsurfaceMedium
{
    /// Reduced extinction coefficient, one over scene units: the mean free path is its reciprocal.
    float extinction = 1.0f;
    float unit = 1.0f;          ///< scene units that the lobe's limits of the extinction count in
    float anisotropy = 0.0f;    ///< mean cosine of scattering, (-1, 1)
    float scatterAlbedo = 0.9f; ///< scattered share of what is extinguished
    int mode = 3;               ///< of translucency: 4 takes light that scattered once alone
};

/// Reflecting lobes.
struct znRTBSDFAttributes : znRTBxDFAttributes
{
    // Width of the highlight along both axes. Phong family: roughness is 1 / exponent. Facet lobes
    // read the roughness alone: GGX the square of the slope alpha, Ward alpha itself.
    float roughnessX = 1.0f / 50.0f, roughnessY = 1.0f / 50.0f;
    float exponentX = 50.0f, exponentY = 50.0f;
    float anisotropyAngle = 0.0f; ///< degrees, from the frame's u toward v

    float diffuseRoughness = 0.0f; ///< deviation of the facets' slope angle, radians, 0..pi/2
    float darkening = 1.0f;        ///< exponent of a limb-darkened diffuse lobe, 1 none
    float diffuseShare = 1.0f;     ///< energy of the diffuse lobe under a glossy one, 0..1

    unsigned fresnelTable = noTable;    ///< metal, see znRTFresnelApprox; noTable: the reflectance
    float reflectance = 0.04f;          ///< at normal incidence, 0..1
    bool useSchlick = false;            ///< the reflectance exactly, with a rise to the rim
    float indexA = 1.5f, indexB = 1.0f; ///< of refraction, inside and outside

    static constexpr unsigned noTable = 255;

    void setExponents(float x, float y);
    /// The slopes of a GGX lobe.
    void setSlopes(float alphaX, float alphaY)
    {
        roughnessX = alphaX * alphaX;
        roughnessY = alphaY * alphaY;
    }
};

/// The name that plain materials know the record by.
using znRTBRDFAttributes = znRTBSDFAttributes;

/// Rough transmission, translucency and light below the surface.
struct znRTPhongBTDFAttributes : znRTBxDFAttributes
{
    float exponent = 50.0f;
    float darkening = 1.0f;
    znRTRefractionIndices indices;
    znRTSubsurfaceMedium medium;
};

/// Refraction at a smooth surface.
struct znRTSpecularBTDFAttributes : znRTBxDFAttributes
{
    znRTRefractionIndices indices;
};

/// Metallic workflow: one set of values for the diffuse and the glossy lobe.
struct znRTSubstanceAttributes : znRTBxDFAttributes
{
    znRTVector3f baseColor{0.8f, 0.8f, 0.8f};
    float metallic = 0.0f;
    float roughness = 0.5f;       ///< linear, 0..1: the slope is its square
    float specularLevel = 0.5f;   ///< 0..1: reflectance 0 to 0.08 of what is no metal
    float anisotropyLevel = 0.0f; ///< 0..1
    float anisotropyAngle = 0.0f; ///< turns, 0..1
};

/// Tabulated reflectance over two polar angles and the difference of azimuths.
struct znRTPBRDFAttributes : znRTBxDFAttributes
{
    const znRTSampler3D* table = nullptr; ///< pi times the value; not owned
    int mode = 3;                         ///< 3: coordinates are angles; else their cosines
    /// Coordinate i of the table is scale[i] x + offset[i]; the fourth pair is spare.
    float scale[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    float offset[4] = {0.0f, 0.0f, 0.0f, 0.0f};
};

inline void znRTBSDFAttributes::setExponents(float x, float y)
{
    exponentX = x;
    exponentY = y;
    roughnessX = x > 0.0f ? 1.0f / x : 0.0f;
    roughnessY = y > 0.0f ? 1.0f / y : 0.0f;
}
