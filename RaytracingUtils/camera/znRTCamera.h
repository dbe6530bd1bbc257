#pragma once

// The camera of the core: chooses the lens and the fragment shader for what the host's camera is,
// keeps them up to date, and hands pixels to the lens. update runs on the host's thread between
// frames; everything const is safe on all workers.

#include "camera/znRTLensShader.h"
#include "host/znPixelfilter.h"
#include "host/znRTCameraBase.h"

class znRTDataBlockPacket;
class znRTFragmentShader;

class znRTCamera : public znRTCameraBase, public znAlignedBase32
{
public:
    static const znRTTypeId s_typeId;

    znRTCamera();
    ~znRTCamera() override;
    znRTCamera(const znRTCamera&) = delete;
    znRTCamera& operator=(const znRTCamera&) = delete;

    /// Reads the camera. A camera that is wrapped for a sample of a still frame switches to still
    /// frames, any other to interactive ones; baking keeps its mode.
    void update(osg::Camera* newCamera, unsigned renderWidth, unsigned renderHeight,
                unsigned outputWidth, unsigned outputHeight, unsigned newIteration) override;
    /// Takes over the filter of the pixels; null gives the box of one pixel.
    void setImageFilter(znPixelfilter* filter) override;
    /// The fragment shader's colour of a finished pixel.
    virtual __m128 applyFragmentShader(const __m128& colour, int x, int y) const;

    znRTLensShader* getLensShader() const { return lensShader; }
    znRTFragmentShader* getFragmentShader() const { return fragmentShader; }
    /// Takes a lens over that update will not replace. Null deletes the lens; the next update makes
    /// the camera's own again.
    void setLensShader(znRTLensShader* lens);
    /// Takes a shader over; null brings the plain one back.
    void setFragmentShader(znRTFragmentShader* shader);

    /// See znRTLensShader; without a lens there are no rays.
    void generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                           znRTRayPacket& packet) const;
    unsigned trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                            znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                            znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                            int aaCount, float differentialScale,
                            const unsigned char* pixelMask) const;
    /// Four rays with their nearest hits, without differentials.
    /// @param block  out: empty but for the hit
    void tracePacket(const znFloatType<2>& x, const znFloatType<2>& y,
                     znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block) const;

    /// Hash of each lane's pixel, the seed of its random numbers.
    static znIntType<2> getPixelIDs(const znIntType<2>& x, const znIntType<2>& y);

    znRTLensShader* lensShader = nullptr; ///< owned
    bool isExternalLens = false;
    znRTFragmentShader* fragmentShader; ///< owned unless it is the plain one
    znPixelfilterSampleSet pixelFilterSet;

    static znRTFragmentShader s_dummyFragmentShader; ///< plain, shared, never deleted

private:
    void updatePixelFilter();
    void publishMatrices() const;
    void updateFragmentShader();
    void updateLens();
    void tellOfFog() const;

    int filterTypeInUse = -1;
};
