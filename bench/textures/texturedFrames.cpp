#include "texturedFrames.h"

#include "driver/FrameDriver.h"
#include "driver/studioLight.h"
#include "driver/surroundings.h"
#include "driver/viewFraming.h"
#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/UberCamera.h"
#include "host/osg/nodeCores.h"
#include "host/znRTRaytracingSettings.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <numbers>
#include <random>

namespace {

constexpr u32 side = 2048; ///< of the images, texels
constexpr u32 width = 640, height = 360;
constexpr int samples = 4;

double processorTime()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return 1e3 * double(t.tv_sec) + 1e-6 * double(t.tv_nsec);
}

enum class Images { none, trilinear, directional };

/// Noise about a middle value.
osg::Ref<osg::UTextureSettings> makeTexture(u32 format, const std::vector<int>& middle, int spread,
                                            Images images)
{
    std::mt19937 engine(1);
    std::uniform_int_distribution<int> noise(-spread, spread);
    std::vector<u8> texels(std::size_t(side) * side * middle.size());
    for (std::size_t i = 0; i < texels.size(); ++i)
        texels[i] = u8(std::clamp(middle[i % middle.size()] + noise(engine), 0, 255));
    const osg::Ref<osg::Image> image = osg::Image::create();
    image->take(format, side, side, std::move(texels), osg::Image::UInt8);
    const osg::Ref<osg::UTextureSettings> slot = osg::UTextureSettings::create();
    const osg::EditScope edit(slot.get());
    slot->setImage(image.get());
    slot->setIsActive(true);
    slot->setGamma(format == osg::Image::RGB ? 2.2f : 1.0f);
    slot->setMaxAnisotropy(images == Images::directional ? 8.0f : 1.0f);
    return slot;
}

osg::MaterialPtr makeMaterial(Images images)
{
    const auto material = osg::USubstanceMaterial::create();
    const osg::EditScope edit(material);
    material->setRoughness(0.4f);
    material->setBaseColor(osg::ColorComponent(osg::Vec3f(0.5f, 0.5f, 0.5f)));
    if (images == Images::none)
        return material;
    material->setBaseColor(osg::ColorComponent(osg::Vec3f(1.0f, 1.0f, 1.0f)));
    material->setBaseColorTexture(makeTexture(osg::Image::RGB, {188, 188, 188}, 20, images).get());
    material->setRoughnessTexture(makeTexture(osg::Image::L, {102}, 20, images).get());
    const auto normals = makeTexture(osg::Image::RGB, {128, 128, 250}, 5, images);
    normals->setGamma(1.0f);
    material->setNormalTexture(normals.get());
    return material;
}

/// A grid of points of a surface, and their texture coordinates.
template <class Point>
osg::NodePtr makeGrid(u32 columns, u32 rows, const osg::MaterialPtr& material, Point&& point)
{
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    std::vector<osg::Vec2f> uv;
    std::vector<u32> indices;
    for (u32 j = 0; j <= rows; ++j)
        for (u32 i = 0; i <= columns; ++i) {
            const float s = float(i) / float(columns), t = float(j) / float(rows);
            osg::Vec3f p, n;
            point(s, t, p, n);
            positions.emplace_back(p[0], p[1], p[2]);
            normals.push_back(n);
            uv.emplace_back(s * 2.0f, t);
        }
    for (u32 j = 0; j < rows; ++j)
        for (u32 i = 0; i < columns; ++i) {
            const u32 a = j * (columns + 1) + i, b = a + columns + 1;
            indices.insert(indices.end(), {a, a + 1, b + 1, a, b + 1, b});
        }
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Pnt3f>(positions)));
    geometry->setNormals(osg::GeoProperty::create(std::span<const osg::Vec3f>(normals)));
    geometry->setTexCoordSet(0, osg::GeoProperty::create(std::span<const osg::Vec2f>(uv)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    geometry->setLengths({u32(indices.size())});
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setMaterial(material);
    return osg::Node::create(geometry.get());
}

struct Scene
{
    explicit Scene(Images images)
    {
        constexpr float pi = std::numbers::pi_v<float>;
        const osg::MaterialPtr material = makeMaterial(images);
        root = osg::Node::create(osg::Group::create(), "root");
        root->addChild(makeGrid(96, 48, material, [](float s, float t, auto& p, auto& n) {
            const float phi = 2.0f * pi * s, theta = pi * (1.0f - t);
            n = osg::Vec3f(std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi),
                           std::cos(theta));
            p = n + osg::Vec3f(0.0f, 0.0f, 1.0f);
        }));
        root->addChild(makeGrid(1, 1, material, [](float s, float t, auto& p, auto& n) {
            p = osg::Vec3f(8.0f * s - 4.0f, 8.0f * t - 4.0f, 0.0f);
            n = osg::Vec3f(0.0f, 0.0f, 1.0f);
        }));
        root->addChild(surroundings::makeDome(
                           surroundings::makeImageEnvironment(makeStudioImage(), "studio").get(),
                           osg::Pnt3f(0.0f, 0.0f, 0.0f), 100.0f)
                           .get());
        const osg::Transform::Ptr place = osg::Transform::create();
        FramedView view;
        view.eye = osg::Vec3f(0.0f, -5.0f, 2.5f);
        view.at = osg::Vec3f(0.0f, 0.0f, 0.8f);
        view.up = osg::Vec3f(0.0f, 0.0f, 1.0f);
        place->setMatrix(lookAtMatrix(view));
        beacon = osg::Node::create(place, "view");
        camera = osg::UberCamera::create();
        camera->setBeacon(beacon.get());
        camera->setFov(35.0f);
        camera->setNear(0.1f);
        camera->setFar(1000.0f);
    }
    osg::Ref<osg::Node> root, beacon;
    osg::Ref<osg::UberCamera> camera;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

nlohmann::ordered_json measureTexturedFrames(int repeats)
{
    struct Case
    {
        const char* name;
        Images images;
        std::vector<double> still, interactive;
    };
    Case cases[] = {{"plain", Images::none, {}, {}},
                    {"trilinear", Images::trilinear, {}, {}},
                    {"directional", Images::directional, {}, {}}};
    for (Case& one : cases) {
        const Scene scene(one.images);
        FrameDriver driver;
        driver.setScene(scene.root.get());
        FrameSettings settings;
        settings.width = width;
        settings.height = height;
        settings.adaptiveQuality = 5;
        settings.renderMode = 0;
        settings.threads = 1;
        for (const bool isStill : {true, false}) {
            settings.isStill = isStill;
            settings.samples = isStill ? samples : 1;
            driver.render(settings, scene.camera.get()); // the scene is built now
            for (int i = 0; i < repeats; ++i) {
                const double start = processorTime();
                driver.render(settings, scene.camera.get());
                (isStill ? one.still : one.interactive).push_back(processorTime() - start);
            }
        }
    }
    nlohmann::ordered_json result;
    result["pixels"] = {width, height};
    result["samples"] = samples;
    const Case& plain = cases[0];
    for (const Case& one : cases) {
        result["ms"][one.name] = {{"still", median(one.still)},
                                  {"interactive", median(one.interactive)}};
        result["ratio"][one.name] = {
            {"still", median(one.still) / median(plain.still)},
            {"interactive", median(one.interactive) / median(plain.interactive)}};
    }
    return result;
}
