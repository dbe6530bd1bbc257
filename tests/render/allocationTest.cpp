// No allocation while a tile is traced. The program's own malloc counts what one thread asks for
// between two marks; everything in the process ends there, operator new included.

#include "host/osg/Image.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/UTextureSettings.h"
#include "host/osg/UberLight.h"
#include "host/znRTCryptomatte.h"
#include "host/znRenderPasses.h"
#include "render/znRTIntegratorTable.h"
#include "renderFixture.h"

#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZN_SANITIZED 1
#else
#define ZN_SANITIZED 0
#endif
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#undef ZN_SANITIZED
#define ZN_SANITIZED 1
#endif
#endif

#if !ZN_SANITIZED

namespace {

thread_local bool s_isCounting = false;
thread_local std::size_t s_allocations = 0;

} // namespace

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* scalable_aligned_malloc(std::size_t size, std::size_t alignment);

void* malloc(std::size_t size)
{
    s_allocations += s_isCounting;
    return __libc_malloc(size);
}

void* realloc(void* block, std::size_t size)
{
    s_allocations += s_isCounting;
    return __libc_realloc(block, size);
}

} // extern "C"

// Takes the place of the host's function for all libraries of this program.
void* zn_aligned_malloc(u64 size, u64 alignment)
{
    s_allocations += s_isCounting;
    return scalable_aligned_malloc(size ? size : 1, alignment);
}

using namespace renderTest;
using Settings = znRTRaytracingSettings;

namespace {

class TileAllocations : public RenderTest
{
protected:
    std::size_t countInTiles(bool stillFrame, int samples, bool traceAndCopy)
    {
        instance->setInteractiveImageSamples(samples);
        view.record.m_traceAndCopy = traceAndCopy;
        resize(64, 48);
        begin(stillFrame);
        EXPECT_EQ(Settings::s_interactiveImageSamples, samples);
        std::vector<ZN_RGBA32F> output(64 * 48);
        view.record.m_frameOutput = output.data();
        view.record.m_frameOutputSize = output.size() * sizeof(ZN_RGBA32F);
        ensureRenderTask(view.record.m_renderTask, view.record, 182);
        znRTRenderTask& task = *view.record.m_renderTask;
        task.gridX1 = task.gridWidth = 64;
        task.gridY1 = task.gridHeight = 48;
        for (const znRTRenderTile& tile : view.record.m_allTiles)
            task.traceTile(tile); // what is made at the first use of a thread is not counted
        s_allocations = 0;
        s_isCounting = true;
        for (const znRTRenderTile& tile : view.record.m_allTiles)
            task.traceTile(tile);
        s_isCounting = false;
        view.record.m_frameOutput = nullptr;
        view.record.m_frameOutputSize = 0;
        view.record.m_traceAndCopy = 0;
        instance->setInteractiveImageSamples(1);
        return s_allocations;
    }
};

} // namespace

TEST_F(TileAllocations, AreNone)
{
    add(makeSphere(16, 32));
    EXPECT_EQ(countInTiles(false, 1, false), 0u);
    EXPECT_EQ(countInTiles(false, 4, false), 0u);
    EXPECT_EQ(countInTiles(false, 2, true), 0u);
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
}

TEST_F(TileAllocations, AreNoneInOtherDisplays)
{
    add(makeSphere(16, 32));
    view.record.m_renderMode = ZN_RENDER_DISCONTINUITY;
    EXPECT_EQ(countInTiles(false, 1, false), 0u);
    view.record.m_renderMode = ZN_RENDER_OCCLUSION;
    EXPECT_EQ(countInTiles(false, 1, false), 0u);
    view.record.m_renderMode = ZN_RENDER_BEAUTY;
    view.record.m_currentPass = ZN_PASS_NORMAL;
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
    view.record.m_currentPass = 0;
    instance->setRenderer(5);
    EXPECT_EQ(countInTiles(false, 1, true), 0u);
    EXPECT_STREQ(view.record.m_renderTask->integrator->name, "znRTDebugIntegrator");
    instance->setRenderer(0);
}

TEST_F(TileAllocations, AreNoneWithLayersAndMattes)
{
    add(makeSphere(16, 32));
    constexpr std::size_t pixels = 64 * 48;
    std::vector<ZN_RGBA32F> layers(znRenderPassCount * pixels);
    znRTCryptomatte matte(64, 48);
    for (u32 i = 1; i < u32(znRenderPassCount); ++i)
        if (!isCryptomattePass(i))
            view.record.m_passBuffers[i] = &layers[i * pixels];
    view.record.m_cryptomatte = &matte;
    view.record.m_renderPassesEnabled = 1;
    EXPECT_EQ(countInTiles(false, 1, false), 0u);
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
    camera->setFilterType(3);
    camera->setFilterSizeX(4.0f);
    camera->setFilterSizeY(4.0f);
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
}

TEST_F(TileAllocations, AreNoneOnPathsOfLight)
{
    const osg::GeometryPtr sphere = makeSphere(16, 32), floor = makeSquare(3.0f);
    for (const osg::GeometryPtr& geometry : {sphere, floor})
        geometry->setMaterial(osg::UPhongMaterial::create());
    add(sphere, 0, 0, 1);
    add(floor);
    const auto sun = osg::UDirectionalLight::create();
    add(sun);
    view.record.m_renderMode = ZN_RENDER_BEAUTY;
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
    EXPECT_TRUE(znRTRenderUtils::getLights().size == 1);
}

TEST_F(TileAllocations, AreNoneOnUnevenSurfaces)
{
    const osg::Ref<osg::Image> heights = osg::Image::create();
    heights->take(osg::Image::L, 4, 4, std::vector<u8>(16, 100), osg::Image::UInt8);
    const osg::Ref<osg::UTextureSettings> relief = osg::UTextureSettings::create();
    relief->setImage(heights.get());
    relief->setIsActive(true);
    std::vector<osg::MaterialPtr> materials;
    for (int type = 1; type <= 5; ++type) {
        const auto computed = osg::UPlasticMaterial::create();
        computed->setStructureType(type);
        materials.emplace_back(computed);
    }
    for (const int mapping : {0, 1, 2})
        for (const int mode : {0, 1, 2}) {
            const auto textured = osg::UPlasticMaterial::create();
            const osg::Ref<osg::UTextureSettings> slot = osg::UTextureSettings::create();
            slot->setImage(heights.get());
            slot->setIsActive(true);
            slot->setMappingType(mapping);
            textured->setBumpTexture(slot.get());
            textured->setBumpMode(mode);
            textured->setParallaxDepth(0.1f);
            materials.emplace_back(textured);
        }
    for (const int mode : {0, 1, 2}) {
        const auto brushed = osg::UBrushedMetalMaterial::create();
        brushed->setBrushMode(mode);
        brushed->setAnisotropyTexture(relief.get());
        materials.emplace_back(brushed);
    }
    materials.emplace_back(osg::UCarbonMaterial::create());
    materials.emplace_back(osg::UCarbonMaterial2D::create());
    const auto rounded = osg::UPlasticMaterial::create();
    rounded->setRoundedEdgeActive(true);
    materials.emplace_back(rounded);
    // Spheres that stick into each other: the picture shows a cell of each.
    std::vector<osg::Vec2f> uv;
    for (int i = 0; i < 9 * 13; ++i)
        uv.emplace_back(float(i % 13) / 12.0f, float(i / 13) / 8.0f);
    std::vector<osg::GeometryPtr> spheres;
    for (std::size_t i = 0; i < materials.size(); ++i) {
        spheres.push_back(makeSphere(8, 12));
        spheres.back()->setTexCoords(osg::GeoProperty::create(std::span<const osg::Vec2f>(uv)));
        spheres.back()->setMaterial(materials[i]);
        const osg::NodePtr node =
            add(spheres.back(), 0.3 * double(i % 5) - 0.6, 0.3 * double(i / 5) - 0.6);
        const osg::Ref<osg::RaytracingGeoAttachment> edges = osg::RaytracingGeoAttachment::create();
        edges->setRoundedEdgeRadius(0.2f);
        node->addAttachment(edges.get());
    }
    const auto sun = osg::UDirectionalLight::create();
    add(sun);
    view.record.m_renderMode = ZN_RENDER_BEAUTY;
    EXPECT_EQ(countInTiles(true, 1, false), 0u);
}

TEST_F(TileAllocations, WouldBeSeen)
{
    s_allocations = 0;
    s_isCounting = true;
    void* volatile block = std::malloc(16);
    std::vector<int>* volatile list = new std::vector<int>(100);
    void* volatile aligned = zn_aligned_malloc(64, 64);
    s_isCounting = false;
    EXPECT_EQ(s_allocations, 4u);
    std::free(block);
    delete list;
    zn_aligned_free(aligned);
}

#endif
