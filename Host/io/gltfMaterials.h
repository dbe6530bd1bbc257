#pragma once

// Materials of a glTF file, mapped onto the kinds of the renderer. The first rule that fits wins:
//
//   unlit                                        light material
//   transmission of all / of an even part        glass / substance that lets light through
//   black with emission                          light material
//   sheen                                        plastic with a tinted rim
//   clearcoat, smooth / rough                    reflective plastic / plastic
//   diffuse transmission                         plastic, translucent
//   polished metal / polished dielectric         chrome / reflective plastic
//   dielectric of a strong reflection            plastic
//   all else                                     substance
//
// Kinds other than substance stand for what that one does not have. The log says which rule fired
// for which material; what is not shown is told of by a warning.

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
