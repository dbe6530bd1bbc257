#include "light/znRTGeometryLight.h"
#include "brdf/lobeSampling.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "light/lightFixture.h"
#include "light/znRTGeometryShape.h"
#include "light/znRTURectangularLight.h"
#include "material/znRTMaterial.h"
#include "support/meshScene.h"

namespace {

const znRTTypeId emitterTypeId("Emitter");

/// Emissive as its host material says.
class Emitter : public znRTMaterial
{
public:
    explicit Emitter(const osg::MaterialPtr& host) : znRTMaterial(emitterTypeId, host) {}
    znRTMaterial* getDuplicate() const override { return new Emitter(hostMaterial); }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket&, znRTDataBlockPacket&, znRTFragment&,
               const znFloatType<2>&, znRTShadingState&) const override
    {
    }
    bool isLightSource() const override { return shines; }
    bool isTransparent() const override { return letsThrough; }
    void setSideness(int sideness) { materialState.sideness = sideness; }

    bool shines = true, letsThrough = false;
};

class GeometryLight : public testing::Test
{
protected:
    GeometryLight()
    {
        host->setIncandescence(osg::ColorComponent(osg::Vec3f(1.0f, 0.5f, 0.25f), 2.0f));
        host->setIncandescenceActive(true);
        emitter = std::make_unique<Emitter>(host.get());
        emitter->setSideness(1);
    }
    /// Adds a mesh that emits and lets the scene make its light.
    osg::NodePtr add(const GeometryRef& geometry, const osg::Matrix& matrix = {})
    {
        const osg::NodePtr node = scene.add(geometry.get(), matrix);
        scene.mesh(node).setMaterial(emitter.get());
        scene.build();
        scene.mesh(node).checkGeometryLight();
        scene.scene->updateGeometryLights();
        return node;
    }
    const znRTGeometryLight& light(u64 index = 0)
    {
        return static_cast<const znRTGeometryLight&>(*scene.scene->getLights()[index]);
    }
    const znRTGeometryShape& shape()
    {
        return static_cast<const znRTGeometryShape&>(*light().getShape());
    }

    osg::Ref<osg::UPhongMaterial> host{osg::UPhongMaterial::create()};
    std::unique_ptr<Emitter> emitter;
    MeshScene scene;
};

/// A downward square of half edge 0.5 at a height.
GeometryRef makeLamp(float height)
{
    return makeMesh({{-0.5f, -0.5f, height},
                     {0.5f, -0.5f, height},
                     {0.5f, 0.5f, height},
                     {-0.5f, 0.5f, height}},
                    {0, 2, 1, 0, 3, 2}, {}, {{0, 0}, {1, 0}, {1, 1}, {0, 1}});
}

TEST_F(GeometryLight, JoinsTheLightsOfTheScene)
{
    const GeometryRef lamp = makeLamp(1.0f);
    const osg::NodePtr node = add(lamp);
    ASSERT_EQ(scene.scene->getLights().size, 1u);
    EXPECT_EQ(light().getDiffuseColor(), znRTColor(2.0f, 1.0f, 0.5f, 1.0f));
    EXPECT_EQ(light().getGlossyColor(), light().getDiffuseColor());
    EXPECT_NEAR(light().getPower(), testPi * 2.0, 1e-5);
    EXPECT_NEAR(light().getLuminousIntensity(), 2.0, 1e-5);
    EXPECT_EQ(light().getLightKind(), 2);
    emitter->shines = false;
    scene.mesh(node).checkGeometryLight();
    EXPECT_EQ(scene.scene->getLights().size, 0u);
}

TEST_F(GeometryLight, GoesWithItsNode)
{
    const GeometryRef lamp = makeLamp(1.0f);
    const osg::NodePtr node = add(lamp);
    EXPECT_TRUE(scene.scene->deleteGeometry(node->getId()));
    EXPECT_EQ(scene.scene->getLights().size, 0u);
}

// The rectangle's form factor is tested elsewhere: mesh and rectangle agree.
TEST_F(GeometryLight, BringsWhatARectangleBrings)
{
    const GeometryRef lamp = makeLamp(1.0f);
    add(lamp);
    PlacedCore<osg::URectangularLight> placed;
    znRTURectangularLight rectangle(placed.node.get(), placed.core);
    placed.core->setIntensity(2.0f);
    placed.move(0, 0, 1);
    rectangle.update();
    for (const float x : {0.0f, 0.7f, 2.0f}) {
        const double expected = sampledIrradiance(rectangle, {x, 0, 0}, {0, 0, 1});
        EXPECT_NEAR(sampledIrradiance(light(), {x, 0, 0}, {0, 0, 1}), expected, 0.01 * expected);
    }
    EXPECT_NEAR(sampledFlux(light()), testPi * 2.0, 0.02);
    EXPECT_EQ(sampledIrradiance(light(), {0, 0, 2}, {0, 0, -1}, 64), 0.0) << "from behind";
}

// Lambert's formula for a polygon of radiance 1: E = 1/2 sum of angle_i (edge normal_i . n).
double polygonIrradiance(const std::vector<znRTVector3f>& corners)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const znRTVector3f a = corners[i].getNormalized();
        const znRTVector3f b = corners[(i + 1) % corners.size()].getNormalized();
        const znRTVector3f across = cross(a, b);
        sum += std::acos(std::clamp(double(dot(a, b)), -1.0, 1.0)) * double(across.z) /
               double(across.getLength());
    }
    return 0.5 * std::fabs(sum);
}

TEST_F(GeometryLight, BringsTheIrradianceOfItsTriangles)
{
    const std::vector<znRTVector3f> corners = {
        {-0.5f, -0.2f, 1.0f}, {1.0f, 0.1f, 1.5f}, {0.0f, 0.9f, 0.8f}};
    const GeometryRef triangle = makeMesh({{corners[0].x, corners[0].y, corners[0].z},
                                           {corners[1].x, corners[1].y, corners[1].z},
                                           {corners[2].x, corners[2].y, corners[2].z}},
                                          {0, 2, 1});
    add(triangle);
    const double expected = 2.0 * polygonIrradiance(corners);
    EXPECT_NEAR(sampledIrradiance(light(), {}, {0, 0, 1}, 16384), expected, 0.01 * expected);
}

TEST_F(GeometryLight, DrawsTrianglesByTheirAreas)
{
    // Areas 1 : 9 and one of no area between them.
    const GeometryRef mesh = makeMesh({{0, 0, 0},
                                       {1, 0, 0},
                                       {0, 1, 0},
                                       {0, 0, 1},
                                       {3, 0, 1},
                                       {0, 3, 1},
                                       {5, 5, 5},
                                       {6, 6, 6},
                                       {7, 7, 7}},
                                      {0, 1, 2, 6, 7, 8, 3, 4, 5});
    add(mesh);
    EXPECT_EQ(shape().getTriangleCount(), 3u);
    EXPECT_NEAR(shape().getArea(), 5.0f, 1e-6f);
    const znDistribution1D& areas = shape().getAreaDistribution();
    EXPECT_EQ(areas.cdf[1], areas.cdf[2]) << "no area, no probability";
    int low = 0;
    constexpr int count = 100000;
    for (int i = 0; i < count; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        const znRTVector2fPacket u = tablePoints(i);
        shape().samplePoint(mask, u.x, u.y, point);
        for (int lane = 0; lane < 4; ++lane) {
            low += point.position.z[lane] < 0.5f;
            ASSERT_LE(point.position.z[lane], 1.0f);
        }
        EXPECT_LANES_NEAR(point.pdf, 0.2f, 0.2f, 0.2f, 0.2f, 1e-6f);
    }
    EXPECT_NEAR(low / double(count), 0.1, 0.005);
}

// Moments of the weights of a uniform point: mean 1/3, mean square 1/6.
TEST_F(GeometryLight, DrawsPointsUniformlyOnATriangle)
{
    const GeometryRef triangle =
        makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}, {}, {{0, 0}, {1, 0}, {0, 1}});
    add(triangle);
    double first[2] = {}, second[2] = {};
    constexpr int count = 65536;
    for (int i = 0; i < count; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        const znRTVector2fPacket u = tablePoints(i);
        shape().samplePoint(mask, u.x, u.y, point);
        for (int lane = 0; lane < 4; ++lane)
            for (int k = 0; k < 2; ++k) {
                const double b = point.position.getLane(lane)[k];
                ASSERT_NEAR(b, k == 0 ? point.uv.x[lane] : point.uv.y[lane], 1e-6);
                first[k] += b / count;
                second[k] += b * b / count;
            }
    }
    for (int k = 0; k < 2; ++k) {
        EXPECT_NEAR(first[k], 1.0 / 3.0, 2e-3);
        EXPECT_NEAR(second[k], 1.0 / 6.0, 2e-3);
    }
}

TEST_F(GeometryLight, ShinesOnTheSidesOfItsMaterial)
{
    const GeometryRef lamp = makeLamp(1.0f);
    emitter->setSideness(2);
    add(lamp);
    EXPECT_EQ(sampledIrradiance(light(), {}, {0, 0, 1}), 0.0);
    EXPECT_GT(sampledIrradiance(light(), {0, 0, 2}, {0, 0, -1}), 0.5);
    emitter->setSideness(3);
    scene.scene->updateGeometryLights();
    const double below = sampledIrradiance(light(), {}, {0, 0, 1});
    EXPECT_GT(below, 0.5);
    EXPECT_NEAR(sampledIrradiance(light(), {0, 0, 2}, {0, 0, -1}), below, 0.02 * below);
    EXPECT_NEAR(sampledFlux(light()), 2.0 * testPi * 2.0, 0.05) << "both sides emit";
}

TEST_F(GeometryLight, KeepsItsFrontWhenMirrored)
{
    const GeometryRef lamp = makeLamp(1.0f);
    osg::Matrix mirror;
    mirror[0][0] = -1.0f;
    add(lamp, mirror);
    EXPECT_GT(sampledIrradiance(light(), {}, {0, 0, 1}), 0.5);
}

TEST_F(GeometryLight, ReadsItsAttachment)
{
    const auto attachment = osg::RaytracingLightAttachment::create();
    attachment->setShadowIntensity(0.5f);
    attachment->setImportanceMultiplier(4.0f);
    attachment->setCastShadowOnShadowMaterial(false);
    const GeometryRef lamp = makeLamp(1.0f);
    const osg::NodePtr node = add(lamp);
    node->addAttachment(attachment);
    scene.scene->updateGeometryLights();
    EXPECT_EQ(light().getShadowIntensity(), 0.5f);
    EXPECT_EQ(light().getImportanceMultiplier(), 4.0f);
    EXPECT_FALSE(light().getCastShadowOnShadowMaterial());
}

TEST_F(GeometryLight, IsOffWithoutIncandescence)
{
    host->setIncandescenceActive(false);
    const GeometryRef lamp = makeLamp(1.0f);
    add(lamp);
    EXPECT_FALSE(light().isOn());
    EXPECT_EQ(light().getPower(), 0.0f);
}

TEST_F(GeometryLight, IsALampMaterialsAffairToo)
{
    const osg::Ref<osg::ULightMaterial> lampMaterial(osg::ULightMaterial::create());
    lampMaterial->setEmissiveComponent(osg::ColorComponent(osg::Vec3f(0.5f, 1, 1), 1.0f));
    lampMaterial->setIntensity(8.0f);
    emitter = std::make_unique<Emitter>(lampMaterial.get());
    const GeometryRef lamp = makeLamp(1.0f);
    add(lamp);
    EXPECT_EQ(light().getDiffuseColor(), znRTColor(4.0f, 8.0f, 8.0f, 1.0f));
}

TEST_F(GeometryLight, IsCulledByItsBox)
{
    const GeometryRef lamp = makeLamp(1.0f);
    add(lamp);
    const znRTVector3fPacket p(0.0f, 0.0f, znFloatType<2>(0.0f, 0.9f, 1.1f, 2.0f));
    EXPECT_EQ(moveMask(light().cullLight(p, inAllLanes(0, 0, 1), everyLane4)), 0b0011);
}

/// Direct light of a textured lamp: sums over the texture's cells, each a small rectangle.
TEST_F(GeometryLight, ShinesByItsTexture)
{
    std::vector<float> texels(16 * 16);
    for (int i = 0; i < 256; ++i)
        texels[std::size_t(i)] = 1.0f + float(i % 16) + 0.5f * float(i / 16);
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::L, 16, 16, 1, 1, 1, texels.data(), osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    const osg::Ref<osg::UTextureSettings> settings(osg::UTextureSettings::create());
    settings->setIsActive(true);
    settings->setGamma(1.0f);
    settings->setImage(image.get());
    settings->setWrapS(3);
    settings->setWrapT(3);
    host->setIncandescenceTexture(settings.get());
    const GeometryRef lamp = makeLamp(1.0f);
    add(lamp);
    double expected = 0.0;
    constexpr int cells = 320;
    for (int j = 0; j < cells; ++j)
        for (int i = 0; i < cells; ++i) {
            const double u = (i + 0.5) / cells, v = (j + 0.5) / cells;
            const double x = u - 0.5, y = v - 0.5, d2 = x * x + y * y + 1.0;
            // Bilinear values of a ramp are the ramp, constant beyond the outer texel centres.
            const auto ramp = [](double t) { return std::clamp(t * 16.0 - 0.5, 0.0, 15.0); };
            expected += 2.0 * (1.0 + ramp(u) + 0.5 * ramp(v)) / (d2 * d2) / (cells * cells);
        }
    EXPECT_NEAR(sampledIrradiance(light(), {}, {0, 0, 1}, 16384), expected, 0.01 * expected);
}

} // namespace

namespace {

constexpr u32 gridCells = 6;

/// makeLamp's square of many triangles.
GeometryRef makeGridLamp(float height)
{
    std::vector<osg::Vec3f> points;
    std::vector<osg::Vec2f> uvs;
    std::vector<u32> indices;
    const u32 side = gridCells + 1;
    for (u32 j = 0; j < side; ++j)
        for (u32 i = 0; i < side; ++i) {
            const float u = float(i) / gridCells, v = float(j) / gridCells;
            points.push_back({u - 0.5f, v - 0.5f, height});
            uvs.push_back({u, v});
        }
    for (u32 j = 0; j < gridCells; ++j)
        for (u32 i = 0; i < gridCells; ++i) {
            const u32 a = j * side + i, b = a + 1, c = b + side, d = a + side;
            indices.insert(indices.end(), {a, c, b, a, d, c});
        }
    return makeMesh(points, indices, {}, uvs);
}

/// Irradiance by directions in proportion to the cosine, and the integral of the light's density.
struct Met
{
    double irradiance = 0.0, density = 0.0;
};

Met metFrom(const znRTGeometryLight& light, const znRTVector3f& position)
{
    const znRTVector3fPacket p(position);
    Met met;
    constexpr int count = 32768;
    for (int i = 0; i < count; i += 4) {
        const znRTVector2fPacket u = tablePoints(i);
        const znRTVector3fPacket wi = lobeSampling::cosineHemisphere(u);
        const znRTColorPacket value =
            light.getIntensity(p, wi, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        const znFloatType<2> pdf = light.getPDF(p, wi, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            met.irradiance += testPi * double(value.r[lane]) * light.getDiffuseColor().r / count;
            met.density += testPi * double(pdf[lane]) / std::max(1e-6, double(wi.z[lane])) / count;
        }
    }
    return met;
}

} // namespace

// What directions meet is what points on the mesh bring, and all of the density is found.
TEST_F(GeometryLight, IsMetAsItsPointsAreDrawn)
{
    osg::Matrix matrix; // turned by a quarter about z
    matrix[0][0] = matrix[1][1] = 0.0f;
    matrix[0][1] = -1.0f;
    matrix[1][0] = 1.0f;
    matrix[3][0] = 0.2f;
    const GeometryRef lamp = makeGridLamp(0.6f);
    add(lamp, matrix);
    EXPECT_TRUE(light().isMetByRays());
    EXPECT_TRUE(light().isDrawnByArea());
    for (const float x : {0.0f, 0.5f}) {
        const double drawn = sampledIrradiance(light(), {x, 0, 0}, {0, 0, 1}, 32768);
        const Met met = metFrom(light(), {x, 0, 0});
        EXPECT_GT(drawn, 0.5);
        EXPECT_NEAR(met.irradiance, drawn, 0.01 * drawn);
        EXPECT_NEAR(met.density, 1.0, 0.01);
    }
    EXPECT_EQ(metFrom(light(), {0, 0, 2}).irradiance, 0.0) << "from behind";
}

// Points behind the first surface shine through what is transparent.
TEST_F(GeometryLight, IsNotMetThroughTransparentSurfaces)
{
    emitter->letsThrough = true;
    const GeometryRef lamp = makeGridLamp(0.6f);
    add(lamp);
    EXPECT_TRUE(light().isOn());
    EXPECT_FALSE(light().isMetByRays());
}

// A small bright spot of a dark mesh: most points are drawn there, and the light is the same.
TEST_F(GeometryLight, IsDrawnWhereItsTextureShines)
{
    std::vector<float> texels(36 * 36, 0.01f);
    for (int j = 6; j < 12; ++j)
        for (int i = 24; i < 30; ++i)
            texels[std::size_t(36 * j + i)] = 20.0f;
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::L, 36, 36, 1, 1, 1, texels.data(), osg::Image::Float32);
    image->setColorSpaceGamma(1.0f);
    const osg::Ref<osg::UTextureSettings> settings(osg::UTextureSettings::create());
    settings->setIsActive(true);
    settings->setGamma(1.0f);
    settings->setImage(image.get());
    host->setIncandescenceTexture(settings.get());
    const GeometryRef lamp = makeGridLamp(0.6f);
    add(lamp);
    int inSpot = 0;
    constexpr int count = 8192;
    for (int i = 0; i < count; i += 4) {
        znFloatType<2> mask = everyLane4;
        znRTShapePoint point;
        const znRTVector2fPacket u = tablePoints(i);
        shape().samplePoint(mask, u.x, u.y, point);
        for (int lane = 0; lane < 4; ++lane)
            inSpot += point.position.x[lane] > 1.0f / 6.0f && point.position.x[lane] < 1.0f / 3.0f;
    }
    EXPECT_GT(inSpot, 0.7 * count);
    const double drawn = sampledIrradiance(light(), {}, {0, 0, 1}, 32768);
    const Met met = metFrom(light(), {});
    EXPECT_NEAR(met.irradiance, drawn, 0.02 * drawn);
    EXPECT_NEAR(met.density, 1.0, 0.02);
}
