#include "materialFixture.h"

#include "core/rayTypes.h"
#include "host/osg/Spectrum.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTSimpleMaterial.h"

using namespace materialTest;

namespace {

class CommonSettings : public MaterialTest
{
protected:
    CommonSettings() : host(makeDiffuse(0.5f)) {}

    osg::Ref<osg::UPhongMaterial> host;
};

} // namespace

TEST_F(CommonSettings, TurnLightingModesIntoTerms)
{
    struct Row
    {
        bool environment, indirect, direct;
    };
    const Row rows[] = {{true, true, true},
                        {true, true, false},
                        {true, false, true},
                        {true, false, false},
                        {false, false, true}};
    for (int mode = 0; mode < 5; ++mode) {
        host->setLightingMode(mode);
        const znRTPhongMaterial material(host.get());
        EXPECT_EQ(material.getState().usesEnvironmentMap, rows[mode].environment) << mode;
        EXPECT_EQ(material.getState().usesIndirectTerm, rows[mode].indirect) << mode;
        EXPECT_EQ(material.getState().usesDirectLights, rows[mode].direct) << mode;
    }
}

TEST_F(CommonSettings, DeriveWhatIsSampledFromQuality)
{
    for (int illumination = 0; illumination < 4; ++illumination)
        for (const int environment : {0, 1})
            for (const int indirect : {0, 1}) {
                setIllumination(illumination, environment);
                Settings::s_interactiveQuality = indirect;
                const znRTPhongMaterial material(host.get());
                const znRTMaterialState& state = material.getState();
                EXPECT_EQ(state.sampleEnvironment, illumination >= 2 && environment);
                EXPECT_EQ(state.traceIndirect, illumination == 3 && indirect);
                EXPECT_EQ(state.traceEnvironmentShadows, illumination == 1 && environment);
                EXPECT_EQ(state.useBaking, illumination == 0);
                EXPECT_EQ(state.fullLighting, illumination >= 2);
            }
}

TEST_F(CommonSettings, LetMaterialsOverrideUnlessTheyAreIgnored)
{
    host->setOverrideTraceDepth(true);
    host->setTraceDepthInteractive(7);
    host->setTraceDepthStill(9);
    host->setOverrideEnvironment(true);
    host->setEnvironmentInteractive(33);
    setIllumination(2, 4);
    EXPECT_EQ(znRTPhongMaterial(host.get()).getTraceDepth(), 7);
    EXPECT_EQ(znRTPhongMaterial(host.get()).getEnvironmentQuality(), 33);
    EXPECT_TRUE(znRTPhongMaterial(host.get()).getState().environmentQualityOverride);
    Settings::s_qualityMode = Settings::stillFrame;
    EXPECT_EQ(znRTPhongMaterial(host.get()).getTraceDepth(), 9);
    Settings::s_qualityMode = Settings::interactive;

    Settings::s_ignoreOverrideTraceDepth = Settings::s_ignoreOverrideIBLQuality = true;
    EXPECT_EQ(znRTPhongMaterial(host.get()).getTraceDepth(), int(znRTMaterial::getMaxTraceDepth()));
    EXPECT_EQ(znRTPhongMaterial(host.get()).getEnvironmentQuality(), 4);
    EXPECT_FALSE(znRTPhongMaterial(host.get()).getState().environmentQualityOverride);
    Settings::s_ignoreOverrideTraceDepth = Settings::s_ignoreOverrideIBLQuality = false;
}

// Each of the four counts where its flag is set and the settings do not ignore it, with the value
// of the quality of the frame.
TEST_F(CommonSettings, OverrideEachSettingByItself)
{
    struct Row
    {
        std::string flag, value;
        bool& isIgnored;
        int (*read)(const znRTMaterial&);
    };
    const Row rows[] = {
        {"overrideTraceDepth", "traceDepth", Settings::s_ignoreOverrideTraceDepth,
         [](const znRTMaterial& m) { return m.getTraceDepth(); }},
        {"overrideIllumination", "illumination", Settings::s_ignoreOverrideIlluminationMode,
         [](const znRTMaterial& m) { return m.getIlluminationMode(); }},
        {"overrideIndirect", "indirect", Settings::s_ignoreOverrideReflectionQuality,
         [](const znRTMaterial& m) { return m.getIndirectQuality(); }},
        {"overrideEnvironment", "environment", Settings::s_ignoreOverrideIBLQuality,
         [](const znRTMaterial& m) { return m.getEnvironmentQuality(); }}};
    const auto set = [&](const std::string& field, const osg::FieldVariant& value) {
        host->getType().findField(field)->write(*host, value);
    };
    setIllumination(0, 0);
    Settings::s_interactiveQuality = 0;
    for (const Row& row : rows) {
        const auto seen = [&] { return row.read(znRTPhongMaterial(host.get())); };
        const auto setting = [&](int quality) {
            Settings::s_qualityMode = quality;
            znRTMaterial::updateStaticSettings();
            return seen();
        };
        const int ofFrame = setting(Settings::interactive), ofStill = setting(Settings::stillFrame);
        set(row.value + "Interactive", 1);
        set(row.value + "Still", 3);
        EXPECT_EQ(setting(Settings::interactive), ofFrame) << row.value;
        set(row.flag, true);
        EXPECT_EQ(setting(Settings::interactive), 1) << row.value;
        EXPECT_EQ(setting(Settings::stillFrame), 3) << row.value;
        row.isIgnored = true;
        EXPECT_EQ(setting(Settings::interactive), ofFrame) << row.value;
        EXPECT_EQ(setting(Settings::stillFrame), ofStill) << row.value;
        row.isIgnored = false;
        set(row.flag, false);
    }
    Settings::s_qualityMode = Settings::interactive;
    Settings::s_interactiveQuality = 1;
}

// Fields cannot hold such a mode; records of other applications may.
TEST_F(CommonSettings, SwitchAllTermsOffForAnUnknownLightingMode)
{
    for (const int mode : {5, -1}) {
        host->getRaytracingAttributes().lightingMode = mode;
        const znRTPhongMaterial material(host.get());
        EXPECT_FALSE(material.getState().usesEnvironmentMap) << mode;
        EXPECT_FALSE(material.getState().usesIndirectTerm) << mode;
        EXPECT_FALSE(material.getState().usesDirectLights) << mode;
    }
}

// Luminance weights of red, green and blue: 0.2125, 0.7154, 0.0721.
TEST_F(CommonSettings, CallSurfacesLightsThatEmitMoreThanAMillionth)
{
    const auto isLight = [&] { return znRTPhongMaterial(host.get()).isLightSource(); };
    host->setIncandescence(osg::ColorComponent(osg::Vec3f(1.0f, 1.0f, 1.0f)));
    EXPECT_FALSE(isLight());
    host->setIncandescenceActive(true);
    EXPECT_TRUE(isLight());
    host->setIncandescence(osg::ColorComponent(osg::Vec3f(0.0f, 0.0f, 1e-6f / 0.0721f * 0.99f)));
    EXPECT_FALSE(isLight());
    host->setIncandescence(osg::ColorComponent(osg::Vec3f(0.0f, 0.0f, 1e-6f / 0.0721f * 1.01f)));
    EXPECT_TRUE(isLight());
    host->setIncandescence(osg::ColorComponent(osg::Vec3f(-1.0f, -1.0f, -1.0f)));
    EXPECT_FALSE(isLight());
}

TEST_F(CommonSettings, AreReadAgainOnlyAfterAChange)
{
    znRTPhongMaterial material(host.get());
    EXPECT_FALSE(host->getRaytracingAttributes().settingsDirty);
    host->setDiffuse(gray(0.9f));
    EXPECT_TRUE(host->getRaytracingAttributes().settingsDirty);
    EXPECT_EQ(material.getOpacity(), 1.0f);
    host->setTransparencyColor(gray(0.25f));
    EXPECT_EQ(material.getOpacity(), 1.0f); // not before the update
    material.update();
    EXPECT_NEAR(material.getOpacity(), 0.75f, 1e-6f);
    EXPECT_FALSE(host->getRaytracingAttributes().settingsDirty);
}

TEST_F(CommonSettings, TellWhatIsTransparentAndWhatIsHidden)
{
    struct Row
    {
        float passed;
        bool isTransparent, isHidden;
    };
    for (const Row& row : {Row{0.0f, false, false},
                           {0.000001f, false, false},
                           {0.5f, true, false},
                           {0.99f, true, false},
                           {0.99999f, true, true},
                           {1.0f, true, true}}) {
        host->setTransparencyColor(gray(row.passed));
        const znRTPhongMaterial material(host.get());
        EXPECT_EQ(material.isTransparent(), row.isTransparent) << row.passed;
        EXPECT_EQ(u32(material.getVisibility()), row.isHidden ? 0u : rayType::defaultVisibility)
            << row.passed;
    }
}

TEST_F(CommonSettings, TakeSpectraOfFortyBands)
{
    const osg::Ref<osg::Spectrum> spectrum(osg::Spectrum::create());
    spectrum->setUseSpectrum(true);
    const znRTVector3f plain{0.1f, 0.2f, 0.3f};
    spectrum->setSamples(std::vector<float>(39, 0.5f));
    EXPECT_EQ(znRTBRDFMaterial::getSpectrum(spectrum.get().get(), plain),
              znRTColor(0.1f, 0.2f, 0.3f, 1.0f));
    // A flat reflectance is grey under any illuminant.
    spectrum->setSamples(std::vector<float>(40, 0.5f));
    const znRTColor gray = znRTBRDFMaterial::getSpectrum(spectrum.get().get(), plain);
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(gray[channel], 0.5f, 0.02f);
    EXPECT_EQ(gray.a, 1.0f);
    EXPECT_EQ(znRTBRDFMaterial::getSpectrum(nullptr, plain), znRTColor(0.1f, 0.2f, 0.3f, 1.0f));
}

TEST_F(CommonSettings, ShowBothSidesWhileOcclusionIsBaked)
{
    host->setSideness(1);
    const znRTPhongMaterial material(host.get());
    EXPECT_EQ(material.getSideness(), 1);
    Settings::s_qualityMode = Settings::ambientOcclusion;
    EXPECT_EQ(material.getSideness(), 3);
    Settings::s_qualityMode = Settings::interactive;
}

TEST_F(CommonSettings, AskForWhatIsRead)
{
    setIllumination(2, 1);
    Settings::s_interactiveQuality = 0;
    const znRTPhongMaterial sampled(host.get());
    EXPECT_EQ(sampled.getShadingRequirements(), 16u | 3u);
    EXPECT_EQ(sampled.getMaterialAttributes(), 1u | 0x100u);
    EXPECT_EQ(sampled.getTransparencyAttributes(), 0u);
    setIllumination(0, 0);
    const znRTPhongMaterial baked(host.get());
    EXPECT_EQ(baked.getShadingRequirements(), 16u);
    EXPECT_EQ(baked.getMaterialAttributes(), 1u | 0x100u | 0x40u);
    setIllumination(3, 1);
    Settings::s_interactiveQuality = 1;
    EXPECT_EQ(znRTPhongMaterial(host.get()).getMaterialAttributes(), 1u);
}

// 1 - o (1 - tint), with o the vertex occlusion times the material's intensity.
TEST_F(CommonSettings, DarkenTheEnvironmentByVertexOcclusion)
{
    host->setOcclusionIntensity(0.5f);
    host->setOcclusionColor(osg::Vec4f(1.0f, 0.5f, 0.0f, 0.25f));
    znRTDataBlockPacket data(1.0f);
    data.bakedIrradiance.a = znFloatType<2>(0.0f, 0.2f, 0.6f, 1.0f);
    const znRTColorPacket open = znRTPhongMaterial(host.get()).getEnvironmentOcclusion(data);
    EXPECT_LANES_NEAR(open.r, 1, 1, 1, 1, 1e-6f);
    EXPECT_LANES_NEAR(open.g, 1, 0.95f, 0.85f, 0.75f, 1e-6f);
    EXPECT_LANES_NEAR(open.b, 1, 0.9f, 0.7f, 0.5f, 1e-6f);
    EXPECT_LANES_NEAR(open.a, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);
}

TEST_F(CommonSettings, FollowTheFieldsOfFixedFunctionMaterials)
{
    const osg::Ref<osg::SimpleMaterial> simple(osg::SimpleMaterial::create());
    simple->setDiffuse(osg::Vec3f(0.25f, 0.5f, 0.75f));
    znRTMaterial& shading = addSquare(simple.get());
    addSun();
    EXPECT_NEAR(shade().color.b[0], 0.75f, 1e-5f);
    simple->setDiffuse(osg::Vec3f(0.5f, 0.5f, 0.5f));
    simple->setTransparency(0.5f);
    shading.update();
    EXPECT_NEAR(shade().color.b[0], 0.25f, 1e-5f);
    EXPECT_TRUE(shading.isTransparent());

    const osg::Ref<osg::ChunkMaterial> chunks(osg::ChunkMaterial::create());
    const osg::FCPtr<osg::MaterialChunk> chunk = osg::MaterialChunk::create();
    chunk->setDiffuse(osg::Vec3f(0.1f, 0.2f, 0.3f));
    chunks->setChunks({chunk});
    addSquare(chunks.get(), 1.0f);
    EXPECT_NEAR(shade().color.g[0], 0.2f, 1e-5f);
}

TEST_F(CommonSettings, TakeEitherFlagForPhotonsOfRayLights)
{
    const PhongPtr material = makeDiffuse(0.5f);
    const znRTMaterial& shading = addSquare(material);
    EXPECT_FALSE(shading.getState().materialFlagA);
    material->setReceiveRayLightPhotons(true);
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(shading.getState().materialFlagA);
    material->setReceiveRayLightPhotons(false);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(shading.getState().materialFlagA);
    material->setFlagA(true);
    scene.scene->applyMaterialChanges();
    EXPECT_TRUE(shading.getState().materialFlagA);
}
