#pragma once

// Base of the core's camera: walks from the camera it is given through the decorators down to the
// undecorated camera, and keeps the numbers of the view.
//
// A decorator makes a part of a larger image: a tile of it, or the image moved by a part of a pixel
// for one sample of a still frame. Row 0 is the bottom row; bounds run 0..1 in the full image.

#include "host/osg/FCPtr.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znPixelfilter;
namespace osg {
class Camera;
class UberCamera;
class OffsetCameraDecorator;
} // namespace osg

class znRTCameraBase : public znRTNode
{
public:
    explicit znRTCameraBase(const znRTTypeId& typeId) : znRTNode(typeId) {}
    ~znRTCameraBase() override = default;

    /// Iterations that count as 0: the passes before the first sample.
    static constexpr unsigned preparatoryIteration = 0xffffff, waitingIteration = 0xfffffe;

    /// Reads the camera and all its decorators.
    /// @param camera                  null: nothing but the pointer changes
    /// @param renderWidth             size of the frame buffers, pixels
    /// @param outputWidth             size of the image that is handed out, pixels
    /// @param iteration               0xffffff and 0xfffffe count as 0
    virtual void update(osg::Camera* camera, unsigned renderWidth, unsigned renderHeight,
                        unsigned outputWidth, unsigned outputHeight, unsigned iteration);
    /// Takes over the filter of the pixels; the camera becomes its owner.
    virtual void setImageFilter(znPixelfilter* filter) = 0;

    osg::Camera* getOSGCamera() const { return camera; }
    osg::UberCamera* getUberCamera() const { return uberCamera; }
    /// The camera is wrapped for one sample of a still frame.
    bool isOffsetCamera() const { return offsetDecorator != nullptr; }

    osg::Camera* camera = nullptr;         ///< as given to update
    osg::UberCamera* uberCamera = nullptr; ///< undecorated; null for cameras of another kind
    osg::OffsetCameraDecorator* offsetDecorator = nullptr;

    u64 fullImageWidth = 0, fullImageHeight = 0; ///< pixels at the resolution of the frame buffers
    float viewLeft = 0.0f, viewRight = 1.0f, viewTop = 1.0f, viewBottom = 0.0f;

    /// Pixels from one row of the frame buffers to the next, and of the full image.
    unsigned rowStride = 0, fullImageStride = 0;
    unsigned iteration = 0; ///< 0 in the preparatory passes

    osg::TransformationMatrix<double> toWorldProjection; ///< clip space of this view to world
    osg::TransformationMatrix<double> cameraToWorld, worldToCamera;

    unsigned maskStride = 0, maskHeight = 0; ///< raster of the pixel mask
    unsigned viewWidth = 0, viewHeight = 0;  ///< size that the steps of the frustum are cut in
    float imageOffsetX = 0.0f, imageOffsetY = 0.0f; ///< lower left of this view, 0..1
    float shiftX = 0.0f, shiftY = 0.0f; ///< of the sample in its pixel, half pixels, [-1, 1]
    bool isLeftEye = true;
    float stereoOffset = 0.0f; ///< of the eye to the right, half the eye distance; 0 for one eye
    bool cornerAligned = false;
    osg::ImagePtr leftDistortionMap, rightDistortionMap; ///< null where off

    float nearClip = 0.001f, farClip = 10000.0f; ///< ray interval, scene units
    int projectionMode = 0;
    int filterType = 1;
    float filterSizeX = 1.0f, filterSizeY = 1.0f; ///< pixels

private:
    void readDecorators(unsigned outputWidth, unsigned outputHeight);
    void readMatrices();
    void readStereo();
};
