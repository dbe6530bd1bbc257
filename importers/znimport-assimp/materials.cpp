#include "materials.h"

#include "host/znLog.h"
#include "io/InputError.h"
#include "io/imageReader.h"
#include "io/sceneImage.h"
#include "timeBudget.h"

#include <algorithm>
#include <assimp/material.h>
#include <cmath>
#include <optional>

namespace {

float clamped(float value, float least, float greatest)
{
    return value > least ? std::min(value, greatest) : least; // NaN: least
}

std::optional<osg::ColorComponent> colorOf(const aiMaterial& material, const char* key,
                                           unsigned type, unsigned index)
{
    aiColor3D color;
    if (material.Get(key, type, index, color) != AI_SUCCESS)
        return std::nullopt;
    return osg::ColorComponent(clamped(color.r, 0, 1e6f), clamped(color.g, 0, 1e6f),
                               clamped(color.b, 0, 1e6f));
}

std::optional<float> numberOf(const aiMaterial& material, const char* key, unsigned type,
                              unsigned index)
{
    float value = 0;
    if (material.Get(key, type, index, value) != AI_SUCCESS || !std::isfinite(value))
        return std::nullopt;
    return value;
}

int wrapOf(const aiMaterial& material, const char* key, unsigned type, unsigned index)
{
    int mode = aiTextureMapMode_Wrap;
    material.Get(key, type, index, mode);
    return mode == aiTextureMapMode_Mirror  ? 1
           : mode == aiTextureMapMode_Decal ? 2
           : mode == aiTextureMapMode_Clamp ? 3
                                            : 0;
}

/// Files write u' = s u + o; a slot works about its middle: u' = repeat (u - 0.5 - offset) + 0.5.
void place(osg::UTextureSettings& slot, const aiMaterial& material, aiTextureType type)
{
    aiUVTransform transform;
    if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) != AI_SUCCESS)
        return;
    const float s[2] = {transform.mScaling.x, transform.mScaling.y};
    const float o[2] = {transform.mTranslation.x, transform.mTranslation.y};
    osg::Vec2f repeat(1, 1), offset(0, 0);
    for (int i = 0; i < 2; ++i) {
        if (!std::isfinite(s[i]) || !std::isfinite(o[i]) || std::fabs(s[i]) < 1e-6f)
            return;
        repeat[i] = clamped(s[i], -1e6f, 1e6f);
        offset[i] = clamped((0.5f - 0.5f * s[i] - o[i]) / s[i], -1e6f, 1e6f);
    }
    slot.setRepeat(repeat);
    slot.setOffset(offset);
}

/// Widths of highlights: exponents are those of the half vector's cosine, and belong to a roughness
/// of 1 / sqrt(exponent).
float roughnessOf(float exponent)
{
    return clamped(1.0f / std::sqrt(std::max(exponent, 1.0f)), 0, 1);
}

void setColors(osg::UPhongMaterial& material, const aiMaterial& source)
{
    if (const auto color = colorOf(source, AI_MATKEY_COLOR_DIFFUSE))
        material.setDiffuse(*color);
    if (const auto color = colorOf(source, AI_MATKEY_COLOR_SPECULAR))
        material.setGlossy(*color);
    if (const auto exponent = numberOf(source, AI_MATKEY_SHININESS); exponent && *exponent > 0) {
        material.setRoughness(roughnessOf(*exponent));
        material.setRoughnessV(roughnessOf(*exponent));
    }
    if (const auto color = colorOf(source, AI_MATKEY_COLOR_EMISSIVE);
        color && color->color != osg::Vec3f(0, 0, 0)) {
        material.setIncandescence(*color);
        material.setIncandescenceActive(true);
    }
    if (const auto opacity = numberOf(source, AI_MATKEY_OPACITY); opacity && *opacity < 1.0f)
        material.setTransparencyColor(osg::ColorComponent(1.0f - clamped(*opacity, 0, 1)));
}

/// Files without materials get one that shines like a mirror, with a standard name and a grey or
/// without a name and white; ours is matt. A colour in it is the file's own (STL can have one for
/// all).
bool isInvented(const aiString& name, const std::optional<osg::ColorComponent>& diffuse)
{
    const osg::Vec3f color = diffuse ? diffuse->color : osg::Vec3f(1.0f, 1.0f, 1.0f);
    if (color[0] != color[1] || color[1] != color[2])
        return false;
    return name.length == 0 ? color[0] == 1.0f : name == aiString(AI_DEFAULT_MATERIAL_NAME);
}

} // namespace

MaterialBuilder::MaterialBuilder(const aiScene& scene, const io::SceneFolder& folder)
    : m_scene(scene), m_folder(folder), m_materials(scene.mNumMaterials)
{
}

osg::Ref<osg::Image> MaterialBuilder::loadImage(const std::string& name)
{
    const aiTexture* const embedded = m_scene.GetEmbeddedTexture(name.c_str());
    if (embedded && embedded->mHeight != 0) {
        const u64 size = u64(embedded->mWidth) * embedded->mHeight;
        io::ImageData image;
        image.allocate(embedded->mWidth, embedded->mHeight, 4, io::ImageData::Type::byte);
        for (u64 i = 0; i < size; ++i) {
            const aiTexel texel = embedded->pcData[i];
            const u8 rgba[] = {texel.r, texel.g, texel.b, texel.a};
            std::copy(rgba, rgba + 4, image.values.begin() + long(4 * i));
        }
        return io::sceneImageOf(std::move(image), name);
    }
    if (embedded) {
        const std::span<const u8> bytes(reinterpret_cast<const u8*>(embedded->pcData),
                                        embedded->mWidth);
        return io::sceneImageOf(io::readImage(bytes, name, m_folder.getLimits()), name);
    }
    io::InputFile file = m_folder.open(name, io::SceneFolder::Naming::path);
    addTimeFor(file.getSize());
    return io::sceneImageOf(io::readImage(file), name);
}

osg::Ref<osg::Image> MaterialBuilder::findImage(const std::string& name)
{
    const auto known = m_images.find(name);
    if (known != m_images.end())
        return known->second;
    m_folder.getLimits().check(&io::Limits::textures, m_images.size() + 1, m_folder.getSceneFile(),
                               "number of textures:");
    osg::Ref<osg::Image>& image = m_images[name];
    try {
        image = loadImage(name);
    } catch (const io::InputError& error) {
        znLog::warning((std::string(error.what()) + "; its texture is left out").c_str());
    }
    return image;
}

osg::Ref<osg::UTextureSettings> MaterialBuilder::slot(const aiMaterial& source, aiTextureType type,
                                                      bool isColor)
{
    aiString file;
    if (source.Get(AI_MATKEY_TEXTURE(type, 0), file) != AI_SUCCESS || file.length == 0)
        return nullptr;
    const osg::Ref<osg::Image> image = findImage(file.C_Str());
    if (!image)
        return nullptr;
    const osg::Ref<osg::UTextureSettings> settings = osg::UTextureSettings::create();
    settings->setImage(image);
    settings->setGamma(isColor ? clamped(image->getColorSpaceGamma(), 0.1f, 10.0f) : 1.0f);
    settings->setWrapS(wrapOf(source, AI_MATKEY_MAPPINGMODE_U(type, 0)));
    settings->setWrapT(wrapOf(source, AI_MATKEY_MAPPINGMODE_V(type, 0)));
    int set = 0;
    source.Get(AI_MATKEY_UVWSRC(type, 0), set);
    settings->setUvSet(std::clamp(set, 0, 7));
    place(*settings, source, type);
    settings->setIsActive(true);
    return settings;
}

void MaterialBuilder::setTextures(osg::UPhongMaterial& material, const aiMaterial& source)
{
    if (const auto texture = slot(source, aiTextureType_DIFFUSE, true))
        material.setDiffuseTexture(texture);
    else if (const auto baseColor = slot(source, aiTextureType_BASE_COLOR, true))
        material.setDiffuseTexture(baseColor);
    if (const auto texture = slot(source, aiTextureType_SPECULAR, true))
        material.setGlossyTexture(texture);
    if (const auto texture = slot(source, aiTextureType_EMISSIVE, true)) {
        material.setIncandescenceTexture(texture);
        material.setIncandescenceActive(true);
    }
    if (const auto texture = slot(source, aiTextureType_OPACITY, false)) {
        texture->setInvert(true); // files say what stays, the slot what passes through
        material.setTransparencyTexture(texture);
    }
    if (const auto normals = slot(source, aiTextureType_NORMALS, false)) {
        material.setBumpTexture(normals);
        material.setBumpKind(1);
    } else if (const auto heights = slot(source, aiTextureType_HEIGHT, false)) {
        material.setBumpTexture(heights);
        if (const auto amplitude = numberOf(source, AI_MATKEY_BUMPSCALING))
            material.setBumpAmplitude(clamped(*amplitude, -10, 10));
    }
}

osg::MaterialPtr MaterialBuilder::get(unsigned number)
{
    osg::Ref<osg::Material>& entry = m_materials[number];
    if (entry)
        return entry;
    const aiMaterial& source = *m_scene.mMaterials[number];
    const osg::Ref<osg::UPhongMaterial> material = osg::UPhongMaterial::create();
    entry = material.get();
    const osg::EditScope edit(material.get());
    aiString name;
    if (source.Get(AI_MATKEY_NAME, name) == AI_SUCCESS)
        osg::setName(material.get(), name.C_Str());
    if (isInvented(name, colorOf(source, AI_MATKEY_COLOR_DIFFUSE))) {
        // Clay: under a lamp that lights a white floor well, white shows no shape.
        material->setDiffuse(osg::ColorComponent(osg::Vec3f(0.5f, 0.5f, 0.5f)));
        return entry;
    }
    setColors(*material, source);
    setTextures(*material, source);
    return entry;
}
