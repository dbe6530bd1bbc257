// A kind of material describes itself twice: by what it shows, and by the record of its lobes for
// those who scatter rays. Both must be the same surface.

#include "materialFixture.h"

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "host/znRenderPasses.h"

#include <random>

using namespace materialTest;

namespace {

/// Kinds that shade by lobes; glass traces instead, and the others have none.
const char* const kinds[] = {"UPhongMaterial",
                             "UPlasticMaterial",
                             "UReflectivePlasticMaterial",
                             "UTriplanarMaterial",
                             "UReflectiveTriplanarMaterial",
                             "UChromeMaterial",
                             "USubstanceMaterial",
                             "SimpleMaterial",
                             "ChunkMaterial",
                             "UVelvetMaterial",
                             "UWovenClothMaterial",
                             "UMeasuredMaterial",
                             "UMetallicPaintMaterial",
                             "UUnicolorPaintMaterial",
                             "UFlipflopMaterial",
                             "UBrushedMetalMaterial",
                             "UCarbonMaterial",
                             "UCarbonMaterial2D",
                             "UTireMaterial",
                             "USVBRDFMaterial",
                             "ULineChromeMaterial",
                             "UXrayMaterial"};

class LobeRecords : public MaterialTest
{
protected:
    float uniform(float least, float greatest)
    {
        return std::uniform_real_distribution<float>(least, greatest)(engine);
    }
    /// Colours, widths and an image in the slots of colours, at random.
    osg::MaterialPtr makeRandom(const char* kind)
    {
        const auto material =
            osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->createContainer(kind));
        // Metal sends out rays in all qualities, and what is behind is then seen by chance.
        const bool tracesOn =
            std::string_view(kind).find("BrushedMetal") != std::string_view::npos ||
            std::string_view(kind).find("Chrome") != std::string_view::npos;
        for (const osg::FieldDescription& field : material->getType().getFields()) {
            const std::string_view name = field.name;
            if (name == "transparencyColor")
                field.write(*material, gray(tracesOn ? 0.0f : uniform(0.1f, 0.6f)));
            else if (field.kind == osg::FieldKind::color && !name.starts_with("translucency"))
                field.write(*material,
                            osg::ColorComponent(osg::Vec3f(uniform(0.1f, 0.5f), uniform(0.1f, 0.5f),
                                                           uniform(0.1f, 0.5f))));
            else if (name == "roughness" || name == "roughnessV")
                field.write(*material, uniform(0.2f, 0.7f));
            else if (name == "diffuseTexture" || name == "baseColorTexture" ||
                     name == "glossyTexture")
                field.write(*material, osg::FieldContainerPtr(image().get()));
        }
        return material;
    }
    osg::Ref<osg::UTextureSettings> image()
    {
        const osg::Ref<osg::Image> texels = osg::Image::create();
        std::vector<u8> values(3 * 16);
        for (u8& value : values)
            value = u8(uniform(40.0f, 255.0f));
        EXPECT_TRUE(texels->take(osg::Image::RGB, 4, 4, std::move(values), osg::Image::UInt8));
        const osg::Ref<osg::UTextureSettings> texture(osg::UTextureSettings::create());
        texture->setImage(texels.get());
        texture->setIsActive(true);
        return texture;
    }
    /// Rays from a hemisphere onto the square.
    znRTRayDifferentialPacket randomRays()
    {
        znRTVector3fPacket origin, direction;
        for (int lane = 0; lane < 4; ++lane) {
            const float x = uniform(-0.8f, 0.8f), y = uniform(-0.8f, 0.8f);
            const float phi = uniform(0.0f, 6.28f), z = uniform(0.2f, 1.0f);
            const float s = std::sqrt(1.0f - z * z);
            const float d[3] = {s * std::cos(phi), s * std::sin(phi), z};
            for (int axis = 0; axis < 3; ++axis) {
                znFloatType<2>& o = axis == 0 ? origin.x : axis == 1 ? origin.y : origin.z;
                znFloatType<2>& w = axis == 0 ? direction.x : axis == 1 ? direction.y : direction.z;
                o.set(lane, (axis == 0 ? x : axis == 1 ? y : 0.0f) + 2.0f * d[axis]);
                w.set(lane, -d[axis]);
            }
        }
        return znRTRayDifferentialPacket(znRTRayPacket(origin, direction));
    }
    /// Light of a sun of intensity 1 from a direction, which counts as pi, on the lobes of a group.
    znRTColorPacket lightOn(const znRTSurfaceProperties& surface, int group,
                            const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                            const znRTDataBlockPacket& data)
    {
        znRTDifferentialGeometry dg = data.dg;
        dg.parameters = surface.getParameters();
        const znRTSurfaceProperties::Group& lobes = surface.groups[group];
        znRTColorPacket sum(0.0f);
        for (u32 i = 0; i < lobes.count; ++i) {
            const auto& slot = lobes.slots[i];
            if (slot.lobe->isDelta())
                continue;
            const znRTVector3fPacket local = lobes.onb.toLocal(wi);
            znFloatType<2> pdf;
            sum += (slot.lobe->evaluate(lobes.onb.toLocal(wo), local, dg, pdf) * slot.color *
                    (slot.weight * maximum(local.z, 0.0f) * float(testPi))) &
                   slot.mask;
        }
        return sum;
    }

    std::mt19937 engine{20};
};

} // namespace

TEST_F(LobeRecords, HoldWhatAShadeShows)
{
    const float s = float(std::sin(25.0 * testPi / 180.0));
    const znRTVector3fPacket wi = inAllLanes(s, 0, std::sqrt(1.0f - s * s));
    addSun(25.0);
    constexpr int layers[2] = {ZN_PASS_DIFFUSE_LIGHT, ZN_PASS_GLOSSY_LIGHT};
    for (const char* const kind : kinds)
        for (int trial = 0; trial < 3; ++trial) {
            znRTMaterial& shading = addSquare(makeRandom(kind));
            znRTRayDifferentialPacket ray = randomRays();
            const Shaded seen = shade(ray);
            znRTDataBlockPacket data = blockOf(ray);
            znRTSurfaceProperties surface;
            surface.reset();
            surface.useParameters(0); // empty, unless the material fills them
            surface.useParameters(1);
            znRTShadingState state = stateOf(0);
            const int lanes = 1 + int(engine() % 15);
            shading.evaluateMaterial(ray, data, surface, expandLanes(lanes), state, -1,
                                     znRTMaterial::gather);
            EXPECT_EQ(moveMask(surface.activeMask) & ~lanes, 0) << kind;
            bool hasLight = false;
            for (int group = 0; group < 2; ++group) {
                const znRTColorPacket expected = lightOn(surface, group, -ray.direction, wi, data);
                const znRTColorPacket layer = seen.layer(layers[group]);
                for (int lane = 0; lane < 4; ++lane)
                    for (int channel = 0; channel < 3; ++channel) {
                        if (!(lanes >> lane & 1))
                            continue;
                        const float value = expected[channel][lane];
                        EXPECT_NEAR(layer[channel][lane], value, 2e-5f + 2e-3f * value)
                            << kind << ", group " << group << ", lane " << lane << ", channel "
                            << channel;
                        hasLight |= value > 1e-3f;
                    }
            }
            const bool isMirror = std::string_view(kind) == "ULineChromeMaterial";
            EXPECT_TRUE(hasLight || isMirror) << kind << ": nothing to compare";
            scene.scene->clear();
            squares.clear();
            suns.clear();
            addSun(25.0);
        }
}

// What emits tells so, of the colour that is seen.
TEST_F(LobeRecords, EmitWhatAShadeShows)
{
    for (const char* const kind : kinds) {
        const osg::UBRDFMaterialPtr material = osg::UBRDFMaterialPtr::dcast(makeRandom(kind));
        if (!material)
            continue;
        material->setTransparencyColor(gray(0.0f));
        material->setIncandescenceActive(true);
        material->setIncandescence(osg::ColorComponent(osg::Vec3f(0.5f, 1.0f, 2.0f)));
        material->setIncandescenceTexture(image().get());
        auto& shading = static_cast<znRTBRDFMaterial&>(addSquare(material));
        const znRTRayDifferentialPacket ray = randomRays();
        const Shaded seen = shade(ray);
        znRTDataBlockPacket data = blockOf(ray);
        const znFloatType<2> all = znFloatType<2>::allLanes();
        const znRTColorPacket emitted = shading.evaluateEmission(ray, data, all);
        // An image that lies in space is not known from texture coordinates; a workflow with an
        // emission of its own adds to it.
        const std::string_view name = kind;
        const bool isPlain = name.find("Triplanar") == std::string_view::npos &&
                             name != "UCarbonMaterial" && name != "USubstanceMaterial";
        const znRTColorPacket plain =
            isPlain ? shading.evaluateIncandescenceColor(data.dg, all) : emitted;
        for (int lane = 0; lane < 4; ++lane)
            for (int channel = 0; channel < 3; ++channel) {
                EXPECT_GT(emitted[channel][lane], 0.0f) << kind;
                EXPECT_NEAR(seen.layer(ZN_PASS_INCANDESCENCE)[channel][lane],
                            emitted[channel][lane], 1e-5f)
                    << kind;
                EXPECT_NEAR(plain[channel][lane], emitted[channel][lane], 1e-2f) << kind;
            }
        scene.scene->clear();
        squares.clear();
    }
}
