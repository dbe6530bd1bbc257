#include "host/osg/materials/znRTMaterialSlots.h"

#include "host/znRTDisplacementSampler.h"
#include "host/znSceneDataManager.h"

#include <cmath>
#include <mutex>
#include <numbers>

namespace osg {

ZN_CONTAINER_BODY(UTriplanarSettings)

void UTriplanarSettings::fill(znRTTriplanarTextureAttributes& attributes) const
{
    const Vec2f size = getTextureSize();
    for (int axis = 0; axis < 3; ++axis) {
        const float angle = getRotation()[axis] * (std::numbers::pi_v<float> / 180.0f);
        attributes.sinRot[axis] = std::sin(angle);
        attributes.cosRot[axis] = std::cos(angle);
        attributes.repeatU[axis] = getRepeatU()[axis] / std::max(size[0], 1e-9f);
        attributes.repeatV[axis] = getRepeatV()[axis] / std::max(size[1], 1e-9f);
        attributes.offsetU[axis] = getOffsetU()[axis];
        attributes.offsetV[axis] = getOffsetV()[axis];
        attributes.space[axis] = getSpace();
    }
    attributes.blendWidth = getBlendWidth();
}

} // namespace osg

namespace {

/// How often the pixels of an image were reported as written in place.
class ImageEpochs
{
public:
    static ImageEpochs& the()
    {
        static auto* epochs = new ImageEpochs;
        return *epochs;
    }
    void advance(u32 imageId)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ++counts[imageId];
    }
    u64 get(u32 imageId)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto place = counts.find(imageId);
        return place == counts.end() ? 0 : place->second;
    }

private:
    std::mutex mutex;
    std::map<u32, u64> counts;
};

/// Everything of texture settings that a sampler or a mapping takes over.
struct Parameters
{
    u32 settingsId = 0, imageId = 0;
    const void* pixels = nullptr;
    u64 imageSize = 0, imageEpoch = 0;
    float gamma = 1.0f, rotation = 0.0f, maxAnisotropy = 1.0f;
    bool isActive = false, invert = false, mipmaps = false;
    osg::Vec2f repeat, offset;
    osg::Vec4f borderColor;
    int wrapS = 0, wrapT = 0, mappingType = 0, uvSet = 0, projectionSpace = 0;
    bool useInfiniteTiling = false, useOwnUV = false, cylindrical = false;
    bool oneSided = false, limitDepth = false;
    osg::Matrix projection;

    bool operator==(const Parameters&) const = default;
};

constexpr float usualColorGamma = 2.2f;

float gammaOf(const osg::UTextureSettings& settings, znTextureUse use)
{
    const float gamma = settings.getGamma();
    if (gamma != usualColorGamma)
        return gamma;
    if (use != znTextureUse::color)
        return 1.0f;
    // The file may know better.
    const float known = settings.getImage() ? settings.getImage()->getColorSpaceGamma() : 0.0f;
    return known > 0.0f ? known : gamma;
}

Parameters parametersOf(const osg::UTextureSettings* settings, znTextureUse use)
{
    Parameters p;
    if (!settings)
        return p;
    const osg::ImagePtr image = settings->getImage();
    p.settingsId = settings->getId();
    p.imageId = image ? image->getId() : 0;
    p.pixels = image ? image->getData() : nullptr;
    p.imageSize = image ? image->getSize() : 0;
    p.imageEpoch = ImageEpochs::the().get(p.imageId);
    p.gamma = gammaOf(*settings, use);
    p.rotation = settings->getRotation();
    p.maxAnisotropy = settings->getMaxAnisotropy();
    p.isActive = settings->getIsActive();
    p.invert = settings->getInvert();
    p.mipmaps = settings->getMipmaps();
    p.repeat = settings->getRepeat();
    p.offset = settings->getOffset();
    p.borderColor = settings->getBorderColor();
    p.wrapS = settings->getWrapS();
    p.wrapT = settings->getWrapT();
    p.mappingType = settings->getMappingType();
    p.uvSet = settings->getUvSet();
    p.projectionSpace = settings->getProjectionSpace();
    p.useInfiniteTiling = settings->getUseInfiniteTiling();
    p.useOwnUV = settings->getUseOwnUV();
    p.cylindrical = settings->getCylindrical();
    p.oneSided = settings->getOneSided();
    p.limitDepth = settings->getLimitDepth();
    p.projection = settings->getProjection();
    return p;
}

/// 1 - value in all channels but alpha. Half floats become floats.
/// @return null for an image without the pixels that it should have
osg::ImagePtr invertedCopy(const osg::Image& image)
{
    if (!image.isValid())
        return {};
    osg::ImagePtr copy = osg::Image::create();
    copy->set(image.getPixelFormat(), image.getWidth(), image.getHeight(),
              std::max(image.getDepth(), 1u), image.getMipmapCount(), image.getFrameCount(),
              image.getData(), image.getDataType(), image.getSideCount());
    if (image.getDataType() == osg::Image::Float16)
        copy->convertToFloat();
    const u32 format = image.getPixelFormat(), channels = image.getChannelCount();
    const bool hasAlpha =
        format == osg::Image::RGBA || format == osg::Image::BGRA || format == osg::Image::LA;
    const auto invert = [&](auto* values, auto one) {
        const u64 count = copy->getSize() / sizeof(*values);
        for (u64 i = 0; i < count; ++i)
            if (!hasAlpha || i % channels != channels - 1)
                values[i] = one - values[i];
    };
    if (copy->getDataType() == osg::Image::UInt8)
        invert(copy->getData(), u8(255));
    else if (copy->getDataType() == osg::Image::UInt16)
        invert(reinterpret_cast<u16*>(copy->getData()), u16(65535));
    else
        invert(reinterpret_cast<float*>(copy->getData()), 1.0f);
    return copy;
}

std::unique_ptr<znRTTextureSampler> createSampler(znTextureUse use)
{
    switch (use) {
    case znTextureUse::height:
        return std::make_unique<znRTDisplacementSampler>();
    case znTextureUse::array:
        return std::make_unique<znRTSampler2DArray>();
    case znTextureUse::volume:
        return std::make_unique<znRTSampler3D>();
    default:
        return std::make_unique<znRTSampler2D>();
    }
}

/// A sampler with the state it was made from.
struct SharedSampler
{
    std::unique_ptr<znRTTextureSampler> sampler;
    osg::Ref<osg::Image> inverted;
    Parameters parameters;

    void update(const osg::UTextureSettings& settings, const Parameters& next, znTextureUse use);
};

/// In which direction the projected z grows.
znRTVector3f depthDirection(const znMatrix4x4& m)
{
    const float x = m[0][2], y = m[1][2], z = m[2][2];
    const float length = std::sqrt(x * x + y * y + z * z);
    return length > 0.0f ? znRTVector3f(x / length, y / length, z / length)
                         : znRTVector3f(0.0f, 0.0f, 1.0f);
}

void SharedSampler::update(const osg::UTextureSettings& settings, const Parameters& next,
                           znTextureUse use)
{
    if (next == parameters)
        return;
    const bool reload = next.imageEpoch != parameters.imageEpoch ||
                        next.gamma != parameters.gamma || next.imageId != parameters.imageId ||
                        next.pixels != parameters.pixels ||
                        next.imageSize != parameters.imageSize ||
                        next.invert != parameters.invert || next.mipmaps != parameters.mipmaps;
    parameters = next;

    osg::ImagePtr image = settings.getImage();
    if (reload) {
        inverted = image && next.invert ? osg::Ref<osg::Image>(invertedCopy(*image)) : nullptr;
        if (inverted)
            image = inverted;
        sampler->setGamma(next.gamma, false, true);
        sampler->setImage(image, false, true);
    }
    sampler->setWrap(next.wrapS, next.wrapT);
    sampler->maxAnisotropy = next.maxAnisotropy;
    sampler->borderColor = next.borderColor;
    sampler->setTransform(next.repeat[0], next.repeat[1], next.offset[0], next.offset[1],
                          next.rotation);
    constexpr int projected = znRTTextureAttributes::mappingProjection;
    sampler->projectionMode = next.mappingType != projected ? 0 : next.cylindrical ? 2 : 1;
    sampler->projection = znMatrix4x4(next.projection);
    sampler->projectionNormal = depthDirection(sampler->projection);
    sampler->projectOneSide = next.oneSided;
    sampler->limitDepth = next.limitDepth;
    sampler->isActive = next.isActive;
    if (sampler->prepareData() && reload && next.mipmaps && use != znTextureUse::height)
        sampler->createMipmaps();
}

using SamplerKey = std::pair<u32, znTextureUse>;

std::shared_ptr<SharedSampler> sharedSampler(const osg::UTextureSettings& settings,
                                             const Parameters& parameters, znTextureUse use)
{
    static std::mutex mutex;
    static auto* cache = new std::map<SamplerKey, std::weak_ptr<SharedSampler>>;
    const std::lock_guard<std::mutex> guard(mutex);

    std::erase_if(*cache, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<SharedSampler>& place = (*cache)[{settings.getId(), use}];
    std::shared_ptr<SharedSampler> shared = place.lock();
    if (!shared) {
        shared = std::make_shared<SharedSampler>();
        shared->sampler = createSampler(use);
        place = shared;
    }
    shared->update(settings, parameters, use);
    return shared;
}

} // namespace

struct znRTMaterialSlots::Slot
{
    osg::Ref<osg::UTextureSettings> settings;
    znTextureUse use = znTextureUse::color;
    Parameters parameters;
    std::shared_ptr<SharedSampler> shared;
    znRTTextureAttributes attributes;
};

znRTMaterialSlots::znRTMaterialSlots() = default;
znRTMaterialSlots::~znRTMaterialSlots() = default;

void znRTMaterialSlots::begin(const osg::UTriplanarSettings* triplanar)
{
    if (triplanar)
        triplanar->fill(triplanarAttributes);
    else
        triplanarAttributes = {};
    ownMapping = nullptr;
    liesAlongAxes = false;
    unitsPerMetre = znSceneDataManager::getUnitsPerMetre();
    wasFilled = true;
}

void znRTMaterialSlots::assign(const char* name, const osg::UTextureSettingsPtr& settings,
                               znTextureUse use, znRTTextureSampler*& sampler, bool& active,
                               const znRTTextureAttributes*& attributes)
{
    std::unique_ptr<Slot>& slot = slots[name];
    if (!slot)
        slot = std::make_unique<Slot>();
    slot->settings = osg::Ref<osg::UTextureSettings>(settings);
    slot->use = use;
    slot->parameters = parametersOf(settings.get(), use);

    const Parameters& p = slot->parameters;
    const bool wanted = settings && p.isActive && settings->getImage();
    slot->shared = wanted ? sharedSampler(*settings, p, use) : nullptr;
    sampler = slot->shared ? slot->shared->sampler.get() : nullptr;
    active = sampler && sampler->isValid();

    slot->attributes = {};
    znRTTextureAttributes& a = slot->attributes;
    a.setMappingType(liesAlongAxes ? int(znRTTextureAttributes::mappingTriplanar) : p.mappingType);
    a.uvSet = std::clamp(p.uvSet, 0, 7);
    a.useInfiniteTiling = p.useInfiniteTiling;
    a.repeat = settings ? znRTVector2f(p.repeat) : znRTVector2f(1.0f, 1.0f);
    a.useOwnUV = p.useOwnUV;
    a.projectionSpace = p.projectionSpace;
    a.cylindrical = p.cylindrical;
    a.mapping = ownMapping                                                 ? ownMapping
                : a.mappingType == znRTTextureAttributes::mappingTriplanar ? &triplanarAttributes
                                                                           : nullptr;
    a.hasMapping = a.mapping != nullptr;
    a.hasTexture = active;
    attributes = &a;
}

void znRTMaterialSlots::layAlongAxes()
{
    liesAlongAxes = true;
    for (const auto& [name, slot] : slots) {
        slot->attributes.setMappingType(znRTTextureAttributes::mappingTriplanar);
        slot->attributes.mapping = &triplanarAttributes;
        slot->attributes.hasMapping = true;
    }
}

void znRTMaterialSlots::replaceMapping(const char* name, znRTTextureMapping* mapping)
{
    const auto slot = slots.find(name);
    if (slot == slots.end())
        return;
    slot->second->attributes.mapping = mapping;
    slot->second->attributes.hasMapping = mapping != nullptr;
}

bool znRTMaterialSlots::isStale() const
{
    if (!wasFilled)
        return true;
    if (unitsPerMetre != znSceneDataManager::getUnitsPerMetre())
        return true;
    for (const auto& [name, slot] : slots)
        if (!(slot->parameters == parametersOf(slot->settings.get().get(), slot->use)))
            return true;
    return false;
}

void znRTMaterialSlots::reloadImage(u32 imageId)
{
    ImageEpochs::the().advance(imageId);
}

u64 znRTMaterialSlots::getImageEpoch(u32 imageId)
{
    return ImageEpochs::the().get(imageId);
}
