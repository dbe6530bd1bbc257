#pragma once

// Environment image as a source of light.

#include "light/environmentTables.h"
#include "light/extractedPlaces.h"
#include "light/filteredEnvironment.h"
#include "light/znRTEnvironmentMap.h"
#include "light/znRTInfiniteBaseShape.h"

#include <memory>

struct znRTEnvironmentAttributes;

class znRTInfiniteHemisphereShape : public znRTInfiniteBaseShape
{
public:
    static const znRTTypeId id;

    znRTInfiniteHemisphereShape() : znRTInfiniteBaseShape(id) {}

    /// Writes which table is missing.
    bool isValid() const override;
    /// Cells of the table for the full sphere.
    unsigned getSampleCount() const override;
    znFloatType<2> sample(const znRTVector2fPacket& u, const znFloatType<2>& mask, bool upperOnly,
                          znRTVector3fPacket& direction, znRTVector2fPacket& uv) const override;
    znRTColorPacket evaluate(const znRTVector3fPacket& direction,
                             const znFloatType<2>& mask) const override;
    znRTColorPacket evaluateAt(const znRTVector2fPacket& uv,
                               const znFloatType<2>& mask) const override;
    float getAveragePower() const override { return averagePower; }
    znFloatType<2> pdf(const znRTVector3fPacket& direction,
                       const znFloatType<2>& mask) const override
    {
        return density(direction, mask, false);
    }
    float getPower() const override { return averagePower; }
    /// Makes the tables anew when the image is another one.
    bool setAttributes(const osg::MaterialPtr& material) override;
    znRTColor getAverageColor() const override { return averageColor; }
    znRTColorPacket evaluateDrawn(const znRTVector3fPacket& direction, const znRTVector2fPacket& uv,
                                  const znFloatType<2>& mask) const override;
    znRTColorPacket evaluateWithPdf(const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                                    znFloatType<2>& pdf) const override;
    znRTColorPacket evaluateSeen(const znRTVector3fPacket& direction,
                                 const znFloatType<2>& mask) const override;
    znRTColorPacket evaluateFiltered(const znRTVector3fPacket& direction,
                                     const znFloatType<2>& level,
                                     const znFloatType<2>& mask) const override;
    void makeFiltered() override;
    bool isEven() const override;
    znRTVector3fPacket sampleOnGround(const znRTVector2fPacket& u,
                                      const znFloatType<2>& mask) const override;
    float getGroundIrradiance() const override
    {
        return tables ? averagePower * tables->groundShare : 0.0f;
    }

    /// Takes an image that is already as lookups need it, for models of skies.
    /// @param isNew  the pixels differ from those of the last call
    bool setImage(const znRTSampler2D* sampler, const znRTColor& mean,
                  const znRTEnvironmentAttributes& record, bool isNew);
    /// Density with which sample draws a direction.
    znFloatType<2> density(const znRTVector3fPacket& direction, const znFloatType<2>& mask,
                           bool upperOnly) const;
    /// A colour of the image as lookups show it.
    znRTColor toRadiance(const znRTColor& color) const
    {
        return environmentSampler.getCorrected(color);
    }
    /// How often tables were made.
    unsigned getTableBuilds() const { return tableBuilds; }

private:
    /// What the tables were made from.
    struct Source
    {
        u32 imageId = 0;
        const void* pixels = nullptr;
        u64 epoch = 0;
        int layout = 0;
        float gamma = 1.0f;
        bool operator==(const Source&) const = default;
    };

    /// @param uv  of the whole image
    znRTVector3fPacket directionAt(const znRTVector2fPacket& uv, znFloatType<2>& sine) const;
    znFloatType<2> toSolidAngle(const znFloatType<2>& areaPdf, const znFloatType<2>& sine,
                                bool upperOnly) const;
    /// Density at a place in the image.
    znFloatType<2> densityAt(const znRTVector3fPacket& direction, znRTVector2fPacket uv,
                             const znFloatType<2>& mask, bool upperOnly) const;
    void makeTables();

    znRTEnvironmentMap environmentSampler; ///< what shines
    Source source;
    // Parts of the image that lights of their own stand for, and the image without them.
    std::vector<znRTExtractedPlace> extracted;
    znRTSampler2D remainder;
    znRTEnvironmentMap seenMap; ///< the whole image, while some of it is extracted
    const znRTSampler2D* shining = nullptr;
    znRTFilteredEnvironment filtered;
    znMatrix4x4 tableCorrection; ///< that the tables were made with
    bool tableIsCorrected = false;
    znRTColor averageColor{0.0f, 0.0f, 0.0f};
    float averagePower = 0.0f;
    std::unique_ptr<znRTEnvironmentTables> tables;
    unsigned tableBuilds = 0;
    // Into tables, null when one of them is not there.
    const znDistribution2D* m_upperHemisphereEnvCDF = nullptr;
    const znDistribution2D* m_fullEnvCDF = nullptr;
};
