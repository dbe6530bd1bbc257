#include "material/metLamps.h"

#include "light/znRTUAreaLight.h"
#include "material/lightSample.h"

void znRTMetLamps::add(const znRTUAreaLight& light, float samples, int lanes)
{
    if (count == capacity)
        return;
    lamps[count++] = {&light, samples, lanes};
    drawnByArea |= light.isDrawnByArea();
}

bool znRTMetLamps::meet(unsigned i, const znRTVector3fPacket& origin, const znRTVector3fPacket& wi,
                        const znFloatType<2>& lanes, bool onlyByArea, Hit& hit) const
{
    const Lamp& lamp = lamps[i];
    const znFloatType<2> wanted = lanes & expandLanes(lamp.lanes);
    if ((onlyByArea && !lamp.light->isDrawnByArea()) || !anyLane(wanted))
        return false;
    hit.lanes =
        lamp.light->getShape()->intersectOrEvaluate(origin, wi, wanted, hit.distance, hit.point);
    return anyLane(hit.lanes);
}

LightEvalSample znRTMetLamps::sampleOf(unsigned i, const Hit& hit,
                                       const znRTDifferentialGeometry& dg,
                                       const znRTVector3fPacket& wi,
                                       const znFloatType<2>& density) const
{
    const znRTUAreaLight& light = *lamps[i].light;
    const znRTShapePoint& point = hit.point;
    const znFloatType<2> pdf = light.getPDF(dg.position, dg.shadingNormal, point.position,
                                            point.normal, hit.lanes, point.pdf);
    LightEvalSample sample;
    sample.enter(light, wi, hit.distance,
                 light.getIntensity(dg.position, wi, point.position, point.uv, hit.lanes),
                 light.getMISWeight(density, pdf * lamps[i].samples), hit.lanes);
    return sample;
}
