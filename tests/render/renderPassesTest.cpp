#include "renderFixture.h"

#include "accel/znRTAccelerator.h"
#include "camera/znRTScenePlate.h"
#include "geometry/znRTGeometryNode.h"
#include "host/nodePaths.h"
#include "host/osg/Materials.h"
#include "host/pixelFormats.h"
#include "host/znLog.h"
#include "host/znRTCryptomatte.h"
#include "host/znRenderPasses.h"
#include "material/znRTMaterial.h"
#include "render/copyTasks.h"
#include "render/integratorTasks.h"
#include "render/znRTMultilayerFragment.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <string>

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

constexpr u32 dataLayers[] = {ZN_PASS_NORMAL, ZN_PASS_DEPTH,    ZN_PASS_MATERIAL_ID,
                              ZN_PASS_MASK,   ZN_PASS_POSITION, ZN_PASS_VIEW};

/// Frames with all layers: a sphere of radius 1 and a square behind it, seen from (0, 0, 5).
class RenderPasses : public RenderTest
{
protected:
    void TearDown() override
    {
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f, 0.0f, 0.0f, 0.0f);
        instance->setStillFrameSupersampling(1);
        RenderTest::TearDown();
    }
    osg::NodePtr addNamed(const osg::GeometryPtr& core, const std::string& name,
                          const std::string& materialName, double x, double y, double z)
    {
        const auto material = osg::UPhongMaterial::create();
        osg::setName(material, materialName);
        core->setMaterial(material);
        const osg::NodePtr node = add(core, x, y, z);
        osg::setName(node->getParent(), name);
        return node;
    }
    void makeScene()
    {
        sphere = addNamed(makeSphere(48, 96), "ball", "red paint", 0, 0, 0);
        addNamed(makeSquare(3.0f), "wall", "plaster", 0.5, 0, -2);
    }
    void resizeAll(u32 width, u32 height)
    {
        resize(width, height);
        for (u32 i = 1; i < u32(znRenderPassCount); ++i)
            if (!isCryptomattePass(i)) {
                layers[i].assign(std::size_t(width) * height, {0, 0, 0, 0});
                view.record.m_passBuffers[i] = layers[i].data();
            }
        matte.resize(int(width), int(height));
        view.record.m_cryptomatte = &matte;
        view.record.m_renderPassesEnabled = 1;
    }
    void renderInteractive()
    {
        begin();
        ASSERT_FALSE(trace());
    }
    void renderStill(u32 samples)
    {
        begin(true);
        for (u32 i = 0; i < 4 * samples; ++i) {
            const znRTVector2f shift = znPixelfilterSampleSet::getSampleShift(i / 4);
            offsetCamera->setOffsetX(shift.x);
            offsetCamera->setOffsetY(shift.y);
            view.record.m_iteration = i;
            updateCamera();
            instance->updateRendertargets(&view.record, false);
            ASSERT_FALSE(trace(1));
        }
        // The matrices are again those of the sample next to the centre.
        const znRTVector2f nearest = znPixelfilterSampleSet::getSampleShift(0);
        offsetCamera->setOffsetX(nearest.x);
        offsetCamera->setOffsetY(nearest.y);
        updateCamera();
    }
    const ZN_RGBA32F& at(u32 layer, u32 x, u32 y) const
    {
        return layers[layer][std::size_t(y) * view.record.m_renderWidth + x];
    }
    bool isHit(u32 x, u32 y) const { return at(ZN_PASS_MASK, x, y).a > 0.0f; }
    template <class Function>
    void forEachPixel(Function&& f) const
    {
        for (u32 y = 0; y < view.record.m_renderHeight; ++y)
            for (u32 x = 0; x < view.record.m_renderWidth; ++x)
                f(x, y);
    }
    /// Vector passes of a perspective view with its eye at (0, 0, 5), against the camera's
    /// matrices in double precision.
    /// @param hasNearerSamples  depth may come from other samples of the pixel
    void expectGeometryLayers(bool hasNearerSamples = false);

    osg::NodePtr sphere;
    std::vector<ZN_RGBA32F> layers[znRenderPassCount];
    znRTCryptomatte matte;
};

void RenderPasses::expectGeometryLayers(bool hasNearerSamples)
{
    const znRTCamera& used = *znRTRenderUtils::getCamera();
    osg::TransformationMatrix<double> toClip = used.toWorldProjection;
    ASSERT_TRUE(toClip.invert());
    u32 hits = 0;
    forEachPixel([&](u32 x, u32 y) {
        SCOPED_TRACE(testing::Message() << x << ", " << y);
        if (!isHit(x, y)) {
            for (const u32 i : dataLayers) {
                const bool isEmpty = i != ZN_PASS_DEPTH || !hasNearerSamples;
                EXPECT_EQ(isEmpty ? at(i, x, y).r : 0.0f, 0.0f) << znRenderPassNames[i];
            }
            return;
        }
        ++hits;
        const ZN_RGBA32F n = at(ZN_PASS_NORMAL, x, y), p = at(ZN_PASS_POSITION, x, y);
        const ZN_RGBA32F v = at(ZN_PASS_VIEW, x, y);
        EXPECT_NEAR(double(n.r) * n.r + double(n.g) * n.g + double(n.b) * n.b, 1.0, 1e-5);
        // The position lies in the middle of its pixel.
        const auto clip = toClip.multFullMatrixPnt({p.r, p.g, p.b});
        EXPECT_NEAR((clip[0] + 1.0) * 0.5 * used.viewWidth, x + 0.5, 2e-3);
        EXPECT_NEAR((clip[1] + 1.0) * 0.5 * used.viewHeight, y + 0.5, 2e-3);
        // The view is the direction from the eye to it.
        const double dx = p.r, dy = p.g, dz = p.b - 5.0;
        const double length = std::sqrt(dx * dx + dy * dy + dz * dz);
        EXPECT_NEAR(v.r, dx / length, 2e-6);
        EXPECT_NEAR(v.g, dy / length, 2e-6);
        EXPECT_NEAR(v.b, dz / length, 2e-6);
        EXPECT_LT(double(n.r) * v.r + double(n.g) * v.g + double(n.b) * v.b, 0.0);
        // Depth is linear in the reciprocal of the distance along the axis.
        const double near = used.nearClip, far = used.farClip, d = -dz;
        const double z = near * far / ((far - near) * d) + 0.5 - 0.5 * (near + far) / (far - near);
        EXPECT_GE(at(ZN_PASS_DEPTH, x, y).r, z - 1e-6);
        EXPECT_LE(at(ZN_PASS_DEPTH, x, y).r, hasNearerSamples ? 1.0 : z + 1e-6);
        EXPECT_EQ(at(ZN_PASS_MASK, x, y).r, 1.0f);
    });
    EXPECT_GT(hits, view.record.m_renderWidth * view.record.m_renderHeight / 8);
}

/// Shades with known terms: every lobe gets light of three kinds.
class TermsMaterial : public znRTMaterial
{
public:
    TermsMaterial() : znRTMaterial(typeId(), nullptr) {}
    znRTMaterial* getDuplicate() const override { return new TermsMaterial; }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        shadeInto(ray, data, fragment, mask, state);
    }
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        shadeInto(ray, data, fragment, mask, state);
    }

private:
    template <class G>
    static void shadeInto(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                          G& fragment, const znFloatType<2>& mask, znRTShadingState& state)
    {
        znRTColorPacket surface[surfaceTermCount], ibl[4], light[4], indirect[4];
        const znFloatType<2> place = absolute(data.position().x);
        for (int i = 0; i < surfaceTermCount; ++i)
            surface[i] = znRTColorPacket(znFloatType<2>(0.1f + 0.1f * float(i)));
        for (int i = 0; i < 4; ++i) {
            ibl[i] = znRTColorPacket(place + 0.3f * float(i));
            light[i] = znRTColorPacket(place * 0.5f + 0.2f * float(i));
            indirect[i] = znRTColorPacket(place * 0.25f + 0.7f * float(i));
        }
        fragment.updateDGST(ray, data, surface, {ibl, light, indirect}, state, {}, mask);
    }
    static const znRTTypeId& typeId()
    {
        static const znRTTypeId id("TermsMaterial");
        return id;
    }
};

/// Shows the number of the sample that its random decisions start from.
class SampleNumberMaterial : public znRTMaterial
{
public:
    SampleNumberMaterial() : znRTMaterial(typeId(), nullptr) {}
    znRTMaterial* getDuplicate() const override { return new SampleNumberMaterial; }
    using znRTMaterial::shade;
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        shade(ray, data, static_cast<znRTFragment&>(fragment), mask, state);
    }
    void shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
               znRTFragment& fragment, const znFloatType<2>& mask,
               znRTShadingState& state) const override
    {
        fragment.updateToColor(ray, data, znRTColorPacket(float(state.sampleIndex)),
                               znRTColorPacket(0.0f), state, {}, mask);
    }

private:
    static const znRTTypeId& typeId()
    {
        static const znRTTypeId id("SampleNumberMaterial");
        return id;
    }
};

class GreyPlate : public znRTScenePlate
{
public:
    GreyPlate() : znRTScenePlate(typeId()) {}
    znRTColorPacket evaluate(const znRTRayPacket&, const znRTDataBlockPacket&) const override
    {
        return znRTColorPacket(0.5f);
    }
    znRTColorPacket evaluate(const znIntType<2>&, const znIntType<2>&) const override
    {
        return znRTColorPacket(0.5f);
    }

private:
    static const znRTTypeId& typeId()
    {
        static const znRTTypeId id("GreyPlate");
        return id;
    }
};

float contrast(const ZN_RGBA32F& a, const ZN_RGBA32F& b)
{
    return std::abs(a.r - b.r) + std::abs(a.g - b.g) + std::abs(a.b - b.b);
}

} // namespace

TEST_F(RenderPasses, ShowTheGeometryInInteractiveFrames)
{
    resizeAll(97, 65);
    makeScene();
    renderInteractive();
    expectGeometryLayers();
}

TEST_F(RenderPasses, ShowTheGeometryOfThePixelCentresInStillFrames)
{
    camera->setFilterType(znPixelfilterFactory::gaussian);
    camera->setFilterSizeX(4.0f);
    camera->setFilterSizeY(4.0f);
    resizeAll(97, 65);
    makeScene();
    renderStill(1);
    expectGeometryLayers();
}

TEST_F(RenderPasses, LeaveTheBeautyAsItIsWithoutThem)
{
    znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.25f, 0.5f, 1.0f, 1.0f);
    for (const int filter : {1, 3})
        for (const bool isStillFrame : {false, true}) {
            camera->setFilterType(filter);
            camera->setFilterSizeX(filter == 1 ? 1.0f : 4.0f);
            camera->setFilterSizeY(filter == 1 ? 1.0f : 4.0f);
            resizeAll(40, 30);
            if (!sphere)
                makeScene();
            const auto render = [&](u8 passesEnabled) {
                view.record.m_renderPassesEnabled = passesEnabled;
                isStillFrame ? renderStill(2) : renderInteractive();
                return view.frame;
            };
            const std::vector<ZN_RGBA32F> plain = render(0), layered = render(1);
            for (std::size_t i = 0; i < plain.size(); ++i)
                ASSERT_LT(contrast(plain[i], layered[i]), 1e-6f) << i;
        }
}

// A wide filter blends neighbours; ids, normals and places must stay those of one surface.
TEST_F(RenderPasses, DoNotBlurDataInStillFrames)
{
    camera->setFilterType(znPixelfilterFactory::gaussian);
    camera->setFilterSizeX(6.0f);
    camera->setFilterSizeY(6.0f);
    resizeAll(64, 48);
    makeScene();
    renderStill(3);
    expectGeometryLayers(true);
    const ZN_RGBA32F ball = at(ZN_PASS_MATERIAL_ID, 32, 24), wall = at(ZN_PASS_MATERIAL_ID, 60, 24);
    const ZN_RGBA32F nothing{0, 0, 0, 0};
    forEachPixel([&](u32 x, u32 y) {
        const ZN_RGBA32F id = at(ZN_PASS_MATERIAL_ID, x, y);
        const float nearest =
            std::min({contrast(id, ball), contrast(id, wall), contrast(id, nothing)});
        ASSERT_EQ(nearest, 0.0f) << x << ", " << y;
        ASSERT_EQ(at(ZN_PASS_MASK, x, y).g, isHit(x, y) ? 1.0f : 0.0f);
    });
}

TEST_F(RenderPasses, NameMaterialsByTheirIdColours)
{
    resizeAll(64, 48);
    makeScene();
    renderInteractive();
    const auto colorOf = [&](const osg::NodePtr& node) {
        const auto geometry = osg::GeometryPtr::dcast(node->getCore());
        return osg::UberMaterialPtr::dcast(geometry->getMaterial())
            ->getRaytracingAttributes()
            .materialIDColor;
    };
    const osg::Vec4f expected = colorOf(sphere);
    const ZN_RGBA32F shown = at(ZN_PASS_MATERIAL_ID, 32, 24);
    EXPECT_EQ(shown.r, expected[0]);
    EXPECT_EQ(shown.g, expected[1]);
    EXPECT_EQ(shown.b, expected[2]);
    EXPECT_EQ(shown.a, 1.0f);
    EXPECT_GT(contrast(shown, at(ZN_PASS_MATERIAL_ID, 60, 24)), 0.1f) << "the wall's is another";
}

TEST_F(RenderPasses, SkipWhatHasNoBuffer)
{
    resizeAll(48, 32);
    for (u32 i = 1; i < u32(znRenderPassCount); ++i)
        if (i != ZN_PASS_NORMAL)
            view.record.m_passBuffers[i] = nullptr;
    view.record.m_cryptomatte = nullptr;
    makeScene();
    for (const bool isStillFrame : {false, true}) {
        isStillFrame ? renderStill(1) : renderInteractive();
        EXPECT_NE(at(ZN_PASS_NORMAL, 24, 16).b, 0.0f);
        for (const u32 i : {ZN_PASS_MASK, ZN_PASS_POSITION, ZN_PASS_VIEW})
            EXPECT_EQ(at(i, 24, 16).b, 0.0f);
        EXPECT_TRUE(view.guardIsIntact());
    }
}

TEST_F(RenderPasses, CollectIdsOfObjectsAndMaterialsWithTheFilter)
{
    for (const int filter : {1, 3}) {
        camera->setFilterType(filter);
        camera->setFilterSizeX(filter == 1 ? 1.0f : 3.0f);
        camera->setFilterSizeY(filter == 1 ? 1.0f : 3.0f);
        resizeAll(64, 48);
        if (!sphere)
            makeScene();
        renderStill(4);
        matte.sort();
        const std::string path = getNodePaths(root.get()).at(sphere->getId());
        EXPECT_EQ(path, "/ball/node");
        const u32 ball = znRTCryptomatte::hash(path), paint = znRTCryptomatte::hash("red paint");
        const ZN_RGBA32F object = matte.getLayer(32, 24, 0), material = matte.getLayer(32, 24, 3);
        EXPECT_EQ(std::bit_cast<u32>(object.r), ball);
        EXPECT_NEAR(object.g, 1.0f, 1e-5f);
        EXPECT_EQ(std::bit_cast<u32>(material.r), paint);
        EXPECT_NEAR(material.g, 1.0f, 1e-5f);
        const ZN_RGBA32F behind = matte.getLayer(60, 24, 0), plaster = matte.getLayer(60, 24, 3);
        EXPECT_EQ(std::bit_cast<u32>(behind.r), znRTCryptomatte::hash("/wall/node"));
        EXPECT_EQ(std::bit_cast<u32>(plaster.r), znRTCryptomatte::hash("plaster"));
        // At a silhouette both objects take their shares, which make up the whole.
        u32 edges = 0;
        forEachPixel([&](u32 x, u32 y) {
            const ZN_RGBA32F c = matte.getLayer(int(x), int(y), 0);
            const ZN_RGBA32F rest = matte.getLayer(int(x), int(y), 1);
            ASSERT_NEAR(c.g + c.a + rest.g + rest.a, 1.0f, 1e-4f);
            edges += c.a > 0.05f;
        });
        EXPECT_GT(edges, 20u);
        EXPECT_NE(matte.getManifest(znRTCryptomatte::objects).find("/ball/node"),
                  std::string::npos);
        EXPECT_NE(matte.getManifest(znRTCryptomatte::materials).find("plaster"), std::string::npos);
    }
}

// The alpha of an object before nothing is its share of the pixel, under the same filter.
TEST_F(RenderPasses, GiveMattesTheCoverageThatTheBeautyShows)
{
    addNamed(makeSphere(48, 96), "ball", "red paint", 0, 0, 0);
    for (const int filter : {1, 3}) {
        camera->setFilterType(filter);
        camera->setFilterSizeX(filter == 1 ? 1.0f : 4.0f);
        camera->setFilterSizeY(filter == 1 ? 1.0f : 4.0f);
        resizeAll(64, 48);
        renderStill(4);
        matte.sort();
        const u32 id = znRTCryptomatte::hash("/ball/node");
        u32 partly = 0;
        forEachPixel([&](u32 x, u32 y) {
            const ZN_RGBA32F ranks = matte.getLayer(int(x), int(y), 0);
            const float coverage = std::bit_cast<u32>(ranks.r) == id   ? ranks.g
                                   : std::bit_cast<u32>(ranks.b) == id ? ranks.a
                                                                       : 0.0f;
            const std::size_t p = std::size_t(y) * 64 + x;
            ASSERT_NEAR(coverage, view.frame[p].a / view.filterWeights[p], 1e-4f) << x << ", " << y;
            partly += coverage > 0.1f && coverage < 0.9f;
        });
        EXPECT_GT(partly, 20u);
    }
}

// The lens skips pixels between the samples of a supersampled frame: its calls must be repeated
// until all are covered.
TEST_F(RenderPasses, CoverEveryPixelOfASupersampledFrame)
{
    for (const int s : {1, 2, 3}) {
        instance->setStillFrameSupersampling(s);
        resizeAll(50, 37);
        if (!sphere)
            makeScene();
        renderStill(1);
        ASSERT_EQ(Settings::s_stillFrameSupersampling, s);
        for (const float weight : view.filterWeights)
            ASSERT_EQ(weight, 1.0f) << s;
    }
}

// The pixels of a supersampled group share their row of random numbers, and each takes another
// number of it: the place in the group, counted in the order of the calls of the lens.
TEST_F(RenderPasses, NumberTheSamplesOfASupersampledGroup)
{
    instance->setStillFrameSupersampling(2);
    resizeAll(40, 36);
    add(makeSquare(30.0f));
    begin(true);
    SampleNumberMaterial material;
    for (znRTGeometryNode* node : znRTRenderUtils::getCurrentAccelerator()->getSceneNodes())
        node->setMaterial(&material);
    for (const u8 passesEnabled : {0, 1}) {
        SCOPED_TRACE(int(passesEnabled));
        znRTRenderTaskKey key;
        key.qualityMode = u32(Settings::stillFrame);
        key.passesEnabled = passesEnabled;
        const std::unique_ptr<znRTRenderTask> task(createDistributedTask(key));
        for (u32 i = 0; i < 4; ++i) {
            view.record.m_iteration = i;
            updateCamera();
            instance->updateRendertargets(&view.record, false);
            task->bind(view.record);
            for (const znRTRenderTile& tile : view.record.m_allTiles)
                task->traceTile(tile);
        }
        for (u32 y = 0; y < 36; ++y)
            for (u32 x = 0; x < 40; ++x) {
                const float expected = float(y % 2 * 2 + x % 2);
                ASSERT_EQ(view.pixel(x, y).r, expected)
                    << x << ", " << y << " alpha " << view.pixel(x, y).a;
                if (passesEnabled) {
                    ASSERT_EQ(at(ZN_PASS_INCANDESCENCE, x, y).r, expected) << x << ", " << y;
                }
            }
    }
    for (znRTGeometryNode* node : znRTRenderUtils::getCurrentAccelerator()->getSceneNodes())
        node->setMaterial(nullptr);
}

TEST_F(RenderPasses, ForgetTheMatteOfTheImageBefore)
{
    resizeAll(32, 24);
    makeScene();
    renderStill(1);
    sphere->getParent()->setHidden(true);
    renderStill(1);
    const u32 ball = znRTCryptomatte::hash("/ball/node");
    matte.sort();
    for (int layer = 0; layer < 3; ++layer)
        EXPECT_NE(std::bit_cast<u32>(matte.getLayer(16, 12, layer).r), ball);
}

// Indices of hits change with the scene; ids follow names.
TEST_F(RenderPasses, NameWhatCameBetweenTwoImages)
{
    resizeAll(32, 24);
    makeScene();
    renderStill(1);
    addNamed(makeSphere(16, 32), "bead", "glaze", 0, 0, 1.5);
    renderStill(1);
    matte.sort();
    EXPECT_EQ(std::bit_cast<u32>(matte.getLayer(16, 12, 0).r), znRTCryptomatte::hash("/bead/node"));
    EXPECT_EQ(std::bit_cast<u32>(matte.getLayer(16, 12, 3).r), znRTCryptomatte::hash("glaze"));
}

// What is asked for by mask comes back in the order of the passes, each finished by its own rules.
TEST_F(RenderPasses, ComeBackByMaskInTheFormatAskedFor)
{
    resizeAll(32, 24);
    makeScene();
    begin(true);
    accumulate(4, 1);
    const u64 mask = u64(1) << ZN_PASS_BEAUTY | u64(1) << ZN_PASS_NORMAL |
                     u64(1) << ZN_PASS_CRYPTO_OBJECT_00 | u64(1) << ZN_PASS_POSITION |
                     u64(1) << ZN_PASS_CRYPTO_MATERIAL_02;
    view.record.m_iteration = 3;
    instance->getSubFrame(&view.record, ZN_FORMAT_RGBA32F, false, 0); // this iteration is traced
    const std::vector<void*> images =
        instance->getRenderpassesSubFrame(&view.record, mask, ZN_FORMAT_RGBA32F, true, 0);
    ASSERT_EQ(images.size(), 5u);
    const auto pixel = [&](std::size_t image, u32 x, u32 y) {
        return static_cast<const ZN_RGBA32F*>(images[image])[y * 32 + x];
    };
    EXPECT_LT(contrast(pixel(1, 16, 12), at(ZN_PASS_NORMAL, 16, 12)), 1e-6f);
    EXPECT_EQ(std::bit_cast<u32>(pixel(2, 16, 12).r), znRTCryptomatte::hash("/ball/node"));
    EXPECT_EQ(pixel(3, 16, 12).a, 0.0f) << "no third rank here";
    EXPECT_LT(contrast(pixel(4, 16, 12), at(ZN_PASS_POSITION, 16, 12)), 1e-6f);
}

// One layer shown instead of the beauty is the buffer that it gets among all of them.
TEST_F(RenderPasses, AreTheSameShownOneByOne)
{
    resizeAll(64, 48);
    makeScene();
    begin();
    TermsMaterial material;
    for (znRTGeometryNode* node : znRTRenderUtils::getCurrentAccelerator()->getSceneNodes())
        node->setMaterial(&material);
    znRTRenderTaskKey key;
    key.qualityMode = u32(Settings::interactive);
    key.sampleClamp = 10.0f;
    const auto trace = [&](znRTRenderTask* made) {
        const std::unique_ptr<znRTRenderTask> task(made);
        task->bind(view.record);
        for (const znRTRenderTile& tile : view.record.m_allTiles)
            task->traceTile(tile);
    };
    key.passesEnabled = 1;
    trace(createDistributedTask(key));
    key.passesEnabled = 0;
    u32 filled = 0;
    for (u32 i = 1; i < u32(znRenderPassCount); ++i) {
        if (isCryptomattePass(i))
            continue;
        key.singlePass = i;
        key.sampleClamp = isDataPass(i) ? std::numeric_limits<float>::max() : 10.0f;
        trace(createDistributedPassesTask(key));
        for (std::size_t p = 0; p < layers[i].size(); ++p) {
            ASSERT_LT(contrast(view.frame[p], layers[i][p]), 1e-6f) << znRenderPassNames[i] << p;
            ASSERT_NEAR(view.frame[p].a, layers[i][p].a, 1e-6f) << znRenderPassNames[i] << p;
        }
        filled += at(i, 32, 24).r != 0.0f || at(i, 32, 24).b != 0.0f;
    }
    EXPECT_GE(filled, 24u) << "four lobes in light and colour, and the data layers";
    for (znRTGeometryNode* node : znRTRenderUtils::getCurrentAccelerator()->getSceneNodes())
        node->setMaterial(nullptr);
}

// A frame that is copied with plates must not get them into its layers.
TEST_F(RenderPasses, TakePlatesOnlyWhereTheyShowThem)
{
    GreyPlate plate;
    znRTRenderUtils::setBackground(&plate);
    resizeAll(32, 24);
    makeScene();
    renderInteractive();
    constexpr u32 plates = ZN_COPY_BACKPLATES | ZN_COPY_FRONTPLATES;
    std::vector<ZN_RGBA32F> image(32 * 24);
    for (const u32 i : {ZN_PASS_BEAUTY, ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_BACKPLATES,
                        ZN_PASS_FRONTPLATES, ZN_PASS_NORMAL}) {
        instance->applyImageProcessing(&view.record, view.record.m_passBuffers[i], image.data(),
                                       ZN_FORMAT_RGBA32F, false, 0, 32, 0, 24, i, plates, false);
        const bool showsPlate = i == ZN_PASS_BEAUTY || i == ZN_PASS_BACKPLATES;
        EXPECT_EQ(image[0].g, showsPlate ? 0.5f : 0.0f) << znRenderPassNames[i];
    }
    znRTRenderUtils::setBackground(nullptr);
}

// The region form traces by itself, and hands the passes of the mask out in their order.
TEST_F(RenderPasses, ComeAsRegionsInEveryFormat)
{
    resizeAll(48, 32);
    makeScene();
    const u64 mask = u64(1) << ZN_PASS_MASK | u64(1) << ZN_PASS_VIEW | u64(1) << ZN_PASS_DEPTH |
                     u64(1) << ZN_PASS_CRYPTO_OBJECT_00;
    begin();
    std::vector<void*> images = instance->getRenderpassesFrame(&view.record, mask, 0, 16, 8, 20, 12,
                                                               ZN_FORMAT_RGBA32F, true, 16, 0);
    ASSERT_EQ(images.size(), 4u);
    const auto* const depths = static_cast<const ZN_RGBA32F*>(images[0]);
    const auto* const masks = static_cast<const ZN_RGBA32F*>(images[2]);
    for (u32 y = 0; y < 12; ++y)
        for (u32 x = 0; x < 20; ++x) {
            EXPECT_EQ(depths[y * 20 + x].r, at(ZN_PASS_DEPTH, 16 + x, 8 + y).r);
            EXPECT_EQ(masks[y * 20 + x].g, at(ZN_PASS_MASK, 16 + x, 8 + y).g);
        }
    EXPECT_GT(depths[6 * 20 + 8].r, 0.0f);
    for (const auto& [format, size] : {std::pair{ZN_FORMAT_RGBA, 4},
                                       {ZN_FORMAT_RGB, 3},
                                       {ZN_FORMAT_RGB32F, 12},
                                       {ZN_FORMAT_BGRA, 4},
                                       {ZN_FORMAT_RGBA16F, 8},
                                       {ZN_FORMAT_RGBE, 4}}) {
        images = instance->getRenderpassesFrame(&view.record, u64(1) << ZN_PASS_MASK, 0, 16, 8, 20,
                                                12, format, true, 16, 0);
        ASSERT_EQ(images.size(), 1u);
        const u8* const pixel = static_cast<const u8*>(images[0]) + size * (6 * 20 + 8);
        EXPECT_TRUE(std::any_of(pixel, pixel + size, [](u8 byte) { return byte != 0; })) << format;
    }
    EXPECT_TRUE(instance
                    ->getRenderpassesFrame(&view.record, u64(1) << 50, 0, 0, 0, 8, 8,
                                           ZN_FORMAT_RGBA, true, 16, 0)
                    .empty());
}

// Values that have no mean are picked from the middle of what an output pixel covers.
TEST_F(RenderPasses, PickTheMiddleWhereTheOutputIsSmaller)
{
    resizeAll(60, 40);
    makeScene();
    renderStill(1);
    view.record.m_renderScale = 2.0f;
    const u64 mask = u64(1) << ZN_PASS_POSITION | u64(1) << ZN_PASS_CRYPTO_OBJECT_00;
    const std::vector<void*> images =
        instance->getRenderpassesSubFrame(&view.record, mask, ZN_FORMAT_RGBA32F, true, 0);
    view.record.m_renderScale = 1.0f;
    ASSERT_EQ(images.size(), 2u);
    const auto* const mattes = static_cast<const ZN_RGBA32F*>(images[0]);
    const auto* const places = static_cast<const ZN_RGBA32F*>(images[1]);
    for (u32 y = 0; y < 20; ++y)
        for (u32 x = 0; x < 30; ++x) {
            ASSERT_EQ(contrast(places[y * 30 + x], at(ZN_PASS_POSITION, 2 * x + 1, 2 * y + 1)),
                      0.0f);
            const ZN_RGBA32F expected = matte.getLayer(int(2 * x + 1), int(2 * y + 1), 0);
            ASSERT_EQ(std::memcmp(&mattes[y * 30 + x], &expected, sizeof expected), 0);
        }
}

// Tiles share no pixel but under a wide filter, where they take turns.
TEST_F(RenderPasses, AreTheSameForEveryNumberOfTasks)
{
    resizeAll(97, 65);
    makeScene();
    struct Frame
    {
        bool isStill;
        int filter;
    };
    const auto pixelsOf = [&](u32 layer) {
        std::vector<ZN_RGBA32F> pixels;
        forEachPixel([&](u32 x, u32 y) {
            pixels.push_back(
                isCryptomattePass(layer)
                    ? matte.getLayer(int(x), int(y), int(layer - ZN_PASS_CRYPTO_OBJECT_00))
                : layer == ZN_PASS_BEAUTY ? view.pixel(x, y)
                                          : at(layer, x, y));
        });
        return pixels;
    };
    for (const Frame& frame : {Frame{false, 1}, {true, 1}, {true, 3}, {true, 5}}) {
        camera->setFilterType(frame.filter);
        camera->setFilterSizeX(frame.filter == 1 ? 1.0f : 4.0f);
        camera->setFilterSizeY(frame.filter == 1 ? 1.0f : 4.0f);
        std::vector<ZN_RGBA32F> reference[znRenderPassCount];
        for (const u32 tasks : {1u, 2u, 5u}) {
            begin(frame.isStill);
            if (frame.isStill)
                accumulate(4, tasks);
            else
                ASSERT_FALSE(trace(tasks));
            matte.sort();
            for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
                const std::vector<ZN_RGBA32F> pixels = pixelsOf(i);
                if (tasks == 1)
                    reference[i] = pixels;
                ASSERT_EQ(std::memcmp(reference[i].data(), pixels.data(),
                                      pixels.size() * sizeof(ZN_RGBA32F)),
                          0)
                    << znRenderPassNames[i] << ", tasks " << tasks << ", filter " << frame.filter;
            }
        }
    }
}
