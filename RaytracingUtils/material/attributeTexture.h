#pragma once

// An image that lies on a surface, as one attribute of a material reads it: by a set of texture
// coordinates, or projected through space. Reading needs what addRequirements asks the geometry
// for.

#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"

struct znTextureFootprint;
class znRTDataBlockPacket;
class znRTTextureAttributes;
class znRTTextureSampler;
struct znRTDifferentialGeometry;
struct znRTMaterialState;

class znRTAttributeTexture
{
public:
    /// Takes a slot of a record; neither object is owned. A slot that wants an image and has none
    /// that can be read is told of once and left out.
    void set(const znRTTextureSampler* newSampler, bool isActive,
             const znRTTextureAttributes* newAttributes);
    void clear() { sampler = nullptr; }
    bool isActive() const { return sampler != nullptr; }
    bool isProjected() const { return lies != byFirstSet && lies != bySet; }

    /// Colour at the hits; 0 outside the mask. Active textures only.
    znRTColorPacket fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;
    /// The same from the finest level, whatever a pixel covers: for decisions between two values,
    /// of which the mean of many texels would be neither.
    znRTColorPacket fetchFinest(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;
    /// The same by what the caller knows.
    /// @param dg  texture coordinates of the texture's own set, or the neighbourhood in the space
    ///            that it is projected in
    znRTColorPacket fetch(const znRTDifferentialGeometry& dg, const znFloatType<2>& mask) const;
    /// Mean colour of the image.
    znRTColor getMean() const;

    /// Adds what a shade has to know for the texture.
    void addRequirements(znRTMaterialState& state) const;
    /// Adds what a shadow ray has to know for it.
    void addShadowRequirements(znRTMaterialState& state) const;

private:
    enum Lies { byFirstSet, bySet, inObject, inWorld };

    static Lies layOf(const znRTTextureAttributes& attributes);
    /// At a place of a set, without and with its footprint.
    znRTColorPacket fetchAt(const znRTVector2fPacket& uv, const znFloatType<2>& mask) const;
    znRTColorPacket fetchAt(const znRTVector2fPacket& uv, const znTextureFootprint& footprint,
                            const znFloatType<2>& mask) const;
    znRTColorPacket fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                          bool hasFootprint) const;
    znRTColorPacket fetchProjected(const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                                   bool hasFootprint) const;

    const znRTTextureSampler* sampler = nullptr;
    const znRTTextureAttributes* attributes = nullptr; ///< null for the first set
    Lies lies = byFirstSet;
    bool isTiledInfinitely = false;
};
