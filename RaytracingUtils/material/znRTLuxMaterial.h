#pragma once

// What stands in for all surfaces where illuminance is measured: white and diffuse, so that what it
// shows is the light that arrives. Only the settings of the frame tell which light counts.

#include "brdf/analytic/znRTLambertBRDF.h"
#include "host/osg/materials/UberMaterial.h"
#include "material/pipelineKind.h"

class znRTLuxMaterial : public znRTPipelineKind<znRTLuxMaterial>
{
public:
    static const znRTTypeId id;
    static constexpr unsigned terms = shadeDiffuse;

    znRTLuxMaterial();

    znRTMaterial* getDuplicate() const override { return new znRTLuxMaterial; }
    /// After the settings or the quality of the frame have changed.
    void update() override;

    // For the pipeline.

    void fetchParameters(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                         const znFloatType<2>& mask, Hit& hit) const;
    void buildFrame(Hit& hit) const { hit.onb.set(hit.dg.shadingNormal); }
    void addLobes(Hit& hit, const znFloatType<2>& lanes) const;

private:
    znRTCommonAttributes record; ///< overrides nothing
    znRTLambertBRDF diffuseLobe;
};
