#include "material/znRTSubstanceMaterial.h"

#include "light/environmentFixture.h"
#include "materialFixture.h"

using namespace materialTest;

namespace {

using SubstancePtr = osg::FCPtr<osg::USubstanceMaterial>;

osg::ColorComponent rgb(float r, float g, float b)
{
    return osg::ColorComponent(osg::Vec3f(r, g, b));
}

SubstancePtr makeSubstance(const osg::ColorComponent& base, float metallic, float roughness)
{
    const SubstancePtr material = osg::USubstanceMaterial::create();
    material->setBaseColor(base);
    material->setMetallic(metallic);
    material->setRoughness(roughness);
    return material;
}

/// A ray that meets the square at its middle, by an angle from the vertical.
znRTRayDifferentialPacket slanted(double degrees)
{
    const float s = float(std::sin(degrees * testPi / 180.0));
    const float c = float(std::cos(degrees * testPi / 180.0));
    return znRTRayDifferentialPacket(
        znRTRayPacket(znRTVector3fPacket(0.2f + s, 0.1f, c), znRTVector3fPacket(-s, 0.0f, -c)));
}

class SubstanceMaterial : public MaterialTest
{
protected:
    /// The lobes of a hit as a record, and the hit's surroundings with their parameters.
    struct Record
    {
        znRTSurfaceProperties surface;
        znRTDataBlockPacket data;
        znRTDifferentialGeometry dg;
    };
    void evaluate(const znRTRayDifferentialPacket& towards, Record& record)
    {
        znRTRayDifferentialPacket ray = towards;
        record.data = blockOf(ray);
        record.surface.reset();
        znRTShadingState state = stateOf(0);
        for (u32 i = 0; i < record.data.materialCount; ++i)
            record.data.materials[i]->evaluateMaterial(ray, record.data, record.surface,
                                                       record.data.materialLanes[i], state, -1,
                                                       znRTMaterial::indirect);
        record.dg = record.data.dg;
        record.dg.parameters = record.surface.getParameters();
    }
    /// Colour times value of all lobes, and of one group.
    static znRTColorPacket valueOf(const Record& record, const znRTVector3fPacket& wo,
                                   const znRTVector3fPacket& wi, int only = -1)
    {
        znRTColorPacket sum(0.0f);
        for (int g = 0; g < znRTSurfaceProperties::groupCount; ++g) {
            const auto& group = record.surface.groups[g];
            for (u32 i = 0; i < group.count && (only < 0 || only == g); ++i)
                sum += group.slots[i].color * group.slots[i].lobe->evaluate(group.onb.toLocal(wo),
                                                                            group.onb.toLocal(wi),
                                                                            record.dg);
        }
        return sum;
    }
};

constexpr int diffuseGroup = 0, glossyGroup = 1;

} // namespace

// Seen straight on the facets' value is D F / 4 with D = 1 / (pi alpha^2), alpha = roughness^2.
TEST_F(SubstanceMaterial, ReflectsFourPercentOfHalfASpecularLevel)
{
    const SubstancePtr material = makeSubstance(rgb(0.5f, 0.25f, 0.125f), 0.0f, 0.5f);
    addSquare(material);
    Record record;
    evaluate(downward(0.2f, 0.1f), record);
    const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);
    const float alpha = 0.25f, scale = 1.0f / (4.0f * float(testPi) * alpha * alpha);
    const znRTColorPacket seen = valueOf(record, up, up, glossyGroup);
    const float expected = 0.04f * scale;
    EXPECT_LANES_NEAR(seen.r, expected, expected, expected, expected, 1e-5f);
    EXPECT_LANES_NEAR(seen.b, expected, expected, expected, expected, 1e-5f);

    material->setSpecularLevel(1.0f);
    scene.scene->applyMaterialChanges();
    evaluate(downward(0.2f, 0.1f), record);
    EXPECT_NEAR(valueOf(record, up, up, glossyGroup).g[0], 0.08f * scale, 1e-5f);
}

TEST_F(SubstanceMaterial, GivesTheBaseColourToTheReflectionOfMetals)
{
    const SubstancePtr material = makeSubstance(rgb(0.5f, 0.25f, 0.125f), 1.0f, 0.5f);
    addSquare(material);
    Record record;
    evaluate(downward(0.2f, 0.1f), record);
    const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);
    const float scale = 1.0f / (4.0f * float(testPi) * 0.0625f);
    const znRTColorPacket seen = valueOf(record, up, up);
    EXPECT_LANES_NEAR(seen.r, 0.5f * scale, 0.5f * scale, 0.5f * scale, 0.5f * scale, 1e-4f);
    EXPECT_NEAR(seen.g[1], 0.25f * scale, 1e-4f);
    EXPECT_NEAR(seen.b[2], 0.125f * scale, 1e-4f);
    EXPECT_EQ(valueOf(record, up, up, diffuseGroup).r[0], 0.0f);

    material->setMetallic(0.25f);
    scene.scene->applyMaterialChanges();
    evaluate(downward(0.2f, 0.1f), record);
    // Three quarters of a dielectric with 4 %: 0.03 + 0.5 / 4 straight on.
    EXPECT_NEAR(valueOf(record, up, up, glossyGroup).r[0], 0.155f * scale, 1e-4f);
    EXPECT_EQ(record.surface.groups[diffuseGroup].slots[0].color.r[0], 0.375f);
}

// White all around: no surface may give back more than it receives.
TEST_F(SubstanceMaterial, ReflectsNoMoreThanArrives)
{
    const SubstancePtr material = makeSubstance(rgb(1.0f, 1.0f, 1.0f), 0.0f, 0.5f);
    addSquare(material);
    for (const float metallic : {0.0f, 0.5f, 1.0f})
        for (const float roughness : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}) {
            material->setMetallic(metallic);
            material->setRoughness(roughness);
            scene.scene->applyMaterialChanges();
            for (const double degrees : {0.0, 30.0, 60.0, 85.0}) {
                const znRTRayDifferentialPacket ray = slanted(degrees);
                Record record;
                evaluate(ray, record);
                double sum = 0.0;
                constexpr int rows = 64;
                for (int i = 0; i < rows * rows; ++i) {
                    const float a = (float(i % rows) + 0.5f) / rows;
                    const float b = (float(i / rows) + 0.5f) / rows;
                    const float choice = float(i * 0.6180339887 - std::floor(i * 0.6180339887));
                    znRTColorPacket reflected;
                    znFloatType<2> pdf, valid;
                    znIntType<2> group, mask;
                    record.surface.sampleBRDF(lobeType::selecting, choice, {a, b}, -ray.direction,
                                              record.dg, znFloatType<2>::allLanes(), reflected, pdf,
                                              valid, group, mask);
                    sum += double((reflected.r * reciprocalOrZero(pdf) & valid)[0]);
                }
                const double albedo = sum / (rows * rows);
                EXPECT_LE(albedo, 1.01) << "metallic " << metallic << ", roughness " << roughness
                                        << ", " << degrees << " degrees";
                // What facets of little slope lose between them is little.
                if (roughness <= 0.5f && degrees <= 60.0) {
                    EXPECT_GE(albedo, 0.8);
                }
            }
        }
}

// A sun of intensity 1 lights a white matt surface that faces it with 1, so it brings pi f cos.
TEST_F(SubstanceMaterial, ShadesByTheLobesThatItsRecordHolds)
{
    for (const float metallic : {0.0f, 0.4f, 1.0f}) {
        scene.scene->clear();
        const SubstancePtr material = makeSubstance(rgb(0.7f, 0.5f, 0.2f), metallic, 0.6f);
        addSquare(material);
        addSun(30.0);
        const znRTRayDifferentialPacket ray = slanted(50.0);
        Record record;
        evaluate(ray, record);
        const float s = 0.5f, c = float(std::sqrt(0.75));
        const znRTColorPacket expected =
            valueOf(record, -ray.direction, znRTVector3fPacket(s, 0.0f, c)) *
            znFloatType<2>(float(testPi) * c);
        const znRTColorPacket seen = shade(ray).color;
        const znFloatType<2>&r = expected.r, &b = expected.b;
        EXPECT_GT(r[0], 0.01f);
        EXPECT_LANES_NEAR(seen.r, r[0], r[1], r[2], r[3], 2e-4f * r[0]);
        EXPECT_LANES_NEAR(seen.b, b[0], b[1], b[2], b[3], 2e-4f * r[0]);
    }
}

TEST_F(SubstanceMaterial, LetsThroughWhatItsOpacityLeaves)
{
    const SubstancePtr material = makeSubstance(rgb(0.0f, 0.0f, 0.0f), 0.0f, 1.0f);
    material->setSpecularLevel(0.0f);
    material->setOpacity(0.25f);
    znRTMaterial& shading = addSquare(material);
    EXPECT_TRUE(shading.isTransparent());
    znRTRenderUtils::s_backgroundColor = {2.0f, 2.0f, 2.0f, 0.0f};
    const znRTColorPacket seen = shade().color;
    znRTRenderUtils::s_backgroundColor = {0.0f, 0.0f, 0.0f, 0.0f};
    EXPECT_LANES_NEAR(seen.r, 1.5f, 1.5f, 1.5f, 1.5f, 1e-5f);
    EXPECT_LANES_NEAR(seen.a, 0.25f, 0.25f, 0.25f, 0.25f, 1e-6f);

    material->setOpacity(1.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_FALSE(shading.isTransparent());
    material->setOpacity(0.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(shading.getVisibility(), 0);
}

// A sun goes past the folds that occlusion stands for; light from all around does not.
TEST_F(SubstanceMaterial, DimsLightFromAllAroundByItsOcclusion)
{
    const SubstancePtr material = makeSubstance(rgb(1.0f, 1.0f, 1.0f), 0.0f, 1.0f);
    addSquare(material);
    addSun();
    const float open = shade().color.r[0];
    material->setAmbientOcclusion(0.5f);
    scene.scene->applyMaterialChanges();
    EXPECT_EQ(shade().color.r[0], open);

    const auto surroundings = environmentOf(greyEnvironment(32, 16, [](int, int) { return 1.0f; }));
    setIllumination(2, 1);
    znRTMaterial::updateStaticSettings();
    scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
    znRTRenderUtils::updateEnvironment();
    scene.scene->applyMaterialChanges();
    const auto total = [&] { return double(shade().color.r[0]); };
    const double half = total() - double(open);
    material->setAmbientOcclusion(1.0f);
    scene.scene->applyMaterialChanges();
    EXPECT_NEAR(total() - double(open), 2.0 * half, 1e-4);
    EXPECT_GT(half, 0.1);
    scene.scene->clear();
    znRTRenderUtils::updateEnvironment();
}

TEST_F(SubstanceMaterial, ShowsWhatItEmitsByItself)
{
    const SubstancePtr material = makeSubstance(rgb(0.0f, 0.0f, 0.0f), 0.0f, 1.0f);
    material->setEmissive(rgb(1.0f, 2.0f, 3.0f));
    addSquare(material);
    const znRTColorPacket seen = shade().color;
    EXPECT_LANES_NEAR(seen.b, 3.0f, 3.0f, 3.0f, 3.0f, 1e-6f);
    EXPECT_LANES_NEAR(seen.r, 1.0f, 1.0f, 1.0f, 1.0f, 1e-6f);
}
