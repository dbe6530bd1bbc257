#include "material/znRTChunkMaterial.h"

#include "light/imageStamp.h"

const znRTTypeId znRTChunkMaterial::id("znRTChunkMaterial");

znRTChunkMaterial::znRTChunkMaterial(const osg::MaterialPtr& material)
    : znRTSimpleMaterial(id, material)
{
    znRTChunkMaterial::update();
}

void znRTChunkMaterial::update()
{
    const auto host = osg::FCPtr<osg::ChunkMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    const znRTTextureSampler* const image = readImage(host->find<osg::TextureChunk>());
    auto chunk = host->find<osg::MaterialChunk>();
    if (!chunk)
        chunk = osg::MaterialChunk::create();
    updateFromFields(*chunk, image);
}

const znRTTextureSampler* znRTChunkMaterial::readImage(const osg::FCPtr<osg::TextureChunk>& chunk)
{
    constexpr float usualGamma = 2.2f;
    const osg::ImagePtr image = chunk ? chunk->getImage() : osg::ImagePtr();
    const u64 state = imageStamp(image);
    if (state != imageState) {
        sampler = image ? std::make_unique<znRTSampler2D>() : nullptr;
        if (sampler) {
            const float gamma = image->getColorSpaceGamma();
            sampler->setGamma(gamma > 0.0f ? gamma : usualGamma, false, true);
            sampler->setImage(image);
            if (sampler->prepareData())
                sampler->createMipmaps();
        }
        imageState = state;
        record.settingsDirty = true;
    }
    if (sampler)
        sampler->setWrap(chunk->getWrapS(), chunk->getWrapT());
    return sampler.get();
}
