// Fields of materials at the ends of their ranges and beyond, as an application may set them: what
// is seen stays finite and is never negative.

#include "light/environmentFixture.h"
#include "materialFixture.h"

#include <cfloat>

using namespace materialTest;
using osg::FieldDescription;
using osg::FieldKind;
using osg::FieldVariant;

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

/// Values that a setter takes without a word.
std::vector<FieldVariant> extremesOf(const FieldDescription& field)
{
    std::vector<FieldVariant> values;
    const float numbers[] = {notANumber, infinite, -infinite, -1e30f, -1.0f, 0.0f, 1e30f};
    switch (field.kind) {
    case FieldKind::real:
        for (const float x : numbers)
            values.emplace_back(x);
        break;
    case FieldKind::integer:
        for (const int x : {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 255, 4096})
            values.emplace_back(x);
        break;
    case FieldKind::unsignedInteger:
        for (const u32 x : {0u, 1u, 300u, 4096u})
            values.emplace_back(x);
        break;
    case FieldKind::boolean:
        values = {true, false};
        break;
    case FieldKind::vector2:
        for (const float x : numbers)
            values.emplace_back(osg::Vec2f(x, 0.5f));
        break;
    case FieldKind::vector3:
        for (const float x : numbers)
            values.emplace_back(osg::Vec3f(x, 0.5f, x));
        break;
    case FieldKind::vector4:
        for (const float x : numbers)
            values.emplace_back(osg::Vec4f(x, 0.5f, x, 0.5f));
        break;
    case FieldKind::color:
        for (const float x : numbers)
            values.emplace_back(osg::ColorComponent(osg::Vec3f(x, 0.5f, 0.5f)));
        break;
    default:
        break;
    }
    return values;
}

class MaterialExtremes : public MaterialTest
{
protected:
    ~MaterialExtremes() override
    {
        scene.scene->clear();
        znRTRenderUtils::updateEnvironment();
        Settings::s_interactiveQuality = 1;
    }

    /// What is wrong with what is seen; empty for nothing.
    std::string complaint()
    {
        for (const int illumination : {1, 3}) {
            setIllumination(illumination, 1);
            scene.scene->updateMaterials();
            for (int sample = 0; sample < 2; ++sample) {
                const znRTColorPacket seen =
                    shade({-0.9f, -0.2f, 0.3f, 0.8f}, {0.1f, 0.5f, -0.4f, -0.7f}, 15, sample).color;
                for (int channel = 0; channel < 4; ++channel)
                    for (int lane = 0; lane < 4; ++lane)
                        if (!(seen[channel][lane] >= 0.0f && seen[channel][lane] <= FLT_MAX))
                            return "channel " + std::to_string(channel) + " is " +
                                   std::to_string(seen[channel][lane]) + ", illumination " +
                                   std::to_string(illumination);
            }
        }
        return {};
    }
};

} // namespace

TEST_F(MaterialExtremes, ShowNothingThatIsNoLight)
{
    const auto surroundings = environmentOf(greyEnvironment(8, 4, [](int, int) { return 0.5f; }));
    scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
    znRTRenderUtils::updateEnvironment();
    addSun(30.0);
    float height = 0.0f;
    for (const osg::FieldContainerType* type : osg::FieldContainerFactory::the()->getTypes()) {
        if (type->isAbstract() || !type->isDerivedFrom(osg::Material::getClassType()))
            continue;
        const osg::MaterialPtr material = osg::MaterialPtr::dcast(type->createContainer());
        addSquare(material, height += 0.01f);
        EXPECT_EQ(complaint(), "") << type->getName();
        for (const FieldDescription& field : type->getFields()) {
            const FieldVariant before = field.get(*material);
            for (const FieldVariant& value : extremesOf(field)) {
                field.write(*material, value);
                const std::string bad = complaint();
                const float* const number = std::get_if<float>(&value);
                const int* const whole = std::get_if<int>(&value);
                if (!bad.empty())
                    ADD_FAILURE() << type->getName() << '.' << field.name << " = "
                                  << (number  ? *number
                                      : whole ? float(*whole)
                                              : 0.0f)
                                  << ": " << bad;
            }
            field.write(*material, before);
        }
    }
}
