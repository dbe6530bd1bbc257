#pragma once

// The textures of one material: samplers built from texture settings, and how each attribute is
// mapped. Samplers are shared by all materials that refer to the same settings in the same use.

#include "host/osg/UTextureSettings.h"
#include "host/znRTTextureAttributes.h"
#include "host/znRTTextureSampler.h"

#include <map>
#include <memory>
#include <string>

/// How the values of a texture are read.
enum class znTextureUse {
    color,  ///< through the gamma of the settings
    data,   ///< linear, unless the settings have another gamma than the usual one of colours
    height, ///< with bounds, for displaced surfaces
    array,  ///< layers of one image, linear
    volume  ///< slices of one image, linear
};

namespace osg {

/// Mapping along the three axes, shared by all textures of a material that ask for it. Index 0, 1,
/// 2 = along X, Y, Z.
class UTriplanarSettings : public AttachmentContainer
{
    ZN_CONTAINER(UTriplanarSettings, AttachmentContainer)
    ZN_FIELD(Vec3f, rotation, Rotation, Vec3f(0, 0, 0), "degrees", -360000.0f, 360000.0f)
    ZN_FIELD(Vec3f, repeatU, RepeatU, Vec3f(1, 1, 1), "", -1e6f, 1e6f)
    ZN_FIELD(Vec3f, repeatV, RepeatV, Vec3f(1, 1, 1), "", -1e6f, 1e6f)
    ZN_FIELD(Vec3f, offsetU, OffsetU, Vec3f(0, 0, 0), "", -1e6f, 1e6f)
    ZN_FIELD(Vec3f, offsetV, OffsetV, Vec3f(0, 0, 0), "", -1e6f, 1e6f)
    /// Size that one repeat covers.
    ZN_FIELD(Vec2f, textureSize, TextureSize, Vec2f(1, 1), "u", 1e-9f, 1e9f)
    ZN_FIELD(float, blendWidth, BlendWidth, 0.15f, "", 0.0f, 1.0f)
    ZN_ENUM(space, Space, 0, "object", "world")

    void fill(znRTTriplanarTextureAttributes& attributes) const;
};

using UTriplanarSettingsPtr = FCPtr<AttachmentContainerPtr, UTriplanarSettings>;

} // namespace osg

class znRTMaterialSlots
{
public:
    znRTMaterialSlots();
    ~znRTMaterialSlots();

    /// Before a material assigns its slots: what mappings they refer to.
    void begin(const osg::UTriplanarSettings* triplanar);
    /// Slots assigned from here on use this mapping whatever their settings say; null ends it.
    void setOwnMapping(znRTTextureMapping* mapping) { ownMapping = mapping; }
    /// The same for a slot that was assigned already; unknown names are ignored.
    void replaceMapping(const char* name, znRTTextureMapping* mapping);
    /// All slots of the material lie along the three axes, whatever their settings say.
    void layAlongAxes();
    /// Fills the three members of a slot. Without settings or image the slot is not active.
    void assign(const char* name, const osg::UTextureSettingsPtr& settings, znTextureUse use,
                znRTTextureSampler*& sampler, bool& active,
                const znRTTextureAttributes*& attributes);

    /// True when settings, images or the scene's unit are not what was assigned.
    bool isStale() const;
    /// Tells that pixels were written in place: slots with the image become stale.
    static void reloadImage(u32 imageId);
    static u64 getImageEpoch(u32 imageId);

    /// The material's mapping along the axes.
    znRTTriplanarTextureAttributes& getTriplanar() { return triplanarAttributes; }

private:
    struct Slot;
    std::map<std::string, std::unique_ptr<Slot>> slots;
    znRTTriplanarTextureAttributes triplanarAttributes;
    znRTTextureMapping* ownMapping = nullptr;
    float unitsPerMetre = 1.0f;
    bool wasFilled = false, liesAlongAxes = false;
};
