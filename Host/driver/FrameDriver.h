#pragma once

// Renders frames of a scene: what an application needs besides a scene graph. It owns the record of
// one view with its buffers and drives the ray tracing core through its interface in the order the
// core expects: scene changes, camera, targets, then one pass after the other.
//
// All operations belong to one thread, and one driver renders at a time, since the state behind the
// core is the process's. What goes wrong inside a frame arrives here as an exception; the driver
// stays usable.

#include "driver/ViewBuffers.h"
#include "host/osg/Node.h"
#include "host/osg/OffsetCameraDecorator.h"
#include "host/osg/Viewport.h"
#include "io/ImageData.h"

#include <array>
#include <functional>

class znRaytracingUtilsBase;

/// What a frame is to be like.
struct FrameSettings
{
    u32 width = 1280, height = 720; ///< pixels
    /// Accumulates samples; false makes one interactive frame.
    bool isStill = true;
    int samples = 64; ///< per pixel; of an interactive frame at most 16
    /// When pixels of a still frame may end early: 0 coarse to 4 fine; 5: each takes all samples.
    int adaptiveQuality = 2;
    double timeLimit = 0.0; ///< seconds after which no further sample begins; 0 = none
    /// Left, bottom, right, top of what is rendered, 0..1; the rest stays black.
    std::array<float, 4> region{0.0f, 0.0f, 1.0f, 1.0f};
    u32 renderMode = 1; ///< integrator: 0 beauty, 1 normals
    /// Variant of the beauty: 0 itself, 4 luminance, 5 objects and triangles, 6 illuminance; -1 as
    /// the scene's settings say.
    int renderer = -1;
    u64 passes = 0;    ///< layers to render beside the picture, one bit per pass (znRenderPass)
    u32 shownPass = 0; ///< layer that the picture shows instead of the beauty; not with passes
    int threads = 0;   ///< 0 = all that the process may use
    u32 tileSize = 32; ///< pixels
};

struct FrameReport
{
    enum class Outcome {
        complete,
        timeLimit, ///< fewer samples than asked for, since the time was up
        stopped    ///< fewer samples, since the stop callback said so
    };
    Outcome outcome = Outcome::complete;
    /// That every pixel received which was not finished before; 0: the picture has holes.
    int samples = 0;
    u64 finishedPixels = 0; ///< pixels of a still frame that ended before their samples did
    double buildSeconds = 0.0, traceSeconds = 0.0;
    double threadSeconds = 0.0; ///< sum over all threads while tracing
};

class FrameDriver
{
public:
    enum class Stop {
        no,
        afterSample, ///< finish what every pixel needs for the sample in hand
        now          ///< give up inside the frame
    };
    using StopCallback = std::function<Stop()>;
    /// Samples done and planned, share of the work done in 0..1.
    using ProgressCallback = std::function<void(int, int, double)>;

    /// Loads the core.
    /// @throws std::runtime_error with one line when it cannot be loaded
    FrameDriver();
    ~FrameDriver();
    FrameDriver(const FrameDriver&) = delete;
    FrameDriver& operator=(const FrameDriver&) = delete;

    /// The scene to render; null for none. The driver keeps a reference. Later edits are picked up
    /// by themselves through the change list.
    void setScene(const osg::NodePtr& root);

    /// Bytes of frame buffers that settings ask for.
    static u64 bytesNeeded(const FrameSettings& settings);

    /// Renders one image.
    /// @throws std::bad_alloc, std::runtime_error with one line
    FrameReport render(const FrameSettings& settings, const osg::CameraPtr& camera,
                       const ProgressCallback& progress = {}, const StopCallback& stop = {});

    enum class Colors {
        linear, ///< scene values, as compositing wants them
        display ///< with white balance, tone mapping, correction and display profile
    };
    /// The last image, RGBA floats, alpha as coverage.
    io::ImageData getImage(Colors colors);
    /// A layer of the last image in scene values, RGBA floats; of id mattes two ranks, each an id
    /// as float and its coverage. All zero when the layer was not rendered.
    io::ImageData getPass(u32 pass);
    /// Id mattes of the last image, null without.
    const znRTCryptomatte* getCryptomatte() { return buffers.view().m_cryptomatte; }

    znRaytracingUtilsBase& utils() { return *instance; }
    znRaytracerP& view() { return buffers.view(); }

private:
    void prepare(const FrameSettings& settings, const osg::CameraPtr& camera);
    void tracePass(const osg::CameraPtr& camera, bool isFirst, int threads);
    bool hasActivePixels();
    /// Moves the cameras of frames to the place of a sample inside the pixels.
    void lookAtSample(const osg::CameraPtr& camera, u32 sample);
    FrameReport renderStill(const FrameSettings& settings, const osg::CameraPtr& camera,
                            const ProgressCallback& progress);
    FrameReport renderInteractive(const FrameSettings& settings, const osg::CameraPtr& camera,
                                  const ProgressCallback& progress);
    void copyPass(u32 pass, u32 flags, std::vector<ZN_RGBA32F>& pixels);
    static bool abortRequested(void* driver);
    Stop askStop() const { return stopCallback ? stopCallback() : Stop::no; }

    znRaytracingUtilsBase* instance = nullptr;
    osg::Ref<osg::Node> root;
    osg::Ref<osg::Viewport> viewport;
    osg::Ref<osg::OffsetCameraDecorator> offsetCamera; ///< of still frames
    osg::Ref<osg::MovedCameraDecorator> movedCamera;   ///< of interactive ones
    ViewBuffers buffers;
    u64 tiledWidth = 0, tiledHeight = 0, tiledSize = 0; ///< what the tile list was made for
    std::array<float, 4> tiledRegion{};
    StopCallback stopCallback;
    bool isAborted = false;
};
