#pragma once

// A diffuse base below a glossy layer that reflects more toward the rim; what the layer reflects
// is missing from the base.

#include "brdf/znRTBxDFAttributes.h"
#include "material/znRTTwoLobeMaterial.h"

class znRTPlasticMaterial : public znRTPlasticLobesMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTPlasticMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTPlasticMaterial(hostMaterial); }
    void update() override;

protected:
    using znRTPlasticLobesMaterial::znRTPlasticLobesMaterial;

    template <class Record>
    void readPlastic(const Record& record);
};

/// The glossy layer of a plastic, from any record with a width and a Fresnel term.
template <class Record>
znRTBSDFAttributes plasticLayerOf(const Record& record)
{
    znRTBSDFAttributes lobes;
    if constexpr (requires { record.exponent; })
        lobes.setExponents(record.exponent, record.exponent);
    if constexpr (requires { record.fresnelTable; }) {
        lobes.fresnelTable = record.fresnelTable;
        lobes.reflectance = record.reflectance;
        lobes.useSchlick = record.useSchlick;
    }
    return lobes;
}

template <class Record>
void znRTPlasticMaterial::readPlastic(const Record& record)
{
    readColors(record);
    setupLobes(plasticLayerOf(record));
}
