#include "litScenes.h"

#include "driver/surroundings.h"
#include "driver/viewFraming.h"
#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/UberLight.h"
#include "host/osg/nodeCores.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr float pi = std::numbers::pi_v<float>;
constexpr float reach = 20.0f; ///< half edge of what carries the environment

/// Right-handed with y up to right-handed with z up.
osg::Vec3f upright(float x, float y, float z)
{
    return {x, -z, y};
}

struct Surface
{
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals; ///< empty: flat
    std::vector<u32> indices;

    void addQuad(u32 a, u32 b, u32 c, u32 d) { indices.insert(indices.end(), {a, b, c, a, c, d}); }
};

osg::NodePtr makeNode(const Surface& surface, const osg::MaterialPtr& material)
{
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    geometry->setPositions(
        osg::GeoProperty::create(std::span<const osg::Pnt3f>(surface.positions)));
    if (!surface.normals.empty())
        geometry->setNormals(
            osg::GeoProperty::create(std::span<const osg::Vec3f>(surface.normals)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(surface.indices)));
    geometry->setLengths({u32(surface.indices.size())});
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setMaterial(material);
    return osg::Node::create(geometry.get());
}

osg::MaterialPtr makeMatt(float r, float g, float b)
{
    const auto material = osg::UPhongMaterial::create();
    material->setDiffuse(osg::ColorComponent(osg::Vec3f(r, g, b)));
    material->setGlossy(osg::ColorComponent(osg::Vec3f(0.0f, 0.0f, 0.0f)));
    return material;
}

/// Scaled to a longest edge of 1, its middle above the origin, its lowest point on the ground.
Surface fitted(const Mesh& mesh, float offsetX)
{
    osg::Vec3f low(1e30f, 1e30f, 1e30f), high(-1e30f, -1e30f, -1e30f);
    for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
        low[int(i % 3)] = std::min(low[int(i % 3)], mesh.positions[i]);
        high[int(i % 3)] = std::max(high[int(i % 3)], mesh.positions[i]);
    }
    const float scale = 1.0f / std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
    Surface surface;
    for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3) {
        const float* const p = mesh.positions.data() + i;
        const osg::Vec3f placed =
            upright((p[0] - 0.5f * (low[0] + high[0])) * scale + offsetX, (p[1] - low[1]) * scale,
                    (p[2] - 0.5f * (low[2] + high[2])) * scale);
        surface.positions.emplace_back(placed[0], placed[1], placed[2]);
    }
    for (const znRTTriangle& t : mesh.triangles)
        surface.indices.insert(surface.indices.end(), {t.a, t.b, t.c});
    return surface;
}

Surface makeQuad(const osg::Vec3f (&corners)[4])
{
    Surface surface;
    for (const osg::Vec3f& corner : corners)
        surface.positions.emplace_back(corner[0], corner[1], corner[2]);
    surface.addQuad(0, 1, 2, 3);
    return surface;
}

Surface makeGround()
{
    return makeQuad({upright(-5, 0, -5), upright(-5, 0, 5), upright(5, 0, 5), upright(5, 0, -5)});
}

/// A box that stands on the ground, turned about the vertical.
Surface makeBlock(float height, float x, float z, float degrees)
{
    const float s = std::sin(degrees * pi / 180.0f), c = std::cos(degrees * pi / 180.0f);
    Surface block;
    for (const float dx : {-0.15f, 0.15f})
        for (const float y : {0.0f, height})
            for (const float dz : {-0.15f, 0.15f}) {
                const osg::Vec3f p = upright(x + c * dx + s * dz, y, z - s * dx + c * dz);
                block.positions.emplace_back(p[0], p[1], p[2]);
            }
    block.addQuad(0, 4, 6, 2);
    block.addQuad(1, 3, 7, 5);
    block.addQuad(0, 2, 3, 1);
    block.addQuad(4, 5, 7, 6);
    block.addQuad(2, 6, 7, 3);
    return block;
}

/// A smooth ball of 192 x 96 faces.
Surface makeBall(float radius, float x, float y, float z)
{
    constexpr u32 around = 192, rows = 96;
    Surface ball;
    for (u32 j = 0; j <= rows; ++j)
        for (u32 i = 0; i < around; ++i) {
            const float theta = pi * float(j) / rows, phi = 2.0f * pi * float(i) / around;
            const osg::Vec3f n = upright(std::sin(theta) * std::cos(phi), std::cos(theta),
                                         std::sin(theta) * std::sin(phi));
            const osg::Vec3f center = upright(x, y, z);
            ball.normals.push_back(n);
            ball.positions.emplace_back(center[0] + radius * n[0], center[1] + radius * n[1],
                                        center[2] + radius * n[2]);
        }
    for (u32 j = 0; j < rows; ++j)
        for (u32 i = 0; i < around; ++i) {
            const u32 a = j * around + i, b = j * around + (i + 1) % around;
            if (j > 0) // the poles are single points
                ball.indices.insert(ball.indices.end(), {a, b, b + around});
            if (j + 1 < rows)
                ball.indices.insert(ball.indices.end(), {a, b + around, a + around});
        }
    return ball;
}

LitScene makeScene(int bounces)
{
    LitScene scene;
    scene.root = osg::Node::create(osg::NodeCorePtr());
    scene.bounces = bounces;
    return scene;
}

void setCamera(LitScene& scene, const osg::Vec3f& eye, const osg::Vec3f& at, float fovDegrees)
{
    const auto transform = osg::Transform::create();
    transform->setMatrix(lookAtMatrix({eye, at, osg::Vec3f(0, 0, 1), 0.0f, 0.0f}));
    scene.beacon = osg::Ref<osg::Node>(osg::Node::create(transform));
    scene.camera = osg::Ref<osg::UberCamera>(osg::UberCamera::create());
    scene.camera->setBeacon(scene.beacon.get());
    scene.camera->setFov(fovDegrees);
    scene.camera->setNear(1e-3f);
    scene.camera->setFar(4.0f * reach);
}

/// 2.6 away from the point (0, 0.45, 0), 40 degrees.
void setOutsideCamera(LitScene& scene)
{
    osg::Vec3d d(0.6, 0.35, 0.72);
    d.normalize();
    setCamera(scene, upright(float(2.6 * d[0]), float(0.45 + 2.6 * d[1]), float(2.6 * d[2])),
              upright(0.0f, 0.45f, 0.0f), 40.0f);
}

void addEnvironment(LitScene& scene, const osg::Ref<osg::USphereEnvironmentMaterial>& environment)
{
    scene.root->addChild(
        surroundings::makeDome(environment.get(), osg::Pnt3f(0.0f, 0.0f, 0.0f), reach).get());
}

io::ImageData makeUniformImage(float value)
{
    io::ImageData image;
    image.width = 8;
    image.height = 4;
    image.channels = 3;
    image.type = io::ImageData::Type::float32;
    image.gamma = 1.0f;
    image.values.resize(sizeof(float) * 3 * 8 * 4);
    std::fill_n(reinterpret_cast<float*>(image.values.data()), 3 * 8 * 4, value);
    return image;
}

} // namespace

LitScene makeSunScene(const Mesh& mesh)
{
    LitScene scene = makeScene(1);
    scene.root->addChild(makeNode(fitted(mesh, 0.0f), makeMatt(0.7f, 0.7f, 0.7f)));
    scene.root->addChild(makeNode(makeGround(), makeMatt(0.5f, 0.5f, 0.5f)));

    const auto sun = osg::UDirectionalLight::create();
    const osg::ColorComponent color(osg::Vec3f(1.0f, 1.0f, 1.0f), 3.0f / pi); // irradiance 3
    sun->setDiffuse(color);
    sun->setGlossy(color);
    const osg::Vec3f toward = upright(0.4f, 0.8f, 0.45f);
    const auto transform = osg::Transform::create();
    transform->setMatrix(
        lookAtMatrix({toward, osg::Vec3f(0, 0, 0), osg::Vec3f(0, 0, 1), 0.0f, 0.0f}));
    const osg::NodePtr place = osg::Node::create(transform);
    place->addChild(osg::Node::create(osg::NodeCorePtr(sun)));
    scene.root->addChild(place);

    addEnvironment(scene, surroundings::makeImageEnvironment(makeUniformImage(0.5f), "sky"));
    setOutsideCamera(scene);
    return scene;
}

LitScene makeCornellScene()
{
    LitScene scene = makeScene(8);
    const osg::MaterialPtr white = makeMatt(0.725f, 0.71f, 0.68f);
    const osg::MaterialPtr red = makeMatt(0.63f, 0.065f, 0.05f);
    const osg::MaterialPtr green = makeMatt(0.14f, 0.45f, 0.091f);
    const auto corner = [](int i) { // 4 x + 2 y + z
        return upright(i & 4 ? 0.5f : -0.5f, i & 2 ? 1.0f : 0.0f, i & 1 ? 0.5f : -0.5f);
    };
    const auto addWall = [&](int a, int b, int c, int d, const osg::MaterialPtr& material) {
        scene.root->addChild(
            makeNode(makeQuad({corner(a), corner(b), corner(c), corner(d)}), material));
    };
    addWall(0, 1, 5, 4, white); // floor
    addWall(2, 6, 7, 3, white); // ceiling
    addWall(0, 4, 6, 2, white); // back
    addWall(0, 2, 3, 1, red);
    addWall(4, 5, 7, 6, green);
    scene.root->addChild(makeNode(makeBlock(0.3f, 0.16f, 0.14f, -17.0f), white));
    scene.root->addChild(makeNode(makeBlock(0.6f, -0.16f, -0.14f, 18.0f), white));

    const auto lamp = osg::URectangularLight::create();
    const osg::ColorComponent color(osg::Vec3f(1.0f, 12.0f / 17.0f, 4.0f / 17.0f), 17.0f);
    lamp->setDiffuse(color);
    lamp->setGlossy(color);
    lamp->setSizeX(0.125f);
    lamp->setSizeY(0.1f);
    lamp->setStillQuality(1);
    const auto transform = osg::Transform::create();
    osg::Matrix below;
    below[3][2] = 0.995f;
    transform->setMatrix(below);
    const osg::NodePtr place = osg::Node::create(transform);
    place->addChild(osg::Node::create(osg::NodeCorePtr(lamp)));
    scene.root->addChild(place);

    setCamera(scene, upright(0.0f, 0.5f, 1.9f), upright(0.0f, 0.5f, 0.0f), 39.3f);
    return scene;
}

LitScene makeGlossyScene(const Mesh& mesh, io::ImageData environment)
{
    LitScene scene = makeScene(8);
    const auto metal = osg::USubstanceMaterial::create();
    metal->setBaseColor(osg::ColorComponent(osg::Vec3f(0.9f, 0.6f, 0.25f)));
    metal->setMetallic(1.0f);
    metal->setRoughness(0.2f);
    scene.root->addChild(makeNode(fitted(mesh, -0.45f), metal));
    scene.root->addChild(makeNode(makeGround(), makeMatt(0.4f, 0.4f, 0.4f)));
    const auto glass = osg::UGlassMaterial::create();
    glass->setIor(1.5f);
    // Light through the glass bends: a shadow ray, which goes straight on, is no path of it.
    glass->setColouredShadow(false);
    scene.root->addChild(makeNode(makeBall(0.4f, 0.6f, 0.4f, 0.1f), glass));

    const auto surround = surroundings::makeImageEnvironment(std::move(environment), "environment");
    // The middle of an image lies at -y unless it is turned.
    surroundings::rotate(*surround, -90.0f);
    addEnvironment(scene, surround);
    setOutsideCamera(scene);
    return scene;
}
