#pragma once

// Diffuse and glossy light by the few plain colours that every host material can give. Base of the
// materials of fixed-function scenes, and what stands in for kinds without a class of their own.

#include "material/znRTTwoLobeMaterial.h"

class znRTPlainMaterial : public znRTPhongLobesMaterial
{
public:
    static const znRTTypeId id;

    /// For kinds that have a record; it is told once per kind that it shades in a plain way.
    explicit znRTPlainMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTPlainMaterial(hostMaterial); }
    void update() override;

protected:
    using znRTPhongLobesMaterial::znRTPhongLobesMaterial;

    /// Colours and lobes from the plain colours of a record.
    /// @param image  on the diffuse colour, by the texture coordinates; null without
    void updateFrom(znRTCommonAttributes& record, const znRTTextureSampler* image = nullptr);
};
