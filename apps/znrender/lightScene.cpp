#include "lightScene.h"

#include "driver/autoExposure.h"
#include "driver/studioLight.h"
#include "driver/surroundings.h"
#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/materials/UberMaterial.h"
#include "host/znLog.h"
#include "host/znRaytracingUtilsBase.h"
#include "io/InputError.h"
#include "io/imageReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace {

/// Far enough for a floor to reach the horizon of a view from slightly above.
constexpr float reachOfDiagonal = 40.0f;

/// Side of the picture that the light meter sees, pixels, and its samples.
constexpr u32 meterSide = 128;
constexpr int meterSamples = 4;

/// A view with a smaller share of lit pixels shows the back of things.
constexpr double mostlyDark = 0.25;

float diagonalOf(const osg::Box& box)
{
    double sum = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        const double edge = double(box.maximum[axis]) - double(box.minimum[axis]);
        sum += edge * edge;
    }
    return float(std::sqrt(sum));
}

osg::Pnt3f centreOf(const osg::Box& box)
{
    osg::Pnt3f centre;
    for (int axis = 0; axis < 3; ++axis)
        centre[axis] = 0.5f * box.minimum[axis] + 0.5f * box.maximum[axis];
    return centre;
}

float distance(const osg::Pnt3f& a, const osg::Pnt3f& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

osg::Pnt3f eyeOf(const osg::Camera& camera)
{
    osg::Pnt3f eye(0.0f, 0.0f, 0.0f);
    if (const osg::NodePtr beacon = camera.getBeacon()) {
        const osg::Matrix toWorld = beacon->getToWorld();
        for (int axis = 0; axis < 3; ++axis)
            eye[axis] = toWorld[3][axis];
    }
    return eye;
}

osg::Ref<osg::UEnvironmentMaterial> makeEnvironment(const Options& options)
{
    const SurroundingOptions& wanted = options.surroundings;
    if (wanted.environment == "sky" || wanted.sun) {
        const std::array<double, 2> sun = wanted.sun.value_or(std::array{135.0, 40.0});
        return surroundings::makeSky(float(sun[0]), float(sun[1])).get();
    }
    io::ImageData image = io::readImage(wanted.environment, options.limits);
    const auto environment =
        surroundings::makeImageEnvironment(std::move(image), wanted.environment);
    if (environment && environment->getLayout() == 0 &&
        environment->getImage()->getWidth() != 2 * environment->getImage()->getHeight())
        znLog::warning((io::printable(wanted.environment) +
                        ": is not twice as wide as high; it is stretched round the scene")
                           .c_str());
    return environment.get();
}

/// What a look put round the scene, null without.
osg::Ref<osg::UEnvironmentMaterial> environmentOf(const io::SceneFile& scene)
{
    const auto attachment = osg::EnvironmentAttachment::getAttachment(scene.root.get());
    return attachment ? osg::FCPtr<osg::UEnvironmentMaterial>::dcast(attachment->getMaterial())
                      : osg::FCPtr<osg::UEnvironmentMaterial>();
}

/// What the light meter sees.
io::ImageData meterPicture(const Options& options, FrameDriver& driver, const View& view)
{
    FrameSettings settings = frameSettings(options);
    const double scale =
        std::min(1.0, double(meterSide) / std::max(settings.width, settings.height));
    settings.width = std::max(1u, u32(settings.width * scale));
    settings.height = std::max(1u, u32(settings.height * scale));
    settings.isStill = false;
    settings.samples = meterSamples;
    settings.passes = 0;
    settings.shownPass = 0;
    // Values are not bounded before it is known what is bright.
    znRaytracingUtilsBase& core = driver.utils();
    const bool clamps = core.getClamping();
    core.setClamping(false);
    driver.render(settings, view.camera.get());
    core.setClamping(clamps);
    return driver.getImage(FrameDriver::Colors::linear);
}

/// Views that show shapes and no light: by their normals, edges, openness, stripes, colours of
/// objects, or a layer of geometry. They leave out what would only light the scene.
bool showsShape(const Options& options)
{
    constexpr u32 shapeModes[] = {1, 2, 3, 5}; // see FrameSettings::renderMode
    constexpr int objectRenderer = 5;
    return std::count(std::begin(shapeModes), std::end(shapeModes), options.renderMode) > 0 ||
           options.renderer == objectRenderer || isDataPass(options.passes.shown);
}

} // namespace

SceneLight::SceneLight(const Options& options, io::SceneFile& scene, View& view)
{
    const SurroundingOptions& wanted = options.surroundings;
    const osg::Ref<osg::UEnvironmentMaterial> own = environmentOf(scene);
    const bool hasSources = surroundings::hasLight(scene.root.get());
    lit = hasSources || own;
    if (!hasSources && options.quality.illumination == 0)
        znLog::warning("--gi direct: the scene has no light sources, and its surroundings light "
                       "nothing on this level");
    if (wanted.environment == "none" && !wanted.sun)
        return;
    const bool isGiven = !wanted.environment.empty() || wanted.sun;
    if (!isGiven && showsShape(options))
        return;
    box = scene.root->getWorldBox();
    if (!isGiven && lit && !own) {
        isLitFromInside = true;
        return;
    }
    const osg::Pnt3f centre = centreOf(box), eye = eyeOf(*view.camera);
    // Also a single point has a floor.
    reach =
        std::max(reachOfDiagonal * std::max(diagonalOf(box), 1e-3f), 3.0f * distance(centre, eye));
    if (isGiven) {
        addEnvironment(makeEnvironment(options), options, scene, view);
        return;
    }
    if (own) {
        showsEnvironment = own->getPrimaryVisible() && wanted.background;
        surround(own, scene, view);
        return;
    }
    const auto studio = surroundings::makeImageEnvironment(makeStudioImage(), "studio");
    addEnvironment(studio.get(), options, scene, view);
    isKnownLight = true;
    // A view that was placed by hand may look from below, and cameras of files show what they show.
    if (view.beacon && !options.view.isPlaced() && wanted.floor)
        addFloor(scene);
    znLog::info("The scene has no light; it stands in a studio (--env none leaves it dark)");
}

void SceneLight::addEnvironment(const osg::Ref<osg::UEnvironmentMaterial>& material,
                                const Options& options, io::SceneFile& scene, View& view)
{
    surroundings::rotate(*material, float(options.surroundings.rotation));
    material->setIntensity(float(options.surroundings.strength));
    showsEnvironment = options.surroundings.background;
    surround(material, scene, view);
}

void SceneLight::surround(const osg::Ref<osg::UEnvironmentMaterial>& material, io::SceneFile& scene,
                          View& view)
{
    environment = material;
    environment->setPrimaryVisible(false); // until the light is metered
    lit = true;
    const osg::Pnt3f centre = centreOf(box);
    const osg::Ref<osg::Node> dome =
        surroundings::makeDome(environment.get(), centre, 1.05f * reach);
    surroundings::addInWorld(scene.root.get(), dome.get());
    // The corners of the dome have to lie in front of the far end, wherever the eye is.
    const float farthest = 2.0f * reach + distance(centre, eyeOf(*view.camera));
    view.camera->setFar(std::max(view.camera->getFar(), farthest));
}

void SceneLight::addFloor(io::SceneFile& scene)
{
    const osg::Ref<osg::Node> floor = surroundings::makeFloor(box, reach);
    surroundings::addInWorld(scene.root.get(), floor.get());
}

namespace {

/// The largest value of a sample is meant after the exposure, where 1 is white: the same number
/// fits lamps in candela and lamps without a unit.
void clampExposed(osg::UberCamera& camera, znRaytracingUtilsBase& core)
{
    const auto tonemapping = camera.getTonemappingSettings();
    if (tonemapping && core.getClamping())
        core.setReflectionClampValue(core.getReflectionClampValue() *
                                     std::exp2(-tonemapping->getExposure()));
}

} // namespace

void SceneLight::turnToLight(const Options& options, FrameDriver& driver, View& view) const
{
    if (!isLitFromInside || !view.beacon || options.view.isPlaced())
        return;
    using Direction = std::optional<osg::Vec3f>;
    const auto litPart = [&](const Direction& direction) {
        lookFrom(direction, options, box, view);
        return litShare(meterPicture(options, driver, view));
    };
    Direction found; // where everybody looks from
    double best = litPart(found);
    if (best >= mostlyDark)
        return;
    constexpr float height = 0.1f;
    for (const osg::Vec3f& side :
         {osg::Vec3f(0.0f, -1.0f, height), osg::Vec3f(1.0f, 0.0f, height),
          osg::Vec3f(-1.0f, 0.0f, height), osg::Vec3f(0.0f, 1.0f, height)}) {
        const double part = litPart(side);
        if (part > best) {
            best = part;
            found = side;
        }
    }
    lookFrom(found, options, box, view);
}

void SceneLight::expose(const Options& options, FrameDriver& driver, View& view) const
{
    const auto known = view.camera->getTonemappingSettings();
    const bool isExposed = options.view.exposure || (known && known->getExposure() != 0.0f);
    if (lit && !isExposed && !isKnownLight) {
        const auto stops = meterExposure(meterPicture(options, driver, view));
        if (stops) {
            tonemappingOf(*view.camera).setExposure(float(*stops));
            znLog::info(
                fmt::format("Exposure {:+.1f} stops, measured (--exposure {:.1f})", *stops, *stops)
                    .c_str());
        }
    }
    clampExposed(*view.camera, driver.utils());
    show();
}

void SceneLight::show() const
{
    if (environment)
        environment->setPrimaryVisible(showsEnvironment);
}

namespace {

/// Leaves materials with light sources alone: with all that a material does not take already.
void leaveOutSurroundings()
{
    constexpr int directOnly = 4, nothing = 5;
    const osg::FieldContainerFactory& factory = *osg::FieldContainerFactory::the();
    const std::size_t count = factory.getContainerCount();
    std::size_t found = 0;
    for (u32 id = 1; found < count; ++id) {
        const osg::FieldContainerPtr container = factory.getContainer(id);
        found += bool(container);
        if (const auto material = osg::UberMaterialPtr::dcast(container)) {
            const bool takesDirectLight = material->getLightingMode() % 2 == 0;
            material->setLightingMode(takesDirectLight ? directOnly : nothing);
        }
    }
}

} // namespace

void applyPathOptions(const Options& options, const osg::NodePtr& root, znRaytracingUtilsBase& core)
{
    // Seen points look at a few lights all: drawn by their power alone, the near and dim ones are
    // grain. Of more, looking at each takes longer than the grain is worth.
    constexpr u32 fewLights = 8;
    if (surroundings::countLights(root) <= fewLights)
        core.setLightOptimizationMode(0);
    const QualityOptions& quality = options.quality;
    if (quality.illumination) {
        // The lowest level is the second lowest without what surroundings bring.
        const int mode = std::max(1, *quality.illumination);
        core.setStillFrameQualityMode(mode);
        core.setInteractiveQualityMode(mode);
        if (*quality.illumination == 0) {
            core.setEnvironmentStillQuality(0);
            core.setEnvironmentInteractiveQuality(0);
            leaveOutSurroundings();
        }
    }
    if (quality.bounces) {
        core.setStillFrameReflectionDepth(*quality.bounces);
        core.setInteractiveReflectionDepth(*quality.bounces);
    }
    if (quality.clamp) {
        core.setClamping(true);
        core.setReflectionClampValue(float(*quality.clamp));
    }
}
