#pragma once

// A diffuse and a glossy lobe whose colours are given independently of each other.

#include "material/znRTTwoLobeMaterial.h"

class znRTPhongMaterial : public znRTPhongLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTPhongMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTPhongMaterial(hostMaterial); }
    void update() override;
};
