#pragma once

// Plastic under a clear coat that mirrors.

#include "material/coat.h"
#include "material/pipelineKind.h"
#include "material/znRTPlasticMaterial.h"

class znRTReflectivePlasticMaterial
    : public znRTPipelineKind<znRTReflectivePlasticMaterial, znRTPlasticLobesMaterial>
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeDiffuse | shadeGlossy | shadeSpecular;

    explicit znRTReflectivePlasticMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override
    {
        return new znRTReflectivePlasticMaterial(hostMaterial);
    }
    void update() override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

protected:
    using znRTPipelineKind::znRTPipelineKind;

    template <class Record>
    void readCoatedPlastic(const Record& record)
    {
        readColors(record);
        readCoat(record);
        finish(plasticLayerOf(record), record.usesVertexTangents);
    }
    /// @tparam Record  with a coat
    template <class Record>
    void readCoat(const Record& record)
    {
        coat.read(record);
    }
    /// After colours and coat are set.
    void finish(const znRTBxDFAttributes& layer, bool usesVertexTangents);

    znRTCoat coat;
};
