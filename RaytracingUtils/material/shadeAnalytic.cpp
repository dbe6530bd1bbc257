// The quick shading of previews: direct light on plain colours.

#include "material/shadePipeline.h"
#include "render/znRTFragment.h"

#include "material/directLighting.h"

void znRTMaterial::shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                 znRTFragment& fragment, const znFloatType<2>& mask,
                                 znRTShadingState& state) const
{
    if (!commonAttributes) {
        shade(ray, data, fragment, mask, state);
        return;
    }
    const znFloatType<2> none = znFloatType<2>::noLanes();
    const float opacity = analytic.getOpacity();
    znRTColorPacket surface[surfaceTermCount];
    for (znRTColorPacket& color : surface)
        color = znRTColorPacket(0.0f);
    const float passed = 1.0f - opacity;
    surface[surfaceTransparency] = {passed, passed, passed, opacity};
    znRTThroughput throughput;
    throughput.surfaceAlpha = select(mask, opacity, 1.0f);
    throughput.hitLanes = opacity < 1.0f ? mask : none;
    throughput.blend = mask;
    if (opacity <= 0.0f) {
        throughput.blend = none;
        fragment.updateToColor(ray, data, surface[surfaceEmission], surface[surfaceTransparency],
                               state, throughput, mask);
        return;
    }

    surface[surfaceDiffuse] = znRTColorPacket(analytic.diffuse);
    surface[surfaceGlossy] = znRTColorPacket(analytic.specular);
    surface[surfaceEmission] = znRTColorPacket(analytic.emission);
    znRTHitSurface hit(ray, data);
    bendNormal(ray, data, hit, mask);
    hit.onb.set(hit.dg.shadingNormal);
    hit.lobes.add(analytic.lambert, hit.onb, surface[surfaceDiffuse], mask);
    hit.lobes.add(analytic.phong, hit.onb, surface[surfaceGlossy], mask);
    const znRTColorPacket dark[4] = {znRTColorPacket(0.0f), znRTColorPacket(0.0f),
                                     znRTColorPacket(0.0f), znRTColorPacket(0.0f)};
    znRTColorPacket light[4] = {dark[0], dark[1], dark[2], dark[3]};
    if (materialState.usesDirectLights)
        evaluateDirectLighting(ray, data, hit.dg, hit.lobes, hit.wo, mask, *this, state,
                               light[surfaceDiffuse], light[surfaceGlossy]);
    fragment.updateDG(ray, data, surface, {dark, light, dark}, state, throughput, mask);
}
