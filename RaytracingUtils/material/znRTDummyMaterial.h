#pragma once

// Material of surfaces that no shading class is written for: opaque, two-sided, black. It also
// stands in for kinds of host materials without a class of their own, so that geometry can be seen
// by the integrators that need no shading (normals, depth, occlusion). Layers of geometry and the
// id colour of the host material are there.

#include "material/znRTMaterial.h"

class znRTDummyMaterial : public znRTMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTDummyMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override;
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override;

    void update() override { readIDColor(); }

    /// The one instance for objects without material.
    static znRTDummyMaterial* getShared();

private:
    void readIDColor();
};
