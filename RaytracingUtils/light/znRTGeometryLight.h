#pragma once

// A mesh with an emissive material as a light. It shares the light lists with the others; that the
// mesh is seen by camera and mirror rays is its material's affair.

#include "light/znRTUAreaLight.h"

class znRTGeometryNode;
class znRTGeometryShape;
class znRTTextureSampler;

class znRTGeometryLight : public znRTUAreaLight
{
public:
    static const znRTTypeId id;

    explicit znRTGeometryLight(znRTGeometryNode* geometryNode);

    /// Reads material, attachment and triangles anew; without an emissive material the light is
    /// off.
    bool update() override;
    znRTColorPacket evaluateTexture(const znRTVector3fPacket& lightPoint,
                                    const znRTVector2fPacket& uv,
                                    const znFloatType<2>& mask) const override;

    znRTGeometryNode* getGeometryNode() const { return geometryNode; }

protected:
    znRTGeometryLight(const znRTTypeId& typeId, znRTGeometryNode* geometryNode);

private:
    void updateEmissionTexture(znRTTextureSampler* sampler);

    znRTGeometryNode* geometryNode;
};
