#include "driver/surroundings.h"

#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/UberLight.h"
#include "host/osg/nodeCores.h"
#include "host/znColor.h"
#include "io/sceneImage.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace surroundings {

namespace {

constexpr float radians = std::numbers::pi_v<float> / 180.0f;

/// Brings floats into the range of light.
void makePositive(io::ImageData& image)
{
    constexpr float largest = 1e9f; // sums over millions of texels stay finite
    float* const values = reinterpret_cast<float*>(image.values.data());
    const u64 count = u64(image.width) * image.height * image.channels;
    for (u64 i = 0; i < count; ++i)
        values[i] = values[i] > 0.0f ? std::min(values[i], largest) : 0.0f; // NaN gives 0
}

osg::Ref<osg::Node> makeNode(const char* name, const std::vector<osg::Vec3f>& positions,
                             const std::vector<osg::Vec3f>& normals,
                             const std::vector<u32>& indices, const osg::MaterialPtr& material)
{
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(positions)));
    geometry->setNormals(osg::GeoProperty::create(std::span<const osg::Vec3f>(normals)));
    geometry->setIndices(osg::GeoProperty::create(std::span<const u32>(indices)));
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setLengths({u32(indices.size())});
    geometry->setMaterial(material);
    return osg::Node::create(geometry.get(), name);
}

/// Share of sunlight of three wavelengths that comes through clear air. A. J. Preetham,
/// P. Shirley, B. Smits, "A Practical Analytic Model for Daylight", SIGGRAPH 1999, A.1: Rayleigh
/// and Angstroem scattering at turbidity 3 over the optical mass of F. Kasten, without ozone.
osg::Vec3f throughAir(float elevation)
{
    constexpr double wavelengths[3] = {0.615, 0.535, 0.465}; // micrometres
    constexpr double haze = 0.04608 * 3.0 - 0.04586;
    const double height = std::max(double(elevation), 0.0); // degrees
    const double mass = 1.0 / (std::sin(height * std::numbers::pi / 180.0) +
                               0.15 * std::pow(height + 3.885, -1.253));
    osg::Vec3f share;
    for (int i = 0; i < 3; ++i)
        share[i] = float(std::exp(-mass * (0.008735 * std::pow(wavelengths[i], -4.08) +
                                           haze * std::pow(wavelengths[i], -1.3))));
    return share;
}

/// Luminance of the surface of a lamp, cd/m2. Screens, signs and unlit pictures stay below.
constexpr float lampLuminance = 10.0f;

float luminanceOf(const osg::ColorComponent& c)
{
    return znColor::luminance(c.color[0], c.color[1], c.color[2]) * c.intensity;
}

bool isLamp(const osg::MaterialPtr& material)
{
    if (const auto light = osg::ULightMaterial::Ptr::dcast(material))
        return luminanceOf(light->getEmissiveComponent()) * light->getIntensity() >= lampLuminance;
    const auto surface = osg::UBRDFMaterial::Ptr::dcast(material);
    return surface && surface->getIncandescenceActive() &&
           luminanceOf(surface->getIncandescence()) >= lampLuminance;
}

bool isShining(const osg::MaterialPtr& material)
{
    const auto surface = osg::UBRDFMaterial::Ptr::dcast(material);
    return surface ? surface->getIncandescenceActive()
                   : bool(osg::ULightMaterial::Ptr::dcast(material));
}

int layoutOf(const io::ImageData& image)
{
    const u64 w = image.width, h = image.height;
    const bool isCross = (w * 3 == h * 4 && w % 4 == 0) || (w * 4 == h * 3 && w % 3 == 0);
    return isCross ? 2 : 0;
}

} // namespace

osg::Ref<osg::USphereEnvironmentMaterial> makeImageEnvironment(io::ImageData image,
                                                               const std::string& name)
{
    using Type = io::ImageData::Type;
    if (image.type == Type::half)
        image = io::converted(image, Type::float32);
    if (image.type == Type::float32)
        makePositive(image);
    const osg::Ref<osg::USphereEnvironmentMaterial> environment =
        osg::USphereEnvironmentMaterial::create();
    environment->setLayout(layoutOf(image));
    environment->setGamma(image.gamma);
    const osg::Ref<osg::Image> pixels = io::sceneImageOf(std::move(image), name);
    if (!pixels)
        return nullptr;
    environment->setImage(pixels.get());
    osg::setName(environment.get(), "environment");
    return environment;
}

osg::Ref<osg::USkylightMaterial> makeSky(float azimuth, float elevation)
{
    const osg::Ref<osg::USkylightMaterial> sky = osg::USkylightMaterial::create();
    const float level = std::cos(elevation * radians);
    sky->setUseSunDirection(true);
    sky->setSunDirection({level * std::sin(azimuth * radians), level * std::cos(azimuth * radians),
                          std::sin(elevation * radians)});
    // White at the elevation that skies have when nobody asks; redder and weaker below.
    constexpr float whiteElevation = 40.0f;
    const osg::Vec3f white = throughAir(whiteElevation), now = throughAir(elevation);
    sky->setSunColor({now[0] / white[0], now[1] / white[1], now[2] / white[2]});
    osg::setName(sky.get(), "sky");
    return sky;
}

void rotate(osg::UEnvironmentMaterial& environment, float degrees)
{
    // Clockwise as seen from above.
    const float c = std::cos(degrees * radians), s = std::sin(degrees * radians);
    osg::Matrix matrix;
    matrix[0] = {c, -s, 0.0f, 0.0f};
    matrix[1] = {s, c, 0.0f, 0.0f};
    environment.setRotation(matrix);
    environment.setUseRotation(degrees != 0.0f);
}

osg::Ref<osg::Node> makeDome(const osg::MaterialPtr& environment, const osg::Pnt3f& centre,
                             float radius)
{
    // A cube whose sides touch the sphere. Its normals point outward: the back is what is seen.
    std::vector<osg::Vec3f> positions, normals;
    std::vector<u32> indices;
    for (int axis = 0; axis < 3; ++axis)
        for (const float side : {-1.0f, 1.0f}) {
            const u32 first = u32(positions.size());
            osg::Vec3f normal(0.0f, 0.0f, 0.0f);
            normal[axis] = side;
            for (int corner = 0; corner < 4; ++corner) {
                osg::Vec3f p = normal;
                // Counter-clockwise about the axis; the other way round on its negative side.
                const int turn = side > 0.0f ? corner : 3 - corner;
                p[(axis + 1) % 3] = turn == 1 || turn == 2 ? 1.0f : -1.0f;
                p[(axis + 2) % 3] = turn >= 2 ? 1.0f : -1.0f;
                positions.push_back({centre[0] + radius * p[0], centre[1] + radius * p[1],
                                     centre[2] + radius * p[2]});
                normals.push_back(normal);
            }
            for (const u32 i : {0u, 1u, 2u, 0u, 2u, 3u})
                indices.push_back(first + i);
        }
    return makeNode("environment", positions, normals, indices, environment);
}

osg::Ref<osg::Node> makeFloor(const osg::Box& box, float radius)
{
    const osg::Ref<osg::UShadowMaterial> material = osg::UShadowMaterial::create();
    osg::setName(material.get(), "floor");
    const float x = 0.5f * (box.minimum[0] + box.maximum[0]);
    const float y = 0.5f * (box.minimum[1] + box.maximum[1]);
    // A hair below what stands on it, so that undersides and floor are never in one plane.
    const float z = box.minimum[2] - 1e-5f * radius;
    const osg::Vec3f up(0.0f, 0.0f, 1.0f);
    const osg::Ref<osg::Node> floor =
        makeNode("floor",
                 {{x - radius, y - radius, z},
                  {x + radius, y - radius, z},
                  {x + radius, y + radius, z},
                  {x - radius, y + radius, z}},
                 {up, up, up, up}, {0, 1, 2, 0, 2, 3}, material.get());
    // The light of the surroundings comes from below too: it is the floor that they show.
    const auto sight = osg::RaytracingGeoAttachment::create();
    sight->setCastShadows(false);
    sight->setVisibleInGlossyReflections(false);
    floor->addAttachment(sight);
    return floor;
}

void addInWorld(const osg::NodePtr& root, const osg::NodePtr& node)
{
    osg::Matrix fromWorld = root->getToWorld();
    if (fromWorld.isIdentity() || !fromWorld.invert()) {
        root->addChild(node);
        return;
    }
    const osg::Ref<osg::Transform> place = osg::Transform::create();
    place->setMatrix(fromWorld);
    const osg::Ref<osg::Node> world = osg::Node::create(place.get(), "world");
    world->addChild(node);
    root->addChild(world.get());
}

namespace {

osg::MaterialPtr materialOf(const osg::NodeCorePtr& core)
{
    if (const auto geometry = osg::MaterialDrawable::Ptr::dcast(core))
        return geometry->getMaterial();
    if (const auto group = osg::MaterialGroup::Ptr::dcast(core))
        return group->getMaterial();
    return nullptr;
}

} // namespace

bool hasLight(const osg::NodePtr& root)
{
    bool found = false;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        const osg::NodeCorePtr core = node->getCore();
        const osg::MaterialPtr material = materialOf(core);
        found = found || osg::isKindOf<osg::UberLight>(core) ||
                osg::isKindOf<osg::UEnvironmentMaterial>(material) || isLamp(material);
        return !found;
    });
    return found;
}

u32 countLights(const osg::NodePtr& root)
{
    u32 count = 0;
    osg::traverse(root, [&](const osg::NodePtr& node) {
        const osg::NodeCorePtr core = node->getCore();
        const auto light = osg::FCPtr<osg::UberLight>::dcast(core);
        count += light ? light->getOn() : isShining(materialOf(core));
        return true;
    });
    return count;
}

} // namespace surroundings
