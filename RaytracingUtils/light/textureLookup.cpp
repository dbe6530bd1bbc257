#include "light/textureLookup.h"

#include "texture/znRTTextureFunctions.h"

znRTColorPacket lookUpTexture(const znRTTextureSampler& sampler, const znRTVector2fPacket& uv,
                              const znFloatType<2>& mask)
{
    return znRTTextureFunctions::texture2D(sampler, uv, mask);
}
