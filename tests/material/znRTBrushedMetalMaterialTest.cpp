// Brushed metal under one sun: how wide the highlight is along the strokes and across them.

#include "material/znRTBrushedMetalMaterial.h"

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "materialFixture.h"

using namespace materialTest;

namespace {

using BrushedPtr = osg::FCPtr<osg::UBrushedMetalMaterial>;

class BrushedMetal : public MaterialTest
{
protected:
    /// A perfect reflector without a coat; strokes along y, not uneven, so that all places look
    /// alike.
    static BrushedPtr makeBrushed(float along, float across, int model)
    {
        const BrushedPtr material = osg::UBrushedMetalMaterial::create();
        material->setFresnelTable(255);
        material->setReflectance(1.0f);
        material->setGlossy(gray(1.0f));
        material->setDiffuse(gray(0.0f));
        material->setClearcoatReflectance(0.0f);
        material->setModel(model);
        material->setBrushMode(0);
        material->setBrushAxis(osg::Vec3f(0, 1, 0));
        material->setStructureAmount(0.0f);
        material->setRoughness(along);
        material->setRoughnessV(across);
        return material;
    }
    /// What is seen at an angle from the vertical, toward x or y, of a sun straight above.
    float seenFrom(double degrees, bool towardY)
    {
        const float s = float(std::sin(degrees * testPi / 180.0));
        const float c = float(std::cos(degrees * testPi / 180.0));
        const znRTVector3fPacket direction =
            towardY ? znRTVector3fPacket(0.0f, s, -c) : znRTVector3fPacket(s, 0.0f, -c);
        const znRTVector3fPacket hit(znFloatType<2>(0.2f), znFloatType<2>(0.1f),
                                     znFloatType<2>(0.0f));
        return shade(znRTRayDifferentialPacket(znRTRayPacket(hit - direction, direction)))
            .color.r[0];
    }
    /// Square root of the fall of the highlight from the middle to half vectors at 10 degrees: it
    /// grows as the sharpness of the lobe does.
    double sharpness(bool alongStrokes)
    {
        return std::sqrt(
            std::log(double(seenFrom(0.0, false)) / double(seenFrom(20.0, alongStrokes))));
    }
};

/// Grey texels all alike, as data.
osg::Ref<osg::UTextureSettings> makeGrey(u8 value)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    image->take(osg::Image::L, 1, 1, std::vector<u8>{value}, osg::Image::UInt8);
    const osg::Ref<osg::UTextureSettings> texture = osg::UTextureSettings::create();
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setGamma(1.0f);
    return texture;
}

} // namespace

// Exponents are 1 / r^2, and the lobe falls as cos^e: its logarithm at one angle is in proportion
// to e, whatever the norms are.
TEST_F(BrushedMetal, StretchesHighlightsAcrossTheStrokes)
{
    const BrushedPtr material = makeBrushed(0.1f, 0.3f, 0);
    addSquare(material);
    addSun();
    EXPECT_NEAR(sharpness(true) / sharpness(false), 3.0, 0.15);
    // Strokes along x.
    material->setBrushAxis(osg::Vec3f(1, 0, 0));
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(sharpness(true) / sharpness(false), 1.0 / 3.0, 0.02);
    // The axes turned by a quarter against the strokes.
    material->setAnisotropyAngle(90.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(sharpness(true) / sharpness(false), 3.0, 0.15);
}

TEST_F(BrushedMetal, FollowsCoordinatesWhereItIsToldTo)
{
    const BrushedPtr material = makeBrushed(0.1f, 0.3f, 0); // strokes along y, coordinates along x
    material->setUsesVertexTangents(true);
    addSquare(material);
    addSun();
    EXPECT_NEAR(sharpness(true) / sharpness(false), 1.0 / 3.0, 0.02);
}

// The lobe of facets falls as (1 + tan^2 / a^2)^-2: the roughness is the slope itself.
TEST_F(BrushedMetal, ReadsSlopesForTheModelOfFacets)
{
    addSquare(makeBrushed(0.1f, 0.4f, 1));
    addSun();
    const double tangent = std::tan(10.0 * testPi / 180.0);
    const auto fall = [&](double a) { return std::pow(1.0 + tangent * tangent / (a * a), 2.0); };
    const double wide = double(seenFrom(0.0, false)) / double(seenFrom(20.0, false));
    const double sharp = double(seenFrom(0.0, false)) / double(seenFrom(20.0, true));
    // Masking and the cosine of the view are the same either way within a percent or two.
    EXPECT_NEAR(sharp / wide / (fall(0.1) / fall(0.4)), 1.0, 0.05);
}

// Images of glossiness for either axis give what numbers give.
TEST_F(BrushedMetal, TakesWidthsFromImages)
{
    for (const int model : {0, 1}) {
        const BrushedPtr numbers =
            makeBrushed(1.0f - 204.0f / 255.0f, 1.0f - 153.0f / 255.0f, model);
        const BrushedPtr images = makeBrushed(0.9f, 0.9f, model);
        images->setGlossinessTexture(makeGrey(204).get());
        images->setAnisotropyTexture(makeGrey(153).get());
        const BrushedPtr kept = makeBrushed(0.1f, 0.2f, model); // twice as wide across
        kept->setGlossinessTexture(makeGrey(204).get());
        std::vector<std::vector<float>> seen;
        for (const BrushedPtr& material : {numbers, images, kept}) {
            scene.scene->clear();
            addSquare(material);
            addSun();
            seen.push_back({seenFrom(0.0, false), seenFrom(30.0, false), seenFrom(30.0, true)});
        }
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_GT(seen[0][i], 0.01f);
            EXPECT_NEAR(seen[1][i] / seen[0][i], 1.0f, 1e-3f) << model << i;
            EXPECT_NEAR(seen[2][i] / seen[0][i], 1.0f, 1e-3f) << model << i;
        }
    }
}

TEST_F(BrushedMetal, DescribesTheSameSurfaceToRaysByChance)
{
    const BrushedPtr material = makeBrushed(0.1f, 0.3f, 1);
    material->setDiffuse(gray(0.2f));
    material->setClearcoatReflectance(0.04f);
    const znRTMaterial& shading = addSquare(material);
    EXPECT_TRUE(shading.isOfType(znRTBrushedMetalMaterial::id));
    znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
    znRTDataBlockPacket data = blockOf(ray);
    znRTSurfaceProperties surface;
    surface.reset();
    znRTShadingState state = stateOf(0);
    shading.evaluateMaterial(ray, data, surface, znFloatType<2>::allLanes(), state, -1,
                             znRTMaterial::EvaluationType{});
    EXPECT_EQ(surface.groups[0].count, 1u);
    EXPECT_EQ(surface.groups[1].count, 1u);
    EXPECT_EQ(surface.groups[2].count, 1u);
    EXPECT_LANES_NEAR(absolute(surface.groups[1].onb.u.y), 1, 1, 1, 1, 1e-5f);
    // What the coat reflects is missing below it.
    EXPECT_LANES_NEAR(surface.groups[0].slots[0].color.r, 0.192f, 0.192f, 0.192f, 0.192f, 1e-4f);
}
