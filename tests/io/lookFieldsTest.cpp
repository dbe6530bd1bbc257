// Values of looks in fields of containers.

#include "lookFixture.h"

#include "host/osg/Spectrum.h"
#include "io/LookFields.h"

using namespace lookTest;

namespace {

using LookFieldsTest = LookTest;

} // namespace

TEST_F(LookFieldsTest, TakeEveryKindOfValue)
{
    apply(R"({"materials": {"m": {"type": "UPlasticMaterial", "roughness": 0.25, "useSchlick": true,
        "traceDepthStill": 7, "structureType": "noise", "materialIDColor": [0.1, 0.2, 0.3, 1],
        "displacementRange": [-1, 2], "diffuse": [0.1, 0.2, 0.3], "fresnelTable": 4}}})");
    const auto m = made<osg::UPlasticMaterial>("m");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->getRoughness(), 0.25f);
    EXPECT_TRUE(m->getUseSchlick());
    EXPECT_EQ(m->getTraceDepthStill(), 7);
    EXPECT_EQ(m->getStructureType(), 1);
    EXPECT_EQ(m->getMaterialIDColor(), osg::Vec4f(0.1f, 0.2f, 0.3f, 1.0f));
    EXPECT_EQ(m->getDisplacementRange(), osg::Vec2f(-1, 2));
    EXPECT_EQ(m->getDiffuse().color, osg::Vec3f(0.1f, 0.2f, 0.3f));
    EXPECT_EQ(m->getFresnelTable(), 4u);
    EXPECT_EQ(osg::getName(m), "m");
}

TEST_F(LookFieldsTest, TakeChoicesByNumberToo)
{
    apply(R"({"materials": {"m": {"type": "UGlassMaterial", "finish": 1}}})");
    EXPECT_EQ(made<osg::UGlassMaterial>("m")->getFinish(), 1);
}

// IEC 61966-2-1: 0x80 is 0.2158605 of full light, 0x05 lies on the straight piece, 5 / 255 / 12.92.
TEST_F(LookFieldsTest, DecodeHexColoursAsDisplaysShowThem)
{
    apply(R"({"materials": {"m": {"type": "UPhongMaterial", "diffuse": "#ff8005"}}})");
    const osg::Vec3f color = made<osg::UPhongMaterial>("m")->getDiffuse().color;
    EXPECT_FLOAT_EQ(color[0], 1.0f);
    EXPECT_NEAR(color[1], 0.2158605f, 1e-6f);
    EXPECT_NEAR(color[2], 5.0f / 255.0f / 12.92f, 1e-7f);
}

TEST_F(LookFieldsTest, TakeColoursWithStrengthAndSpectrum)
{
    std::string samples = "1";
    for (int i = 1; i < 40; ++i)
        samples += ", 0.5";
    apply(R"({"materials": {"m": {"type": "UPhongMaterial", "glossy": 0.5, "diffuse":
        {"color": [1, 0.5, 0], "intensity": 2, "temperature": 3000,
         "spectrum": {"useSpectrum": true, "samples": [)" +
          samples + "]}}}}}");
    const auto m = made<osg::UPhongMaterial>("m");
    EXPECT_EQ(m->getGlossy().color, osg::Vec3f(0.5f, 0.5f, 0.5f));
    const osg::ColorComponent& diffuse = m->getDiffuse();
    EXPECT_EQ(diffuse.color, osg::Vec3f(1.0f, 0.5f, 0.0f));
    EXPECT_EQ(diffuse.intensity, 2.0f);
    EXPECT_EQ(diffuse.temperature, 3000.0f);
    ASSERT_TRUE(diffuse.spectrum);
    EXPECT_TRUE(diffuse.spectrum->isUsable());
}

TEST_F(LookFieldsTest, LetMaterialsHoldOthersWhateverTheirOrder)
{
    apply(R"({"materials": {
        "both": {"type": "SwitchMaterial", "materials": ["late", "lacquer", {"type": "UGlowMaterial"}]},
        "late": {"type": "UPhongMaterial"}}})");
    const auto both = made<osg::SwitchMaterial>("both");
    ASSERT_EQ(both->getMaterials().size(), 3u);
    EXPECT_EQ(both->getMaterials()[0], osg::MaterialPtr(made<osg::UPhongMaterial>("late")));
    EXPECT_EQ(both->getMaterials()[1], materialOf(body));
    EXPECT_TRUE(osg::isKindOf<osg::UGlowMaterial>(both->getMaterials()[2]));
}

TEST_F(LookFieldsTest, ReplaceMaterialsOfTheSameNameWhereverTheyAreUsed)
{
    apply(R"({"materials": {"rubber": {"type": "UTireMaterial"}}})");
    EXPECT_TRUE(osg::isKindOf<osg::UTireMaterial>(materialOf(wheels[0])));
    EXPECT_EQ(materialOf(wheels[0]), materialOf(wheels[1]));
    EXPECT_EQ(materialName(body), "lacquer");
}

TEST_F(LookFieldsTest, ChangeAMaterialOfTheScene)
{
    const osg::MaterialPtr before = materialOf(body);
    apply(R"({"materials": {"lacquer": {"roughness": 0.5}}})");
    EXPECT_EQ(materialOf(body), before);
    EXPECT_EQ(osg::UPlasticMaterial::Ptr::dcast(before)->getRoughness(), 0.5f);
}

TEST_F(LookFieldsTest, ReachAttachmentsByTheirType)
{
    apply(
        R"({"lights": [{"name": "lamp", "RaytracingLightAttachment": {"shadowIntensity": 0.5}}]})");
    const auto attachment = osg::RaytracingLightAttachment::getAttachment(light.get());
    ASSERT_TRUE(attachment);
    EXPECT_EQ(attachment->getShadowIntensity(), 0.5f);
}

// Everything that any kind offers can be set to its default, by reflection.
TEST_F(LookFieldsTest, TakeTheDefaultOfEveryNumberOfEveryKind)
{
    for (const osg::FieldContainerType* type : io::concreteTypes(osg::Material::getClassType())) {
        std::string members;
        for (const osg::FieldDescription& field : type->getFields()) {
            const auto* const number = std::get_if<float>(&field.defaultValue);
            const auto* const whole = std::get_if<int>(&field.defaultValue);
            if (number)
                members += ", \"" + std::string(field.name) + "\": " + std::to_string(*number);
            else if (whole && field.choices.empty())
                members += ", \"" + std::string(field.name) + "\": " + std::to_string(*whole);
            else if (whole)
                members += ", \"" + std::string(field.name) + "\": \"" +
                           field.choices[std::size_t(*whole)] + "\"";
        }
        const std::string name = type->getName();
        EXPECT_EQ(faultOf(R"({"materials": {"m": {"type": ")" + name + "\"" + members + "}}}"),
                  "(nothing thrown)")
            << name;
    }
}

TEST_F(LookFieldsTest, RefuseWhatDoesNotFitWithLineAndPathAndNearestName)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"("roughnes": 0.1)", "line 3: materials.m.roughnes: UPhongMaterial has no field "
                               "'roughnes', perhaps 'roughness'"},
        {R"("roughness": "rough")",
         "line 3: materials.m.roughness: should be a number, not a string"},
        {R"("roughness": 1.5)", "line 3: materials.m.roughness: lies outside of [0, 1]"},
        {R"("roughness": 1e300)", "line 3: materials.m.roughness: is larger than a float can be"},
        {R"("diffuse": [1, 0])",
         "line 3: materials.m.diffuse: should be 3 numbers or \"#rrggbb\", not 2 numbers"},
        {R"("diffuse": [1, "0", 0])",
         "line 3: materials.m.diffuse: should be 3 numbers or \"#rrggbb\", not a list"},
        {R"("diffuse": "#ff80")",
         "line 3: materials.m.diffuse: should be 3 numbers or \"#rrggbb\", not a string"},
        {R"("diffuse": [-1, 0, 0])", "line 3: materials.m.diffuse: lies outside of [0, 1e+06]"},
        {R"("diffuse": {"colour": 1})",
         "line 3: materials.m.diffuse.colour: a colour has no 'colour', perhaps 'color'"},
        {R"("diffuse": {"intensity": -1})",
         "line 3: materials.m.diffuse.intensity: should not be below 0"},
        {R"("bumpKind": "norml")", "line 3: materials.m.bumpKind: there is no 'norml', perhaps "
                                   "'normalMap'; there are height, "
                                   "normalMap"},
        {R"("bumpKind": 2)", "line 3: materials.m.bumpKind: lies outside of [0, 1]"},
        {R"("bumpKind": 0.5)", "line 3: materials.m.bumpKind: should be a whole number in [0, 1]"},
        {R"("photonTarget": 1)",
         "line 3: materials.m.photonTarget: should be true or false, not a number"},
        {R"("parallaxSteps": -1)",
         "line 3: materials.m.parallaxSteps: should be a whole number in [1, 1024]"},
        {R"("diffuseTexture": "a.png")",
         "line 3: materials.m.diffuseTexture: names a file, which is not possible here"},
        {R"("environment": "lacquer")", "(nothing thrown)"},
        {R"("environment": "lacker")",
         "line 3: materials.m.environment: there is no material 'lacker', perhaps 'lacquer'"},
        {R"("environment": {"type": "UGlassMateral"})",
         "line 3: materials.m.environment.type: there is no Material 'UGlassMateral', perhaps "
         "'UGlassMaterial'"},
        {R"("environment": {})",
         "line 3: materials.m.environment: needs a \"type\", a kind of Material"},
        {R"("attachments": [])",
         "line 3: materials.m.attachments: UPhongMaterial has no field 'attachments', perhaps "
         "'ambient'"},
    };
    for (const auto& [member, fault] : cases) {
        const std::string expected =
            std::string(fault)[0] == '(' ? fault : std::string("a.zn.json: ") + fault;
        EXPECT_EQ(faultOf("{\"materials\": {\n\"m\": {\"type\": \"UPhongMaterial\",\n" +
                          std::string(member) + "}}}"),
                  expected);
    }
}

// A material that held itself would never be freed, and shading it would never end.
TEST_F(LookFieldsTest, RefuseMaterialsThatContainThemselves)
{
    EXPECT_EQ(faultOf(R"({"materials": {
        "a": {"type": "SwitchMaterial", "materials": ["b"]},
        "b": {"type": "MultiPassMaterial", "materials": ["a"]}}})"),
              "a.zn.json: line 3: materials.b.materials: would contain itself");
}
