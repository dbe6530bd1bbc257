#pragma once

// Scenes of plain numbers (referenceScene.h) as scene graphs, and their still frames by the
// renderer, through the interfaces that applications use.

#include "driver/FrameDriver.h"
#include "driver/viewFraming.h"
#include "host/osg/Geometry.h"
#include "host/osg/Group.h"
#include "host/osg/Image.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "host/osg/UberLight.h"
#include "host/znRTRaytracingSettings.h"
#include "render/renderFixture.h"
#include "support/referenceScene.h"

namespace reference {

/// How still frames are lit.
struct StillFrameQuality
{
    int illumination = 2; ///< 1 filtered environment, 2 sampled environment, 3 other surfaces too
    int depth = 4;        ///< of rays that surfaces send on
    int reflections = 1;  ///< rays to other surfaces per sample
    int environment = 1;  ///< directions to the environment per sample
    int lightingMode = 0; ///< of all materials: which light counts
};

class HostScene
{
public:
    HostScene(const Scene& newScene, const StillFrameQuality& quality) : scene(newScene)
    {
        settings->setStillFrameQualityMode(quality.illumination);
        settings->setStillFrameReflectionDepth(quality.depth);
        settings->setStillFrameQuality(quality.reflections);
        settings->setEnvironmentStillQuality(quality.environment);
        root->addAttachment(settings);
        for (const Finish& finish : scene.finishes)
            materials.emplace_back(materialOf(finish, quality));
        for (const Parallelogram& p : scene.parallelograms)
            addMesh(meshOf(p), p.finish, {});
        for (const Ball& ball : scene.balls)
            addMesh(renderTest::makeSphere(ballRings, 2 * ballRings), ball.finish,
                    placed(ball.center, ball.radius));
        addLamps();
        if (scene.sky.isThere())
            addSky();
        aimCamera();
    }

    /// Independent parts of the samples, from which the variance is taken.
    static constexpr int parts = 4;

    /// @param samples  per pixel and part
    Picture render(int samples, int threads = 2)
    {
        FrameDriver driver;
        driver.setScene(root.get());
        FrameSettings frame;
        frame.width = u32(scene.view.width);
        frame.height = u32(scene.view.height);
        frame.samples = samples;
        frame.adaptiveQuality = 5; // all samples everywhere
        frame.renderMode = 0;
        frame.threads = threads;
        frame.tileSize = 16;
        std::vector<Picture> pictures;
        for (int part = 0; part < parts; ++part) {
            driver.utils().setRaytracingSampleOffset(part * samples);
            driver.render(frame, camera.get());
            pictures.push_back(pictureOf(driver.getImage(FrameDriver::Colors::linear)));
        }
        driver.utils().setRaytracingSampleOffset(0);
        driver.setScene(nullptr);
        // Settings outlive their scene: back to what a process begins with.
        znRTRaytracingSettings().updateSettings(Settings::create().get());
        return joined(pictures);
    }

    const osg::Ref<osg::Node>& getRoot() const { return root; }
    osg::CameraPtr getCamera() const { return camera.get(); }

private:
    using Settings = osg::RaytracingSettingsAttachment;

    static constexpr u32 noMetal = 255;
    static constexpr u32 ballRings = 96;
    static constexpr float domeHalfEdge = 100.0f;

    static osg::Vec3f toVec(const Vector& v) { return {float(v.x), float(v.y), float(v.z)}; }
    static osg::Vec3f toVec(const Color& c) { return {float(c.r), float(c.g), float(c.b)}; }
    static osg::ColorComponent toComponent(const Color& c) { return osg::ColorComponent(toVec(c)); }

    static osg::MaterialPtr materialOf(const Finish& finish, const StillFrameQuality& quality)
    {
        if (finish.isMirror()) {
            // Reflects the same at all angles: no metal, and all of the colour.
            const auto mirror = osg::UChromeMaterial::create();
            mirror->setLightingMode(quality.lightingMode);
            mirror->setReflection(toComponent(Color::gray(finish.mirror)));
            mirror->setFresnelTable(noMetal);
            mirror->setReflectance(1.0f);
            mirror->setRoughness(0.0f);
            return osg::MaterialPtr(mirror);
        }
        const auto material = osg::UPhongMaterial::create();
        material->setLightingMode(quality.lightingMode);
        material->setDiffuse(toComponent(finish.diffuse));
        material->setGlossy(toComponent(finish.glossy));
        material->setRoughness(float(1.0 / std::sqrt(finish.exponent)));
        material->setTransparencyColor(toComponent(finish.passes));
        if (finish.emission.largest() > 0.0) {
            material->setIncandescence(toComponent(finish.emission));
            material->setIncandescenceActive(true);
        }
        return material;
    }

    static osg::GeometryPtr meshOf(const Parallelogram& p)
    {
        const osg::Vec3f normal = toVec(cross(p.u, p.v).normalized());
        const osg::GeometryPtr geometry = osg::Geometry::create();
        geometry->setPositions(
            osg::GeoProperty::create({toVec(p.corner), toVec(p.corner + p.u),
                                      toVec(p.corner + p.u + p.v), toVec(p.corner + p.v)}));
        geometry->setNormals(osg::GeoProperty::create({normal, normal, normal, normal}));
        geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u, 0u, 2u, 3u}));
        geometry->setLengths({6});
        geometry->setTypes({osg::Geometry::triangles});
        return geometry;
    }

    static osg::Matrix placed(const Vector& place, double scale = 1.0)
    {
        osg::Matrix matrix;
        for (int i = 0; i < 3; ++i)
            matrix[i][i] = scale;
        matrix[3][0] = place.x;
        matrix[3][1] = place.y;
        matrix[3][2] = place.z;
        return matrix;
    }

    /// z of the light away from where it shines to.
    static osg::Matrix turned(const Vector& toward)
    {
        const Vector helper = std::fabs(toward.z) < 0.9 ? Vector{0, 0, 1} : Vector{1, 0, 0};
        const Vector x = cross(helper, toward).normalized(), y = cross(toward, x);
        osg::Matrix matrix;
        const Vector axes[3] = {x, y, toward};
        for (int i = 0; i < 3; ++i) {
            matrix[i][0] = axes[i].x;
            matrix[i][1] = axes[i].y;
            matrix[i][2] = axes[i].z;
        }
        return matrix;
    }

    void addNode(const osg::NodeCorePtr& core, const osg::Matrix& matrix)
    {
        const auto transform = osg::Transform::create();
        transform->setMatrix(matrix);
        const osg::NodePtr place = osg::Node::create(transform);
        place->addChild(osg::Node::create(core));
        root->addChild(place);
    }

    void addMesh(const osg::GeometryPtr& mesh, int finish, const osg::Matrix& matrix)
    {
        mesh->setMaterial(materials[std::size_t(finish)].get());
        addNode(osg::NodeCorePtr(mesh), matrix);
    }

    template <class LightPtr>
    void addLight(const LightPtr& light, const Color& color, const osg::Matrix& matrix)
    {
        light->setDiffuse(toComponent(color));
        light->setGlossy(toComponent(color));
        addNode(osg::NodeCorePtr(light), matrix);
    }

    void addLamps()
    {
        for (const PointLamp& lamp : scene.points)
            addLight(osg::UPointLight::create(), lamp.color, placed(lamp.position));
        for (const Sun& sun : scene.suns)
            addLight(osg::UDirectionalLight::create(), sun.color, turned(sun.toward));
        for (const RectangleLamp& lamp : scene.rectangles) {
            const auto light = osg::URectangularLight::create();
            light->setSizeX(float(lamp.halfX));
            light->setSizeY(float(lamp.halfY));
            light->setStillQuality(1);
            addLight(light, lamp.radiance, placed(lamp.center));
        }
    }

    void addSky()
    {
        const Sky& sky = scene.sky;
        std::vector<float> pixels;
        for (int y = sky.height - 1; y >= 0; --y) // rows of pictures go upward
            for (int x = 0; x < sky.width; ++x) {
                Color c = sky.texels[std::size_t(y * sky.width + x)];
                if (x == sky.sunColumn && y == sky.sunRow)
                    c += sky.sun;
                pixels.insert(pixels.end(), {float(c.r), float(c.g), float(c.b)});
            }
        const osg::Ref<osg::Image> image(osg::Image::create());
        image->set(osg::Image::RGB, u32(sky.width), u32(sky.height), 1, 1, 1,
                   reinterpret_cast<const u8*>(pixels.data()), osg::Image::Float32);
        const auto material = osg::USphereEnvironmentMaterial::create();
        material->setImage(image.get());
        materials.emplace_back(osg::MaterialPtr(material));
        const auto dome = renderTest::makeSphere(16, 32);
        addMesh(dome, int(materials.size()) - 1, placed({}, domeHalfEdge));
    }

    void aimCamera()
    {
        const View& view = scene.view;
        beacon = osg::Ref<osg::Node>(osg::Node::create(osg::NodeCorePtr()));
        const auto transform = osg::Transform::create();
        transform->setMatrix(
            lookAtMatrix({toVec(view.eye), toVec(view.at), osg::Vec3f(0, 0, 1), 0.0f, 0.0f}));
        beacon->setCore(transform);
        camera = osg::Ref<osg::UberCamera>(osg::UberCamera::create());
        camera->setBeacon(beacon);
        camera->setFov(float(view.fovDegrees));
        camera->setNear(1e-3f);
        camera->setFar(1e4f);
    }

    static Picture pictureOf(const io::ImageData& image)
    {
        Picture picture{int(image.width), int(image.height), {}, {}};
        for (u32 y = 0; y < image.height; ++y)
            for (u32 x = 0; x < image.width; ++x)
                picture.pixels.push_back(
                    {image.getValue(x, y, 0), image.getValue(x, y, 1), image.getValue(x, y, 2)});
        return picture;
    }

    /// Mean of the parts, and the variance of that mean by how far the parts lie apart.
    static Picture joined(const std::vector<Picture>& pictures)
    {
        Picture mean = pictures[0];
        for (std::size_t i = 0; i < mean.pixels.size(); ++i) {
            Color sum;
            double squares = 0.0;
            for (const Picture& picture : pictures) {
                sum += picture.pixels[i];
                squares += picture.pixels[i].luminance() * picture.pixels[i].luminance();
            }
            const double n = parts, luminance = sum.luminance() / n;
            mean.pixels[i] = sum * (1.0 / n);
            mean.variance.push_back(std::max(0.0, squares / n - luminance * luminance) / (n - 1));
        }
        return mean;
    }

    const Scene& scene;
    osg::RaytracingSettingsAttachmentPtr settings = Settings::create();
    osg::Ref<osg::Node> root{osg::Node::create(osg::NodeCorePtr())};
    osg::Ref<osg::Node> beacon;
    osg::Ref<osg::UberCamera> camera;
    std::vector<osg::Ref<osg::Material>> materials;
};

} // namespace reference
