#include "material/glossinessTexture.h"

#include "brdf/znRTRoughnessTextures.h"
#include "core/znRTDataBlockPacket.h"

namespace {

/// Texels at the hits of one block.
class Texels : public znRTRoughnessTextures
{
public:
    Texels(const znRTAttributeTexture& newTexture, const znRTDataBlockPacket& newData)
        : texture(newTexture), data(newData)
    {
    }
    znFloatType<2> getGlossiness(const znRTDifferentialGeometry&,
                                 const znFloatType<2>& mask) const override
    {
        return clamp01(texture.fetch(data, mask).r);
    }
    znFloatType<2> getAnisotropy(const znRTDifferentialGeometry& dg,
                                 const znFloatType<2>& mask) const override
    {
        return getGlossiness(dg, mask);
    }

private:
    const znRTAttributeTexture& texture;
    const znRTDataBlockPacket& data;
};

} // namespace

void znRTGlossinessTexture::prepare(const znRTBRDF& lobe, const znRTDataBlockPacket& data,
                                    const znFloatType<2>& mask, znRTLobeParameters& block) const
{
    Texels texels(texture, data);
    texels.minimum = roughest;
    texels.maximum = smoothest;
    lobe.prepareParameterLanes(data.dg, texels, mask, block);
}
