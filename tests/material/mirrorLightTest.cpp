#include "material/mirrorLight.h"
#include "materialFixture.h"

#include "core/rayTypes.h"
#include "host/znRenderPasses.h"
#include "material/znRTChromeMaterial.h"

#include <pthread.h>
#include <random>

using namespace materialTest;

namespace {

using ChromePtr = osg::FCPtr<osg::UChromeMaterial>;

/// Smooth; a perfect mirror unless told otherwise.
ChromePtr makeMirror(float color, float reflectance = 1.0f)
{
    const ChromePtr material = osg::UChromeMaterial::create();
    material->setFresnelTable(255);
    material->setReflectance(reflectance);
    material->setReflection(gray(color));
    material->setRoughness(0.0f);
    return material;
}

class MirrorLight : public MaterialTest
{
protected:
    ~MirrorLight() override
    {
        znRTRenderUtils::s_backgroundColor = znRTColorPacket(0.0f);
        Settings::s_interactiveReflectionDepth = 2;
    }
    static void setBackground(float value)
    {
        znRTRenderUtils::s_backgroundColor = {value, value, value, 0.0f};
    }
    static void setDepth(int depth)
    {
        Settings::s_interactiveReflectionDepth = depth;
        znRTMaterial::updateStaticSettings();
    }
    /// Rays down from the height 1, between two squares.
    static znRTRayDifferentialPacket fromBetween()
    {
        return znRTRayDifferentialPacket(
            znRTRayPacket({0.2f, 0.1f, 1.0f}, znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    }
};

double random(std::mt19937& engine)
{
    return std::uniform_real_distribution<double>(-1.0, 1.0)(engine);
}

znRTVector3f randomDirection(std::mt19937& engine)
{
    const znRTVector3f v(float(random(engine)), float(random(engine)), float(random(engine)));
    return v.getNormalized();
}

} // namespace

// The mirrored direction is unit and above the surface, and the normal that belongs to it mirrors
// the ray there: r' = d - 2 (d.n') n'.
TEST_F(MirrorLight, NeverGoesBelowTheSurface)
{
    std::mt19937 engine(7);
    int lifted = 0;
    for (int i = 0; i < 2000; ++i) {
        const znRTVector3fPacket geometric(0.0f, 0.0f, 1.0f);
        znRTVector3f ray = randomDirection(engine);
        ray.z = -std::abs(ray.z) - 0.01f;
        const znRTVector3fPacket d(ray.getNormalized());
        const znRTVector3fPacket n(randomDirection(engine));
        const znRTVector3fPacket r = mirrorAboveSurface(d, n, geometric);
        EXPECT_NEAR(r.getLength()[0], 1.0f, 1e-5f);
        EXPECT_GE(r.z[0], -1e-6f);
        const znRTVector3fPacket half = normalOfMirror(d, r, n);
        EXPECT_LT(dot(half, d)[0], 0.0f);
        const znRTVector3fPacket again = d - half * (dot(d, half) * 2.0f);
        EXPECT_NEAR((again - r).getLength()[0], 0.0f, 2e-5f);
        const bool isUsable = n.z[0] > 0.0f && dot(n, d)[0] < 0.0f;
        const znRTVector3fPacket plain = d - n * (dot(d, n) * 2.0f);
        if (isUsable && plain.z[0] >= 0.0f)
            EXPECT_NEAR((plain - r).getLength()[0], 0.0f, 2e-5f);
        else
            ++lifted;
    }
    EXPECT_GT(lifted, 100);
}

// Reflectance of gold at normal incidence from its optical constants,
// ((n-1)^2 + k^2) / ((n+1)^2 + k^2): 0.929, 0.782, 0.388.
TEST_F(MirrorLight, ShowsWhatIsThereInTheColorOfTheMetal)
{
    constexpr u32 gold = 4;
    const ChromePtr metal = makeMirror(1.0f, 0.5f);
    metal->setFresnelTable(gold);
    addSquare(metal);
    const auto lamp = osg::ULightMaterial::create();
    lamp->setIntensity(4.0f);
    addSquare(lamp, 2.0f);
    const Shaded seen = shade(fromBetween());
    EXPECT_NEAR(seen.color.r[1], 4.0f * 0.929f, 0.01f);
    EXPECT_NEAR(seen.color.g[1], 4.0f * 0.782f, 0.01f);
    EXPECT_NEAR(seen.color.b[1], 4.0f * 0.388f, 0.01f);
    EXPECT_NEAR(seen.layer(ZN_PASS_SPECULAR_REFLECTION).g[1], seen.color.g[1], 1e-6f);
    EXPECT_NEAR(seen.layer(ZN_PASS_SPECULAR_COLOR).g[1], 0.782f, 0.003f);
    EXPECT_NEAR(seen.layer(ZN_PASS_SPECULAR_INDIRECT_ILLUMINATION).g[1], 4.0f, 1e-5f);
}

// An artificial metal of reflectance 0.5 reflects ((n-1)^2 + k^2) / ((n+1)^2 + k^2) = 0.5395, with
// n = (1 + sqrt(.5)) / (1 - sqrt(.5)) and k = 2 sqrt(.5 / (1 - .5)).
TEST_F(MirrorLight, TakesTheReflectanceWithoutAMetal)
{
    const ChromePtr metal = makeMirror(1.0f, 0.5f);
    auto& shading = static_cast<znRTChromeMaterial&>(addSquare(metal));
    setBackground(2.0f);
    EXPECT_TRUE(shading.getIsMirror());
    EXPECT_NEAR(shade().color.r[0], 2.0f * 0.5395f, 1e-3f);
    metal->setReflectance(1.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(shading.getIsMirror());
    EXPECT_NEAR(shade().color.r[0], 2.0f, 1e-5f);
}

// Each bounce multiplies with the colour. With a depth of n the rays go n times to and fro, and
// what the last mirror shows is the background: n + 1 reflections.
TEST_F(MirrorLight, EndsInTheSurroundingsAtTheDepthLimit)
{
    addSquare(makeMirror(0.9f));
    addSquare(makeMirror(0.9f), 2.0f);
    setBackground(1.0f);
    for (const int depth : {0, 1, 3, 10}) {
        setDepth(depth);
        scene.scene->updateMaterials();
        EXPECT_NEAR(shade(fromBetween()).color.g[0], std::pow(0.9, depth + 1), 1e-4) << depth;
    }
}

// A hundred reflections fit into the 4 MiB that threads of some systems have.
TEST_F(MirrorLight, FitsAHundredReflectionsOntoASmallStack)
{
    setDepth(100);
    addSquare(makeMirror(0.99f));
    addSquare(makeMirror(0.99f), 2.0f);
    setBackground(1.0f);
    float seen = 0.0f;
    auto work = [&] { seen = shade(fromBetween()).color.g[0]; };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t(4) << 20);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* f) -> void* {
                      (*static_cast<decltype(work)*>(f))();
                      return nullptr;
                  },
                  &work),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_NEAR(seen, std::pow(0.99, 101), 1e-3);
}

// Below the threshold of 0.0005 a path ends in interactive frames. In still frames it goes on by
// chance, here 0.0004 / 0.0005 = 0.8, and the mean of the samples is what it would have been.
TEST_F(MirrorLight, LeavesOutWhatIsTooDarkToSee)
{
    constexpr float color = 0.0004f;
    addSquare(makeMirror(color));
    setBackground(1.0f);
    EXPECT_EQ(shade().color.r[0], 0.0f);
    Settings::s_qualityMode = Settings::stillFrame;
    double sum = 0.0;
    int dark = 0;
    constexpr int samples = 512;
    for (int i = 0; i < samples; ++i) {
        const znRTColorPacket seen = shade(0.2f, 0.1f, 15, i).color;
        for (int lane = 0; lane < 4; ++lane) {
            sum += double(seen.r[lane]);
            dark += seen.r[lane] == 0.0f;
        }
    }
    EXPECT_NEAR(dark / (4.0 * samples), 0.2, 0.01);
    EXPECT_NEAR(sum / (4.0 * samples), color, 0.01 * color);
}

TEST_F(MirrorLight, TreatsEachLaneByItself)
{
    addSquare(makeMirror(0.8f, 0.7f));
    const PhongPtr diffuse = makeDiffuse(0.5f);
    addSquare(diffuse, 2.0f);
    addSun(180.0);
    setBackground(0.25f);
    const znRTVector3fPacket from({-0.9f, -0.2f, 0.3f, 0.8f}, {0.1f, 0.5f, -0.4f, -0.7f}, 1.0f);
    const znRTRayDifferentialPacket ray(
        znRTRayPacket(from, znRTVector3fPacket({0.0f, 0.4f, 0.9f, -0.1f}, 0.1f, -0.5f)));
    const znRTColorPacket whole = shade(ray).color;
    for (const int mask : {3, 12, 1, 2, 4, 8, 5}) {
        const znRTColorPacket part = shade(ray, mask).color;
        for (int lane = 0; lane < 4; ++lane)
            for (int channel = 0; channel < 3; ++channel)
                if (mask >> lane & 1) {
                    EXPECT_EQ(part[channel][lane], whole[channel][lane]) << mask << " " << lane;
                }
    }
}

// The record of lobes holds the mirror that the shade traced, and nothing else.
TEST_F(MirrorLight, EntersAMirrorWithoutDensity)
{
    znRTMaterial& shading = addSquare(makeMirror(0.8f));
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                             znRTMaterial::gather);
    EXPECT_EQ(surface.groups[0].count + surface.groups[1].count, 0u);
    ASSERT_EQ(surface.groups[2].count, 1u);
    EXPECT_LANES_NEAR(surface.groups[2].slots[0].color.r, 0.8f, 0.8f, 0.8f, 0.8f, 1e-6f);
    EXPECT_EQ(moveMask(surface.groups[2].slots[0].deltaMask), 15);
}

// Rough metal gathers its reflection wherever two rays in a row are allowed, even where the frame
// traces no other indirect light.
TEST_F(MirrorLight, GathersTheReflectionOfRoughMetal)
{
    setIllumination(2, 1);
    setDepth(2);
    const ChromePtr metal = makeMirror(0.8f);
    metal->setRoughness(0.2f);
    auto& shading = static_cast<znRTChromeMaterial&>(addSquare(metal));
    EXPECT_FALSE(shading.isSmooth());
    EXPECT_TRUE(shading.getState().traceIndirect);
    setDepth(1);
    scene.scene->updateMaterials();
    EXPECT_FALSE(shading.getState().traceIndirect);
}

// Frame, object space and footprint; and derivatives where tangents do not come with the vertices.
TEST_F(MirrorLight, AsksForWhatItsRaysNeed)
{
    const ChromePtr metal = makeMirror(0.8f);
    const znRTMaterial& shading = addSquare(metal);
    EXPECT_EQ(shading.getShadingRequirements(), 27u);
    metal->setUsesVertexTangents(true);
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(shading.getShadingRequirements(), 19u);
}
