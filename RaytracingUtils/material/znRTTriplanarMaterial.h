#pragma once

// Plastic and coated plastic whose textures are projected along the axes: their slots say so, and
// everything else is that of the plain kinds.

#include "material/znRTReflectivePlasticMaterial.h"

class znRTTriplanarMaterial : public znRTPlasticMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTTriplanarMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTTriplanarMaterial(hostMaterial); }
    void update() override;
};

class znRTReflectiveTriplanarMaterial : public znRTReflectivePlasticMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTReflectiveTriplanarMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override
    {
        return new znRTReflectiveTriplanarMaterial(hostMaterial);
    }
    void update() override;
};
