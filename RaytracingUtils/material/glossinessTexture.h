#pragma once

// An image that drives the width of a glossy lobe. Texels are glossinesses, 1 minus the roughness
// that hosts give: black is the least of the range and white the greatest one. Lobes of form 1 read
// the result from the parameter block of a hit; uniform surfaces keep to form 0.

#include "brdf/znRTBRDF.h"
#include "material/attributeTexture.h"

class znRTGlossinessTexture
{
public:
    /// Exponents of power lobes are roughness^p, as hosts derive the exponent of a uniform one.
    static constexpr float exponentPower = -2.0f;

    /// @tparam Record  with the rows of glossiness
    template <class Record>
    void read(const Record& record)
    {
        texture.set(record.glossinessSampler, record.glossinessActive, record.glossinessAttributes);
        roughest = 1.0f - record.glossinessMin;
        smoothest = 1.0f - record.glossinessMax;
    }
    bool isActive() const { return texture.isActive(); }
    const znRTAttributeTexture& getTexture() const { return texture; }

    /// Writes the lobe's width at the hits.
    void prepare(const znRTBRDF& lobe, const znRTDataBlockPacket& data, const znFloatType<2>& mask,
                 znRTLobeParameters& block) const;

private:
    znRTAttributeTexture texture;
    float roughest = 1.0f, smoothest = 0.0f;
};
