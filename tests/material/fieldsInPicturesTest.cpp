// Each field of a coated plastic, which has those of the plain kinds too, changes something that is
// seen, or stands in the list of those that do not, with what it concerns instead.

#include "light/environmentFixture.h"
#include "materialFixture.h"

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "host/znRenderPasses.h"

#include <algorithm>
#include <set>

using namespace materialTest;
using osg::FieldDescription;
using osg::FieldKind;
using osg::FieldVariant;

namespace {

struct Unseen
{
    std::string_view field;
    const char* concerns;
};

const Unseen unseen[] = {
    {"ambient", "light in the vertices, which there is none of here"},
    {"occlusionColor", "occlusion in the vertices"},
    {"occlusionSamplesInteractive", "the layer of occlusion, where something hides the sky"},
    {"occlusionSamplesStill", "as above"},
    {"anisotropyAngle", "highlights are as wide in all directions"},
    {"roughnessV", "as above"},
    {"usesVertexTangents", "directions along the surface, which such a highlight has none of"},
    {"displacementTexture", "surfaces are not displaced"},
    {"displacementHeight", "as above"},
    {"displacementOffset", "as above"},
    {"displacementRange", "as above"},
    {"environmentF0", "lobes without a Fresnel term"},
    {"overrideIndirect", "its numbers, which are those of the scene here"},
    {"useMultipleSamples", "glass"},
    {"roundedEdgeActive", "objects with a radius"},
    {"roundedEdgeSamples", "as above"},
    {"roundedEdgeMode", "as above"},
    {"roundedEdgeMaxDepth", "as above"},
    {"roundedEdgeSmoothing", "as above"},
    {"lineWidth", "lines"},
    {"pointSize", "points"},
    {"attachments", "other containers, not tried here"},
    {"environment", "as above"},
    {"rayFile", "as above"},
    {"triplanar", "as above"},
};

bool isKnownAsUnseen(std::string_view field)
{
    return std::any_of(std::begin(unseen), std::end(unseen),
                       [&](const Unseen& entry) { return entry.field == field; });
}

osg::Ref<osg::UTextureSettings> makeImage()
{
    const osg::Ref<osg::Image> texels = osg::Image::create();
    std::vector<u8> values(3 * 64);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = u8(60 + i * 37 % 180);
    EXPECT_TRUE(texels->take(osg::Image::RGB, 8, 8, std::move(values), osg::Image::UInt8));
    const osg::Ref<osg::UTextureSettings> texture(osg::UTextureSettings::create());
    texture->setImage(texels.get());
    texture->setIsActive(true);
    return texture;
}

/// Other values than the one that is there.
/// @param image  for slots
std::vector<FieldVariant> othersOf(const FieldDescription& field, const FieldVariant& image)
{
    std::vector<FieldVariant> values;
    switch (field.kind) {
    case FieldKind::boolean:
        values = {true, false};
        break;
    case FieldKind::integer:
        for (const int x : {0, 1, 2, 3, 4, 5, 9})
            values.emplace_back(x);
        break;
    case FieldKind::unsignedInteger:
        for (const u32 x : {0u, 1u, 2u, 4u, 9u})
            values.emplace_back(x);
        break;
    case FieldKind::real:
        for (const float x : {0.0f, 0.35f, 0.8f, 1.3f, 5.0f, 60.0f})
            values.emplace_back(x);
        break;
    case FieldKind::vector2:
        values.emplace_back(osg::Vec2f(0.3f, 0.7f));
        break;
    case FieldKind::vector3:
        values.emplace_back(osg::Vec3f(0.6f, 0.3f, 0.5f));
        break;
    case FieldKind::vector4:
        values.emplace_back(osg::Vec4f(0.6f, 0.3f, 0.5f, 0.4f));
        break;
    case FieldKind::color:
        values.emplace_back(osg::ColorComponent(osg::Vec3f(0.6f, 0.3f, 0.45f)));
        break;
    case FieldKind::container:
        if (field.targetType && field.targetType() &&
            field.targetType()->isDerivedFrom(osg::UTextureSettings::getClassType()))
            values.push_back(image);
        break;
    default:
        break;
    }
    return values;
}

class FieldsInPictures : public MaterialTest
{
protected:
    FieldsInPictures()
    {
        surroundings =
            environmentOf(greyEnvironment(16, 8, [](int x, int y) { return 0.2f * float(x + y); }));
        before[0] = Settings::s_interactiveQuality;
        before[1] = Settings::s_stillFrameQualityMode;
    }
    ~FieldsInPictures() override
    {
        scene.scene->clear();
        znRTRenderUtils::updateEnvironment();
        Settings::s_interactiveQuality = before[0];
        Settings::s_stillFrameQualityMode = before[1];
        Settings::s_qualityMode = Settings::interactive;
        znRTMaterial::enableOcclusionPass(false);
    }

    void begin(const osg::MaterialPtr& material)
    {
        scene.scene->clear();
        squares.clear();
        suns.clear();
        scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
        znRTRenderUtils::updateEnvironment();
        addSquare(makeDiffuse(0.5f), -0.4f);
        shading = &addSquare(material);
        addSun(20.0);
        addSun(200.0);
    }

    /// What tells one look from another.
    std::vector<float> look()
    {
        std::vector<float> values;
        const auto add = [&](const znRTColorPacket& color) {
            for (int channel = 0; channel < 4; ++channel)
                for (int lane = 0; lane < 4; ++lane)
                    values.push_back(color[channel][lane]);
        };
        for (const int illumination : {1, 2, 3}) {
            setIllumination(illumination, 4);
            Settings::s_qualityMode =
                illumination == 2 ? Settings::stillFrame : Settings::interactive;
            Settings::s_stillFrameQualityMode = 2;
            znRTMaterial::updateStaticSettings();
            scene.scene->applyMaterialChanges();
            znRTMaterial::enableOcclusionPass(illumination == 1);
            for (int sample = 0; sample < 2; ++sample) {
                const Shaded seen =
                    shade({-0.9f, -0.2f, 0.3f, 0.8f}, {0.1f, 0.5f, -0.4f, -0.7f}, 15, sample);
                add(seen.color);
                add(seen.layer(ZN_PASS_OCCLUSION));
                add(shade(slanted(), 15, sample).color);
                add(shade(below(), 15, sample).color);
            }
            add(preview());
            add(shading->getMaterialIDColor());
            for (const float number :
                 {float(shading->getSideness()), float(shading->getVisibility()),
                  float(shading->getTraceDepth()), float(shading->getIlluminationMode()),
                  float(shading->getIndirectQuality()), float(shading->getEnvironmentQuality()),
                  float(shading->isTransparent()), float(shading->isPhotonTarget()),
                  float(shading->getState().materialFlagA)})
                values.push_back(number);
        }
        return values;
    }
    static znRTRayDifferentialPacket slanted()
    {
        return znRTRayDifferentialPacket(
            znRTRayPacket({znFloatType<2>(-1.5f, -1.0f, -0.6f, -0.4f), 0.3f, 1.0f},
                          znRTVector3fPacket(0.8f, 0.0f, -0.6f)));
    }
    /// Onto what lies in the shadow.
    static znRTRayDifferentialPacket below()
    {
        return znRTRayDifferentialPacket(
            znRTRayPacket({znFloatType<2>(-0.5f, 0.1f, 0.4f, 0.6f), 0.3f, -0.2f},
                          znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    }
    znRTColorPacket preview()
    {
        const znRTRayDifferentialPacket ray = downward(0.2f, 0.1f);
        znRTDataBlockPacket data = blockOf(ray);
        znRTFragment fragment;
        fragment.clear();
        znRTShadingState state = stateOf(0);
        shading->shadeAnalytic(ray, data, fragment, znFloatType<2>::allLanes(), state);
        return fragment.colour;
    }

    osg::Ref<osg::USphereEnvironmentMaterial> surroundings;
    znRTMaterial* shading = nullptr;

private:
    int before[2];
};

/// Fields to set before the others are tried.
using Preset = std::vector<std::pair<const char*, FieldVariant>>;

} // namespace

TEST_F(FieldsInPictures, AreSeen)
{
    const osg::Ref<osg::UTextureSettings> kept = makeImage(), other = makeImage();
    const FieldVariant texture = osg::FieldContainerPtr(kept.get());
    const Preset presets[] = {
        {},
        {{"translucencyMode", 1},
         {"incandescenceActive", true},
         {"structureType", 1},
         {"transparencyColor", gray(0.5f)},
         {"overrideTraceDepth", true},
         {"overrideIllumination", true},
         {"overrideIndirect", true},
         {"overrideEnvironment", true},
         {"glossinessTexture", texture},
         {"glossy", gray(0.4f)}},
        {{"translucencyMode", 3},
         {"bumpTexture", texture},
         {"bumpMode", 2},
         {"parallaxDepth", 0.2f},
         {"useSchlick", true},
         {"structureType", 1},
         {"meanFreePath", 100.0f},
         {"occlusionTexture", texture}},
        {{"translucencyMode", 4},
         {"bumpTexture", texture},
         {"bumpMode", 1},
         {"clearcoatBumpAmount", 0.3f},
         {"meanFreePath", 300.0f}},
    };
    const char* const kind = "UReflectivePlasticMaterial";
    std::set<std::string> dead;
    const auto sample = osg::FieldContainerFactory::the()->createContainer(kind);
    for (const FieldDescription& field : sample->getType().getFields())
        dead.insert(field.name);
    for (const Preset& preset : presets) {
        const auto material =
            osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->createContainer(kind));
        const osg::Ref<osg::Material> held(material);
        for (const auto& [name, value] : preset)
            if (const FieldDescription* const field = material->getType().findField(name))
                field->write(*material, value);
        begin(material);
        const std::vector<float> plain = look();
        for (const FieldDescription& field : material->getType().getFields()) {
            if (!dead.count(field.name))
                continue;
            const FieldVariant old = field.get(*material);
            for (const FieldVariant& value : othersOf(field, osg::FieldContainerPtr(other.get()))) {
                if (value.index() != old.index())
                    continue;
                field.write(*material, value);
                if (look() != plain) {
                    dead.erase(field.name);
                    break;
                }
            }
            field.write(*material, old);
        }
        scene.scene->clear();
    }
    for (const std::string& name : dead)
        EXPECT_TRUE(isKnownAsUnseen(name)) << kind << '.' << name;
}
