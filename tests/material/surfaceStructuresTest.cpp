// Which structure a material gets from its record, and what shading makes of it.

#include "material/surfaceStructures.h"

#include "core/shadingRequirements.h"
#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "materialFixture.h"

#include <string>

using namespace materialTest;

namespace {

using TexturePtr = osg::Ref<osg::UTextureSettings>;

/// 64 x 64 grey texels; 8 bits.
template <class Texel>
TexturePtr makeHeights(Texel&& texel)
{
    std::vector<u8> texels;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x)
            texels.push_back(texel(x, y));
    const osg::Ref<osg::Image> image = osg::Image::create();
    EXPECT_TRUE(image->take(osg::Image::L, 64, 64, std::move(texels), osg::Image::UInt8));
    const TexturePtr texture = osg::UTextureSettings::create();
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setWrapS(znRTTextureSampler::clamp);
    texture->setWrapT(znRTTextureSampler::clamp);
    return texture;
}

class SurfaceStructures : public MaterialTest
{
protected:
    std::string structureOf(const osg::MaterialPtr& material)
    {
        return addSquare(material).getSurfaceStructure().getTypeId().getName();
    }
    template <class Host>
    std::string structureOf(int type, float amount = 0.1f)
    {
        const auto material = Host::create();
        material->setStructureType(type);
        material->setStructureAmount(amount);
        return structureOf(osg::MaterialPtr(material.get()));
    }
};

} // namespace

TEST_F(SurfaceStructures, FollowTheRecord)
{
    EXPECT_EQ(structureOf<osg::UPlasticMaterial>(0), "znRTCleanSurface");
    EXPECT_EQ(structureOf<osg::UPlasticMaterial>(1), "znRTSimplex3DStructure");
    EXPECT_EQ(structureOf<osg::UReflectivePlasticMaterial>(2), "znRTSparkle3DStructure");
    EXPECT_EQ(structureOf<osg::UTriplanarMaterial>(3), "znRTCellularSparkle3DStructure");
    EXPECT_EQ(structureOf<osg::UReflectiveTriplanarMaterial>(4), "znRTNoise2DHeightStructure");
    EXPECT_EQ(structureOf<osg::UPlasticMaterial>(5), "znRTNoise2DStructure");
    // The cheapest class that shows it.
    EXPECT_EQ(structureOf<osg::UPlasticMaterial>(1, 0.0f), "znRTCleanSurface");

    const auto brushed = osg::UBrushedMetalMaterial::create();
    const char* const strokes[] = {"znRTBrushed3DStructure", "znRTPlanar3DStructure",
                                   "znRTRadial3DStructure"};
    for (int mode = 0; mode < 3; ++mode) {
        brushed->setBrushMode(mode);
        EXPECT_EQ(brushStructureOf(brushed->getRaytracingAttributes())->getTypeId().getName(),
                  std::string(strokes[mode]));
    }
    const auto carbon = osg::UCarbonMaterial::create();
    EXPECT_EQ(carbonStructureOf(carbon->getRaytracingAttributes())->getTypeId().getName(),
              std::string("znRTCarbon3DStructure"));
    const auto flat = osg::UCarbonMaterial2D::create();
    EXPECT_EQ(::structureOf(flat->getRaytracingAttributes())->getTypeId().getName(),
              std::string("znRTCarbon2DStructure"));
}

TEST_F(SurfaceStructures, OfImagesComeFirst)
{
    const auto slope = [](int x, int) { return u8(4 * x); };
    const char* const classes[] = {"znRTBumpTexture", "znRTParallaxMappingTexture",
                                   "znRTParallaxOcclusionTexture"};
    for (int mode = 0; mode < 3; ++mode) {
        const auto material = osg::UPlasticMaterial::create();
        material->setStructureType(1);
        material->setBumpTexture(makeHeights(slope).get());
        material->setBumpMode(mode);
        EXPECT_EQ(structureOf(osg::MaterialPtr(material.get())), classes[mode]);
    }
    const PhongPtr phong = makeDiffuse(0.5f);
    phong->setBumpTexture(makeHeights(slope).get());
    EXPECT_EQ(structureOf(phong), "znRTBumpTexture");
    phong->setBumpAmplitude(0.0f);
    EXPECT_EQ(::structureOf(phong->getRaytracingAttributes())->getTypeId().getName(),
              std::string("znRTCleanSurface"));
}

// Under a sun straight above a white plane reflects 1; where normals lean by a, cos a.
TEST_F(SurfaceStructures, BendTheLightOfAHit)
{
    const auto material = osg::UPlasticMaterial::create();
    material->setDiffuse(gray(1.0f));
    material->setGlossy(gray(0.0f));
    material->setStructureType(2);
    material->setStructureAmount(0.5f);
    material->setStructureScale(10.0f);
    const znRTMaterial& square = addSquare(osg::MaterialPtr(material.get()));
    EXPECT_EQ(square.getShadingRequirements() & shadingRequirement::surfaceDefault,
              shadingRequirement::surfaceDefault);
    addSun();
    float least = 1e9f, most = 0.0f;
    for (int i = 0; i < 40; ++i) {
        const znFloatType<2> x(-0.9f + 0.041f * float(i));
        const znRTColorPacket seen = shade(x, {0.11f, -0.33f, 0.57f, -0.71f}).color;
        for (int lane = 0; lane < 4; ++lane) {
            least = std::min(least, seen.r[lane]);
            most = std::max(most, seen.r[lane]);
        }
    }
    // atan 0.5 is the largest lean: its cosine is 0.894.
    EXPECT_LT(least, 0.93f * most);
    EXPECT_GT(least, 0.88f * most);
}

// With white heights no coordinate moves; with black ones colours are read a depth further, and the
// block has its own coordinates back.
TEST_F(SurfaceStructures, ShiftColoursByParallax)
{
    const auto seenWith = [&](u8 height) {
        const PhongPtr material = makeDiffuse(1.0f);
        material->setDiffuseTexture(
            makeHeights([](int x, int) { return x < 32 ? u8(0) : u8(255); }).get());
        material->setBumpTexture(makeHeights([&](int, int) { return height; }).get());
        material->setBumpMode(1);
        material->setParallaxDepth(0.2f);
        scene.scene->clear();
        suns.clear();
        addSquare(material);
        addSun();
        // To +x, one to one: 0.2 along u, which is 0.4 along x.
        const znFloatType<2> x(-0.3f, -0.1f, 0.2f, -0.5f);
        const znRTRayDifferentialPacket ray(
            znRTRayPacket(znRTVector3fPacket(x - 1.0f, 0.1f, 1.0f), {1.0f, 0.0f, -1.0f}));
        znRTDataBlockPacket data = blockOf(ray);
        const znRTVector2fPacket before = data.dg.uv;
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        data.materials[0]->shade(ray, data, fragment, znFloatType<2>::allLanes(), state);
        EXPECT_EQ(data.dg.uv.x[0], before.x[0]);
        return fragment.colour.r;
    };
    const znFloatType<2> flat = seenWith(255), deep = seenWith(0);
    EXPECT_LANES_NEAR(flat, 0.0f, 0.0f, flat[2], 0.0f, 1e-4f);
    EXPECT_GT(flat[2], 0.5f);
    EXPECT_LANES_NEAR(deep, flat[2], flat[2], flat[2], 0.0f, 1e-2f);
}
