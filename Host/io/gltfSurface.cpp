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

constexpr const char* glossinessBlock = "KHR_materials_pbrSpecularGlossiness";

/// Materials of specular and glossiness alone, as older files have them, become dielectrics of
/// their diffuse colour, or metals of their specular one where that is what they show.
Json metallicRoughness(const Json& material)
{
    const Json& own = objectOrNone(material, "pbrMetallicRoughness");
    const Json* old = extension(material, glossinessBlock);
    if (!own.empty() || !old)
        return own;
    /// No dielectric reflects as much.
    constexpr double metalFrom = 0.25;
    const auto specular = numbers<3>(*old, "specularFactor", {1.0, 1.0, 1.0});
    const auto diffuse = numbers<4>(*old, "diffuseFactor", {1.0, 1.0, 1.0, 1.0});
    const double reflected = *std::max_element(specular.begin(), specular.end());
    const double scattered = *std::max_element(diffuse.begin(), diffuse.begin() + 3);
    const Json* specularTexture = member(*old, "specularGlossinessTexture");
    const Json* diffuseTexture = member(*old, "diffuseTexture");
    const bool isMetal =
        member(*old, "specularFactor") && reflected >= metalFrom && scattered < 0.5 * reflected;
    Json pbr = {{"metallicFactor", isMetal ? 1.0 : 0.0},
                {"roughnessFactor", 1.0 - number(*old, "glossinessFactor", 1.0)}};
    pbr["baseColorFactor"] =
        isMetal ? Json{specular[0], specular[1], specular[2], diffuse[3]} : Json(diffuse);
    if (const Json* texture = isMetal ? specularTexture : diffuseTexture)
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
    if (const Json* block = extension(material, "KHR_materials_specular")) {
        specular = share(*block, "specularFactor", 1.0);
        specularColor = numbers<3>(*block, "specularColorFactor", specularColor);
    }
    if (const Json* block = extension(material, "KHR_materials_diffuse_transmission")) {
        diffuseTransmission = share(*block, "diffuseTransmissionFactor", 0.0);
        diffuseTransmissionColor =
            numbers<3>(*block, "diffuseTransmissionColorFactor", diffuseTransmissionColor);
    }
    if (const Json* block = extension(material, "KHR_materials_transmission"))
        transmission = share(*block, "transmissionFactor", 0.0);
    if (const Json* block = extension(material, "KHR_materials_volume")) {
        thickness = std::max(number(*block, "thicknessFactor", 0.0), 0.0);
        attenuationDistance = std::max(number(*block, "attenuationDistance", 0.0), 0.0);
        attenuationColor = numbers<3>(*block, "attenuationColor", attenuationColor);
    }
    if (const Json* block = extension(material, "KHR_materials_dispersion"))
        dispersion = std::max(number(*block, "dispersion", 0.0), 0.0);
    if (const Json* block = extension(material, "KHR_materials_clearcoat")) {
        clearcoat = share(*block, "clearcoatFactor", 0.0);
        clearcoatRoughness = share(*block, "clearcoatRoughnessFactor", 0.0);
        clearcoatNormalScale = number(objectOrNone(*block, "clearcoatNormalTexture"), "scale", 1.0);
    }
    if (const Json* block = extension(material, "KHR_materials_sheen")) {
        sheenColor = numbers<3>(*block, "sheenColorFactor", sheenColor);
        sheenRoughness = share(*block, "sheenRoughnessFactor", 0.0);
    }
    if (const Json* block = extension(material, "KHR_materials_iridescence"))
        iridescence = share(*block, "iridescenceFactor", 0.0);
    if (const Json* block = extension(material, "KHR_materials_anisotropy")) {
        anisotropy = share(*block, "anisotropyStrength", 0.0);
        anisotropyRotation = number(*block, "anisotropyRotation", 0.0);
    }
}

bool GltfSurface::isTextured() const
{
    const Json& specularBlock = block("KHR_materials_specular");
    return hasPbrTexture("baseColorTexture") ||
           member(*roughnessMap().block, roughnessMap().member) || hasTexture("normalTexture") ||
           hasTexture("occlusionTexture") || member(specularBlock, "specularTexture");
}

bool GltfSurface::isEmissive() const
{
    return emissionStrength > 0.0 && *std::max_element(emission.begin(), emission.end()) > 0.0;
}

double GltfSurface::reflectance() const
{
    const double root = (ior - 1.0) / (ior + 1.0);
    const double greatest = *std::max_element(specularColor.begin(), specularColor.end());
    return std::clamp(std::min(root * root * greatest, 1.0) * specular, 0.0, 1.0);
}

const Json& GltfSurface::block(const char* name) const
{
    static const Json none = Json::object();
    const Json* found = extension(material, name);
    return found ? *found : none;
}

bool GltfSurface::isOfGlossiness() const
{
    return extension(material, glossinessBlock) &&
           objectOrNone(material, "pbrMetallicRoughness").empty();
}

GltfSurface::Map GltfSurface::roughnessMap() const
{
    if (isOfGlossiness())
        return {&block(glossinessBlock), "specularGlossinessTexture", 3, roughness - 1.0, 1.0};
    return {&pbr, "metallicRoughnessTexture", 1, roughness, 0.0};
}

} // namespace io
