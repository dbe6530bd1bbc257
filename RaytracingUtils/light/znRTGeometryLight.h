#pragma once

// A mesh with an emissive material as a light. It shares the light lists with the others; that the
// mesh is seen by camera and mirror rays is its material's affair.

#include "light/znRTUAreaLight.h"

class znRTGeometryNode;
class znRTTextureAttributes;
class znRTTextureSampler;

class znRTGeometryLight : public znRTUAreaLight
{
public:
    static const znRTTypeId id;

    /// @param geometryNode  outlives the light
    explicit znRTGeometryLight(znRTGeometryNode* newGeometryNode)
        : znRTGeometryLight(id, newGeometryNode)
    {
    }

    /// Reads material, attachment and triangles anew. Without an emissive material the light is
    /// off.
    bool update() override;
    /// The material's incandescence texture. One that is projected, or has coordinates of its own,
    /// counts with its mean colour.
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;

    znRTGeometryNode* getGeometryNode() const { return geometryNode; }

protected:
    znRTGeometryLight(const znRTTypeId& typeId, znRTGeometryNode* newGeometryNode);

private:
    /// Colour and texture of the node's material.
    /// @return false without an emissive material
    bool readEmission();
    void setEmission(const znRTColor& color, const znRTTextureSampler* sampler,
                     const znRTTextureAttributes* attributes);

    znRTGeometryNode* geometryNode;
    const znRTTextureSampler* emissionSampler = nullptr; ///< of the host's material; null without
    bool usesMean = false;
};
