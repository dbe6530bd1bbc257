#pragma once

// The material of a list of chunks: colours of its first MaterialChunk, defaults without one, and
// the image of its first TextureChunk on the diffuse colour.

#include "host/osg/materials/compositeMaterials.h"
#include "host/znRTTextureSampler.h"
#include "material/znRTSimpleMaterial.h"

#include <memory>

class znRTChunkMaterial : public znRTSimpleMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTChunkMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTChunkMaterial(hostMaterial); }
    void update() override;

private:
    /// Null without an image; another image than before marks the record.
    const znRTTextureSampler* readImage(const osg::FCPtr<osg::TextureChunk>& chunk);

    std::unique_ptr<znRTSampler2D> sampler;
    u64 imageState = 0; ///< fingerprint of the image that the sampler was made from
};
