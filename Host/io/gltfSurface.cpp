#include "io/gltfSurface.h"

#include <algorithm>

namespace io {

namespace {

const Json& objectOrNone(const Json& object, const char* key)
{
    static const Json none = Json::object();
    const Json* found = member(object, key);
    return found && found->is_object() ? *found : none;
}

/// Materials of specular and glossiness alone, as older files have them, become dielectrics of
/// their diffuse colour.
Json metallicRoughness(const Json& material)
{
    const Json& own = objectOrNone(material, "pbrMetallicRoughness");
    const Json* old = extension(material, "KHR_materials_pbrSpecularGlossiness");
    if (!own.empty() || !old)
        return own;
    Json pbr = {{"metallicFactor", 0.0},
                {"roughnessFactor", 1.0 - number(*old, "glossinessFactor", 1.0)}};
    if (const Json* color = member(*old, "diffuseFactor"))
        pbr["baseColorFactor"] = *color;
    if (const Json* texture = member(*old, "diffuseTexture"))
        pbr["baseColorTexture"] = *texture;
    return pbr;
}

double share(const Json& object, const char* key, double missing)
{
    return std::clamp(number(object, key, missing), 0.0, 1.0);
}

} // namespace

GltfSurface::GltfSurface(const Json& description)
    : material(description), pbr(metallicRoughness(description))
{
    baseColor = numbers<4>(pbr, "baseColorFactor", baseColor);
    metallic = share(pbr, "metallicFactor", 1.0);
    roughness = share(pbr, "roughnessFactor", 1.0);
    emission = numbers<3>(material, "emissiveFactor", emission);
    normalScale = number(objectOrNone(material, "normalTexture"), "scale", 1.0);
    occlusionStrength = share(objectOrNone(material, "occlusionTexture"), "strength", 1.0);
    const std::string alphaMode = text(material, "alphaMode");
    alpha = alphaMode == "MASK" ? Alpha::mask : alphaMode == "BLEND" ? Alpha::blend : Alpha::opaque;
    alphaCutoff = number(material, "alphaCutoff", 0.5);

    isDoubleSided = flag(material, "doubleSided", false);
    isUnlit = extension(material, "KHR_materials_unlit") != nullptr;
    if (const Json* block = extension(material, "KHR_materials_emissive_strength"))
        emissionStrength = std::max(number(*block, "emissiveStrength", 1.0), 0.0);
    if (const Json* block = extension(material, "KHR_materials_ior"))
        ior = number(*block, "ior", 1.5);
    if (const Json* block = extension(material, "KHR_materials_specular"))
        specular = share(*block, "specularFactor", 1.0);
    if (const Json* block = extension(material, "KHR_materials_transmission"))
        transmission = share(*block, "transmissionFactor", 0.0);
    if (const Json* block = extension(material, "KHR_materials_volume")) {
        thickness = std::max(number(*block, "thicknessFactor", 0.0), 0.0);
        attenuationDistance = std::max(number(*block, "attenuationDistance", 0.0), 0.0);
        attenuationColor = numbers<3>(*block, "attenuationColor", attenuationColor);
    }
    if (const Json* block = extension(material, "KHR_materials_dispersion"))
        dispersion = std::max(number(*block, "dispersion", 0.0), 0.0);
    if (const Json* block = extension(material, "KHR_materials_clearcoat"))
        clearcoat = share(*block, "clearcoatFactor", 0.0);
    if (const Json* block = extension(material, "KHR_materials_sheen")) {
        sheenColor = numbers<3>(*block, "sheenColorFactor", sheenColor);
        sheenRoughness = share(*block, "sheenRoughnessFactor", 0.0);
    }
    if (const Json* block = extension(material, "KHR_materials_iridescence")) {
        iridescence = share(*block, "iridescenceFactor", 0.0);
        iridescenceIor = number(*block, "iridescenceIor", 1.3);
    }
    if (const Json* block = extension(material, "KHR_materials_anisotropy")) {
        anisotropy = share(*block, "anisotropyStrength", 0.0);
        anisotropyRotation = number(*block, "anisotropyRotation", 0.0);
    }
}

bool GltfSurface::isTextured() const
{
    return hasPbrTexture("baseColorTexture") || hasPbrTexture("metallicRoughnessTexture") ||
           hasTexture("normalTexture") || hasTexture("occlusionTexture");
}

bool GltfSurface::isEmissive() const
{
    return emissionStrength > 0.0 && *std::max_element(emission.begin(), emission.end()) > 0.0;
}

double GltfSurface::reflectance() const
{
    const double root = (ior - 1.0) / (ior + 1.0);
    return std::clamp(root * root * specular, 0.0, 1.0);
}

} // namespace io
