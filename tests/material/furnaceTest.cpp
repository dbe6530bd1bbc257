// Surfaces inside white surroundings: none may shine back more than it gets.

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "light/environmentFixture.h"
#include "materialFixture.h"

#include <string_view>

using namespace materialTest;

namespace {

constexpr double angles[] = {0.0, 60.0, 85.0};

class Furnace : public MaterialTest
{
protected:
    ~Furnace() override
    {
        scene.scene->clear();
        znRTRenderUtils::updateEnvironment();
        Settings::s_interactiveReflectionDepth = 4;
        Settings::s_interactiveQuality = 1;
    }

    /// White surroundings, as light and as what rays see.
    void surround(int illumination)
    {
        surroundings = environmentOf(greyEnvironment(8, 4, [](int, int) { return 1.0f; }));
        setIllumination(illumination, 1);
        Settings::s_interactiveQuality = 1;
        znRTMaterial::updateStaticSettings();
        scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
        znRTRenderUtils::updateEnvironment();
    }

    struct Mean
    {
        double value = 0.0, error = 0.0;
        bool isFinite = true;
    };
    /// Largest channel of what is seen under an angle from the vertical, with its standard error by
    /// eight parts.
    Mean seenUnder(double degrees, int samples)
    {
        const float s = float(std::sin(degrees * testPi / 180.0));
        const float c = float(std::cos(degrees * testPi / 180.0));
        const znRTRayDifferentialPacket ray(
            znRTRayPacket({0.2f + 2.0f * s, 0.1f, 2.0f * c}, znRTVector3fPacket(-s, 0.0f, -c)));
        constexpr int parts = 8;
        double sums[parts][3] = {};
        Mean mean;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket color = shade(ray, 15, i).color;
            for (int channel = 0; channel < 3; ++channel)
                for (int lane = 0; lane < 4; ++lane) {
                    const double value = double(color[channel][lane]);
                    mean.isFinite = mean.isFinite && std::isfinite(value) && value >= 0.0;
                    sums[i * parts / samples][channel] += value / (4.0 * samples / parts);
                }
        }
        for (int channel = 0; channel < 3; ++channel) {
            double sum = 0.0, squares = 0.0;
            for (const auto& part : sums) {
                sum += part[channel] / parts;
                squares += part[channel] * part[channel] / parts;
            }
            if (sum >= mean.value) {
                mean.value = sum;
                mean.error = std::sqrt(std::max(0.0, squares - sum * sum) / (parts - 1));
            }
        }
        return mean;
    }

    void expectNoGain(const char* name, const osg::MaterialPtr& material, int illumination)
    {
        surround(illumination);
        addSquare(material);
        for (const double angle : angles) {
            const Mean seen = seenUnder(angle, 1024);
            EXPECT_TRUE(seen.isFinite) << name << " at " << angle;
            EXPECT_LT(3.0 * seen.error, 0.05) << name << " at " << angle << ": too noisy to tell";
            EXPECT_LT(seen.value, 1.01 + 3.0 * seen.error)
                << name << " at " << angle << " degrees, illumination " << illumination;
        }
        scene.scene->clear();
        squares.clear();
        znRTRenderUtils::updateEnvironment();
    }

    osg::Ref<osg::USphereEnvironmentMaterial> surroundings;
};

PhongPtr phong(float diffuse, float glossy, float roughness)
{
    const PhongPtr material = makeDiffuse(diffuse);
    material->setGlossy(gray(glossy));
    material->setRoughness(roughness);
    return material;
}

/// As the host makes it.
template <class Material>
osg::MaterialPtr plain()
{
    return Material::create();
}

struct Kind
{
    const char* name;
    osg::MaterialPtr (*make)();
};

// Kinds that are lamps, surroundings or only pass others on are no surfaces, and left out. So are
// kinds whose colours are factors of maps: both are white where there are none.
const Kind kinds[] = {
    {"phong, matte", [] { return osg::MaterialPtr(phong(1.0f, 0.0f, 0.3f)); }},
    {"phong, shiny", [] { return osg::MaterialPtr(phong(0.0f, 1.0f, 0.2f)); }},
    {"phong, both", [] { return osg::MaterialPtr(phong(0.6f, 0.4f, 0.5f)); }},
    {"phong", &plain<osg::UPhongMaterial>},
    {"plastic", &plain<osg::UPlasticMaterial>},
    {"reflective plastic", &plain<osg::UReflectivePlasticMaterial>},
    {"triplanar", &plain<osg::UTriplanarMaterial>},
    {"reflective triplanar", &plain<osg::UReflectiveTriplanarMaterial>},
    {"velvet", &plain<osg::UVelvetMaterial>},
    {"woven cloth", &plain<osg::UWovenClothMaterial>},
    {"measured", &plain<osg::UMeasuredMaterial>},
    {"metallic paint", &plain<osg::UMetallicPaintMaterial>},
    {"unicolor paint", &plain<osg::UUnicolorPaintMaterial>},
    {"flipflop", &plain<osg::UFlipflopMaterial>},
    {"chrome", &plain<osg::UChromeMaterial>},
    {"line chrome", &plain<osg::ULineChromeMaterial>},
    {"brushed metal", &plain<osg::UBrushedMetalMaterial>},
    {"carbon", &plain<osg::UCarbonMaterial>},
    {"carbon 2d", &plain<osg::UCarbonMaterial2D>},
    {"glass", &plain<osg::UGlassMaterial>},
    {"tire", &plain<osg::UTireMaterial>},
    {"substance", &plain<osg::USubstanceMaterial>},
    {"shadow", &plain<osg::UShadowMaterial>},
    {"simple", &plain<osg::SimpleMaterial>},
    {"chunk", &plain<osg::ChunkMaterial>},
};

} // namespace

TEST_F(Furnace, GainsNothingFromSampledSurroundings)
{
    for (const Kind& kind : kinds)
        expectNoGain(kind.name, kind.make(), 2);
}

TEST_F(Furnace, GainsNothingFromFilteredSurroundings)
{
    for (const Kind& kind : kinds)
        if (std::string_view(kind.name).starts_with("phong"))
            expectNoGain(kind.name, kind.make(), 1);
}

// Toward the rim the gloss rises by its Fresnel term, and what lies below it loses as much.
TEST_F(Furnace, GainsNothingBelowAFilteredGloss)
{
    expectNoGain("plastic", osg::MaterialPtr(osg::UPlasticMaterial::create()), 1);
    expectNoGain("substance", osg::MaterialPtr(osg::USubstanceMaterial::create()), 1);
}

// Rays to other surfaces find none, and must not find the surroundings a second time.
TEST_F(Furnace, GainsNothingFromRaysThatFindNoSurface)
{
    for (const Kind& kind : kinds)
        expectNoGain(kind.name, kind.make(), 3);
}

// Slopes up to 45 degrees that change from texel to texel: normals turn away from the viewer, and
// the mirror directions below the surface.
TEST_F(Furnace, GainsNothingOnStrongBumps)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    std::vector<u8> texels(3 * 64, 200);
    for (std::size_t i = 0; i < 64; ++i) {
        texels[3 * i] = u8(i * 89 % 256);
        texels[3 * i + 1] = u8(i * 151 % 256);
    }
    ASSERT_TRUE(image->take(osg::Image::RGB, 8, 8, std::move(texels), osg::Image::UInt8));
    const osg::Ref<osg::UTextureSettings> texture(osg::UTextureSettings::create());
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setGamma(1.0f);
    for (const Kind& kind : kinds) {
        const osg::UBRDFMaterialPtr material = osg::UBRDFMaterialPtr::dcast(kind.make());
        if (!material)
            continue;
        const auto set = [&](const char* field, const osg::FieldVariant& value) {
            material->getType().findField(field)->write(*material, value);
        };
        set("bumpTexture", osg::FieldContainerPtr(texture.get()));
        set("bumpKind", 1);
        expectNoGain(kind.name, material, 2);
    }
}

// Facets lose the light of second bounces, the more the rougher they are. Seen from above a power
// of e = 100 keeps (e + 2) (e - 1) / ((e + 1) (e + 3)), and aluminium reflects 0.923 of blue.
TEST_F(Furnace, DarkensMetalWithItsRoughness)
{
    surround(2);
    const auto metal = osg::UChromeMaterial::create();
    metal->setFresnelTable(1);
    addSquare(metal);
    for (const double angle : {0.0, 60.0}) {
        double last = 2.0;
        for (const float roughness : {0.1f, 0.2f, 0.35f, 0.5f, 0.7f, 0.9f}) {
            metal->setRoughness(roughness);
            znRTMaterial::updateStaticSettings();
            scene.scene->applyMaterialChanges();
            const Mean seen = seenUnder(angle, 2048);
            EXPECT_LT(seen.value, last + 3.0 * seen.error) << angle << " " << roughness;
            if (angle == 0.0 && roughness == 0.1f) {
                EXPECT_NEAR(seen.value, 0.896, 0.01);
            }
            last = seen.value;
        }
        EXPECT_LT(last, 0.9) << angle;
    }
}

TEST_F(Furnace, ShowsTheReflectanceOfAMatteSurface)
{
    for (const int illumination : {2, 3}) {
        surround(illumination);
        addSquare(makeDiffuse(0.5f));
        for (const double angle : angles)
            EXPECT_NEAR(seenUnder(angle, 2048).value, 0.5, 0.005) << angle;
        scene.scene->clear();
        squares.clear();
        znRTRenderUtils::updateEnvironment();
    }
}
