#pragma once

// One scattering lobe of a surface: reflection or transmission. A material owns its lobes, sets
// them up between frames, and hands them to whoever evaluates light.
//
// Rules that tie the operations together:
// - Directions are unit, in the lobe's frame (znRTONB, z along the shading normal), and point away
//   from the surface: wo toward the viewer, wi toward the light. A lobe that thinks in the incoming
//   ray takes d = -wo.
// - Values are per steradian and leave out the cosine of wi: light counts as value * |wi.z| / pdf.
// - sample draws wi with the density that pdf returns. A drawn direction that the lobe cannot
//   reflect to, below the horizon above all, is dropped and never turned around: the density then
//   integrates to the share that is kept, and what is missing is energy the facets lose.
// - A lobe checks the hemispheres itself: reflecting lobes give 0 for value and density unless wo
//   and wi lie above the horizon. Transmitting lobes that have a density (translucency) are asked
//   in the flipped frame, where the viewer is below and wi above the surface.
// - A pair of directions is possible where the density is above 0; colours are 0 elsewhere. Alpha
//   is stored as each lobe says and no test of validity.
// - isDelta() lobes answer only for the direction they drew; there, value * |wi.z| / pdf is the
//   weight of the ray. Estimators that choose directions by themselves must skip these lobes.
// - setup runs between frames; all else is const and runs on all render threads at once.

#include "core/znRTColorPacket.h"
#include "core/znRTDifferentialGeometry.h"
#include "host/znRTNode.h"

class znRTFresnelOP;
class znRTRoughnessTextures;
struct znRTBxDFAttributes;
struct znRTLobeParameters;

/// Bits of a lobe's type: the component group it belongs to, and what selects it.
namespace lobeType {
constexpr unsigned diffuse = 1;               ///< group 0
constexpr unsigned glossy = 2;                ///< group 1
constexpr unsigned specular = 4;              ///< group 2
constexpr unsigned transmission = 8;          ///< group 3, glossy or diffuse
constexpr unsigned specularTransmission = 16; ///< group 4
constexpr unsigned surfaceSide = 32;          ///< lobes of the surface side carry it
constexpr unsigned subsurface = 128;          ///< group 5
/// Bits that select lobes. The others stand in nearly all lobes: by them a request for the glossy
/// part would return the diffuse part too.
constexpr unsigned selecting = 0x9F;
} // namespace lobeType

class znRTBRDF : public znRTNode, public znAlignedBase32
{
public:
    // The order of the virtual operations is part of the interface.

    ~znRTBRDF() override;
    /// Null for lobes without.
    virtual const znRTFresnelOP* getFresnel() const { return nullptr; }
    /// @param data  for the photon passes; lobes do not read it
    virtual void setPhotonData(const void* data) { photonData = data; }
    /// Takes over what it knows of the record and rebuilds what derives from values that changed.
    /// A record of a class that the lobe does not know leaves its parameters as they were.
    /// @param sampleCount  directions per evaluation; below 4 counts as 1
    virtual void setup(const znRTBxDFAttributes& attributes, unsigned sampleCount) = 0;

    /// Nothing unless a selecting bit is shared with the lobe's type.
    /// @return lanes with a direction; wi is (0, 0, 1) in the others
    virtual znFloatType<2> sample(unsigned flags, const znRTVector2fPacket& u,
                                  const znRTVector3fPacket& wo, const znRTDifferentialGeometry& dg,
                                  znRTVector3fPacket& wi) const;
    virtual znFloatType<2> sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                  const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi) const;
    /// Draws a direction; here none. A lobe overrides this and the third form of evaluate, and pdf
    /// when it is sampled by importance.
    /// @param u     uniform numbers in [0, 1)
    /// @param wi    (0, 0, 1) in lanes without a direction
    /// @param mask  output: lanes with a direction
    virtual void sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                        const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                        znFloatType<2>& mask) const;
    /// 0 unless a selecting bit is shared.
    virtual znFloatType<2> pdf(unsigned flags, const znRTVector3fPacket& wo,
                               const znRTVector3fPacket& wi,
                               const znRTDifferentialGeometry& dg) const;
    /// Density of wi per steradian, as sample draws it.
    virtual znFloatType<2> pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                               const znRTDifferentialGeometry& dg) const;
    /// 0, and a density of 0, unless a selecting bit is shared.
    virtual znRTColorPacket evaluate(unsigned flags, const znRTVector3fPacket& wo,
                                     const znRTVector3fPacket& wi,
                                     const znRTDifferentialGeometry& dg,
                                     znFloatType<2>& pdfOut) const;
    virtual znRTColorPacket evaluate(unsigned flags, const znRTVector3fPacket& wo,
                                     const znRTVector3fPacket& wi,
                                     const znRTDifferentialGeometry& dg) const;
    /// Value of the lobe, 1/sr per lane, without the cosine of wi.
    /// @param pdfOut  density of wi, as pdf returns it
    virtual znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                     const znRTDifferentialGeometry& dg,
                                     znFloatType<2>& pdfOut) const;
    virtual znRTColorPacket evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                     const znRTDifferentialGeometry& dg) const;
    /// Diffuse and glossy part apart, which for a blend of two lobes is one each. A lobe with one
    /// of the two bits fills that part, and one with neither none.
    /// @param pdfOut  of both together
    virtual void evaluateSplit(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                               const znRTDifferentialGeometry& dg, znRTColorPacket& diffuseOut,
                               znRTColorPacket& glossyOut, znFloatType<2>& pdfOut) const;
    /// 1 for lobes with a diffuse part, else 0.
    virtual znFloatType<2> getReflectionWeight() const;
    /// Probability with which a blend draws from its first lobe; other lobes leave it as it is.
    /// @param cosTheta  wo.z
    virtual void getTransmissionWeightA(const znFloatType<2>& cosTheta,
                                        znFloatType<2>& weight) const;
    /// The same of its second lobe.
    virtual void getTransmissionWeightB(const znFloatType<2>& cosTheta,
                                        znFloatType<2>& weight) const;
    /// The lobe's width from a value of a glossiness texture that has been put into its range: an
    /// exponent for the Phong family, a slope for facet lobes.
    virtual znFloatType<2> convertExponent(const znFloatType<2>& x) const = 0;
    virtual void setSampleCount(unsigned count) { sampleCount = count < 4 ? 1 : count; }
    /// p in exponent = x^p of convertExponent; ranges of textures hold exponent^(1/p).
    virtual float getSamplePower() const { return samplePower; }
    /// minimum + (maximum - minimum) t
    virtual znFloatType<2> lerpParameter(const znFloatType<2>& minimum,
                                         const znFloatType<2>& maximum,
                                         const znFloatType<2>& t) const;
    /// Width along the first axis from the textures.
    virtual znFloatType<2> evaluateRoughnessTexture(const znRTRoughnessTextures& textures,
                                                    const znRTDifferentialGeometry& dg,
                                                    const znFloatType<2>& mask) const;
    /// Width along the second axis.
    virtual znFloatType<2> evaluateRoughnessTexture2(const znRTRoughnessTextures& textures,
                                                     const znRTDifferentialGeometry& dg,
                                                     const znFloatType<2>& mask) const;
    /// Writes what the lobe reads per lane, one width for both axes.
    virtual void prepareParameterLanes(const znRTDifferentialGeometry& dg,
                                       const znRTRoughnessTextures& textures,
                                       const znFloatType<2>& mask, znRTLobeParameters& block) const;
    /// The same with a width for each axis.
    virtual void prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                        const znRTRoughnessTextures& textures,
                                        const znFloatType<2>& mask,
                                        znRTLobeParameters& block) const;
    /// After the block is written; here nothing.
    virtual void finishParameterLanes(znRTLobeParameters& block) const;
    /// Estimate of the reflectance at an angle, by which a blend weighs its two lobes.
    virtual znFloatType<2> getBlendWeight(const znFloatType<2>& cosTheta) const;
    /// Estimate of the energy reflected, per lane.
    /// @param u      uniform numbers, for lobes that must sample it
    /// @param lanes  others may be left undefined
    virtual znRTColorPacket rho(const znRTDifferentialGeometry& dg, const znRTVector2fPacket& u,
                                const znFloatType<2>& lanes) const;

    // How the lobe looks at an image of the surroundings that was filtered by power lobes.

    /// Place in the stack of filtered images, see lobeMath::environmentLevel; here 0, the image
    /// under the cosine.
    virtual znFloatType<2> getEnvironmentLevel(const znRTDifferentialGeometry& dg) const;
    /// Reflectance in the mirror's direction by the lobe's own Fresnel term; here 1.
    virtual znRTColorPacket getEnvironmentFresnel(const znFloatType<2>& cosTheta,
                                                  const znRTDifferentialGeometry& dg) const;

    /// A constant of the class.
    bool isDelta() const { return delta; }
    /// Whether a request with these flags concerns the lobe.
    bool isSelected(unsigned flags) const { return (typeFlags & flags & lobeType::selecting) != 0; }
    unsigned getTypeFlags() const { return typeFlags; }
    /// Ray types (rayTypes.h) that a scattered ray carries.
    unsigned getOutRayMask() const { return outRayMask; }
    void setType(unsigned newTypeFlags, unsigned newOutRayMask);
    unsigned getSampleCount() const { return sampleCount; }
    const znRTColor& getColorFactor() const { return colorFactor; }
    void setColorFactor(const znRTColor& color) { colorFactor = color; }
    void setSamplePower(float power) { samplePower = power; }
    const void* getPhotonData() const { return photonData; }

protected:
    znRTBRDF(const znRTTypeId& typeId, unsigned typeFlags, unsigned outRayMask,
             bool isDelta = false);

    /// A value that is the same in all colours, in lanes with a density above 0.
    static znRTColorPacket grey(znFloatType<2> value, znFloatType<2> alpha,
                                const znFloatType<2>& pdf)
    {
        return znRTColorPacket(value, value, value, alpha) & (pdf > znFloatType<2>(0.0f));
    }

    znRTColor colorFactor{1.0f, 1.0f, 1.0f, 1.0f};
    unsigned typeFlags;
    unsigned sampleCount = 1;
    unsigned outRayMask;
    float samplePower = 1.0f;
    const void* photonData = nullptr;

private:
    bool delta;
};
