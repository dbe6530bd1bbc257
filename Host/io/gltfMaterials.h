#pragma once

// Materials of a glTF file, mapped onto the kinds of the renderer. The first rule that fits wins:
//
//   unlit                                   light material
//   transmission                            glass
//   black with emission                     light material
//   sheen                                   velvet
//   iridescence                             flipflop paint (approximate)
//   clearcoat over metal / over the rest    metallic paint / unicolour paint
//   with textures, or between metal and not substance
//   metal, anisotropic / not                brushed metal / chrome
//   rough / glossy                          plastic / reflective plastic
//
// Fields are set by name through reflection, so a kind that lacks one simply does without. The log
// says which rule fired for which material.

#include "host/osg/Material.h"
#include "io/gltfTextures.h"

#include <map>

namespace io {

class GltfMaterials
{
public:
    GltfMaterials(GltfDocument& document, GltfTextures& textures);

    /// The material of a primitive; with variants a switch over one material per variant. Null only
    /// when no kind of material can be created at all.
    osg::MaterialPtr get(const Json& primitive);

    /// Decodes the images of all materials that meshes of the file use, on all cores.
    void decodeImagesAhead();

    const std::vector<std::string>& getVariants() const { return variants; }

private:
    /// A material of the file, null for none, and whether the vertices have colours.
    struct Key
    {
        std::optional<u64> index;
        bool hasVertexColors;
        auto operator<=>(const Key&) const = default;
    };

    osg::MaterialPtr byNumber(const Key& key);
    osg::Ref<osg::Material> read(const Json& description, const std::string& name,
                                 bool hasVertexColors);
    osg::Ref<osg::Material> variantSwitch(const Json& mappings, const osg::MaterialPtr& usual,
                                          bool hasVertexColors);

    GltfDocument& document;
    GltfTextures& textures;
    std::vector<std::string> variants;
    std::map<Key, osg::Ref<osg::Material>> materials;
    std::vector<osg::Ref<osg::Material>> switches;
};

} // namespace io
