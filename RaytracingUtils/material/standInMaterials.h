#pragma once

// What shades kinds that have no class of their own yet: the nearest look that is there, with the
// colours of the kind's own record. materialTable.cpp tells which stands in for which.

#include "material/znRTChromeMaterial.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTReflectivePlasticMaterial.h"

/// Cloth: the diffuse colour alone.
class znRTMatteStandIn : public znRTPhongLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTMatteStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTMatteStandIn(hostMaterial); }
    void update() override;
};

/// Paints, carbon, tires, mapped surfaces: a body colour, a gloss, and the coat where there is one.
class znRTCoatedStandIn : public znRTReflectivePlasticMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTCoatedStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTCoatedStandIn(hostMaterial); }
    void update() override;

private:
    /// Reads the record if the host is of this kind.
    template <class Host>
    bool readAs();
};

/// Lined metal: of one width in all directions.
class znRTMetalStandIn : public znRTChromeMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTMetalStandIn(const osg::MaterialPtr& material);
    znRTMaterial* getDuplicate() const override { return new znRTMetalStandIn(hostMaterial); }
    void update() override;
};
