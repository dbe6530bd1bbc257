#include "texture/znRTTextureAccessor.h"

#include "texture/textureAccessors.h"

namespace {

template <class WrapS, class WrapT>
znRTTextureAccessor* create(bool bilinear, bool trilinear)
{
    if (trilinear)
        return new znRTTrilinearAccessor<WrapS, WrapT>;
    if (bilinear)
        return new znRTBilinearAccessor<WrapS, WrapT>;
    return new znRTNearestAccessor<WrapS, WrapT>;
}

template <class WrapT>
znRTTextureAccessor* create(int wrapS, bool bilinear, bool trilinear)
{
    switch (wrapS) {
    case znRTTextureSampler::repeat:
        return create<znRTTextureRepeatWrapper, WrapT>(bilinear, trilinear);
    case znRTTextureSampler::mirroredRepeat:
        return create<znRTTextureMirroredRepeatWrapper, WrapT>(bilinear, trilinear);
    case znRTTextureSampler::decal:
        return create<znRTTextureDecalWrapper, WrapT>(bilinear, trilinear);
    default:
        return create<znRTTextureClampWrapper, WrapT>(bilinear, trilinear);
    }
}

znRTTextureAccessor* create(int wrapMode, bool bilinear, bool trilinear)
{
    const int wrapS = wrapMode & 3;
    switch ((wrapMode >> 2) & 3) {
    case znRTTextureSampler::repeat:
        return create<znRTTextureRepeatWrapper>(wrapS, bilinear, trilinear);
    case znRTTextureSampler::mirroredRepeat:
        return create<znRTTextureMirroredRepeatWrapper>(wrapS, bilinear, trilinear);
    case znRTTextureSampler::decal:
        return create<znRTTextureDecalWrapper>(wrapS, bilinear, trilinear);
    default:
        return create<znRTTextureClampWrapper>(wrapS, bilinear, trilinear);
    }
}

} // namespace

void znRTTextureAccessor::getTextureAccessor(znRTTextureAccessor*& accessor, const Sampler& sampler,
                                             bool bilinear, bool trilinear)
{
    if (accessor && accessor->isAccessorType(sampler.wrapMode, bilinear && !trilinear, trilinear))
        return;
    delete accessor;
    accessor = create(sampler.wrapMode, bilinear, trilinear);
}
