#pragma once

// From a material's colours and lobes to the light of a hit: one sequence for all kinds. A kind
// supplies, as members that are never virtual,
//
//   static constexpr unsigned terms;                       what it shows, bits of znRTShadeTerm
//   void fetchParameters(ray, data, mask, Hit&) const;     colours, opacity: all textures
//   void buildFrame(Hit&) const;                           onb from normal and tangent
//   void addLobes(Hit&, lanes) const;                      entries of Hit::lobes, Hit::backLobes
//
// and three overrides of one line each, on shadeByPipeline, evaluateByPipeline and, where a texture
// drives it, getTransparency. Both forms start from the same fetch, so that colours and lobes of a
// shade and of the record are the same.

#include "brdf/znRTLobeParameters.h"
#include "brdf/znRTLobeSet.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "material/znRTBRDFMaterial.h"

struct znRTLitHit;
struct znRTThroughput;

/// Illumination terms of a kind.
enum znRTShadeTerm : unsigned {
    shadeDiffuse = 1,
    shadeGlossy = 2,
    shadeSpecular = 4,
    shadeTranslucent = 8
};

/// Four hits as the steps of the pipeline fill them in. Kinds that keep more from one step to the
/// next derive from it.
struct znRTHitSurface : znAlignedBase16
{
    znRTHitSurface(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data)
        : dg(data.dg), wo(-ray.direction)
    {
        dg.parameters = nullptr;
    }

    /// Blocks of per-lane parameters, empty at first: [0] for the glossy lobe, [1] for a second.
    znRTLobeParameters* useLanes()
    {
        if (!dg.parameters) {
            lanes[0].clear();
            lanes[1].clear();
            dg.parameters = lanes;
        }
        return lanes;
    }

    znRTDifferentialGeometry dg; ///< with the normal that is shaded
    znRTVector3fPacket wo;       ///< unit, world space, toward the viewer
    znRTONB onb;

    znRTColorPacket diffuse{0.0f}, glossy{0.0f}, specular{0.0f}, translucent{0.0f};
    znRTColorPacket ambient{1.0f}; ///< tint of baked light
    /// Share of the light from all around that folds too small for the geometry let in, 1 open.
    znFloatType<2> ambientOcclusion{1.0f};
    znRTColorPacket emission{0.0f};
    znRTColorPacket transparency{0.0f}; ///< colour that passes; alpha: opacity
    znFloatType<2> alpha{1.0f};         ///< opacity
    znRTLobeSet lobes;
    znRTLobeSet backLobes; ///< of light from behind, in the frame of the negated normal
    znRTONB backOnb;
    znRTVector3fPacket coatTilt; ///< of the normals of an uneven coat; undefined for even ones
    znRTONB coatOnb;             ///< what follows from it

private:
    znRTLobeParameters lanes[2];
};

/// While it lives, the textures of a hit are read where its surface's structure shows them past its
/// heights, whatever they lie by, and so are its normals. The hit keeps the coordinates; the block
/// gets its own back.
class znRTShiftedCoordinates
{
public:
    znRTShiftedCoordinates(const znRTMaterial& material, const znRTRayDifferentialPacket& ray,
                           znRTDataBlockPacket& newData, znRTHitSurface& hit,
                           const znFloatType<2>& mask);
    ~znRTShiftedCoordinates();
    znRTShiftedCoordinates(const znRTShiftedCoordinates&) = delete;
    znRTShiftedCoordinates& operator=(const znRTShiftedCoordinates&) = delete;
    bool areShifted() const { return shifts; }

private:
    void move(const znRTVector3fPacket& way, znRTHitSurface& hit);

    znRTDataBlockPacket& data;
    // What the block had; sets that a surface lacks stay undefined.
    znRTVector2fPacket firstSet, sets[znRTDataBlockPacket::maxTextureSets];
    znRTVector3fPacket position, objectPosition;
    bool shifts;
};

/// Light on the lobes of four hits, by where it comes from and by lobe (znRTSurfaceTerm).
struct znRTLobeLight
{
    znRTLobeLight();
    void scale(int lobe, const znFloatType<2>& factor);

    znRTColorPacket ibl[4], direct[4], indirect[4];
};

/// Adds the light on diffuse and glossy lobes.
void gatherLight(const znRTLitHit& lit, const znRTBRDFMaterial& material, const znRTHitSurface& hit,
                 znRTLobeLight& light);
/// What the surface emits, for the rays that see it.
znRTColorPacket emissionOf(const znRTBRDFMaterial& material, const znRTRayPacket& ray,
                           const znRTDataBlockPacket& data, const znRTHitSurface& hit,
                           const znFloatType<2>& lanes);
/// Share of the environment that reaches a hit, per channel: traced, or from the vertices.
znRTColorPacket environmentShare(const znRTLitHit& hit, const znRTBRDFMaterial& material);
/// How a surface enters the fragment, and the rays that go on behind it. It points into the hit.
znRTThroughput throughputOf(const znRTBRDFMaterial& material, const znRTHitSurface& hit,
                            const znRTAlphaSplit& split);
/// Steps that follow lobes and colours: light, and the fragment's update operation.
/// @param terms  bits of znRTShadeTerm
void shadeLobes(const znRTBRDFMaterial& material, unsigned terms,
                const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                znRTHitSurface& hit, const znRTAlphaSplit& split, znRTFragment& fragment,
                const znFloatType<2>& mask, znRTShadingState& state);
/// The end of a shade that shows nothing of its surface.
void showBehind(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                const znRTHitSurface& hit, znRTFragment& fragment, const znFloatType<2>& mask,
                znRTShadingState& state);
/// Enters the lobes of a hit, and a straight one where the surface lets light through.
/// @param group  the only group to enter, or -1 for all
void enterLobes(const znRTHitSurface& hit, const znRTBRDF& passThrough,
                znRTSurfaceProperties& surface, const znFloatType<2>& mask, int group);

/// Colours, and, where parallax shifts them, the normals that shift with them.
/// @return whether the normals are found
template <class Class>
bool readSurface(const Class& material, const znRTRayDifferentialPacket& ray,
                 znRTDataBlockPacket& data, typename Class::Hit& hit, const znFloatType<2>& mask)
{
    const znRTShiftedCoordinates shifted(material, ray, data, hit, mask);
    material.fetchParameters(ray, data, mask, hit);
    if (shifted.areShifted())
        material.bendNormal(ray, data, hit, mask);
    return shifted.areShifted();
}

/// The steps of a shade before any light. Where nothing of the surface is seen, the fragment has
/// its result.
/// @return whether there is something to light
template <class Class>
bool prepareHit(const Class& material, const znRTRayDifferentialPacket& ray,
                znRTDataBlockPacket& data, typename Class::Hit& hit, znRTAlphaSplit& split,
                znRTFragment& fragment, const znFloatType<2>& mask, znRTShadingState& state)
{
    const bool shifts = readSurface(material, ray, data, hit, mask);
    split = material.handleTransparency(ray, hit.alpha, mask, state);
    if (!anyLane(split.shaded)) {
        showBehind(ray, data, hit, fragment, mask, state);
        return false;
    }
    if (!shifts)
        material.bendNormal(ray, data, hit, mask);
    material.buildFrame(hit);
    material.addLobes(hit, split.shaded);
    return true;
}

template <class Class>
void shadeByPipeline(const Class& material, const znRTRayDifferentialPacket& ray,
                     znRTDataBlockPacket& data, znRTFragment& fragment, const znFloatType<2>& mask,
                     znRTShadingState& state)
{
    typename Class::Hit hit(ray, data);
    znRTAlphaSplit split;
    if (prepareHit(material, ray, data, hit, split, fragment, mask, state))
        shadeLobes(material, Class::terms, ray, data, hit, split, fragment, mask, state);
}

template <class Class>
void evaluateByPipeline(const Class& material, const znRTRayDifferentialPacket& ray,
                        znRTDataBlockPacket& data, znRTSurfaceProperties& surface,
                        const znFloatType<2>& mask, int group, znRTMaterial::EvaluationType type)
{
    if (type == znRTMaterial::emissionOnly)
        return;
    typename Class::Hit hit(ray, data);
    if (!readSurface(material, ray, data, hit, mask))
        material.bendNormal(ray, data, hit, mask);
    material.buildFrame(hit);
    material.addLobes(hit, mask & (hit.alpha > znFloatType<2>(0.0f)));
    enterLobes(hit, material.getPassThroughLobe(), surface, mask, group);
}
