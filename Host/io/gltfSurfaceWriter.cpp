#include "io/gltfSurfaceWriter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace io {

namespace {

constexpr const char* clearcoatBlock = "KHR_materials_clearcoat";
constexpr const char* sheenBlock = "KHR_materials_sheen";
constexpr const char* transmissionBlock = "KHR_materials_transmission";
constexpr const char* diffuseTransmissionBlock = "KHR_materials_diffuse_transmission";
constexpr const char* anisotropyBlock = "KHR_materials_anisotropy";
constexpr const char* specularBlock = "KHR_materials_specular";

using Rgb = std::array<double, 3>;

Rgb rgbOf(const std::array<double, 4>& color)
{
    return {color[0], color[1], color[2]};
}

Rgb scaled(const Rgb& color, double factor)
{
    return {color[0] * factor, color[1] * factor, color[2] * factor};
}

osg::ColorComponent colorOf(const Rgb& rgb, double intensity = 1.0)
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

/// How facets of a roughness look as power lobes with the exponent 1 / width^2.
struct LobeWidth
{
    double factor, power; ///< width = factor * roughness^power
    double operator()(double roughness) const { return factor * std::pow(roughness, power); }
};
constexpr LobeWidth ofFacets{0.5 * std::numbers::sqrt2, 2.0};
/// About a refracted direction instead of the half vector's: a reflected direction turns twice as
/// far as its facet, and thin walls spread as much.
constexpr LobeWidth ofRays{std::numbers::sqrt2, 2.0};

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
        else if (type == "UChromeMaterial")
            writeMetal();
        else
            writePlastic();
        if (type != "ULightMaterial") {
            writeEmission();
            writeNormals();
        }
        writeAlpha();
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
    void baseColor(const char* name) const
    {
        colorWithTexture(name, colorOf(rgbOf(s.baseColor)), s.pbr, "baseColorTexture");
    }

    /// A number whose image carries the factor, so that it does not matter whether a kind takes the
    /// image alone or times the number.
    void numberWithTexture(const char* name, double value, const Json& block,
                           const char* textureMember, u32 channel) const
    {
        numberWithTexture(name, value, block, textureMember, Channel{channel, float(value)});
    }
    void numberWithTexture(const char* name, double value, const Json& block,
                           const char* textureMember, const Channel& channel) const
    {
        const bool isSet = fields.texture((std::string(name) + "Texture").c_str(),
                                          textures.channelSlot(block, textureMember, channel));
        fields.number(name, isSet ? 1.0 : value);
    }

    void writeLight() const
    {
        const bool isPlain = s.isUnlit;
        const osg::ColorComponent color =
            isPlain ? colorOf(rgbOf(s.baseColor)) : colorOf(s.emission, s.emissionStrength);
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
        const GltfSurface::Map map = s.roughnessMap();
        const Channel width{map.channel, float(ofRays(s.roughness)), 0.0f, float(ofRays.power)};
        numberWithTexture("roughness", ofRays(s.roughness), *map.block, map.member, width);
        if (isSolid && s.attenuationDistance > 0.0) {
            fields.color("transmission", colorOf(s.attenuationColor));
            fields.number("attenuationDistance", s.attenuationDistance);
        } else
            baseColor("transmission");
    }

    void writeSubstance() const
    {
        baseColor("baseColor");
        const GltfSurface::Map map = s.roughnessMap();
        const Channel roughness{map.channel, float(map.factor), float(map.offset)};
        numberWithTexture("roughness", s.roughness, *map.block, map.member, roughness);
        numberWithTexture("metallic", s.metallic, s.pbr, "metallicRoughnessTexture", 2);
        // Reflectance is 0.08 times the level.
        numberWithTexture("specularLevel", std::min(s.reflectance() / 0.08, 1.0),
                          s.block(specularBlock), "specularTexture", 3);
        writeOcclusion("ambientOcclusionTexture");
        if (s.anisotropy > 0.0)
            writeAnisotropy(map);
        if (s.transmission > 0.0)
            writeOpenness();
    }

    /// KHR_materials_anisotropy widens the facets' slopes along the direction from alpha towards 1
    /// by the square of the strength. Here the slopes are alpha / a and alpha * a, with
    /// a^2 = 1 - 0.9 level.
    void writeAnisotropy(const GltfSurface::Map& map) const
    {
        const Json& block = s.block(anisotropyBlock);
        const double mean =
            map.offset +
            map.factor * textures.meanOf(*map.block, map.member, map.channel).value_or(1.0);
        const double alpha = std::max(mean * mean, 1e-4);
        const double along = alpha + (1.0 - alpha) * s.anisotropy * s.anisotropy;
        const double level = std::min((1.0 - alpha / along) / 0.9, 1.0);
        // As if the roughness were even where the strength is.
        const double wider = std::pow(along / alpha, 0.25);
        const Channel roughness{map.channel, float(map.factor * wider), float(map.offset * wider)};
        numberWithTexture("roughness", std::min(s.roughness * wider, 1.0), *map.block, map.member,
                          roughness);
        fields.flag("hasAnisotropyLevel", true);
        const Channel strength{2, float(level), 0.0f, 2.0f};
        numberWithTexture("anisotropyLevel", level, block, "anisotropyTexture", strength);
        // As a share of a whole turn here.
        const double turns = s.anisotropyRotation / (2.0 * std::numbers::pi);
        const double share = turns - std::floor(turns);
        const Channel direction{GltfTextures::directionAngle, 1.0f, float(share)};
        numberWithTexture("anisotropyAngle", share, block, "anisotropyTexture", direction);
    }

    /// What goes through goes straight, tinted by the base colour.
    void writeOpenness() const
    {
        fields.color("transparencyColor", colorOf(scaled(rgbOf(s.baseColor), s.transmission)));
    }

    /// The colour of a metal is that of its reflection; the tabulated metals stay off.
    void writeMetal() const
    {
        constexpr int noTable = 255;
        fields.number("fresnelTable", noTable);
        fields.number("reflectance", 1.0);
        fields.color("reflection", colorOf(rgbOf(s.baseColor)));
        fields.number("roughness", ofFacets(s.roughness));
    }

    /// A body colour and a reflection on it, with or without a coat that mirrors.
    void writePlastic() const
    {
        const bool isCoated = s.clearcoat > 0.0;
        const bool isMetal = isCoated && meanMetallic(s, textures) >= 0.5;
        const bool isCloth = s.hasSheen();
        if (isMetal) {
            fields.color("diffuse", osg::ColorComponent(0.0f));
            fields.number("reflectance", 1.0);
            baseColor("glossy");
        } else {
            baseColor("diffuse");
            fields.number("reflectance", s.reflectance());
            fields.color("glossy", tintOfReflection());
        }
        if (isCloth)
            writeSheen();
        else if (isCoated && !fields.has("clearcoat"))
            writeRoughCoat();
        else if (fields.has("clearcoat") && !isCoated)
            writeMirror();
        else
            writeWidth(s.roughness, s.roughnessMap());
        if (isCoated && fields.has("clearcoat"))
            writeClearcoat();
        if (s.diffuseTransmission > 0.0)
            writeDiffuseTransmission();
        writeOcclusion("occlusionTexture");
    }

    osg::ColorComponent tintOfReflection() const
    {
        const double greatest = *std::max_element(s.specularColor.begin(), s.specularColor.end());
        return colorOf(greatest > 0.0 ? scaled(s.specularColor, 1.0 / greatest) : s.specularColor);
    }

    /// Width of the highlight, uniform and by an image. Texels of glossiness are 1 minus the width.
    void writeWidth(double roughness, const GltfSurface::Map& map) const
    {
        fields.number("roughness", ofFacets(roughness));
        fields.number("roughnessV", ofFacets(roughness));
        const Channel glossiness{map.channel, -float(ofFacets(map.factor)), 1.0f,
                                 float(ofFacets.power)};
        // Older files store the glossiness: its complement has no power in closed form.
        const Channel stored{map.channel, -float(map.factor), 1.0f - float(map.offset)};
        fields.texture(
            "glossinessTexture",
            textures.channelSlot(*map.block, map.member, map.offset == 0.0 ? glossiness : stored));
    }

    /// Smooth enough to mirror: the coat is the surface itself.
    void writeMirror() const
    {
        fields.color("glossy", osg::ColorComponent(0.0f));
        fields.number("clearcoatReflectance", s.reflectance());
        fields.color("clearcoat", tintOfReflection());
    }

    /// A tinted rim: reflection of 0.04 straight on, and of all at grazing angles.
    void writeSheen() const
    {
        const Json& block = s.block(sheenBlock);
        colorWithTexture("glossy", colorOf(s.sheenColor), block, "sheenColorTexture");
        fields.number("reflectance", 0.04);
        const double roughness = std::max(s.sheenRoughness, 0.3);
        writeWidth(roughness, {&block, "sheenRoughnessTexture", 3, roughness, 0.0});
    }

    /// The highlight of the coat in place of the body's.
    void writeRoughCoat() const
    {
        const Json& block = s.block(clearcoatBlock);
        fields.color("glossy", osg::ColorComponent(float(s.clearcoat)));
        fields.texture("glossyTexture",
                       textures.channelSlot(block, "clearcoatTexture", Channel{0}));
        fields.number("reflectance", 0.04);
        writeWidth(s.clearcoatRoughness,
                   {&block, "clearcoatRoughnessTexture", 1, s.clearcoatRoughness, 0.0});
    }

    void writeClearcoat() const
    {
        fields.color("clearcoat", osg::ColorComponent(float(s.clearcoat)));
        fields.texture("clearcoatTexture", textures.channelSlot(s.block(clearcoatBlock),
                                                                "clearcoatTexture", Channel{0}));
    }

    /// Light that comes through leaves less for the front.
    void writeDiffuseTransmission() const
    {
        constexpr int thin = 1;
        const Json& block = s.block(diffuseTransmissionBlock);
        fields.number("translucencyMode", thin);
        const Rgb passed = scaled(s.diffuseTransmissionColor, s.diffuseTransmission);
        colorWithTexture("translucency", colorOf(passed), block, "diffuseTransmissionColorTexture");
        fields.color("diffuse", colorOf(scaled(rgbOf(s.baseColor), 1.0 - s.diffuseTransmission)));
    }

    /// Strength 0 leaves everything open.
    void writeOcclusion(const char* name) const
    {
        if (fields.has(name))
            fields.texture(name, textures.channelSlot(s.material, "occlusionTexture",
                                                      Channel{0, float(s.occlusionStrength),
                                                              1.0f - float(s.occlusionStrength)}));
    }

    void writeEmission() const
    {
        if (!s.isEmissive())
            return;
        colorWithTexture("incandescence", colorOf(s.emission, s.emissionStrength), s.material,
                         "emissiveTexture");
        fields.flag("incandescenceActive", true);
    }

    /// Lamps of one side shine to that side. Other surfaces are there from both: a wall that
    /// vanishes from behind would let light into the room.
    void writeFrontAlone() const
    {
        constexpr int front = 1;
        fields.number("sideness", front);
    }

    /// A surface has one normal: that of the body, or the coat's where the body has none.
    void writeNormals() const
    {
        auto slot = textures.slot(s.material, "normalTexture", Kind::data);
        double scale = s.normalScale;
        if (!slot && s.clearcoat > 0.0) {
            slot = textures.slot(s.block(clearcoatBlock), "clearcoatNormalTexture", Kind::data);
            scale = s.clearcoatNormalScale;
        }
        if (!slot)
            return;
        if (!fields.texture("normalTexture", slot))
            fields.texture("bumpTexture", slot);
        constexpr int normalMap = 1;
        fields.number("bumpKind", normalMap);
        fields.number("bumpAmplitude", scale);
    }

    void writeAlpha() const
    {
        const double factor = s.baseColor[3];
        if (s.alpha == GltfSurface::Alpha::mask) {
            // Kinds cut at a half. Values in between stay, for edges that are smooth between
            // texels.
            const Channel solid{3, float(factor), 0.5f - float(s.alphaCutoff)};
            if (!fields.texture("cutoutTexture",
                                textures.channelSlot(s.pbr, "baseColorTexture", solid)) &&
                factor < s.alphaCutoff)
                fields.color("transparencyColor", osg::ColorComponent(1.0f));
        } else if (s.alpha == GltfSurface::Alpha::blend && fields.has("opacity"))
            numberWithTexture("opacity", factor, s.pbr, "baseColorTexture", 3);
        else if (s.alpha == GltfSurface::Alpha::blend) {
            // White lets everything through.
            const Channel clear{3, -float(factor), 1.0f};
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

void writeSurface(osg::Material& material, const GltfSurface& surface, GltfTextures& textures,
                  bool hasVertexColors)
{
    SurfaceWriter(material, surface, textures).write(hasVertexColors);
}

bool hasRoughCoat(const GltfSurface& surface, GltfTextures& textures)
{
    const double mean =
        textures.meanOf(surface.block(clearcoatBlock), "clearcoatRoughnessTexture", 1).value_or(1);
    return surface.clearcoat > 0.0 && surface.clearcoatRoughness * mean >= roughCoatFrom;
}

double meanTransmission(const GltfSurface& surface, GltfTextures& textures)
{
    return surface.transmission *
           textures.meanOf(surface.block(transmissionBlock), "transmissionTexture", 0).value_or(1);
}

double meanMetallic(const GltfSurface& surface, GltfTextures& textures)
{
    return surface.metallic *
           textures.meanOf(surface.pbr, "metallicRoughnessTexture", 2).value_or(1);
}

} // namespace io
