#include "io/gltfMaterials.h"

#include "host/osg/materials/compositeMaterials.h"
#include "host/znLog.h"
#include "io/InputError.h"
#include "io/gltfSurfaceWriter.h"
#include "scene/variants.h"

#include <fmt/format.h>

namespace io {

namespace {

/// Roughness up to which a surface is as good as a mirror.
constexpr double mirrorUpTo = 0.05;
/// Transmission from which a surface is as clear as glass.
constexpr double glassFrom = 0.9;
/// Reflectance that the metallic workflow has for dielectrics at most.
constexpr double mostOfSubstance = 0.08;

struct Rule
{
    const char* type;              ///< of the container
    const char* reason;            ///< for the log
    const char* missing = nullptr; ///< what is not shown, for a warning
};

Rule ruleFor(const GltfSurface& s, GltfTextures& textures)
{
    const bool isBlack = s.baseColor[0] <= 0.0 && s.baseColor[1] <= 0.0 && s.baseColor[2] <= 0.0;
    const bool isPlain = !s.isTextured() && s.anisotropy <= 0.0;
    if (s.isUnlit)
        return {"ULightMaterial", "unlit"};
    if (s.transmission > 0.0) {
        const Json& block = s.block("KHR_materials_transmission");
        const double shown = meanTransmission(s, textures);
        // Images may serve other surfaces as well, so their means do not tell what is opaque here.
        if (shown < glassFrom && !member(block, "transmissionTexture") && s.thickness <= 0.0)
            return {"USubstanceMaterial", "transmission of a part"};
        return {"UGlassMaterial",
                shown < glassFrom ? "transmission, also where its map is opaque" : "transmission"};
    }
    if (s.isEmissive() && isBlack && !s.isTextured())
        return {"ULightMaterial", "emission only"};
    if (s.hasSheen())
        return {"UPlasticMaterial", "sheen as a tinted rim"};
    if (s.clearcoat > 0.0 && hasRoughCoat(s, textures))
        return {"UPlasticMaterial", "rough clearcoat", "the highlight below its clearcoat"};
    if (s.clearcoat > 0.0)
        return {"UReflectivePlasticMaterial", "clearcoat"};
    if (s.diffuseTransmission > 0.0)
        return {"UPlasticMaterial", "diffuse transmission"};
    if (isPlain && s.metallic >= 1.0 && s.roughness <= mirrorUpTo)
        return {"UChromeMaterial", "polished metal"};
    if (isPlain && s.metallic <= 0.0 && s.roughness <= mirrorUpTo)
        return {"UReflectivePlasticMaterial", "polished dielectric"};
    if (isPlain && s.metallic <= 0.0 && s.reflectance() > mostOfSubstance)
        return {"UPlasticMaterial", "strong reflection"};
    return {"USubstanceMaterial", "metallic and roughness"};
}

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
    const Rule rule = ruleFor(surface, textures);
    const osg::Ref<osg::Material> material =
        osg::MaterialPtr::dcast(osg::FieldContainerFactory::the()->createContainer(rule.type));
    if (!material)
        throw GltfFault(fmt::format("{} is not there", rule.type));
    setName(material.get(), name);
    {
        const osg::EditScope edit(material.get());
        writeSurface(*material, surface, textures, hasVertexColors);
    }
    const std::string label = printable(document.getName()) + ": material \"" + printable(name);
    znLog::info(fmt::format("{}\" becomes {}: {}", label, rule.type, rule.reason).c_str());
    if (extension(description, "KHR_materials_pbrSpecularGlossiness") &&
        !member(description, "pbrMetallicRoughness"))
        document.warn(fmt::format("material \"{}\": specular and glossiness are only approximated, "
                                  "export it again with metallic and roughness",
                                  name));
    for (const char* missing :
         {rule.missing, surface.iridescence > 0.0 ? "its iridescence" : nullptr})
        if (missing)
            document.warn(fmt::format("material \"{}\": {} is not shown", name, missing));
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
