#pragma once

// A diffuse base below a glossy layer that reflects more toward the rim; what the layer reflects
// is missing from the base.

#include "material/znRTTwoLobeMaterial.h"

class znRTPlasticMaterial : public znRTPlasticLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTPlasticMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTPlasticMaterial(hostMaterial); }
    void update() override;
};
