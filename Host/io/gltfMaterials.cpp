#include "io/gltfMaterials.h"

#include "host/osg/materials/compositeMaterials.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/gltfSurface.h"
#include "scene/variants.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

namespace io {

namespace {

constexpr double degrees = 180.0 / std::numbers::pi; ///< per radian
/// Roughness from which a dielectric needs no mirror coat.
constexpr double roughFrom = 0.5;

osg::ColorComponent colorOf(const double* rgb, double intensity = 1.0)
{
    const auto channel = [](double value) { return float(std::max(value, 0.0)); };
    return {osg::Vec3f(channel(rgb[0]), channel(rgb[1]), channel(rgb[2])), float(intensity)};
}

/// Sets fields of a material by name. Values are brought into the field's range; fields that the
/// kind does not have are passed over.
class FieldWriter
{
public:
    explicit FieldWriter(osg::Material& material_) : material(material_) {}

    bool has(const char* name) const { return material.getType().findField(name) != nullptr; }

    void number(const char* name, double value) const
    {
        const osg::FieldDescription* field = material.getType().findField(name);
        if (field)
            field->set(material, std::clamp(value, field->minimum, field->maximum));
    }
    void flag(const char* name, bool value) const { set(name, value); }
    void color(const char* name, const osg::ColorComponent& value) const { set(name, value); }
    /// @return whether there was a texture to set
    bool texture(const char* name, const osg::Ref<osg::UTextureSettings>& slot) const
    {
        return slot && set(name, osg::FieldContainerPtr(slot.get()));
    }

private:
    bool set(const char* name, osg::FieldVariant value) const
    {
        const osg::FieldDescription* field = material.getType().findField(name);
        return field && field->set(material, std::move(value)) == osg::FieldError::none;
    }

    osg::Material& material;
};

struct Rule
{
    const char* type;   ///< of the container
    const char* reason; ///< for the log
    bool isApproximate = false;
};

Rule ruleFor(const GltfSurface& s)
{
    const bool isBlack = s.baseColor[0] <= 0.0 && s.baseColor[1] <= 0.0 && s.baseColor[2] <= 0.0;
    const bool isMetal = s.metallic >= 0.5;
    if (s.isUnlit)
        return {"ULightMaterial", "unlit"};
    if (s.transmission > 0.0)
        return {"UGlassMaterial", "transmission"};
    if (s.isEmissive() && isBlack && !s.isTextured())
        return {"ULightMaterial", "emission only"};
    if (*std::max_element(s.sheenColor.begin(), s.sheenColor.end()) > 0.0)
        return {"UVelvetMaterial", "sheen"};
    if (s.iridescence > 0.0)
        return {"UFlipflopMaterial", "iridescence", true};
    if (s.clearcoat > 0.0)
        return isMetal ? Rule{"UMetallicPaintMaterial", "clearcoat over metal"}
                       : Rule{"UUnicolorPaintMaterial", "clearcoat"};
    if (s.isTextured() || (s.metallic > 0.0 && s.metallic < 1.0))
        return {"USubstanceMaterial", s.isTextured() ? "textured" : "partly metallic"};
    if (isMetal)
        return s.anisotropy > 0.0 ? Rule{"UBrushedMetalMaterial", "anisotropic metal"}
                                  : Rule{"UChromeMaterial", "metal"};
    return s.roughness >= roughFrom ? Rule{"UPlasticMaterial", "rough dielectric"}
                                    : Rule{"UReflectivePlasticMaterial", "glossy dielectric"};
}

/// Sets what a rule's kind takes from a surface.
class SurfaceWriter
{
public:
    SurfaceWriter(osg::Material& material, const GltfSurface& surface, GltfTextures& textures_)
        : fields(material), s(surface), textures(textures_), type(material.getType().getName())
    {
    }

    void write(bool hasVertexColors) const
    {
        if (type == "ULightMaterial")
            writeLight();
        else if (type == "UGlassMaterial")
            writeGlass();
        else if (type == "USubstanceMaterial")
            writeSubstance();
        else
            writeReflector();
        if (type != "ULightMaterial") {
            writeEmission();
            writeNormals();
            writeAlpha();
        }
        if (s.isEmissive() && !s.isUnlit && !s.isDoubleSided)
            writeFrontAlone();
        if (hasVertexColors) {
            enum { color = 1, colorAndOpacity = 2 };
            fields.number("vertexColors",
                          s.alpha == GltfSurface::Alpha::blend ? colorAndOpacity : color);
        }
    }

private:
    using Kind = GltfTextures::Kind;
    using Channel = GltfTextures::Channel;

    void colorWithTexture(const char* name, const osg::ColorComponent& color, const Json& block,
                          const char* textureMember) const
    {
        fields.color(name, color);
        fields.texture((std::string(name) + "Texture").c_str(),
                       textures.slot(block, textureMember, Kind::color));
    }

    /// A number whose image carries the factor, so that it does not matter whether a kind takes the
    /// image alone or times the number.
    void numberWithTexture(const char* name, double value, const Json& block,
                           const char* textureMember, u32 channel) const
    {
        const bool isSet = fields.texture(
            (std::string(name) + "Texture").c_str(),
            textures.channelSlot(block, textureMember, Channel{channel, float(value)}));
        fields.number(name, isSet ? 1.0 : value);
    }

    void writeLight() const
    {
        const bool isPlain = s.isUnlit;
        const osg::ColorComponent color =
            isPlain ? colorOf(s.baseColor.data()) : colorOf(s.emission.data(), s.emissionStrength);
        const Json& block = isPlain ? s.pbr : s.material;
        colorWithTexture("emissiveComponent", color, block,
                         isPlain ? "baseColorTexture" : "emissiveTexture");
    }

    void writeGlass() const
    {
        const bool isSolid = s.thickness > 0.0;
        const double ior = s.ior > 0.0 ? s.ior : 1.5;
        fields.number("ior", ior);
        // Without a volume a surface is a thin wall, which bends no rays.
        fields.flag("useIor", isSolid);
        // KHR_materials_dispersion: half the spread of the index over the visible colours.
        fields.number("dispersion", (ior - 1.0) * 0.025 * s.dispersion);
        fields.number("finish", s.roughness > 0.01 ? 1 : 0);
        numberWithTexture("roughness", s.roughness, s.pbr, "metallicRoughnessTexture", 1);
        if (isSolid && s.attenuationDistance > 0.0) {
            fields.color("transmission", colorOf(s.attenuationColor.data()));
            fields.number("attenuationDistance", s.attenuationDistance);
        } else
            colorWithTexture("transmission", colorOf(s.baseColor.data()), s.pbr,
                             "baseColorTexture");
    }

    void writeSubstance() const
    {
        colorWithTexture("baseColor", colorOf(s.baseColor.data()), s.pbr, "baseColorTexture");
        numberWithTexture("roughness", s.roughness, s.pbr, "metallicRoughnessTexture", 1);
        numberWithTexture("metallic", s.metallic, s.pbr, "metallicRoughnessTexture", 2);
        // Reflectance is 0.08 times the level.
        fields.number("specularLevel", s.reflectance() / 0.08);
        writeOcclusion("ambientOcclusionTexture");
        if (s.anisotropy > 0.0) {
            fields.flag("hasAnisotropyLevel", true);
            fields.number("anisotropyLevel", s.anisotropy);
            // As a share of a whole turn here.
            const double turns = s.anisotropyRotation / (2.0 * std::numbers::pi);
            fields.number("anisotropyAngle", turns - std::floor(turns));
        }
    }

    /// Paints, cloth, metals and plastics: a body colour and a reflection on it.
    void writeReflector() const
    {
        const osg::ColorComponent base = colorOf(s.baseColor.data());
        if (type == "UChromeMaterial" || type == "UBrushedMetalMaterial") {
            // The colour of a metal is that of its reflection; the tabulated metals stay off.
            constexpr int noTable = 255;
            fields.number("fresnelTable", noTable);
            fields.number("reflectance", 1.0);
            fields.color(fields.has("reflection") ? "reflection" : "glossy", base);
        } else {
            fields.number("reflectance", s.reflectance());
            for (const char* name : {"diffuse", "base", "paintA"})
                colorWithTexture(name, base, s.pbr, "baseColorTexture");
        }
        if (type == "UMetallicPaintMaterial")
            fields.color("flake", base);
        if (type == "UVelvetMaterial") {
            const Json* block = extension(s.material, "KHR_materials_sheen");
            colorWithTexture("sheen", colorOf(s.sheenColor.data()), *block, "sheenColorTexture");
            // Rough sheen is broad, smooth sheen a thin rim.
            fields.number("edgeFalloff", 1.0 / std::max(s.sheenRoughness * s.sheenRoughness, 0.05));
        }
        if (type == "UFlipflopMaterial")
            fields.color("paintB", colorOf(complement().data()));
        if (s.clearcoat > 0.0)
            writeClearcoat();
        // Texels of glossiness: 1 minus the roughness.
        const Channel glossiness{1, -float(s.roughness), 1.0f, GltfTextures::noThreshold};
        if (fields.has("glossinessTexture"))
            fields.texture("glossinessTexture",
                           textures.channelSlot(s.pbr, "metallicRoughnessTexture", glossiness));
        writeOcclusion("occlusionTexture");
        fields.number("roughness", s.roughness);
        if (s.anisotropy > 0.0) {
            // KHR_materials_anisotropy: alpha along the direction grows towards 1.
            const double alpha = s.roughness * s.roughness;
            const double along = alpha + (1.0 - alpha) * s.anisotropy * s.anisotropy;
            fields.number("roughness", std::sqrt(along));
            fields.number("roughnessV", s.roughness);
            fields.number("anisotropyAngle", s.anisotropyRotation * degrees);
        } else
            fields.number("roughnessV", s.roughness);
    }

    void writeClearcoat() const
    {
        const Json* block = extension(s.material, "KHR_materials_clearcoat");
        fields.color("clearcoat", osg::ColorComponent(float(s.clearcoat)));
        fields.texture("clearcoatTexture",
                       textures.channelSlot(*block, "clearcoatTexture", Channel{0}));
    }

    /// Strength 0 leaves everything open.
    void writeOcclusion(const char* name) const
    {
        if (fields.has(name))
            fields.texture(name, textures.channelSlot(s.material, "occlusionTexture",
                                                      Channel{0, float(s.occlusionStrength),
                                                              1.0f - float(s.occlusionStrength),
                                                              GltfTextures::noThreshold}));
    }

    /// The base colour with its hue turned half round: what interference shows at grazing angles.
    std::array<double, 3> complement() const
    {
        const double sum = *std::max_element(s.baseColor.begin(), s.baseColor.begin() + 3) +
                           *std::min_element(s.baseColor.begin(), s.baseColor.begin() + 3);
        return {sum - s.baseColor[0], sum - s.baseColor[1], sum - s.baseColor[2]};
    }

    void writeEmission() const
    {
        if (!s.isEmissive())
            return;
        colorWithTexture("incandescence", colorOf(s.emission.data(), s.emissionStrength),
                         s.material, "emissiveTexture");
        fields.flag("incandescenceActive", true);
    }

    /// Lamps of one side shine to that side. Other surfaces are there from both: a wall that
    /// vanishes from behind would let light into the room.
    void writeFrontAlone() const
    {
        constexpr int front = 1;
        fields.number("sideness", front);
    }

    void writeNormals() const
    {
        const auto slot = textures.slot(s.material, "normalTexture", Kind::data);
        if (!slot)
            return;
        if (!fields.texture("normalTexture", slot))
            fields.texture("bumpTexture", slot);
        constexpr int normalMap = 1;
        fields.number("bumpKind", normalMap);
        fields.number("bumpAmplitude", s.normalScale);
    }

    void writeAlpha() const
    {
        const double factor = s.baseColor[3];
        if (s.alpha == GltfSurface::Alpha::mask) {
            const Channel solid{3, float(factor), 0.0f, float(s.alphaCutoff)};
            if (!fields.texture("cutoutTexture",
                                textures.channelSlot(s.pbr, "baseColorTexture", solid)) &&
                factor < s.alphaCutoff)
                fields.color("transparencyColor", osg::ColorComponent(1.0f));
        } else if (s.alpha == GltfSurface::Alpha::blend && fields.has("opacity"))
            numberWithTexture("opacity", factor, s.pbr, "baseColorTexture", 3);
        else if (s.alpha == GltfSurface::Alpha::blend) {
            // White lets everything through.
            const Channel clear{3, -float(factor), 1.0f, GltfTextures::noThreshold};
            const bool isSet = fields.texture(
                "transparencyTexture", textures.channelSlot(s.pbr, "baseColorTexture", clear));
            fields.color("transparencyColor",
                         osg::ColorComponent(isSet ? 1.0f : float(1.0 - factor)));
        }
    }

    FieldWriter fields;
    const GltfSurface& s;
    GltfTextures& textures;
    std::string type;
};

} // namespace

GltfMaterials::GltfMaterials(GltfDocument& document_, GltfTextures& textures_)
    : document(document_), textures(textures_)
{
    if (const Json* block = extension(document.getRoot(), "KHR_materials_variants"))
        for (const Json& variant : listOf(*block, "variants"))
            variants.push_back(text(variant, "name"));
}

void GltfMaterials::decodeImagesAhead()
{
    std::set<u64> used;
    const auto use = [&](const Json& object) {
        if (const auto index = wholeNumber(object, "material"))
            used.insert(*index);
    };
    for (const Json& mesh : listOf(document.getRoot(), "meshes"))
        for (const Json& primitive : listOf(mesh, "primitives")) {
            try {
                use(primitive);
                if (const Json* block = extension(primitive, "KHR_materials_variants"))
                    for (const Json& mapping : listOf(*block, "mappings"))
                        use(mapping);
            } catch (const GltfFault&) {
                // Told of when the primitive is read.
            }
        }
    textures.decodeAhead(used);
}

osg::MaterialPtr GltfMaterials::byNumber(const Key& key)
{
    const std::optional<u64> index = key.index;
    const auto [found, isNew] = materials.try_emplace(key);
    if (!isNew)
        return found->second;
    // Meshes without a material: a matt white dielectric, which shows their form best.
    static const Json usual = {{"pbrMetallicRoughness", {{"metallicFactor", 0.0}}}};
    const Json& description = index ? document.element("materials", *index) : usual;
    std::string name = text(description, "name");
    if (name.empty())
        name = index ? fmt::format("material{}", *index) : "default";
    try {
        found->second = read(description, name, key.hasVertexColors);
    } catch (const GltfFault& fault) {
        document.warn(fmt::format("material \"{}\" takes its defaults: {}", name, fault.what()));
        found->second = read(usual, name, key.hasVertexColors);
    }
    return found->second;
}

osg::Ref<osg::Material> GltfMaterials::read(const Json& description, const std::string& name,
                                            bool hasVertexColors)
{
    const GltfSurface surface(description);
    const Rule rule = ruleFor(surface);
    const osg::Ref<osg::Material> material =
        osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->createContainer(rule.type));
    if (!material)
        throw GltfFault(fmt::format("{} is not there", rule.type));
    setName(material.get(), name);
    {
        const osg::EditScope edit(material.get());
        SurfaceWriter(*material, surface, textures).write(hasVertexColors);
    }
    const std::string label = printable(document.getName()) + ": material \"" + printable(name);
    znLog::info(fmt::format("{}\" becomes {}: {}", label, rule.type, rule.reason).c_str());
    if (extension(description, "KHR_materials_pbrSpecularGlossiness") &&
        !member(description, "pbrMetallicRoughness"))
        document.warn(fmt::format("material \"{}\": specular and glossiness are only approximated, "
                                  "export it again with metallic and roughness",
                                  name));
    if (rule.isApproximate)
        document.warn(fmt::format("material \"{}\": {} is only approximated", name, rule.reason));
    return material;
}

osg::MaterialPtr GltfMaterials::get(const Json& primitive)
{
    const Json* attributes = member(primitive, "attributes");
    const bool hasVertexColors = attributes && member(*attributes, "COLOR_0");
    osg::MaterialPtr usual;
    try {
        usual = byNumber({wholeNumber(primitive, "material"), hasVertexColors});
    } catch (const GltfFault& fault) {
        document.warn(fmt::format("a default material is used: {}", fault.what()));
        usual = byNumber({std::nullopt, hasVertexColors});
    }
    const Json* block = extension(primitive, "KHR_materials_variants");
    if (!block || variants.empty())
        return usual;
    switches.push_back(variantSwitch(listOf(*block, "mappings"), usual, hasVertexColors));
    return switches.back() ? switches.back().get() : usual;
}

osg::Ref<osg::Material> GltfMaterials::variantSwitch(const Json& mappings,
                                                     const osg::MaterialPtr& usual,
                                                     bool hasVertexColors)
{
    // Without a variant the primitive keeps its usual material: the choice behind the others.
    std::vector<osg::FieldContainerPtr> choices(variants.size() + 1, usual);
    for (const Json& mapping : mappings) {
        const osg::MaterialPtr material =
            byNumber({wholeNumber(mapping, "material"), hasVertexColors});
        for (const Json& variant : listOf(mapping, "variants"))
            if (variant.is_number_unsigned() && variant.get<u64>() < variants.size())
                choices[variant.get<u64>()] = material;
    }
    const osg::Ref<osg::Material> result = osg::MaterialPtr::dcast(
        osg::FieldContainerFactory::the()->createContainer("SwitchMaterial"));
    const osg::FieldDescription* field =
        result ? result->getType().findField("materials") : nullptr;
    if (!field || field->set(*result, choices) != osg::FieldError::none)
        return {};
    osg::SwitchMaterial::Ptr::dcast(result.get())->setChoice(int(variants.size()));
    scene::setVariants(result.get(), variants);
    setName(result.get(), getName(usual));
    return result;
}

} // namespace io
