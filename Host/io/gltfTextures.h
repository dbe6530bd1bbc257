#pragma once

// Images and texture slots of a glTF file. An image is decoded once, and only if a material that is
// in use refers to it.

#include "host/osg/UTextureSettings.h"
#include "io/decodeImages.h"
#include "io/gltfDocument.h"

#include <map>
#include <set>

namespace io {

class GltfTextures
{
public:
    explicit GltfTextures(GltfDocument& document_) : document(document_) {}

    /// Decodes the images of some materials on all cores. Others are decoded when they are asked
    /// for, and so are these without this call.
    void decodeAhead(const std::set<u64>& materials);

    /// What the values of an image mean.
    enum class Kind { color, data };

    /// A slot for a member such as "baseColorTexture" of a material block.
    /// @return null without the member, and with a warning where the image cannot be used
    osg::Ref<osg::UTextureSettings> slot(const Json& block, const char* textureMember, Kind kind);

    /// How one channel of an image becomes a grey image of data:
    /// offset + factor * value^power, within [0, 1] for images of bytes.
    struct Channel
    {
        /// 0 red to 3 alpha, which is 1 in images without it; or directionAngle
        u32 channel;
        float factor = 1.0f, offset = 0.0f, power = 1.0f;
        auto operator<=>(const Channel&) const = default;
    };
    /// In place of a channel: the angle of the direction (2 red - 1, 2 green - 1), in turns from 0
    /// to 1. The offset turns it further.
    static constexpr u32 directionAngle = 4;

    /// A slot with one channel of the image.
    osg::Ref<osg::UTextureSettings> channelSlot(const Json& block, const char* textureMember,
                                                const Channel& channel);

    /// Mean of a channel over the image of a member.
    /// @return nothing without the member or its image; of that a slot tells
    std::optional<double> meanOf(const Json& block, const char* textureMember, u32 channel);

private:
    using ChannelKey = std::pair<u64, Channel>; ///< image and what is taken of it

    u64 imageOf(const Json& info);
    osg::ImagePtr image(u64 index);
    EncodedImage encodedImage(u64 index);
    osg::Ref<osg::Image> sceneImage(u64 index, DecodedImage&& decoded);
    osg::ImagePtr channelImage(u64 index, const Channel& channel);
    osg::Ref<osg::UTextureSettings> makeSlot(const Json& block, const char* textureMember,
                                             Kind kind, const Channel* channel);
    void readPlacement(osg::UTextureSettings& slot, const Json& info);
    void readSampler(osg::UTextureSettings& slot, const Json& texture);

    GltfDocument& document;
    std::map<u64, osg::Ref<osg::Image>> images;
    std::map<ChannelKey, osg::Ref<osg::Image>> channelImages;
    std::set<std::string> told; ///< faults that were told of: one image may be in many slots
};

} // namespace io
