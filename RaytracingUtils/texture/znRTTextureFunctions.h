#pragma once

// Lookups in images for shading, four lanes at once. Colours are linear RGBA: grey stands in r, g
// and b, a missing alpha is 1. Lanes outside the mask are 0 and read no memory. A sampler without
// data gives white, so that what is multiplied with it stays; a pixel type that is none reads as 0
// in all channels, alpha included.
//
// The filter is bilinear without a footprint, and follows it with one: between mip levels and, for
// samplers that allow it, along the footprint's longer axis.
//
// Mip levels: L. Williams, "Pyramidal Parametrics", SIGGRAPH 1983. Taps along an axis: J. McCormack
// et al., "Feline: Fast Elliptical Lines for Anisotropic Texture Mapping", SIGGRAPH 1999.

#include "core/znRTColorPacket.h"
#include "core/znRTVector3fPacket.h"
#include "host/znDistribution2D.h"
#include "host/znRTTextureSampler.h"
#include "texture/textureProjections.h"

#include <span>

class znRTTextureAttributes;
class znRTTriplanarTextureAttributes;
struct znRTDifferentialGeometry;
struct znTextureTasks;

class znRTTextureFunctions
{
public:
    // Places by (s, t). The forms without transform take coordinates as the image has them.

    static znRTColorPacket texture2D(const znRTTextureSampler& sampler,
                                     const znRTVector2fPacket& uv, const znFloatType<2>& mask);
    static znRTColorPacket texture2D(const znRTTextureSampler& sampler, const znFloatType<2>& s,
                                     const znFloatType<2>& t, const znFloatType<2>& mask);
    static znRTColorPacket texture2D(const znRTTextureSampler& sampler,
                                     const znRTVector2fPacket& uv,
                                     const znTextureFootprint& footprint,
                                     const znFloatType<2>& mask);
    static znRTColorPacket texture2D(const znRTTextureSampler& sampler, const znFloatType<2>& s,
                                     const znFloatType<2>& t, const znFloatType<2>& dsdx,
                                     const znFloatType<2>& dtdx, const znFloatType<2>& dsdy,
                                     const znFloatType<2>& dtdy, const znFloatType<2>& mask);
    static znRTColorPacket texture2DNoTransform(const znRTTextureSampler& sampler,
                                                const znRTVector2fPacket& uv,
                                                const znFloatType<2>& mask);
    static znRTColorPacket texture2DNoTransform(const znRTTextureSampler& sampler,
                                                const znRTVector2fPacket& uv,
                                                const znTextureFootprint& footprint,
                                                const znFloatType<2>& mask);
    static znRTColorPacket texture2DNearest(const znRTTextureSampler& sampler,
                                            const znRTVector2fPacket& uv,
                                            const znFloatType<2>& mask);
    static znRTColorPacket texture2DNearestNoTransform(const znRTTextureSampler& sampler,
                                                       const znRTVector2fPacket& uv,
                                                       const znFloatType<2>& mask);
    /// A repeated image without visible repeats: see infiniteTiling.h. Images that end at their
    /// edges are read as they are.
    static znRTColorPacket texture2DInfiniteTiling(const znRTTextureSampler& sampler,
                                                   const znRTVector2fPacket& uv,
                                                   const znTextureFootprint& footprint,
                                                   const znFloatType<2>& mask);
    /// One element of an array, by its number; numbers are held inside the array.
    static znRTColorPacket texture2DArray(const znRTTextureSampler& sampler,
                                          const znRTVector2fPacket& uv, const znIntType<2>& element,
                                          const znFloatType<2>& mask);
    /// Bilinear in two slices and linear between them.
    /// @param w  [0, 1] from the first slice to the last, whose middles lie on the ends
    static znRTColorPacket texture3DBilinear(const znRTTextureSampler& sampler,
                                             const znRTVector2fPacket& uv, const znFloatType<2>& w,
                                             const znFloatType<2>& mask);

    // Projections through space. Position, normal and footprint of a neighbourhood are in the space
    // of the projection; see znRTDataBlockPacket::setupTriplanarDifferentialGeometry.

    /// By how the attribute lies on the surface: the texture coordinates in force, a plane or
    /// cylinder, or three axes; with or without visible repeats. Lanes that a projection does not
    /// reach show the border.
    static znRTColorPacket texture2D(const znRTTextureSampler& sampler,
                                     const znRTTextureAttributes& attributes,
                                     const znRTDifferentialGeometry& dg,
                                     const znFloatType<2>& mask);
    /// At a place that a projection found.
    static znRTColorPacket texture2D(const znRTTextureSampler& sampler, const znTexturePlace& place,
                                     const znFloatType<2>& mask);
    /// Through the sampler's matrix: x and y of the image are u and v. Lanes that face away from a
    /// one-sided projection, or lie off its depth, are at (-1, -1) and not inside.
    static znTexturePlace computePlanarTextureProjection(const znRTTextureSampler& sampler,
                                                         const znRTDifferentialGeometry& dg,
                                                         const znFloatType<2>& mask);
    /// The same about the z axis of the matrix: u is the azimuth in turns plus a half, v the
    /// height. Footprints across the seam are those of a cylinder without one.
    static znTexturePlace computeCylindricalTextureProjection(const znRTTextureSampler& sampler,
                                                              const znRTDifferentialGeometry& dg,
                                                              const znFloatType<2>& mask);

    /// Weights of the three axes. A normal along an axis shows that axis alone; near the diagonals
    /// two of them mix over a band.
    /// @param blendWidth  of the band, as a difference of cosines
    /// @param weight      out: sum 1, and 0 in lanes off the mask
    static void computeTriplanarBlend(const znRTVector3fPacket& normal, float blendWidth,
                                      const znFloatType<2>& mask, znFloatType<2> weight[3]);
    /// Coordinates along one axis. Along z, the image reads from outside as it is on both sides;
    /// along x and y it is mirrored on both.
    static znTexturePlace calculateTriplanarAxis(const znRTTriplanarTextureAttributes& attributes,
                                                 int axis, const znRTDifferentialGeometry& dg);
    /// The same with the steps of the position along u and v, in the plane across the axis.
    static znTexturePlace computeTriplanarTextureProjectionCoordinates(
        const znRTTriplanarTextureAttributes& attributes, int axis,
        const znRTDifferentialGeometry& dg, znRTVector3fPacket& dPdu, znRTVector3fPacket& dPdv);
    static znTriplanarProjection prepareTriplanar(const znRTTriplanarTextureAttributes& attributes,
                                                  const znRTDifferentialGeometry& dg,
                                                  const znFloatType<2>& mask);
    static znRTColorPacket texture2DTriplanar(const znRTTextureSampler& sampler,
                                              const znTriplanarProjection& projection,
                                              const znFloatType<2>& mask);
    /// Several images that lie alike.
    /// @param colors  out: as many as samplers
    static void texture2DTriplanar(std::span<const znRTTextureSampler* const> samplers,
                                   const znTriplanarProjection& projection,
                                   const znFloatType<2>& mask, znRTColorPacket* colors);
    /// From the finest level alone.
    static znRTColorPacket texture2DTriplanarLinear(const znRTTextureSampler& sampler,
                                                    const znTriplanarProjection& projection,
                                                    const znFloatType<2>& mask);

    // Images as densities over the unit square: places are drawn in proportion to the image. The
    // first number chooses the row, the second the place along it; results are (u, v).

    /// @param pdf  out: density over the unit square
    /// @return (0, 0) and density 0 in lanes off the mask
    static znRTVector2fPacket remapSample(const znDistribution2D& distribution,
                                          const znRTVector2fPacket& numbers, znFloatType<2>& pdf,
                                          const znFloatType<2>& mask);
    static znRTVector2fPacket remapSample(const znDistribution2DDouble& distribution,
                                          const znRTVector2fPacket& numbers, znFloatType<2>& pdf,
                                          const znFloatType<2>& mask);
    /// The density at (u, v).
    static znFloatType<2> remapPdf(const znDistribution2D& distribution,
                                   const znRTVector2fPacket& uv, const znFloatType<2>& mask);
    static znFloatType<2> remapPdf(const znDistribution2DDouble& distribution,
                                   const znRTVector2fPacket& uv, const znFloatType<2>& mask);
    /// One place of a row of cells.
    /// @param index  out: the cell
    static float getCDFSample(const znDistribution1D& distribution, float number, float& pdf,
                              int& index);
    static double getCDFSample(const znDistribution1DDouble& distribution, double number,
                               double& pdf, int& index);
    static znFloatType<2> getCDFSample2(const znDistribution1D& distribution,
                                        const znFloatType<2>& numbers, znFloatType<2>& pdf,
                                        znIntType<2>& index, const znFloatType<2>& mask);
    static znFloatType<2> getCDFSample2(const znDistribution1DDouble& distribution,
                                        const znFloatType<2>& numbers, znFloatType<2>& pdf,
                                        znIntType<2>& index, const znFloatType<2>& mask);
    /// Luminance of a texture as a density of a size of its own. On several threads.
    /// @param sinWeighted  rows count by the sine of the polar angle: images of directions
    /// @param tasks        to cancel by, see textureTasks.h; null for none
    /// @return false after a cancel, with the distribution as it was
    static bool calculateTransformedCdf(const znRTTextureSampler& sampler, int width, int height,
                                        bool sinWeighted, znDistribution2D& distribution,
                                        znTextureTasks* tasks = nullptr);

    // Directions. Faces of a cube are read as OpenGL reads them.

    static znRTColorPacket textureCube(const znRTTextureSampler& sampler,
                                       const znRTVector3fPacket& direction,
                                       const znFloatType<2>& mask);
    /// @param dx, dy  steps of the direction from one pixel to the next
    static znRTColorPacket textureCube(const znRTTextureSampler& sampler,
                                       const znRTVector3fPacket& direction,
                                       const znRTVector3fPacket& dx, const znRTVector3fPacket& dy,
                                       const znFloatType<2>& mask);
    /// Face and place on it.
    /// @return (s, t) in [0, 1]
    static znRTVector2fPacket findCubeFace(const znRTVector3fPacket& direction, znIntType<2>& face);
    /// The same, with the steps of (s, t) that steps of the direction make.
    static znRTVector2fPacket findCubeFace(const znRTVector3fPacket& direction,
                                           const znRTVector3fPacket& dx,
                                           const znRTVector3fPacket& dy, znIntType<2>& face,
                                           znTextureFootprint& footprint);

    /// An environment in the direction of a lobe, by how sharp the lobe is. Stacks (3D samplers)
    /// hold images by latitude and longitude, slice 0 the most blurred; levels of a cube are
    /// prefiltered likewise, level 0 the sharp one; a plain image has one sharpness.
    /// @param direction   unit, world space, z up
    /// @param level       0 the cosine-weighted mean, 1 sharp; see lobeMath::environmentLevel
    /// @param isCorrected the sampler's colour correction is applied
    static znRTColorPacket environmentLookup(const znRTTextureSampler& sampler,
                                             const znRTVector3fPacket& direction,
                                             const znFloatType<2>& level, bool isCorrected,
                                             const znFloatType<2>& mask);
    /// Place of a direction in an environment image: u = atan2(x, y) / (2 pi), v = acos(z) / pi.
    static znRTVector2fPacket environmentCoordinates(const znRTVector3fPacket& direction);
    /// The mean colour of the sampler times s_exposureScale; 0 if not active.
    static znRTColorPacket ambientLookup(const znRTTextureSampler& sampler,
                                         const znFloatType<2>& mask, bool active);
    /// colorMatrix * (r, g, b, 1) clamped below at 0, alpha 1; the colour itself where the sampler
    /// wants none.
    static znRTColorPacket applyColorCorrection(const znRTTextureSampler& sampler,
                                                const znRTColorPacket& color);

    // Coordinates

    /// Repeat, offset and rotation of the sampler, about the middle of the offset image.
    static void applyTexCoordTransform(const znRTTextureSampler& sampler, znFloatType<2>& s,
                                       znFloatType<2>& t);
    static void applyTexCoordTransform(const znRTTextureSampler& sampler, znRTVector2fPacket& uv);
    /// The footprint is scaled and not turned: turned textures may be blurred up to sqrt(2) times
    /// too much.
    static void applyTexCoordTransform(const znRTTextureSampler& sampler, znRTVector2fPacket& uv,
                                       znTextureFootprint& footprint);
    static void undoTexCoordTransform(const znRTTextureSampler& sampler, znRTVector2fPacket& uv);
    /// Brings a coordinate into [0, 1].
    /// @param mode   see znRTTextureSampler::Wrap
    /// @param valid  loses the lanes off the texture under decal
    static znFloatType<2> calculateTexCoord(int mode, const znFloatType<2>& coordinate,
                                            znFloatType<2>& valid);
    /// The two texels that a coordinate lies between, and the share of the upper.
    static void calculateTexCoordIndex(int mode, int size, const znFloatType<2>& coordinate,
                                       znIntType<2>& lower, znIntType<2>& upper,
                                       znFloatType<2>& weight, znFloatType<2>& valid);
    /// The border's colour in lanes that are not valid.
    static void replaceColorByBorderColor(const znRTTextureSampler& sampler, znRTColorPacket& color,
                                          const znFloatType<2>& valid);

    // Levels

    /// Piecewise linear logarithm of the longer side of the footprint's box, in texels.
    static znMipLevels calculateMipMapLevel(const znRTTextureSampler& sampler,
                                            const znTextureFootprint& footprint);
    /// By the shorter axis of the footprint, which is not taken below the longer one over the
    /// sampler's limit. Levels are mixed in the last tenth of an octave alone: that keeps the image
    /// sharp.
    static znEllipse calculateEWAMipMapLevel(const znRTTextureSampler& sampler,
                                             const znTextureFootprint& footprint,
                                             znMipLevels& levels);

    static bool s_useHighQualityTextureFiltering;
    static float s_textureSharpness;       ///< 1 neutral, above it sharper
    static float s_ewaFilterRescale;       ///< factor on footprints: 1 / sharpness
    static float s_exposureScale;          ///< of ambient light and skies
    static znRTSampler2D s_dummyTexture2D; ///< without data

    /// Between frames.
    static void setSharpness(float sharpness);

    znRTTextureFunctions() = delete;
};
