#pragma once

// What every kind that shades by the pipeline overrides in the same way. A kind derives from
// znRTPipelineKind<Kind, Base> and gives the steps of shadePipeline.h; its pair of files holds
// them, its constructor and update.

#include "material/shadePipeline.h"

/// @tparam Kind  the class itself, with the pipeline's steps
/// @tparam Base  znRTBRDFMaterial, or a class between
template <class Kind, class Base = znRTBRDFMaterial>
class znRTPipelineKind : public Base
{
public:
    using Base::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        shadeByPipeline(static_cast<const Kind&>(*this), ray, data, fragment, mask, state);
    }
    void evaluateMaterial(znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          znRTSurfaceProperties& surface, const znFloatType<2>& mask,
                          znRTShadingState&, int group,
                          znRTMaterial::EvaluationType type) const override
    {
        evaluateByPipeline(static_cast<const Kind&>(*this), ray, data, surface, mask, group, type);
    }

protected:
    using Base::Base;
};
