#include "io/gltfCamerasLights.h"

#include <algorithm>
#include <fmt/format.h>
#include <numbers>

namespace io {

namespace {

constexpr double degrees = 180.0 / std::numbers::pi; ///< per radian

void readPerspective(osg::UberCamera& camera, const Json& description)
{
    const double yfov = number(description, "yfov", 0.0);
    if (!(yfov > 0.0) || yfov >= std::numbers::pi)
        throw GltfFault(fmt::format("yfov {} is no angle of view", yfov));
    camera.setProjectionMode(osg::UberCamera::perspective);
    camera.setFovAxis(osg::UberCamera::vertical);
    camera.setFov(float(yfov * degrees));
}

void readOrthographic(osg::UberCamera& camera, const Json& description)
{
    const double ymag = number(description, "ymag", 0.0);
    if (ymag == 0.0)
        throw GltfFault("ymag is 0");
    camera.setProjectionMode(osg::UberCamera::orthographic);
    camera.setOrthoHeight(float(2.0 * std::abs(ymag))); // ymag is half the height
}

/// A missing far end means infinity; the container's own default is far enough.
void readRange(osg::UberCamera& camera, const Json& description)
{
    const double near = number(description, "znear", camera.getNear());
    const double far = number(description, "zfar", std::max(double(camera.getFar()), 2.0 * near));
    if (!(near >= 0.0) || !(far > near))
        throw GltfFault("znear and zfar are no range");
    camera.setNear(float(near));
    camera.setFar(float(far));
}

void readSpot(osg::USpotLight& light, const Json& description)
{
    static const Json none = Json::object();
    const Json* found = member(description, "spot");
    const Json& spot = found ? *found : none;
    const double inner = number(spot, "innerConeAngle", 0.0);
    const double outer = number(spot, "outerConeAngle", std::numbers::pi / 4.0);
    if (!(inner >= 0.0) || !(outer > inner) || outer > std::numbers::pi / 2.0)
        throw GltfFault("its cone angles are not in order");
    light.setConeAngle(float(inner * degrees));
    light.setPenumbraAngle(float((outer - inner) * degrees));
}

} // namespace

osg::Ref<osg::UberCamera> readGltfCamera(const GltfDocument& document, u64 index)
{
    const Json& description = document.element("cameras", index);
    const osg::Ref<osg::UberCamera> camera = osg::UberCamera::create();
    const std::string type = text(description, "type");
    const Json* part = member(description, type.c_str());
    if (type == "perspective" && part)
        readPerspective(*camera, *part);
    else if (type == "orthographic" && part)
        readOrthographic(*camera, *part);
    else
        throw GltfFault(fmt::format("camera {}: type \"{}\" is not known", index, type));
    readRange(*camera, *part);
    setName(camera.get(), text(description, "name"));
    return camera;
}

osg::Ref<osg::UberLight> readGltfLight(const GltfDocument& document, u64 index)
{
    const Json* block = extension(document.getRoot(), "KHR_lights_punctual");
    static const Json none = Json::object();
    const Json& lights = listOf(block ? *block : none, "lights");
    if (index >= lights.size() || !lights[index].is_object())
        throw GltfFault(fmt::format("light {} is not there", index));
    const Json& description = lights[index];

    const std::string type = text(description, "type");
    osg::Ref<osg::UberLight> light;
    if (type == "directional")
        light = osg::UDirectionalLight::create();
    else if (type == "point")
        light = osg::UPointLight::create();
    else if (type == "spot") {
        const auto spot = osg::USpotLight::create();
        light = spot;
        readSpot(*spot, description);
    } else
        throw GltfFault(fmt::format("light {}: type \"{}\" is not known", index, type));

    const auto color = numbers<3>(description, "color", {1.0, 1.0, 1.0});
    const double intensity = number(description, "intensity", 1.0);
    if (intensity < 0.0 || *std::min_element(color.begin(), color.end()) < 0.0)
        throw GltfFault(fmt::format("light {}: takes light away", index));
    const osg::ColorComponent component{
        osg::Vec3f{float(color[0]), float(color[1]), float(color[2])}, float(intensity)};
    light->setDiffuse(component);
    light->setGlossy(component);
    setName(light.get(), text(description, "name"));
    return light;
}

} // namespace io
