#pragma once

// Materials of imported scenes as Phong materials, and their textures.

#include "host/osg/UTextureSettings.h"
#include "host/osg/materials/lobeMaterials.h"
#include "io/SceneFolder.h"

#include <assimp/scene.h>
#include <map>
#include <vector>

class MaterialBuilder
{
public:
    /// @param scene, folder  must outlive this
    MaterialBuilder(const aiScene& scene, const io::SceneFolder& folder);

    /// The material of a number; made once.
    osg::MaterialPtr get(unsigned number);

private:
    void setTextures(osg::UPhongMaterial& material, const aiMaterial& source);
    /// @return null when the material has no such texture, or it cannot be read
    osg::Ref<osg::UTextureSettings> slot(const aiMaterial& source, aiTextureType type,
                                         bool isColor);
    osg::Ref<osg::Image> loadImage(const std::string& name);
    osg::Ref<osg::Image> findImage(const std::string& name);

    const aiScene& m_scene;
    const io::SceneFolder& m_folder;
    std::vector<osg::Ref<osg::Material>> m_materials;
    std::map<std::string, osg::Ref<osg::Image>> m_images; ///< null: could not be read
};
