#pragma once

// The lobes of four hits as data, for whoever scatters rays by chance: photons, gather rays, the
// tracer of indirect light. A material enters its lobes in six groups, each with its frame; several
// materials may enter theirs, in lanes of their own or on top of each other. A record lives on a
// caller's stack and points to lobes that materials own.
//
// A record is used in this order: reset; the materials' evaluateMaterial, in the lanes of each;
// then sampleBRDF. Colours and weights belong to a lobe, the frame to a group.

#include "brdf/znRTBRDF.h"
#include "brdf/znRTLobeParameters.h"
#include "brdf/znRTONB.h"
#include "core/znIntType.h"

class znRTDirectionalImportance;

class znRTSurfaceProperties : public znAlignedBase16
{
public:
    static constexpr int groupCount = 6;
    static constexpr int slotCount = 4;

    /// Pairs of a bit of a lobe's type and the group that it stands for.
    static const int BxDFTypeSelector[groupCount][2];
    /// Ray classes (rayTypes.h) of a ray that a group scatters by chance.
    static const int BxDFOutRayType[groupCount];

    /// One lobe of a group.
    struct Slot
    {
        const znRTBRDF* lobe;
        znFloatType<2> mask;      ///< lanes that have it
        znFloatType<2> deltaMask; ///< lanes in which only the direction that it draws counts
        znRTColorPacket color;
        znFloatType<2> weight;
        znFloatType<2> rho; ///< share of the light that the lobe scatters, for the choice
    };
    struct Group
    {
        u32 count; ///< slots in use
        Slot slots[slotCount];
        znRTONB onb;               ///< world space
        znFloatType<2> onbMask;    ///< lanes that have a frame
        znFloatType<2> roughness;  ///< 1 / exponent
        znFloatType<2> sampleMask; ///< lanes with a lobe that answers for its own draws alone
    };

    /// Uninitialised: reset() comes first.
    znRTSurfaceProperties() = default;

    /// No lobes in any lane. Touches counts, masks and the parameter blocks in use only.
    void reset();

    /// The first lobe of a group, in the lanes of mask. Slots beyond the last are ignored, here and
    /// in the operations below.
    /// @param color    red, green and blue; what the lobe's value is multiplied with
    /// @param weight   share that other layers leave
    /// @param rho      share of the light that the lobe scatters, for the choice of a group
    /// @param pdfFlag  0 in lanes in which the lobe has no density
    void setComponent(int group, int slot, const znRTBRDF& lobe, const znRTColorPacket& color,
                      const znRTONB& onb, const znFloatType<2>& mask, const znFloatType<2>& weight,
                      const znFloatType<2>& roughness, const znFloatType<2>& rho,
                      const znFloatType<2>& pdfFlag);
    /// A further lobe; the group's values stay in lanes outside the mask, and so do those of a slot
    /// that the same lobe is in already. Another lobe replaces it in all lanes.
    void updateComponent(int group, int slot, const znRTBRDF& lobe, const znRTColorPacket& color,
                         const znRTONB& onb, const znFloatType<2>& mask,
                         const znFloatType<2>& weight, const znFloatType<2>& roughness,
                         const znFloatType<2>& rho, const znFloatType<2>& pdfFlag);
    /// A further lobe in the frame of those that are there.
    void updateComponent(int group, int slot, const znRTBRDF& lobe, const znRTColorPacket& color,
                         const znFloatType<2>& mask, const znFloatType<2>& weight,
                         const znFloatType<2>& rho, const znFloatType<2>& pdfFlag);
    /// Enters a lobe in the next slot of the group of its type, as one without density if it is
    /// none. What materials call.
    void addComponent(const znRTBRDF& lobe, const znRTColorPacket& color, const znRTONB& onb,
                      const znFloatType<2>& mask, const znFloatType<2>& weight = 1.0f,
                      const znFloatType<2>& roughness = 1.0f, const znFloatType<2>& rho = 1.0f);

    void setColor(int group, int slot, const znRTColorPacket& color);
    void updateColor(int group, int slot, const znRTColorPacket& color, const znFloatType<2>& mask);
    void setONB(int group, const znRTONB& onb, const znFloatType<2>& valid);
    void updateONB(int group, const znRTONB& onb, const znFloatType<2>& mask);
    static void updateFloat(znFloatType<2>& target, const znFloatType<2>& value,
                            const znFloatType<2>& mask);
    static void updateInt(znIntType<2>& target, const znIntType<2>& value,
                          const znFloatType<2>& mask);
    static void updateVec2f(znRTVector2fPacket& target, const znRTVector2fPacket& value,
                            const znFloatType<2>& mask);
    static void updateVec3f(znRTVector3fPacket& target, const znRTVector3fPacket& value,
                            const znFloatType<2>& mask);

    /// Bits of lobe types that may be chosen, in all lanes or in those of a mask. After reset: all.
    void setSamplingFlags(unsigned flags);
    void updateSamplingFlags(unsigned flags, const znFloatType<2>& mask);

    /// A block of per-lane parameters, empty on first use: [0] for glossy lobes, [1] for a second
    /// one. A shading block points to both (znRTDifferentialGeometry::parameters).
    znRTLobeParameters& useParameters(int which);
    const znRTLobeParameters* getParameters() const { return parameters; }

    /// Draws a direction from the lobes whose type shares a bit with the flags: a group by the
    /// light that it scatters, then one of its lobes. With a record of directional importance, and
    /// flags without the two bits of reflection, the direction comes from that record, and the
    /// diffuse and glossy lobes answer for it.
    /// @param uChoice, u      uniform numbers in [0, 1)
    /// @param wo              unit, world space, away from the surface
    /// @param reflectanceOut  value * |cosine| * colour * weight, summed over all lobes that could
    ///                        have drawn the direction, or of the lobe alone where it has no
    ///                        density; light counts as reflectanceOut / pdfOut; 0 outside validOut
    /// @param pdfOut          density of the direction, the choice of the lobe included
    /// @param validOut        mask: lanes with a direction
    /// @param groupOut        per lane: the group chosen, -1 without
    /// @param rayMaskOut      per lane: ray classes of the lobe that drew
    /// @return unit, world space; the shading normal in lanes without a direction
    znRTVector3fPacket sampleBRDF(unsigned flags, const znFloatType<2>& uChoice,
                                  const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                  const znRTDifferentialGeometry& dg, const znFloatType<2>& mask,
                                  znRTColorPacket& reflectanceOut, znFloatType<2>& pdfOut,
                                  znFloatType<2>& validOut, znIntType<2>& groupOut,
                                  znIntType<2>& rayMaskOut) const;
    /// Estimate of the light that the diffuse and the glossy group reflect.
    /// @param colorsOut  one colour per group; 0 outside mask
    /// @param n          groups, at most 2
    void evaluate_Rho(const znRTDifferentialGeometry& dg, const znFloatType<2>& mask,
                      znRTColorPacket* colorsOut, int n = 2) const;

    /// Group of a lobe's type; -1 without one.
    static int getGroup(unsigned typeFlags);

    Group groups[groupCount];
    znFloatType<2> activeMask;            ///< lanes with any lobe
    znFloatType<2> selection[groupCount]; ///< light that the group scatters, not normalized
    znIntType<2> samplingFlags;           ///< per lane, see setSamplingFlags
    const znRTDirectionalImportance* importance;

private:
    void enter(Group& group, int groupIndex, int slot, const znRTBRDF& lobe,
               const znRTColorPacket& color, const znFloatType<2>& mask,
               const znFloatType<2>& weight, const znFloatType<2>& rho,
               const znFloatType<2>& pdfFlag);

    bool parametersInUse[2] = {false, false};
    znRTLobeParameters parameters[2];
};
