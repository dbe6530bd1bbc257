#pragma once

// The material block of a glTF file with the extensions that are read, as plain numbers.

#include "io/gltfDocument.h"

namespace io {

struct GltfSurface
{
    /// @throws GltfFault
    explicit GltfSurface(const Json& description);

    const Json& material; ///< the whole block
    const Json pbr;       ///< pbrMetallicRoughness, or what stands for it; empty without

    std::array<double, 4> baseColor{1.0, 1.0, 1.0, 1.0};
    double metallic = 1.0, roughness = 1.0;
    std::array<double, 3> emission{0.0, 0.0, 0.0};
    double emissionStrength = 1.0;
    double normalScale = 1.0, occlusionStrength = 1.0;

    enum class Alpha { opaque, mask, blend };
    Alpha alpha = Alpha::opaque;
    double alphaCutoff = 0.5;
    bool isUnlit = false;
    bool isDoubleSided = false;

    double ior = 1.5;
    double specular = 1.0;
    std::array<double, 3> specularColor{1.0, 1.0, 1.0};
    double diffuseTransmission = 0.0;
    std::array<double, 3> diffuseTransmissionColor{1.0, 1.0, 1.0};
    double transmission = 0.0, dispersion = 0.0, thickness = 0.0;
    double attenuationDistance = 0.0; ///< 0: no absorption
    std::array<double, 3> attenuationColor{1.0, 1.0, 1.0};
    double clearcoat = 0.0, clearcoatRoughness = 0.0, clearcoatNormalScale = 1.0;
    std::array<double, 3> sheenColor{0.0, 0.0, 0.0};
    double sheenRoughness = 0.0;
    double iridescence = 0.0;
    double anisotropy = 0.0, anisotropyRotation = 0.0; ///< radians

    bool hasTexture(const char* name) const { return member(material, name) != nullptr; }
    bool hasPbrTexture(const char* name) const { return member(pbr, name) != nullptr; }
    bool isTextured() const;
    bool hasSheen() const
    {
        return sheenColor[0] > 0.0 || sheenColor[1] > 0.0 || sheenColor[2] > 0.0;
    }
    bool isEmissive() const;
    /// Greatest channel of the reflectance of the uncoated dielectric seen straight on, from its
    /// index of refraction and its specular colour.
    double reflectance() const;
    /// The block of an extension; an empty one without it.
    const Json& block(const char* name) const;

    /// Where the roughness of each place stands, if it does.
    struct Map
    {
        const Json* block;
        const char* member;
        u32 channel;
        double factor, offset; ///< roughness = offset + factor * value
    };
    Map roughnessMap() const;

private:
    /// Materials of specular and glossiness alone, as older files have them.
    bool isOfGlossiness() const;
};

} // namespace io
