#pragma once

// Parameters of lobes that differ from lane to lane, because a texture drives them. A shading block
// points to two consecutive records: [0] for the glossy lobe of a hit, [1] for a second one. Lobes
// of form 1 read them; lanes outside the masks use what the lobe's setup stored.

#include "brdf/lobeMath.h"
#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"

struct znRTLobeParameters : znAlignedBase16
{
    /// Lanes in which exponents stand.
    znFloatType<2> mask;

    // Phong family. (e + 1) / (2 pi) normalizes the density of half vectors, (e + 2) / (2 pi) the
    // reflected energy.
    znFloatType<2> exponent, invExponentPlusOne, pdfNorm, evalNorm;
    znFloatType<2> level; ///< see lobeMath::environmentLevel
    /// Second axis, and the norms with the geometric mean of both axes.
    znFloatType<2> exponentV, pdfNorm2, evalNorm2;

    /// Lanes in which slopes stand.
    znFloatType<2> slopeMask;

    // Facet distributions: slopes along both axes, and the turn of the axes about the normal.
    znFloatType<2> alphaX, alphaY;
    znFloatType<2> cosRotation, sinRotation; ///< of the negated angle
    /// Linear roughness, the mean of both axes' sqrt(alpha), for diffuse lobes.
    znFloatType<2> diffuseRoughness;

    /// Lanes in which the two below stand.
    znFloatType<2> reflectanceMask;
    znRTColorPacket f0;         ///< reflectance at normal incidence
    znFloatType<2> reflectance; ///< the same as one value, for a diffuse lobe below a layer

    /// Lanes with a second point: where light entered, for subsurface lobes; world space.
    znFloatType<2> entryMask;
    znRTVector3fPacket entryPoint;

    /// Empties all masks; the other fields stay undefined.
    void clear();

    /// Takes the other over in the lanes, on all fields and masks.
    void maskedUpdate(const znRTLobeParameters& other, znFloatType<2> lanes);

    /// The same exponent on both axes, in the lanes.
    /// @param e  held inside 0..lobeMath::maxExponent
    void setExponents(znFloatType<2> e, znFloatType<2> lanes) { setExponents(e, e, lanes); }
    void setExponents(znFloatType<2> eU, znFloatType<2> eV, znFloatType<2> lanes);
    /// Slopes in the lanes; the axes are not turned.
    /// @param aX, aY  held inside lobeMath::minSlope..1
    void setSlopes(znFloatType<2> aX, znFloatType<2> aY, znFloatType<2> lanes);
    /// @param radians  turn of the first axis from the frame's u toward v
    void setRotation(znFloatType<2> radians, znFloatType<2> lanes);
    /// The same by the sine and cosine of the negated angle.
    void setTurn(znFloatType<2> cosine, znFloatType<2> sine, znFloatType<2> lanes);
    void setReflectance(const znRTColorPacket& color, znFloatType<2> lanes);
};

inline void znRTLobeParameters::clear()
{
    mask = znFloatType<2>::noLanes();
    slopeMask = znFloatType<2>::noLanes();
    reflectanceMask = znFloatType<2>::noLanes();
    entryMask = znFloatType<2>::noLanes();
}
