#include "io/gltfCamerasLights.h"

#include "gltfBuilder.h"
#include "gltfReading.h"

#include <gtest/gtest.h>
#include <numbers>

namespace {

TEST(GltfCameras, KeepTheVerticalAngleExactly)
{
    GltfBuilder file;
    file.root["cameras"] = {
        {{"type", "perspective"},
         {"name", "front"},
         {"perspective", {{"yfov", 0.6}, {"znear", 0.25}, {"zfar", 90.0}, {"aspectRatio", 3.0}}}}};
    file.node({{"camera", 0}, {"translation", {0, 0, 8}}});
    const io::SceneFile scene = readGltfText(file.text());
    ASSERT_EQ(scene.cameras.size(), 1u);
    EXPECT_EQ(scene.cameras[0].name, "front");
    const auto camera = osg::UberCameraPtr::dcast(scene.cameras[0].camera);
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->getFovAxis(), int(osg::UberCamera::vertical));
    EXPECT_FLOAT_EQ(camera->getFov(), float(0.6 * 180.0 / std::numbers::pi));
    EXPECT_EQ(camera->getNear(), 0.25f);
    EXPECT_EQ(camera->getFar(), 90.0f);
    // Looks along -z of the file, which is +y here, from (0, 0, 8), which is (0, -8, 0).
    osg::Pnt3f from, at;
    osg::Vec3f up;
    camera->getFromAtUp(from, at, up);
    EXPECT_EQ(from, osg::Pnt3f(0, -8, 0));
    EXPECT_EQ(at, osg::Pnt3f(0, -7, 0));
    EXPECT_EQ(up, osg::Vec3f(0, 0, 1));
}

TEST(GltfCameras, ReadHalfHeightsOfOrthographicViews)
{
    GltfBuilder file;
    file.root["cameras"] = {
        {{"type", "orthographic"},
         {"orthographic", {{"xmag", 4}, {"ymag", 3}, {"znear", 0}, {"zfar", 10}}}}};
    file.node({{"camera", 0}});
    const io::SceneFile scene = readGltfText(file.text());
    ASSERT_EQ(scene.cameras.size(), 1u);
    const auto camera = osg::UberCameraPtr::dcast(scene.cameras[0].camera);
    EXPECT_EQ(camera->getProjectionMode(), int(osg::UberCamera::orthographic));
    EXPECT_EQ(camera->getOrthoHeight(), 6.0f);
}

GltfBuilder withLight(const nlohmann::json& light)
{
    GltfBuilder file;
    file.root["extensions"]["KHR_lights_punctual"]["lights"] = nlohmann::json::array({light});
    file.node({{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
    return file;
}

TEST(GltfLights, BecomePointSpotAndDirectionalLights)
{
    const io::SceneFile point = readGltfText(
        withLight({{"type", "point"}, {"color", {1, 0.5, 0.25}}, {"intensity", 40}}).text());
    ASSERT_EQ(point.lights.size(), 1u);
    EXPECT_TRUE(osg::isKindOf<osg::UPointLight>(point.lights[0].light));
    EXPECT_EQ(point.lights[0].light->getStoredDiffuse().color, osg::Vec3f(1, 0.5f, 0.25f));
    EXPECT_EQ(point.lights[0].light->getStoredDiffuse().intensity, 40.0f);

    const io::SceneFile sun = readGltfText(withLight({{"type", "directional"}}).text());
    ASSERT_EQ(sun.lights.size(), 1u);
    EXPECT_TRUE(osg::isKindOf<osg::UDirectionalLight>(sun.lights[0].light));

    const io::SceneFile spot = readGltfText(
        withLight({{"type", "spot"}, {"spot", {{"innerConeAngle", 0.2}, {"outerConeAngle", 0.5}}}})
            .text());
    ASSERT_EQ(spot.lights.size(), 1u);
    const auto light = osg::USpotLight::Ptr::dcast(spot.lights[0].light);
    ASSERT_TRUE(light);
    EXPECT_FLOAT_EQ(light->getConeAngle(), float(0.2 * 180.0 / std::numbers::pi));
    EXPECT_FLOAT_EQ(light->getPenumbraAngle(), float(0.3 * 180.0 / std::numbers::pi));
}

TEST(GltfLights, AreLeftOutWhenTheyMakeNoSense)
{
    using Json = nlohmann::json;
    for (const Json& light :
         {Json{{"type", "laser"}}, Json{{"type", "point"}, {"intensity", -1}},
          Json{{"type", "point"}, {"color", {1, 1}}},
          Json{{"type", "spot"}, {"spot", {{"innerConeAngle", 1}, {"outerConeAngle", 0.5}}}}}) {
        GltfBuilder file = withLight(light);
        file.node({{"mesh", file.triangle()}});
        const LogCatcher log;
        const io::SceneFile scene = readGltfText(file.text());
        EXPECT_TRUE(scene.lights.empty()) << light;
        EXPECT_EQ(scene.warnings, 1u) << light;
    }
}

} // namespace
