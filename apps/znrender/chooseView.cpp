#include "chooseView.h"

#include "loadScene.h"

#include "driver/viewFraming.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/Transform.h"

#include <algorithm>

namespace {

osg::Vec3f toVec(const std::array<double, 3>& v)
{
    return osg::Vec3f(float(v[0]), float(v[1]), float(v[2]));
}

void place(View& view, const FramedView& framed)
{
    osg::Transform::Ptr::dcast(view.beacon->getCore())->setMatrix(lookAtMatrix(framed));
    view.camera->setNear(framed.nearClip);
    view.camera->setFar(framed.farClip);
}

ViewRequest requestOf(const Options& options)
{
    ViewRequest request;
    request.aspect = float(options.width) / float(options.height);
    if (options.view.fov)
        request.fov = float(*options.view.fov);
    if (options.view.eye)
        request.eye = toVec(*options.view.eye);
    if (options.view.at)
        request.at = toVec(*options.view.at);
    if (options.view.up)
        request.up = toVec(*options.view.up);
    return request;
}

/// A camera of the view options, placed by a node of its own.
View makeFramedView(const Options& options, const io::SceneFile& scene)
{
    const ViewRequest request = requestOf(options);
    View view;
    view.beacon = osg::Node::create(osg::Transform::create(), "view");
    view.camera = osg::UberCamera::create();
    view.camera->setBeacon(view.beacon.get());
    view.camera->setFov(request.fov);
    place(view, frameScene(scene.root->getWorldBox(), request));
    return view;
}

} // namespace

osg::TonemappingSettings& tonemappingOf(osg::UberCamera& camera)
{
    if (!camera.getTonemappingSettings())
        camera.setTonemappingSettings(osg::TonemappingSettings::create());
    return *camera.getTonemappingSettings();
}

View chooseView(const Options& options, const io::SceneFile& scene)
{
    const ViewOptions& wanted = options.view;
    View view;
    const bool isGiven = wanted.eye || wanted.at || wanted.up || wanted.fov;
    if (!wanted.camera.empty())
        view.camera = osg::UberCamera::Ptr::dcast(findCamera(scene, wanted.camera));
    else if (!isGiven && !scene.cameras.empty())
        view.camera = osg::UberCamera::Ptr::dcast(scene.cameras.front().camera);
    if (!view.camera)
        view = makeFramedView(options, scene);
    if (wanted.exposure)
        tonemappingOf(*view.camera).setExposure(float(*wanted.exposure));
    return view;
}

void lookFrom(const std::optional<osg::Vec3f>& direction, const Options& options,
              const osg::Box& box, View& view)
{
    ViewRequest request = requestOf(options);
    request.from = direction;
    place(view, frameScene(box, request));
}

FrameSettings frameSettings(const Options& options)
{
    FrameSettings settings;
    settings.width = options.width;
    settings.height = options.height;
    settings.isStill = options.still;
    settings.samples = options.samples > 0 ? options.samples : FrameSettings().samples;
    settings.timeLimit = options.timeLimit;
    std::copy(options.crop.begin(), options.crop.end(), settings.region.begin());
    settings.threads = options.threads;
    settings.tileSize = options.tileSize;
    settings.renderMode = options.renderMode;
    settings.renderer = options.renderer;
    settings.passes = options.passes.written;
    settings.shownPass = options.passes.shown;
    settings.adaptiveQuality = options.quality.adaptive;
    return settings;
}

void takeSceneSettings(const Options& options, const io::SceneFile& scene, FrameSettings& settings)
{
    using Attachment = osg::RaytracingSettingsAttachment;
    const auto attachment = Attachment::getAttachment(scene.root.get());
    if (!attachment)
        return;
    // An archive does not tell a default that was set from one that was not.
    const auto isSaid = [&](const char* name) {
        const osg::FieldDescription* const field = Attachment::getClassType().findField(name);
        return scene.looks.settings.count(name) > 0 ||
               field->get(*attachment) != field->defaultValue;
    };
    if (options.samples == 0 && isSaid("imageSamples"))
        settings.samples = attachment->getImageSamples();
    if (options.quality.adaptive == QualityOptions().adaptive)
        settings.adaptiveQuality = attachment->getAdaptiveAAThresholdQuality();
}

FrameSettings pixelSettings(const Options& options)
{
    FrameSettings settings = frameSettings(options);
    settings.isStill = false;
    settings.samples = 1;
    const float width = float(options.width), height = float(options.height);
    const float x = float((*options.pixel)[0]), y = height - 1.0f - float((*options.pixel)[1]);
    settings.region = {x / width, y / height, (x + 1.0f) / width, (y + 1.0f) / height};
    return settings;
}
