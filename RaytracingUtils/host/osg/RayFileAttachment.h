#pragma once

// Measured rays of a lamp: positions, directions and fluxes.

#include "host/osg/Image.h"

namespace osg {

class RayFileAttachment : public Attachment
{
    ZN_CONTAINER(RayFileAttachment, Attachment)
    ZN_ATTACHMENT_ACCESS(RayFileAttachment)
    // Read through the pointers below; written all at once by setRays.
    ZN_STORED_FIELD(std::vector<float>, positions, Positions, std::vector<float>(), "u",
                    -std::numeric_limits<double>::infinity(),
                    std::numeric_limits<double>::infinity())
    ZN_STORED_FIELD(std::vector<float>, directions, Directions, std::vector<float>(), "",
                    -std::numeric_limits<double>::infinity(),
                    std::numeric_limits<double>::infinity())
    ZN_STORED_FIELD(std::vector<float>, fluxes, Fluxes, std::vector<float>(), "lm",
                    -std::numeric_limits<double>::infinity(),
                    std::numeric_limits<double>::infinity())
    ZN_ENUM(spectralInformation, SpectralInformation, 0, "flux", "rgb", "spectrum")
    ZN_SLOT(ImagePtr, spectralData, SpectralData) ///< one row of bands per ray
    ZN_FLAG(useRandomSampling, UseRandomSampling, false)
    ZN_FIELD(u32, gridU, GridU, 0, "", 0, 4294967295.0) ///< 0: from the number of rays
    ZN_FIELD(u32, gridV, GridV, 0, "", 0, 4294967295.0)
    ZN_STORED_FIELD(float, directEvaluationRadius, DirectEvaluationRadius, 10.0f, "mm", 0.0f, 1e6f)
    ZN_FIELD(float, directEvaluationCone, DirectEvaluationCone, 10.0f, "degrees", 0.0f, 180.0f)
    ZN_FIELD(float, directEvaluationOffset, DirectEvaluationOffset, 0.0f, "u", -1e9f, 1e9f)

    /// Complete rays: as many as all three arrays hold.
    u64 getNumRays() const;
    const float* getPositions() const { return getStoredPositions().data(); }
    const float* getDirections() const { return getStoredDirections().data(); }
    /// One number per ray, or three where the spectral information is "rgb".
    const float* getFluxes() const { return getStoredFluxes().data(); }
    u32 getFluxesPerRay() const { return getSpectralInformation() == 1 ? 3 : 1; }
    void setRays(std::vector<float> positions, std::vector<float> directions,
                 std::vector<float> fluxes);

    /// Grid for stratified choice, at least as many cells as rays: the square root, rounded up.
    u32 getGridSizeU() const;
    u32 getGridSizeV() const;
    float getDirectEvaluationRadius() const; ///< scene units

    /// Search tree over the rays, built by the core. Dropped when the rays change.
    void* getRayMap() const { return rayMap; }
    /// @param release  called with the old tree when it is replaced or no longer valid
    void setRayMap(void* map, void (*release)(void*) = nullptr);

    ~RayFileAttachment() override { setRayMap(nullptr); }

protected:
    void changed(u64 mask) override;

private:
    void* rayMap = nullptr;
    void (*releaseRayMap)(void*) = nullptr;
};

} // namespace osg
