#include "accel/sceneLamps.h"

#include "core/rayTypes.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "light/znRTUAreaLight.h"
#include "material/znRTLampMaterial.h"

namespace {

/// Geometry number of the first lamp.
constexpr u32 firstLamp = 0x40000000;

} // namespace

znRTSceneLamps::znRTSceneLamps() = default;
znRTSceneLamps::~znRTSceneLamps() = default;

void znRTSceneLamps::clear()
{
    lamps.clear();
}

void znRTSceneLamps::list(const std::vector<const znRTUAreaLight*>& areaLights)
{
    lamps.clear();
    for (const znRTUAreaLight* light : areaLights) {
        const u32 visibility = light->getRayVisibility() & rayType::seesEmission;
        if (light->isOn() && light->getShape() && visibility)
            lamps.push_back({light, visibility, std::make_unique<znRTLampMaterial>(*light)});
    }
}

void znRTSceneLamps::intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                               znRTHitInfoPacket& hit, int mask) const
{
    const znFloatType<2> lanes = expandLanes(mask);
    for (std::size_t i = 0; i < lamps.size(); ++i) {
        const Lamp& lamp = lamps[i];
        const znIntType<2> common = ray.type & znIntType<2>(int(lamp.visibility));
        const znFloatType<2> seeing = andNot(asFloat(common == znIntType<2>(0)), lanes);
        if (!anyLane(seeing))
            continue;
        znFloatType<2> t;
        znRTShapePoint point;
        znFloatType<2> found = lamp.light->getShape()->intersectOrEvaluate(
            ray.origin, ray.direction, seeing, t, point);
        found &= (t > tMin) & (t < hit.t);
        const int bits = moveMask(found);
        if (bits == 0)
            continue;
        const auto take = [&](znFloatType<2>& to, const znFloatType<2>& from) {
            to = select(found, from, to);
        };
        take(hit.t, t);
        take(hit.u, point.uv.x);
        take(hit.v, point.uv.y);
        hit.geometry =
            asInt(select(found, asFloat(znIntType<2>(int(firstLamp + i))), asFloat(hit.geometry)));
        hit.primitive = asInt(andNot(found, asFloat(hit.primitive)));
        hit.hitMask |= unsigned(bits);
        hit.hitFlags &= ~unsigned(bits);
    }
}

znRTLampMaterial* znRTSceneLamps::getShadingData(const znRTRayDifferentialPacket& ray,
                                                 znRTDataBlockPacket& data, int lane) const
{
    const u32 number = u32(data.hit.geometry[lane]) - firstLamp;
    if (number >= lamps.size())
        return nullptr;
    const Lamp& lamp = lamps[number];
    const znFloatType<2> mask = expandLanes(1 << lane);
    znFloatType<2> t;
    znRTShapePoint point;
    lamp.light->getShape()->intersectOrEvaluate(ray.origin, ray.direction, mask, t, point);
    const znFloatType<2> turn =
        (dot(ray.direction, point.normal) > znFloatType<2>(0.0f)) & znFloatType<2>(-0.0f);
    const znRTVector3fPacket towardsViewer = point.normal ^ turn;

    data.dg.position.setMasked(point.position, mask);
    data.dg.geometricNormal.setMasked(towardsViewer, mask);
    data.dg.shadingNormal.setMasked(towardsViewer, mask);
    data.dg.frontFacing = select(mask, turn == znFloatType<2>(0.0f), data.dg.frontFacing);
    data.facedNormal.setMasked(point.normal, mask);
    data.updateCosIncidence(ray, mask);
    data.coverage = select(mask, znFloatType<2>(1.0f), data.coverage);
    data.uv[0].setMasked(point.uv, mask);
    data.dg.uv.setMasked(point.uv, mask);
    return lamp.material.get();
}
