// Parallax by images of heights that lie in any way, and what it does to images that lie in any
// other way.

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "materialFixture.h"

#include <functional>

using namespace materialTest;

namespace {

using TexturePtr = osg::Ref<osg::UTextureSettings>;

constexpr u32 size = 64;

TexturePtr makeTexture(const std::function<u8(int)>& texel)
{
    std::vector<u8> texels;
    for (u32 i = 0; i < size * size; ++i)
        texels.push_back(texel(int(i % size)));
    const osg::Ref<osg::Image> image = osg::Image::create();
    EXPECT_TRUE(image->take(osg::Image::L, size, size, std::move(texels), osg::Image::UInt8));
    const TexturePtr texture = osg::UTextureSettings::create();
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setGamma(1.0f);
    texture->setWrapS(znRTTextureSampler::clamp);
    texture->setWrapT(znRTTextureSampler::clamp);
    return texture;
}

/// All lay an image over the square in the same way.
enum Mapping { byFirstSet, byThirdSet, byPlane, byAxes };
constexpr Mapping allMappings[] = {byFirstSet, byThirdSet, byPlane, byAxes};

void lay(const TexturePtr& texture, Mapping mapping)
{
    texture->setUvSet(mapping == byThirdSet ? 2 : 0);
    texture->setMappingType(mapping == byPlane  ? znRTTextureAttributes::mappingProjection
                            : mapping == byAxes ? znRTTextureAttributes::mappingTriplanar
                                                : znRTTextureAttributes::mappingUV);
    osg::Matrix overSquare;
    overSquare[0][0] = overSquare[1][1] = 0.5f;
    overSquare[3][0] = overSquare[3][1] = 0.5f;
    texture->setProjection(overSquare);
}

class ParallaxMappings : public MaterialTest
{
protected:
    ParallaxMappings()
    {
        // Half a turn about the vertical: mappings go with the object.
        osg::Matrix half;
        half[0][0] = half[1][1] = -1.0f;
        squares.push_back(makeSquare());
        const std::vector<osg::Vec2f> whole = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
        squares.back()->setTexCoordSet(
            2, osg::GeoProperty::create(std::span<const osg::Vec2f>(whole)));
        const auto axes = osg::UTriplanarSettings::create();
        axes->setTextureSize(osg::Vec2f(2.0f, 2.0f));
        axes->setOffsetU(osg::Vec3f(0.5f, 0.5f, 0.5f));
        axes->setOffsetV(osg::Vec3f(0.5f, 0.5f, 0.5f));
        material->setTriplanar(axes);
        material->setParallaxDepth(0.2f);
        squares.back()->setMaterial(material);
        scene.add(squares.back().get(), half);
        scene.scene->initMaterials();
        scene.build();
        addSun();
    }
    /// What rays see that go down and to the left one to one: along u of the object.
    float seenAt(float x)
    {
        scene.scene->applyMaterialChanges();
        const znRTRayDifferentialPacket ray(
            znRTRayPacket(znRTVector3fPacket(x + 1.0f, 0.1f, 1.0f), {-1.0f, 0.0f, -1.0f}));
        return shade(ray).color.r[2];
    }

    const PhongPtr material = makeDiffuse(1.0f);
};

} // namespace

// Black heights lie a depth of 0.2 below, as a length along u: 0.4 in space, so that a slanted ray
// sees what lies 0.4 further. The left half of the image is black, its right half white; x runs
// against u.
TEST_F(ParallaxMappings, ShiftAllImagesAlike)
{
    for (const int mode : {1, 2})
        for (const Mapping heights : allMappings)
            for (const Mapping colors : allMappings) {
                SCOPED_TRACE(testing::Message() << mode << ' ' << heights << ' ' << colors);
                const TexturePtr low = makeTexture([](int) { return u8(0); });
                const TexturePtr high = makeTexture([](int) { return u8(255); });
                const TexturePtr color = makeTexture([](int x) { return u8(x < 32 ? 0 : 255); });
                lay(low, heights);
                lay(high, heights);
                lay(color, colors);
                material->setDiffuseTexture(color.get());
                material->setBumpMode(mode);
                material->setBumpTexture(high.get());
                EXPECT_NEAR(seenAt(0.35f), 0.0f, 1e-5f);
                EXPECT_NEAR(seenAt(-0.05f), 1.0f, 1e-5f);
                material->setBumpTexture(low.get());
                EXPECT_NEAR(seenAt(0.45f), 0.0f, 1e-5f);
                EXPECT_NEAR(seenAt(0.35f), 1.0f, 1e-5f);
            }
}

// Normals are read at the same place as colours: a map that leans to +u in its right half, under a
// sun that stands toward -x, which is +u of the turned object.
TEST_F(ParallaxMappings, ReadNormalsWhereColoursAreRead)
{
    std::vector<u8> texels;
    for (u32 i = 0; i < size * size; ++i) {
        const bool isRight = i % size >= size / 2;
        texels.insert(texels.end(), {u8(isRight ? 153 : 128), 128, u8(isRight ? 250 : 255), 0});
    }
    const osg::Ref<osg::Image> image = osg::Image::create();
    EXPECT_TRUE(image->take(osg::Image::RGBA, size, size, std::move(texels), osg::Image::UInt8));
    material->setBumpKind(1);
    addSun(-60.0);
    for (const int mode : {0, 1, 2})
        for (const Mapping mapping : allMappings) {
            SCOPED_TRACE(testing::Message() << mode << ' ' << mapping);
            const TexturePtr map = makeTexture([](int) { return u8(0); });
            map->setImage(image.get());
            lay(map, mapping);
            material->setBumpTexture(map.get());
            material->setBumpMode(mode);
            // Cosines toward both suns; texels 153 and 250 lean by 0.2 over 0.9608.
            const double z = 2.0 * 250.0 / 255.0 - 1.0, length = std::hypot(0.2, z);
            const double flat = 1.5, leaning = (1.5 * z + 0.2 * std::sqrt(0.75)) / length;
            EXPECT_NEAR(seenAt(0.45f), flat, 1e-4);
            EXPECT_NEAR(seenAt(0.2f), mode == 0 ? flat : leaning, 1e-4);
            EXPECT_NEAR(seenAt(-0.1f), leaning, 1e-4);
        }
}
