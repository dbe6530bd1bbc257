#include "io/gltfTextures.h"

#include "io/InputError.h"
#include "io/sceneImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <numbers>
#include <string_view>
#include <tbb/parallel_for.h>

namespace io {

namespace {

int wrapModeOf(u64 mode)
{
    enum { clampToEdge = 33071, mirroredRepeat = 33648 };
    return mode == clampToEdge ? 3 : mode == mirroredRepeat ? 1 : 0;
}

/// Repeat, offset and rotation of a slot.
struct Placement
{
    osg::Vec2f repeat, offset;
    float rotation;
    bool isExact;
};

/// Brings offset, rotation r and scale k of KHR_texture_transform,
///     u' = ox + kx cos r u + ky sin r v,   v' = oy - kx sin r u + ky cos r v   (v down),
/// into the form of a slot with v up, R about 0.5 + offset and the repeat behind the rotation:
///     p' = repeat * (R (p - 0.5 - offset)) + 0.5.
/// With different repeats that is exact for multiples of 90 degrees only.
Placement placementOf(double ox, double oy, double r, double kx, double ky)
{
    const double c = std::cos(r), s = std::sin(r);
    const double constantU = ox + ky * s, constantV = 1.0 - oy - ky * c;
    const bool isQuarter = std::abs(c) < 1e-6, isStraight = std::abs(s) < 1e-6;
    const double tiny = 1e-6;
    double repeatU = isQuarter ? ky : kx, repeatV = isQuarter ? kx : ky;
    if (std::abs(repeatU) < tiny)
        repeatU = tiny;
    if (std::abs(repeatV) < tiny)
        repeatV = tiny;
    const double a = (0.5 - constantU) / repeatU, b = (0.5 - constantV) / repeatV;
    const double x = c * a + s * b, y = c * b - s * a;
    return {{float(repeatU), float(repeatV)},
            {float(x - 0.5), float(y - 0.5)},
            float(r * 180.0 / std::numbers::pi),
            isQuarter || isStraight || std::abs(kx - ky) <= 1e-5 * std::abs(kx)};
}

} // namespace

namespace {

/// Formats of images that stand in an extension of a texture, and are not read.
const char* unreadFormat(const Json& texture)
{
    if (extension(texture, "KHR_texture_basisu"))
        return "KTX2";
    if (extension(texture, "EXT_texture_webp"))
        return "WebP";
    if (extension(texture, "EXT_texture_avif"))
        return "AVIF";
    return extension(texture, "MSFT_texture_dds") ? "DDS" : nullptr;
}

} // namespace

/// Number of the image of a reference to a texture.
u64 GltfTextures::imageOf(const Json& info)
{
    const std::optional<u64> index = wholeNumber(info, "index");
    if (!index)
        throw GltfFault("it names no texture");
    const Json& texture = document.element("textures", *index);
    if (const std::optional<u64> source = wholeNumber(texture, "source"))
        return *source;
    const char* format = unreadFormat(texture);
    throw GltfFault(format ? fmt::format("texture {} is there as {} alone, which is not read; "
                                         "export it again as PNG or JPEG",
                                         *index, format)
                           : fmt::format("texture {} has no image", *index));
}

EncodedImage GltfTextures::encodedImage(u64 index)
{
    const Json& description = document.element("images", index);
    const std::string uri = text(description, "uri");
    const bool isFile = !uri.empty() && !uri.starts_with("data:");
    EncodedImage encoded;
    encoded.name = isFile ? fmt::format("image {} ({}) of {}", index, uri, document.getName())
                          : fmt::format("image {} of {}", index, document.getName());
    if (const auto view = wholeNumber(description, "bufferView"))
        encoded.bytes = document.bufferView(*view).bytes;
    else {
        encoded.ownBytes = document.readUri(uri);
        encoded.bytes = encoded.ownBytes;
    }
    return encoded;
}

osg::Ref<osg::Image> GltfTextures::sceneImage(u64 index, DecodedImage&& decoded)
{
    if (!decoded.fault.empty())
        throw GltfFault(decoded.fault);
    // What a file says of its curve does not count here: the slot decides.
    decoded.pixels.gamma = 0.0f;
    const Json& description = document.element("images", index);
    const std::string uri = text(description, "uri");
    const osg::Ref<osg::Image> result =
        sceneImageOfRows(std::move(decoded.pixels), uri.starts_with("data:") ? "" : uri);
    if (!result)
        throw GltfFault(fmt::format("image {} has no pixels that can be used", index));
    setName(result.get(), text(description, "name"));
    return result;
}

osg::ImagePtr GltfTextures::image(u64 index)
{
    osg::Ref<osg::Image>& found = images[index];
    if (found)
        return found;
    try {
        const EncodedImage encoded = encodedImage(index);
        found = sceneImage(index, std::move(decodeImages({&encoded, 1}, document.getLimits())[0]));
    } catch (const InputError& error) {
        throw GltfFault(error.what());
    }
    return found;
}

namespace {

/// What a material refers to textures by, in any of its blocks.
void findTextures(const Json& block, std::vector<const Json*>& references)
{
    constexpr std::string_view suffix = "Texture";
    for (const auto& [key, value] : block.items()) {
        if (!value.is_object())
            continue;
        if (std::string_view(key).ends_with(suffix))
            references.push_back(&value);
        else
            findTextures(value, references);
    }
}

} // namespace

void GltfTextures::decodeAhead(const std::set<u64>& materials)
{
    std::set<u64> wanted;
    std::vector<u64> numbers;
    std::vector<EncodedImage> encoded;
    // Whatever is wrong is told of by the material that asks.
    const auto quietly = [](auto&& attempt) {
        try {
            attempt();
        } catch (const GltfFault&) {
        } catch (const InputError&) {
        }
    };
    std::vector<const Json*> references;
    for (const u64 material : materials)
        quietly([&] { findTextures(document.element("materials", material), references); });
    for (const Json* reference : references)
        quietly([&] { wanted.insert(imageOf(*reference)); });
    for (const u64 index : wanted)
        if (!images.contains(index))
            quietly([&] {
                encoded.push_back(encodedImage(index));
                numbers.push_back(index);
            });
    std::vector<DecodedImage> decoded = decodeImages(encoded, document.getLimits());
    for (std::size_t i = 0; i < decoded.size(); ++i)
        quietly([&] {
            osg::Ref<osg::Image> result = sceneImage(numbers[i], std::move(decoded[i]));
            images[numbers[i]] = std::move(result);
        });
}

namespace {

/// Angle in turns of a direction that is stored in two channels.
float turnsOf(const osg::Vec4f& texel)
{
    const float turns = std::atan2(2.0f * texel[1] - 1.0f, 2.0f * texel[0] - 1.0f) *
                        (0.5f * std::numbers::inv_pi_v<float>);
    return turns < 0.0f ? turns + 1.0f : turns;
}

float valueOf(const GltfTextures::Channel& channel, const osg::Vec4f& texel)
{
    if (channel.channel == GltfTextures::directionAngle) {
        const float turns = turnsOf(texel) + channel.offset;
        return turns - std::floor(turns);
    }
    const float value = texel[channel.channel];
    return channel.offset +
           channel.factor * (channel.power == 1.0f ? value : std::pow(value, channel.power));
}

} // namespace

osg::ImagePtr GltfTextures::channelImage(u64 index, const Channel& channel)
{
    osg::Ref<osg::Image>& found = channelImages[{index, channel}];
    if (found)
        return found;
    const osg::ImagePtr source = image(index);
    const u32 width = source->getWidth(), height = source->getHeight();
    const bool isWide = source->getDataType() != osg::Image::UInt8;
    std::vector<u8> pixels(u64(width) * height * (isWide ? sizeof(float) : 1));
    tbb::parallel_for(u32(0), height, [&](u32 y) {
        for (u32 x = 0; x < width; ++x) {
            const u64 at = u64(y) * width + x;
            const float value = valueOf(channel, source->getPixel(x, y));
            if (isWide)
                std::memcpy(pixels.data() + at * sizeof(float), &value, sizeof(float));
            else
                pixels[at] = u8(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
        }
    });
    found = osg::Image::create();
    found->take(osg::Image::L, width, height, std::move(pixels),
                isWide ? osg::Image::Float32 : osg::Image::UInt8);
    setName(found.get(), getName(source));
    return found;
}

std::optional<double> GltfTextures::meanOf(const Json& block, const char* textureMember,
                                           u32 channel)
{
    const Json* info = member(block, textureMember);
    if (!info)
        return std::nullopt;
    try {
        const osg::ImagePtr source = image(imageOf(*info));
        // A grid is enough to tell.
        constexpr u32 most = 128;
        const u32 columns = std::min(source->getWidth(), most);
        const u32 rows = std::min(source->getHeight(), most);
        double sum = 0.0;
        for (u32 y = 0; y < rows; ++y)
            for (u32 x = 0; x < columns; ++x)
                sum += source->getPixel(u32((x + 0.5) / columns * source->getWidth()),
                                        u32((y + 0.5) / rows * source->getHeight()))[channel];
        return sum / (double(columns) * rows);
    } catch (const GltfFault&) {
        return std::nullopt;
    }
}

osg::Ref<osg::UTextureSettings> GltfTextures::slot(const Json& block, const char* textureMember,
                                                   Kind kind)
{
    return makeSlot(block, textureMember, kind, nullptr);
}

osg::Ref<osg::UTextureSettings>
GltfTextures::channelSlot(const Json& block, const char* textureMember, const Channel& channel)
{
    return makeSlot(block, textureMember, Kind::data, &channel);
}

osg::Ref<osg::UTextureSettings> GltfTextures::makeSlot(const Json& block, const char* textureMember,
                                                       Kind kind, const Channel* channel)
{
    const Json* info = member(block, textureMember);
    if (!info)
        return {};
    try {
        const u64 source = imageOf(*info);
        const osg::Ref<osg::UTextureSettings> slot = osg::UTextureSettings::create();
        slot->setImage(channel ? channelImage(source, *channel) : image(source));
        slot->setGamma(kind == Kind::color ? 2.2f : 1.0f);
        readSampler(*slot, document.element("textures", *wholeNumber(*info, "index")));
        readPlacement(*slot, *info);
        slot->setIsActive(true);
        return slot;
    } catch (const GltfFault& fault) {
        if (told.insert(fault.what()).second)
            document.warn(fmt::format("{} is left out: {}", textureMember, fault.what()));
        return {};
    }
}

void GltfTextures::readSampler(osg::UTextureSettings& slot, const Json& texture)
{
    const std::optional<u64> index = wholeNumber(texture, "sampler");
    if (!index)
        return;
    enum { nearest = 9728, linear = 9729 };
    const Json& sampler = document.element("samplers", *index);
    slot.setWrapS(wrapModeOf(wholeNumber(sampler, "wrapS", 0)));
    slot.setWrapT(wrapModeOf(wholeNumber(sampler, "wrapT", 0)));
    const u64 minification = wholeNumber(sampler, "minFilter", 0);
    slot.setMipmaps(minification != nearest && minification != linear);
}

void GltfTextures::readPlacement(osg::UTextureSettings& slot, const Json& info)
{
    u64 set = wholeNumber(info, "texCoord", 0);
    const Json* transform = extension(info, "KHR_texture_transform");
    if (transform) {
        const auto offset = numbers<2>(*transform, "offset", {0.0, 0.0});
        const auto scale = numbers<2>(*transform, "scale", {1.0, 1.0});
        set = wholeNumber(*transform, "texCoord", set);
        const Placement placement = placementOf(
            offset[0], offset[1], number(*transform, "rotation", 0.0), scale[0], scale[1]);
        slot.setRepeat(placement.repeat);
        slot.setOffset(placement.offset);
        slot.setRotation(placement.rotation);
        if (!placement.isExact)
            document.warn("a texture is turned and stretched at once; the stretch follows the "
                          "image's axes instead of the surface's");
    }
    if (set > 7)
        throw GltfFault(fmt::format("texture coordinates {} are not read", set));
    slot.setUvSet(int(set));
    slot.setUseOwnUV(set != 0 || transform);
}

} // namespace io
