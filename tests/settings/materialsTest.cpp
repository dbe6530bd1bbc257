// The material containers: what the factory makes, who descends from whom, and that the record
// follows the fields.

#include "host/osg/Materials.h"
#include "host/osg/UTextureSettings.h"
#include "host/znSceneDataManager.h"

#include <cmath>
#include <gtest/gtest.h>

#include <map>
#include <numbers>
#include <set>

namespace {

using osg::FieldContainerFactory;

/// In the order in which the core looks for the first type that fits.
const char* const materialTypes[] = {"UPhongMaterial",
                                     "UVelvetMaterial",
                                     "UWovenClothMaterial",
                                     "UMeasuredMaterial",
                                     "UMeasuredCarpaintMaterial",
                                     "UMeasuredCarpaint2Material",
                                     "UOCSMaterial",
                                     "UMetallicPaintMaterial",
                                     "UUnicolorPaintMaterial",
                                     "UFlipflopMaterial",
                                     "UPlasticMaterial",
                                     "UReflectivePlasticMaterial",
                                     "UTriplanarMaterial",
                                     "UReflectiveTriplanarMaterial",
                                     "UChromeMaterial",
                                     "UBrushedMetalMaterial",
                                     "UCarbonMaterial",
                                     "UCarbonMaterial2D",
                                     "UGlassMaterial",
                                     "UTireMaterial",
                                     "USVBRDFMaterial",
                                     "USubstanceMaterial",
                                     "ULineChromeMaterial",
                                     "UShadowMaterial",
                                     "UGlowMaterial",
                                     "UXrayMaterial",
                                     "UVolumeScatterMaterial",
                                     "ULightPortalMaterial",
                                     "USkylightMaterial",
                                     "USphereEnvironmentMaterial",
                                     "ULayeredMaterial",
                                     "ULightMaterial",
                                     "UXRiteMeasuredMaterial",
                                     "SwitchMaterial",
                                     "MultiPassMaterial",
                                     "SimpleMaterial",
                                     "ChunkMaterial"};

TEST(MaterialTypes, AreMadeByName)
{
    EXPECT_EQ(std::size(materialTypes), 37u);
    for (const char* name : materialTypes) {
        const osg::Ref<osg::FieldContainer> made(
            FieldContainerFactory::the()->createContainer(name));
        ASSERT_TRUE(made) << name;
        EXPECT_STREQ(made->getType().getName(), name);
        EXPECT_TRUE(osg::isKindOf<osg::Material>(made.get())) << name;
    }
}

// A type that derived from a row above its own would be shaded by that row's class.
TEST(MaterialTypes, DeriveFromNoOtherRowButTheSkyFromItsSphere)
{
    const FieldContainerFactory* factory = FieldContainerFactory::the();
    for (const char* name : materialTypes)
        for (const char* other : materialTypes) {
            const bool isDerived =
                factory->findType(name)->isDerivedFrom(*factory->findType(other));
            const bool mayBe =
                name == other || (std::string(name) == "USkylightMaterial" &&
                                  std::string(other) == "USphereEnvironmentMaterial");
            EXPECT_EQ(isDerived, mayBe) << name << " : " << other;
        }
}

TEST(MaterialTypes, DescendFromTheirBases)
{
    const FieldContainerFactory* factory = FieldContainerFactory::the();
    // Utility kinds have no lobes; the last four are materials of plain scene graphs.
    const std::set<std::string> withoutLobes{
        "UGlowMaterial",         "UVolumeScatterMaterial",     "ULightPortalMaterial",
        "USkylightMaterial",     "USphereEnvironmentMaterial", "ULayeredMaterial",
        "UXRiteMeasuredMaterial"};
    const std::set<std::string> plain{"SwitchMaterial", "MultiPassMaterial", "SimpleMaterial",
                                      "ChunkMaterial"};
    for (const char* name : materialTypes) {
        const osg::FieldContainerType* type = factory->findType(name);
        const bool isPlain = plain.count(name) != 0;
        EXPECT_EQ(type->isDerivedFrom(osg::UberMaterial::getClassType()), !isPlain) << name;
        EXPECT_EQ(type->isDerivedFrom(osg::UBRDFMaterial::getClassType()),
                  !isPlain && !withoutLobes.count(name))
            << name;
    }
    EXPECT_TRUE(osg::USkylightMaterial::getClassType().isDerivedFrom(
        osg::UEnvironmentMaterial::getClassType()));
    EXPECT_TRUE(osg::UEnvironmentSwitchMaterial::getClassType().isDerivedFrom(
        osg::SwitchMaterial::getClassType()));
    EXPECT_FALSE(osg::UEnvironmentSwitchMaterial::getClassType().isDerivedFrom(
        osg::UberMaterial::getClassType()));
}

// Record and fields, compared through the same rows but by another path: fields are set and read by
// reflection, the record by its members. Each check sets one field, by name, to a value that is not
// its default.
class RecordChecker
{
public:
    explicit RecordChecker(osg::FieldContainer& container_) : container(container_) {}

    template <class T>
    void expectMember(const char* name, const T& member, const T& expected)
    {
        EXPECT_TRUE(member == expected) << container.getType().getName() << "." << name;
    }
    /// Another value in the range of the field.
    template <class T>
    T changeNumber(const char* name)
    {
        const osg::FieldDescription* field = container.getType().findField(name);
        EXPECT_NE(field, nullptr) << name;
        const auto next = [&](double value) {
            const double low = std::max(field->minimum, -1e6);
            const double high = std::min(field->maximum, 1e6);
            if constexpr (std::is_integral_v<T>)
                return value + 1.0 <= high ? value + 1.0 : value - 1.0;
            const double half = 0.5 * (value + (high - value > value - low ? high : low));
            return half;
        };
        using Carrier = typename osg::FieldTraits<T>::Value;
        Carrier value = std::get<Carrier>(field->get(container));
        if constexpr (std::is_arithmetic_v<T>)
            value = Carrier(next(double(value)));
        else
            for (float& v : value.values)
                v = float(next(v));
        EXPECT_EQ(field->set(container, value), osg::FieldError::none) << name;
        return osg::FieldTraits<T>::unwrap(osg::FieldVariant(value));
    }
    float changeFloat(const char* name) { return changeNumber<float>(name); }
    void changeColor(const char* name, const osg::Ref<osg::Spectrum>& spectrum)
    {
        ColorComponent color(0.125f, 0.25f, 0.375f);
        color.intensity = 2.0f;
        color.spectrum = spectrum;
        set(name, color);
    }
    template <class T>
    void set(const char* name, const T& value)
    {
        const osg::FieldDescription* field = container.getType().findField(name);
        ASSERT_NE(field, nullptr) << name;
        EXPECT_EQ(field->set(container, osg::FieldTraits<T>::wrap(value)), osg::FieldError::none)
            << name;
    }

private:
    osg::FieldContainer& container;
};

osg::Ref<osg::Spectrum> usableSpectrum()
{
    const osg::Ref<osg::Spectrum> spectrum(osg::Spectrum::create());
    spectrum->setUseSpectrum(true);
    spectrum->setSamples(std::vector<float>(40, 0.5f));
    return spectrum;
}

osg::UTextureSettingsPtr grayTexture(u8 value = 128)
{
    const auto image = osg::Image::create();
    const u8 pixels[] = {value, value, value, value, value, value};
    image->set(osg::Image::RGB, 2, 1, 1, 1, 1, pixels);
    const auto settings = osg::UTextureSettings::create();
    settings->setImage(image);
    settings->setIsActive(true);
    return settings;
}

// One expansion of all rows of a block: sets the field, then looks at the record.
#define CHECK_ROW(kind, arguments) CHECK_ROW_##kind arguments
#define CHECK_ROW_COLOR(name, Name, r, g, b)                                                       \
    {                                                                                              \
        const auto spectrum = usableSpectrum();                                                    \
        check.changeColor(#name, spectrum);                                                        \
        check.expectMember(#name, block().name, znRTVector3f(0.25f, 0.5f, 0.75f));                 \
        EXPECT_EQ(block().name##Spectrum, spectrum.get().get()) << #name;                          \
        spectrum->setSamples(std::vector<float>(39, 0.5f));                                        \
        container.refill();                                                                        \
        EXPECT_EQ(block().name##Spectrum, nullptr) << #name << " with 39 samples";                 \
    }
#define CHECK_ROW_TEXTURE(name, Name, use)                                                         \
    {                                                                                              \
        EXPECT_FALSE(block().name##Active) << #name;                                               \
        EXPECT_EQ(block().name##Sampler, nullptr) << #name;                                        \
        const auto texture = grayTexture();                                                        \
        texture->setUvSet(3);                                                                      \
        check.set(#name "Texture", texture);                                                       \
        EXPECT_TRUE(block().name##Active) << #name;                                                \
        ASSERT_NE(block().name##Sampler, nullptr) << #name;                                        \
        EXPECT_EQ(block().name##Sampler->width, 2) << #name;                                       \
        EXPECT_EQ(block().name##Attributes->uvSet, 3) << #name;                                    \
        EXPECT_TRUE(block().name##Attributes->hasTexture) << #name;                                \
        texture->setIsActive(false);                                                               \
        container.getRaytracingAttributes();                                                       \
        EXPECT_FALSE(block().name##Active) << #name << " switched off";                            \
    }
#define CHECK_ROW_NUMBER(type, name, Name, default_, unit, least, greatest)                        \
    {                                                                                              \
        const type value = check.changeNumber<type>(#name);                                        \
        EXPECT_FALSE(value == type(default_)) << #name;                                            \
        check.expectMember<type>(#name, block().name, value);                                      \
    }
#define CHECK_ROW_LENGTH(name, Name, default_, unit, least, greatest)                              \
    {                                                                                              \
        const float value = check.changeFloat(#name);                                              \
        check.expectMember(#name, block().name, value*(unit[1] == 'm' ? 0.001f : 1.0f));           \
        znSceneDataManager::getSceneData(0)->setUnitsPerMetre(1000.0f);                            \
        container.getRaytracingAttributes();                                                       \
        EXPECT_FLOAT_EQ(block().name, value*(unit[1] == 'm' ? 1.0f : 1000.0f)) << #name;           \
        znSceneDataManager::getSceneData(0)->setUnitsPerMetre(1.0f);                               \
        container.getRaytracingAttributes();                                                       \
    }
#define CHECK_ROW_ANGLE(name, Name, default_, least, greatest)                                     \
    {                                                                                              \
        const float degrees = check.changeFloat(#name);                                            \
        EXPECT_FLOAT_EQ(block().name, degrees* std::numbers::pi_v<float> / 180.0f) << #name;       \
    }
#define CHECK_ROW_FLAG(name, Name, default_)                                                       \
    {                                                                                              \
        EXPECT_EQ(block().name, default_) << #name;                                                \
        check.set(#name, !(default_));                                                             \
        EXPECT_EQ(block().name, !(default_)) << #name;                                             \
    }
#define CHECK_ROW_CHOICE(name, Name, default_, ...)                                                \
    {                                                                                              \
        EXPECT_EQ(block().name, default_) << #name;                                                \
        const int other = (default_) == 0 ? 1 : 0;                                                 \
        check.set(#name, other);                                                                   \
        EXPECT_EQ(block().name, other) << #name;                                                   \
        container.set##Name(1000);                                                                 \
        EXPECT_LT(block().name, 1000) << #name << " beyond its choices";                           \
        container.set##Name(other);                                                                \
    }
#define CHECK_ROW_SPECTRUM(name, Name)                                                             \
    {                                                                                              \
        const auto spectrum = usableSpectrum();                                                    \
        check.set(#name, spectrum.get());                                                          \
        EXPECT_EQ(block().name, spectrum.get().get()) << #name;                                    \
        check.set(#name, osg::SpectrumPtr());                                                      \
    }

// A material of a type, with a fresh container per test.
#define RECORD_TEST(Type, ...)                                                                     \
    TEST(MaterialRecord, Of##Type##FollowsItsFields)                                               \
    {                                                                                              \
        const osg::Ref<osg::Type> keep(osg::Type::create());                                       \
        osg::Type& container = *keep;                                                              \
        RecordChecker check(container);                                                            \
        const auto block = [&]() -> const osg::Type::RaytracingAttributes& {                       \
            return container.getRaytracingAttributes();                                            \
        };                                                                                         \
        __VA_ARGS__                                                                                \
    }

// The rows of the bases are checked on one material with lobes and on one without.
RECORD_TEST(UPhongMaterial,
            ZN_COMMON_ROWS(CHECK_ROW) ZN_BRDF_ROWS(CHECK_ROW) ZN_TRANSLUCENCY_ROWS(CHECK_ROW)
                ZN_GLOSSINESS_ROWS(CHECK_ROW) ZN_PHONG_ROWS(CHECK_ROW))
RECORD_TEST(UVelvetMaterial, ZN_TRANSLUCENCY_ROWS(CHECK_ROW) ZN_VELVET_ROWS(CHECK_ROW))
RECORD_TEST(UWovenClothMaterial, ZN_TRANSLUCENCY_ROWS(CHECK_ROW) ZN_WOVEN_CLOTH_ROWS(CHECK_ROW))
RECORD_TEST(UMeasuredCarpaintMaterial,
            ZN_COAT_ROWS(CHECK_ROW) ZN_MEASURED_LOBE_ROWS(CHECK_ROW) ZN_FLAKE_ARRAY_ROWS(CHECK_ROW))
RECORD_TEST(UMeasuredCarpaint2Material, ZN_COAT_ROWS(CHECK_ROW) ZN_MEASURED_LOBE_ROWS(CHECK_ROW))
RECORD_TEST(UOCSMaterial, ZN_FRESNEL_ROWS(CHECK_ROW) ZN_COAT_ROWS(CHECK_ROW))
RECORD_TEST(UMetallicPaintMaterial,
            ZN_COAT_ROWS(CHECK_ROW) ZN_FRESNEL_ROWS(CHECK_ROW) ZN_GLOSSINESS_ROWS(CHECK_ROW)
                ZN_METALLIC_PAINT_ROWS(CHECK_ROW))
RECORD_TEST(UUnicolorPaintMaterial,
            ZN_COAT_ROWS(CHECK_ROW) ZN_FRESNEL_ROWS(CHECK_ROW) ZN_UNICOLOR_PAINT_ROWS(CHECK_ROW))
RECORD_TEST(UFlipflopMaterial, ZN_COAT_ROWS(CHECK_ROW) ZN_FLIPFLOP_ROWS(CHECK_ROW))
RECORD_TEST(UPlasticMaterial,
            ZN_TRANSLUCENCY_ROWS(CHECK_ROW) ZN_FRESNEL_ROWS(CHECK_ROW) ZN_GLOSSINESS_ROWS(CHECK_ROW)
                ZN_STRUCTURE_ROWS(CHECK_ROW) ZN_PLASTIC_ROWS(CHECK_ROW))
RECORD_TEST(UReflectivePlasticMaterial,
            ZN_COAT_ROWS(CHECK_ROW) ZN_STRUCTURE_ROWS(CHECK_ROW) ZN_PLASTIC_ROWS(CHECK_ROW))
RECORD_TEST(UTriplanarMaterial, ZN_STRUCTURE_ROWS(CHECK_ROW) ZN_PLASTIC_ROWS(CHECK_ROW))
RECORD_TEST(UReflectiveTriplanarMaterial, ZN_COAT_ROWS(CHECK_ROW) ZN_PLASTIC_ROWS(CHECK_ROW))
RECORD_TEST(UBrushedMetalMaterial,
            ZN_GLOSSINESS_ROWS(CHECK_ROW) ZN_COAT_ROWS(CHECK_ROW) ZN_BRUSHED_METAL_ROWS(CHECK_ROW))
RECORD_TEST(UChromeMaterial, ZN_GLOSSINESS_ROWS(CHECK_ROW) ZN_CHROME_ROWS(CHECK_ROW))
RECORD_TEST(ULineChromeMaterial, ZN_LINE_CHROME_ROWS(CHECK_ROW))
RECORD_TEST(UCarbonMaterial, ZN_COAT_ROWS(CHECK_ROW) ZN_CARBON_ROWS(CHECK_ROW))
RECORD_TEST(UCarbonMaterial2D, ZN_CARBON_ROWS(CHECK_ROW) ZN_CARBON_2D_ROWS(CHECK_ROW))
RECORD_TEST(UTireMaterial, ZN_FRESNEL_ROWS(CHECK_ROW) ZN_TIRE_ROWS(CHECK_ROW))
RECORD_TEST(USVBRDFMaterial, ZN_TRANSLUCENCY_ROWS(CHECK_ROW) ZN_COAT_ROWS(CHECK_ROW))
RECORD_TEST(USubstanceMaterial, ZN_FRESNEL_ROWS(CHECK_ROW) ZN_SUBSTANCE_ROWS(CHECK_ROW))
RECORD_TEST(UShadowMaterial, ZN_GLOSSINESS_ROWS(CHECK_ROW) ZN_SHADOW_ROWS(CHECK_ROW))
RECORD_TEST(UGlowMaterial, ZN_GLOW_ROWS(CHECK_ROW))
RECORD_TEST(UXrayMaterial, ZN_XRAY_ROWS(CHECK_ROW))
RECORD_TEST(UVolumeScatterMaterial, ZN_VOLUME_SCATTER_ROWS(CHECK_ROW))
RECORD_TEST(ULightPortalMaterial, ZN_LIGHT_PORTAL_ROWS(CHECK_ROW))
RECORD_TEST(ULightMaterial, ZN_LIGHT_ROWS(CHECK_ROW))
RECORD_TEST(ULayeredMaterial, ZN_COMMON_ROWS(CHECK_ROW))
RECORD_TEST(USphereEnvironmentMaterial,
            ZN_ENVIRONMENT_ROWS(CHECK_ROW) ZN_SPHERE_ENVIRONMENT_ROWS(CHECK_ROW))
RECORD_TEST(USkylightMaterial, ZN_ENVIRONMENT_ROWS(CHECK_ROW) ZN_SKYLIGHT_ROWS(CHECK_ROW))

} // namespace
