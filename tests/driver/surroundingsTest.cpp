#include "driver/surroundings.h"
#include "driver/studioLight.h"

#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/UPointLight.h"
#include "host/osg/nodeCores.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

osg::Ref<osg::Node> groupWith(const osg::NodeCorePtr& core)
{
    const osg::Ref<osg::Node> root = osg::Node::create(nullptr, "root");
    const osg::NodePtr child = osg::Node::create(core, "child");
    root->addChild(child);
    return root;
}

float texel(const io::ImageData& image, double u, double v)
{
    return image.getNormalized(u32(u * image.width), u32(v * image.height), 0);
}

} // namespace

// Irradiance over pi of a surface facing up, by the sum over texels.
TEST(Studio, ShowsWhiteOnTheFloorAsNineTenths)
{
    const io::ImageData image = makeStudioImage(64);
    ASSERT_EQ(image.width, 128u);
    ASSERT_EQ(image.height, 64u);
    double sum = 0.0;
    for (u32 y = 0; y < image.height; ++y) {
        const double theta = std::numbers::pi * (y + 0.5) / image.height;
        for (u32 x = 0; x < image.width; ++x) {
            const double value = double(image.getNormalized(x, y, 0));
            EXPECT_GT(value, 0.0);
            EXPECT_LT(value, 40.0);
            EXPECT_EQ(image.getNormalized(x, y, 0), image.getNormalized(x, y, 2));
            sum += value * std::max(std::cos(theta), 0.0) * std::sin(theta);
        }
    }
    const double texelArea = (std::numbers::pi / image.height) * (2 * std::numbers::pi / 128);
    EXPECT_NEAR(sum * texelArea / std::numbers::pi, 0.9, 0.005);
}

// A camera that looks along y has the large box to its left: x below 0 is u above one half.
TEST(Studio, HasItsLargeLightOnTheLeft)
{
    const io::ImageData image = makeStudioImage(128);
    const double u = 0.5 + std::atan2(0.85, 0.62) / (2.0 * std::numbers::pi);
    EXPECT_GT(texel(image, u, 0.31), 2.0 * texel(image, 1.0 - u, 0.31));
}

TEST(Surroundings, AreClosedAndSeenFromInside)
{
    const osg::Ref<osg::USkylightMaterial> sky = surroundings::makeSky(0.0f, 45.0f);
    const osg::Ref<osg::Node> dome = surroundings::makeDome(sky.get(), {1.0f, 2.0f, 3.0f}, 5.0f);
    const auto geometry = osg::Geometry::Ptr::dcast(dome->getCore());
    ASSERT_TRUE(geometry);
    EXPECT_EQ(geometry->getMaterial(), osg::MaterialPtr(sky.get()));
    double volume = 0.0;
    for (osg::TriangleIterator t = geometry->beginTriangles(); t != geometry->endTriangles(); ++t) {
        osg::Vec3f p[3];
        for (int k = 0; k < 3; ++k) {
            const float* const v = reinterpret_cast<const float*>(
                static_cast<const char*>(geometry->getPositions()->getData()) +
                geometry->getPositions()->getStride() * t.getPositionIndex(k));
            p[k] = osg::Vec3f(v[0] - 1.0f, v[1] - 2.0f, v[2] - 3.0f);
        }
        volume += double(p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) +
                         p[0][1] * (p[1][2] * p[2][0] - p[1][0] * p[2][2]) +
                         p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0])) /
                  6.0;
    }
    // Signed volumes of outward triangles add up to that of a cube of edge 10.
    EXPECT_NEAR(volume, 1000.0, 1e-2);
}

// Air takes more of the blue light than of the red, and more the longer the way.
TEST(Surroundings, HaveALowSunThatIsRedAndWeak)
{
    const osg::Vec3f usual = surroundings::makeSky(0.0f, 40.0f)->getSunColor();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(usual[i], 1.0f);
    osg::Vec3f above = surroundings::makeSky(0.0f, 90.0f)->getSunColor();
    for (const float elevation : {40.0f, 20.0f, 10.0f, 5.0f, 1.0f, 0.0f}) {
        const osg::Vec3f color = surroundings::makeSky(0.0f, elevation)->getSunColor();
        for (int i = 0; i < 3; ++i) {
            EXPECT_GT(color[i], 0.0f) << elevation;
            EXPECT_LT(color[i], above[i]) << elevation;
        }
        EXPECT_LT(color[2] / color[0], above[2] / above[0]) << elevation;
        EXPECT_LT(color[1] / color[0], above[1] / above[0]) << elevation;
        above = color;
    }
}

TEST(Surroundings, PutTheSunWhereTheAnglesSay)
{
    const osg::Vec3f east = surroundings::makeSky(90.0f, 0.0f)->getSunDirection();
    EXPECT_NEAR(east[0], 1.0f, 1e-6f);
    EXPECT_NEAR(east[1], 0.0f, 1e-6f);
    const osg::Vec3f high = surroundings::makeSky(0.0f, 30.0f)->getSunDirection();
    EXPECT_NEAR(high[1], std::cos(std::numbers::pi_v<float> / 6.0f), 1e-6f);
    EXPECT_NEAR(high[2], 0.5f, 1e-6f);
}

TEST(Surroundings, TakeImagesOfAnyKind)
{
    io::ImageData image;
    image.allocate(4, 2, 3, io::ImageData::Type::float32);
    float* const values = reinterpret_cast<float*>(image.values.data());
    values[0] = std::numeric_limits<float>::quiet_NaN();
    values[1] = -1.0f;
    values[2] = std::numeric_limits<float>::infinity();
    values[3] = 0.5f;
    image.gamma = 1.0f;
    const auto environment = surroundings::makeImageEnvironment(image, "a");
    ASSERT_TRUE(environment);
    EXPECT_EQ(environment->getLayout(), 0);
    // Rows of scene images run from the bottom.
    const osg::Vec4f first = environment->getImage()->getPixel(0, 1);
    EXPECT_EQ(first[0], 0.0f);
    EXPECT_EQ(first[1], 0.0f);
    EXPECT_TRUE(std::isfinite(first[2]));
    EXPECT_EQ(environment->getImage()->getPixel(1, 1)[0], 0.5f);

    io::ImageData cross;
    cross.allocate(3, 4, 3, io::ImageData::Type::byte);
    EXPECT_EQ(surroundings::makeImageEnvironment(cross, "b")->getLayout(), 2);
    EXPECT_FALSE(surroundings::makeImageEnvironment(io::ImageData(), "c"));
}

TEST(Surroundings, KnowWhetherASceneHasLight)
{
    EXPECT_FALSE(surroundings::hasLight(nullptr));
    const osg::Ref<osg::Geometry> mesh = osg::Geometry::create();
    const osg::Ref<osg::UPointLight> light = osg::UPointLight::create();
    EXPECT_FALSE(surroundings::hasLight(groupWith(mesh.get()).get()));
    EXPECT_TRUE(surroundings::hasLight(groupWith(light.get()).get()));
    const auto withMaterial = [](const osg::MaterialPtr& material) {
        const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
        geometry->setMaterial(material);
        return groupWith(geometry.get());
    };
    const osg::Ref<osg::UPhongMaterial> phong = osg::UPhongMaterial::create();
    const osg::Ref<osg::ULightMaterial> lamp = osg::ULightMaterial::create();
    const osg::Ref<osg::USkylightMaterial> sky = osg::USkylightMaterial::create();
    EXPECT_FALSE(surroundings::hasLight(withMaterial(phong.get()).get()));
    EXPECT_FALSE(surroundings::hasLight(withMaterial(lamp.get()).get())) << "white as paper";
    lamp->setIntensity(20.0f);
    EXPECT_TRUE(surroundings::hasLight(withMaterial(lamp.get()).get()));
    phong->setIncandescenceActive(true);
    EXPECT_FALSE(surroundings::hasLight(withMaterial(phong.get()).get()));
    phong->setIncandescence(osg::ColorComponent(17.0f, 12.0f, 4.0f));
    EXPECT_TRUE(surroundings::hasLight(withMaterial(phong.get()).get()));
    EXPECT_TRUE(surroundings::hasLight(withMaterial(sky.get()).get()));
}

TEST(Surroundings, CountTheLightsOfAScene)
{
    EXPECT_EQ(surroundings::countLights(nullptr), 0u);
    const osg::Ref<osg::Node> root = osg::Node::create(osg::Group::create());
    const osg::Ref<osg::UPointLight> light = osg::UPointLight::create();
    root->addChild(osg::Node::create(light.get()));
    root->addChild(osg::Node::create(light.get()));
    EXPECT_EQ(surroundings::countLights(root.get()), 2u);
    light->setOn(false);
    EXPECT_EQ(surroundings::countLights(root.get()), 0u);
    const osg::Ref<osg::UPhongMaterial> phong = osg::UPhongMaterial::create();
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    geometry->setMaterial(phong.get());
    root->addChild(osg::Node::create(geometry.get()));
    EXPECT_EQ(surroundings::countLights(root.get()), 0u);
    phong->setIncandescenceActive(true);
    EXPECT_EQ(surroundings::countLights(root.get()), 1u);
    const osg::Ref<osg::USkylightMaterial> sky = osg::USkylightMaterial::create();
    geometry->setMaterial(sky.get());
    EXPECT_EQ(surroundings::countLights(root.get()), 0u);
}

TEST(Surroundings, StandInWorldSpaceBelowATurnedRoot)
{
    osg::Matrix turn; // y up to z up
    turn[1] = {0, 0, 1, 0};
    turn[2] = {0, -1, 0, 0};
    turn[3] = {5, 6, 7, 1};
    const osg::Ref<osg::Transform> place = osg::Transform::create();
    place->setMatrix(turn);
    const osg::Ref<osg::Node> root = osg::Node::create(place.get(), "root");
    osg::Box box;
    box.extend(osg::Pnt3f(0.0f, 0.0f, 0.0f));
    const osg::Ref<osg::Node> floor = surroundings::makeFloor(box, 10.0f);
    surroundings::addInWorld(root.get(), floor.get());
    const osg::Box found = root->getWorldBox();
    EXPECT_NEAR(found.minimum[0], -10.0f, 1e-5f);
    EXPECT_NEAR(found.maximum[1], 10.0f, 1e-5f);
    EXPECT_NEAR(found.maximum[2], 0.0f, 1e-3f);
}

TEST(Surroundings, PutTheFloorBelowTheScene)
{
    osg::Box box;
    box.extend(osg::Pnt3f(-1.0f, 0.0f, 2.0f));
    box.extend(osg::Pnt3f(3.0f, 2.0f, 4.0f));
    const osg::Box floor = surroundings::makeFloor(box, 10.0f)->getWorldBox();
    EXPECT_LT(floor.maximum[2], 2.0f);
    EXPECT_GT(floor.maximum[2], 1.999f);
    EXPECT_EQ(floor.minimum[0], -9.0f);
    EXPECT_EQ(floor.maximum[1], 11.0f);
}
