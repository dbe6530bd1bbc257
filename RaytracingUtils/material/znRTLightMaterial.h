#pragma once

// The visible surface of a lamp: what the lamp emits, on top of a diffuse and a glossy lobe. Its
// meshes are lights (znRTGeometryLight), which light the scene; rays that see emission see it here.

#include "material/znRTTwoLobeMaterial.h"

class znRTLightMaterial : public znRTPhongLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTLightMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTLightMaterial(hostMaterial); }
    void update() override;
    bool isLightSource() const override;
};
