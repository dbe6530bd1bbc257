// Textures that do not follow the first set of coordinates: projected through space, laid along the
// axes, on further sets; and colours of vertices.

#include "host/osg/Image.h"
#include "host/osg/UTextureSettings.h"
#include "materialFixture.h"
#include "texture/znRTTextureFunctions.h"

using namespace materialTest;

namespace {

using TexturePtr = osg::Ref<osg::UTextureSettings>;

/// Grey texels, linear, nothing mixed beyond the edges.
TexturePtr makeTexture(u32 width, u32 height, const std::vector<u8>& texels)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    EXPECT_TRUE(
        image->take(osg::Image::L, width, height, std::vector<u8>(texels), osg::Image::UInt8));
    const TexturePtr texture = osg::UTextureSettings::create();
    texture->setImage(image.get());
    texture->setIsActive(true);
    texture->setGamma(1.0f);
    texture->setMipmaps(false);
    texture->setWrapS(znRTTextureSampler::clamp);
    texture->setWrapT(znRTTextureSampler::clamp);
    return texture;
}

/// u = (x + 1) / 2, v = (y + 1) / 2 over the square, z as it is.
osg::Matrix overSquare()
{
    osg::Matrix m;
    m[0][0] = m[1][1] = 0.5f;
    m[3][0] = m[3][1] = 0.5f;
    return m;
}

const znFloatType<2> texelX(-0.75f, 0.75f, -0.75f, 0.75f), texelY(-0.6f, -0.6f, 0.6f, 0.6f);

class ProjectedTextures : public MaterialTest
{
protected:
    void place(const PhongPtr& material, const osg::Matrix& matrix)
    {
        squares.push_back(makeSquare());
        squares.back()->setMaterial(material);
        scene.add(squares.back().get(), matrix);
        scene.scene->initMaterials();
        scene.build();
    }
    znRTColorPacket seen() { return shade(texelX, texelY).color; }
};

} // namespace

TEST_F(ProjectedTextures, ReadAPlaneInTheWorldOrWithTheObject)
{
    const PhongPtr material = makeDiffuse(1.0f);
    const TexturePtr texture = makeTexture(2, 2, {0, 51, 102, 204});
    texture->setMappingType(znRTTextureAttributes::mappingProjection);
    texture->setProjection(overSquare());
    texture->setProjectionSpace(1);
    material->setDiffuseTexture(texture.get());
    // Half a turn about the vertical.
    osg::Matrix turned;
    turned[0][0] = turned[1][1] = -1.0f;
    place(material, turned);
    addSun();
    EXPECT_LANES_NEAR(seen().r, 0.0f, 0.2f, 0.4f, 0.8f, 1e-5f);
    texture->setProjectionSpace(0);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seen().r, 0.8f, 0.4f, 0.2f, 0.0f, 1e-5f);
}

TEST_F(ProjectedTextures, LeaveTheBackOfAOneSidedPlaneToTheBorder)
{
    const PhongPtr material = makeDiffuse(1.0f);
    const TexturePtr texture = makeTexture(2, 2, {51, 51, 51, 51});
    texture->setMappingType(znRTTextureAttributes::mappingProjection);
    osg::Matrix downward = overSquare();
    downward[2][2] = -1.0f;
    texture->setProjection(downward);
    texture->setBorderColor(osg::Vec4f(0.5f, 0.5f, 0.5f, 1.0f));
    material->setDiffuseTexture(texture.get());
    place(material, osg::Matrix());
    addSun();
    EXPECT_LANES_NEAR(seen().r, 0.2f, 0.2f, 0.2f, 0.2f, 1e-5f);
    texture->setOneSided(true);
    scene.scene->applyMaterialChanges();
    EXPECT_LANES_NEAR(seen().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

// The four texels lie around the axis, one in each quarter of the plane.
TEST_F(ProjectedTextures, WindAroundACylinder)
{
    const PhongPtr material = makeDiffuse(1.0f);
    const TexturePtr texture = makeTexture(4, 1, {51, 102, 153, 204});
    texture->setMappingType(znRTTextureAttributes::mappingProjection);
    texture->setCylindrical(true);
    material->setDiffuseTexture(texture.get());
    place(material, osg::Matrix());
    addSun();
    const znFloatType<2> x(-0.5f, 0.5f, 0.5f, -0.5f), y(-0.5001f, -0.5001f, 0.5001f, 0.5001f);
    const float tolerance = 1e-3f; // of the middle of a texel
    EXPECT_LANES_NEAR(shade(x, y).color.r, 0.2f, 0.4f, 0.6f, 0.8f, tolerance);
}

TEST_F(ProjectedTextures, LieAlongTheAxesOnTriplanarKinds)
{
    const auto triplanar = osg::UTriplanarMaterial::create();
    triplanar->setDiffuse(gray(1.0f));
    triplanar->setGlossy(gray(0.0f));
    const TexturePtr texture = makeTexture(2, 2, {0, 51, 102, 204});
    triplanar->setDiffuseTexture(texture.get());
    const auto axes = osg::UTriplanarSettings::create();
    axes->setTextureSize(osg::Vec2f(2.0f, 2.0f));
    axes->setOffsetU(osg::Vec3f(0.5f, 0.5f, 0.5f));
    axes->setOffsetV(osg::Vec3f(0.5f, 0.5f, 0.5f));
    triplanar->setTriplanar(axes);
    addSquare(triplanar);
    addSun();
    const znRTColorPacket color = seen();
    // What the same square shows without an image.
    triplanar->setDiffuseTexture(nullptr);
    scene.scene->applyMaterialChanges();
    const float white = seen().r[0];
    EXPECT_GT(white, 0.5f);
    EXPECT_LANES_NEAR(color.r * (1.0f / white), 0.0f, 0.2f, 0.4f, 0.8f, 2e-3f);
}

// The square is four images wide, and its halves are two images apart.
TEST_F(ProjectedTextures, RepeatWithoutVisibleRepeatsWhereAsked)
{
    const PhongPtr material = makeDiffuse(1.0f);
    std::vector<u8> texels;
    for (int i = 0; i < 64; ++i)
        texels.push_back(u8(i * 151 % 256));
    const TexturePtr texture = makeTexture(8, 8, texels);
    texture->setWrapS(znRTTextureSampler::repeat);
    texture->setWrapT(znRTTextureSampler::repeat);
    texture->setRepeat(osg::Vec2f(4.0f, 4.0f));
    material->setDiffuseTexture(texture.get());
    addSquare(material);
    addSun();
    const auto differenceOfHalves = [&] {
        float greatest = 0.0f;
        for (float y = -0.87f; y < 0.9f; y += 0.1f) {
            const znRTColorPacket left = shade({-0.9f, -0.7f, -0.5f, -0.3f}, y).color;
            const znRTColorPacket right = shade({0.1f, 0.3f, 0.5f, 0.7f}, y).color;
            for (int lane = 0; lane < 4; ++lane)
                greatest = std::max(greatest, std::abs(left.r[lane] - right.r[lane]));
        }
        return greatest;
    };
    EXPECT_LT(differenceOfHalves(), 1e-3f);
    texture->setUseInfiniteTiling(true);
    scene.scene->applyMaterialChanges();
    EXPECT_GT(differenceOfHalves(), 0.3f);
}

TEST_F(ProjectedTextures, DriveNumbersAndOpacityToo)
{
    const auto substance = osg::USubstanceMaterial::create();
    substance->setBaseColor(gray(0.0f));
    substance->setSpecularLevel(0.0f);
    const TexturePtr texture = makeTexture(2, 2, {0, 51, 255, 204});
    texture->setMappingType(znRTTextureAttributes::mappingProjection);
    texture->setProjection(overSquare());
    substance->setOpacityTexture(texture.get());
    addSquare(substance);
    znRTRenderUtils::s_backgroundColor = {1.0f, 1.0f, 1.0f, 0.0f};
    EXPECT_LANES_NEAR(seen().r, 1.0f, 0.8f, 0.0f, 0.2f, 1e-5f);
    // Shadow rays read it, too.
    const PhongPtr below = makeDiffuse(0.5f);
    addSquare(below, -1.0f);
    addSun();
    const znRTRayDifferentialPacket between(znRTRayPacket(znRTVector3fPacket(texelX, texelY, -0.5f),
                                                          znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    EXPECT_LANES_NEAR(shade(between).color.r, 0.5f, 0.4f, 0.0f, 0.1f, 1e-5f);
    znRTRenderUtils::s_backgroundColor = {0.0f, 0.0f, 0.0f, 0.0f};
}

// A cutout takes the same half of the surface from camera rays, from shadows and from those who ask
// the geometry, however its image lies. The object is turned by half a turn, so that what sticks to
// it is mirrored.
TEST_F(ProjectedTextures, CutSurfacesForAllKindsOfRays)
{
    const PhongPtr above = makeDiffuse(0.25f), below = makeDiffuse(0.5f);
    const TexturePtr right = makeTexture(2, 1, {0, 255});
    above->setCutoutTexture(right.get());
    squares.push_back(makeSquare());
    const std::vector<osg::Vec2f> turned = {{1, 1}, {0, 1}, {0, 0}, {1, 0}};
    squares.back()->setTexCoordSet(1,
                                   osg::GeoProperty::create(std::span<const osg::Vec2f>(turned)));
    squares.back()->setMaterial(above);
    osg::Matrix half;
    half[0][0] = half[1][1] = -1.0f;
    half[3][2] = 1.0f;
    const osg::NodePtr node = scene.add(squares.back().get(), half);
    addSquare(below);
    addSun();

    const znRTRayDifferentialPacket upper = downward(texelX, texelY);
    const znRTRayDifferentialPacket lower(znRTRayPacket(znRTVector3fPacket(texelX, texelY, 0.5f),
                                                        znRTVector3fPacket(0.0f, 0.0f, -1.0f)));
    constexpr int leftLanes = 5, rightLanes = 10;
    const auto expectSolid = [&](int lanes, const char* how) {
        SCOPED_TRACE(how);
        scene.scene->applyMaterialChanges();
        const znFloatType<2> isSolid = expandLanes(lanes);
        const auto expected = [&](float solid, float open) { return select(isSolid, solid, open); };
        const znFloatType<2> seen = expected(0.25f, 0.5f), lit = expected(0.0f, 0.5f);
        EXPECT_LANES_NEAR(shade(upper).color.r, seen[0], seen[1], seen[2], seen[3], 1e-5f);
        EXPECT_LANES_NEAR(shade(lower).color.r, lit[0], lit[1], lit[2], lit[3], 1e-5f);
        const znRTHitInfoPacket hits = scene.trace(upper, 15);
        const znRTMesh& mesh = scene.mesh(node);
        EXPECT_EQ(moveMask(mesh.evaluateCutout(upper, hits, expandLanes(15), expandLanes(15))),
                  lanes);
        EXPECT_EQ(moveMask(mesh.evaluateCutout(upper, hits, expandLanes(7), expandLanes(14))),
                  lanes & 6);
    };
    expectSolid(leftLanes, "first set, turned with the object");
    right->setUvSet(1);
    expectSolid(rightLanes, "second set, turned against the first");
    right->setUvSet(0);
    right->setMappingType(znRTTextureAttributes::mappingProjection);
    right->setProjection(overSquare());
    right->setProjectionSpace(1);
    expectSolid(rightLanes, "plane in the world");
    right->setProjectionSpace(0);
    expectSolid(leftLanes, "plane in the object");
    // From behind about z, half of the turn is where y is positive.
    right->setProjection(osg::Matrix());
    right->setCylindrical(true);
    expectSolid(3, "cylinder in the object");
    right->setProjectionSpace(1);
    expectSolid(12, "cylinder in the world");
    right->setMappingType(znRTTextureAttributes::mappingTriplanar);
    const auto axes = osg::UTriplanarSettings::create();
    axes->setTextureSize(osg::Vec2f(2.0f, 2.0f));
    axes->setOffsetU(osg::Vec3f(0.5f, 0.5f, 0.5f));
    above->setTriplanar(axes);
    expectSolid(leftLanes, "axes of the object");
    const auto fixed = osg::UTriplanarSettings::create();
    fixed->setTextureSize(osg::Vec2f(2.0f, 2.0f));
    fixed->setOffsetU(osg::Vec3f(0.5f, 0.5f, 0.5f));
    fixed->setSpace(1);
    above->setTriplanar(fixed);
    expectSolid(rightLanes, "axes of the world");
}

// A grille of which two fifths are there, seen from so far that a pixel covers all of it: the mean
// of its texels would be open everywhere.
TEST_F(ProjectedTextures, CutByTexelsAndNotByTheirMean)
{
    const PhongPtr material = makeDiffuse(0.0f);
    const TexturePtr grille = makeTexture(5, 1, {255, 0, 255, 0, 0});
    grille->setMipmaps(true);
    material->setCutoutTexture(grille.get());
    addSquare(material);
    znRTRenderUtils::s_backgroundColor = {1.0f, 1.0f, 1.0f, 0.0f};
    for (const bool isProjected : {false, true}) {
        grille->setMappingType(isProjected ? znRTTextureAttributes::mappingProjection : 0);
        grille->setProjection(overSquare());
        scene.scene->applyMaterialChanges();
        double seen = 0.0;
        for (int i = 0; i < 25; ++i) {
            const znFloatType<2> x(0.08f * float(i) - 0.959f);
            znRTRayDifferentialPacket ray = downward(x, 0.1f);
            ray.hasDifferentials = true;
            ray.rxOrigin = ray.origin + znRTVector3fPacket(2.0f, 0.0f, 0.0f);
            ray.ryOrigin = ray.origin + znRTVector3fPacket(0.0f, 2.0f, 0.0f);
            ray.rxDirection = ray.ryDirection = ray.direction;
            seen += double(shade(ray).color.r[0]);
        }
        EXPECT_NEAR(seen / 25.0, 0.6, 0.05) << isProjected;
    }
    znRTRenderUtils::s_backgroundColor = {0.0f, 0.0f, 0.0f, 0.0f};
}

// Of a further set the footprint counts, not that of the first: here the first one is a thousandth
// of its size.
TEST_F(ProjectedTextures, FilterByTheFootprintOfTheirOwnSet)
{
    const PhongPtr material = makeDiffuse(1.0f);
    std::vector<u8> stripes;
    for (int i = 0; i < 64; ++i)
        stripes.push_back(i & 1 ? 255 : 0);
    const TexturePtr texture = makeTexture(64, 1, stripes);
    texture->setMipmaps(true);
    texture->setUvSet(2);
    material->setDiffuseTexture(texture.get());
    squares.push_back(makeSquare());
    const std::vector<osg::Vec2f> tiny = {{0, 0}, {1e-3f, 0}, {1e-3f, 1e-3f}, {0, 1e-3f}};
    const std::vector<osg::Vec2f> whole = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    squares.back()->setTexCoords(osg::GeoProperty::create(std::span<const osg::Vec2f>(tiny)));
    squares.back()->setTexCoordSet(2, osg::GeoProperty::create(std::span<const osg::Vec2f>(whole)));
    squares.back()->setMaterial(material);
    scene.add(squares.back().get(), osg::Matrix());
    scene.scene->initMaterials();
    scene.build();
    addSun();
    // A pixel as wide as sixteen texels.
    znRTRayDifferentialPacket ray = downward(texelX, texelY);
    ray.hasDifferentials = true;
    ray.rxOrigin = ray.origin + znRTVector3fPacket(0.5f, 0.0f, 0.0f);
    ray.ryOrigin = ray.origin + znRTVector3fPacket(0.0f, 0.5f, 0.0f);
    ray.rxDirection = ray.ryDirection = ray.direction;
    EXPECT_LANES_NEAR(shade(ray).color.r, 0.5f, 0.5f, 0.5f, 0.5f, 0.01f);
    const znRTDataBlockPacket data = blockOf(ray);
    znRTDifferentialGeometry dg = data.dg;
    data.selectTextureSet(2, dg);
    EXPECT_LANES_NEAR(dg.dUVdx.x, 0.25f, 0.25f, 0.25f, 0.25f, 1e-5f);
    EXPECT_LANES_NEAR(dg.dUVdy.y, 0.25f, 0.25f, 0.25f, 0.25f, 1e-5f);
    data.selectTextureSet(5, dg);
    EXPECT_LANES_NEAR(dg.dUVdx.x, 0.25f, 0.25f, 0.25f, 0.25f, 1e-5f) << "no such set";
}

TEST_F(ProjectedTextures, ShareTheSurfaceWithColoursOfVertices)
{
    const PhongPtr material = makeDiffuse(1.0f);
    material->setVertexColors(1);
    const TexturePtr texture = makeTexture(2, 1, {255, 51});
    material->setDiffuseTexture(texture.get());
    squares.push_back(makeSquare());
    // Red grows to the right, green upwards; the alpha of the first two is a half.
    const std::vector<osg::Vec4f> colors = {
        {0, 0, 1, 0.5f}, {1, 0, 1, 0.5f}, {1, 1, 1, 0.5f}, {0, 1, 1, 0.5f}};
    squares.back()->setColors(osg::GeoProperty::create(std::span<const osg::Vec4f>(colors)));
    squares.back()->setMaterial(material);
    scene.add(squares.back().get(), osg::Matrix());
    scene.scene->initMaterials();
    scene.build();
    addSun();
    znRTRenderUtils::s_backgroundColor = {3.0f, 3.0f, 3.0f, 0.0f};
    znRTColorPacket color = seen();
    EXPECT_LANES_NEAR(color.r, 0.125f, 0.2f * 0.875f, 0.125f, 0.2f * 0.875f, 1e-5f);
    EXPECT_LANES_NEAR(color.g, 0.2f, 0.2f * 0.2f, 0.8f, 0.2f * 0.8f, 1e-5f);
    EXPECT_LANES_NEAR(color.b, 1.0f, 0.2f, 1.0f, 0.2f, 1e-5f);
    material->setVertexColors(2);
    scene.scene->applyMaterialChanges();
    color = seen();
    EXPECT_LANES_NEAR(color.b, 2.0f, 1.6f, 2.0f, 1.6f, 1e-5f);
    EXPECT_TRUE(scene.scene->createMaterial(material)->isTransparent());
    znRTRenderUtils::s_backgroundColor = {0.0f, 0.0f, 0.0f, 0.0f};
}

TEST_F(ProjectedTextures, LeaveSurfacesWithoutColoursOfVerticesAsTheyAre)
{
    const PhongPtr material = makeDiffuse(0.5f);
    material->setVertexColors(2);
    addSquare(material);
    addSun();
    EXPECT_LANES_NEAR(seen().r, 0.5f, 0.5f, 0.5f, 0.5f, 1e-5f);
}

// A map that leans everything by 0.6 along u, in the light of a sun at 30 degrees: what u means
// decides whether the surface turns toward it.
TEST_F(ProjectedTextures, BendNormalsAlongTheirOwnMapping)
{
    const osg::Ref<osg::Image> image = osg::Image::create();
    image->take(osg::Image::RGB, 1, 1, std::vector<u8>{204, 128, 230}, osg::Image::UInt8);
    const TexturePtr map = osg::UTextureSettings::create();
    map->setImage(image.get());
    map->setIsActive(true);
    map->setGamma(1.0f);
    const PhongPtr material = makeDiffuse(1.0f);
    material->setBumpTexture(map.get());
    material->setBumpKind(1);

    squares.push_back(makeSquare());
    const std::vector<osg::Vec2f> turned = {{1, 1}, {0, 1}, {0, 0}, {1, 0}};
    squares.back()->setTexCoordSet(1,
                                   osg::GeoProperty::create(std::span<const osg::Vec2f>(turned)));
    squares.back()->setMaterial(material);
    // Half a turn about the vertical.
    osg::Matrix half;
    half[0][0] = half[1][1] = -1.0f;
    scene.add(squares.back().get(), half);
    scene.scene->initMaterials();
    scene.build();
    addSun(30.0);

    const double z = 2.0 * 230.0 / 255.0 - 1.0, length = std::sqrt(0.36 + z * z);
    const auto expectLean = [&](double x, const char* how) {
        scene.scene->applyMaterialChanges();
        const float expected = float((0.5 * x + std::sqrt(0.75) * z) / length);
        EXPECT_LANES_NEAR(seen().r, expected, expected, expected, expected, 1e-4f) << how;
    };
    expectLean(-0.6, "first set, turned with the object");
    map->setUvSet(1);
    expectLean(0.6, "second set, turned against the first");
    map->setUvSet(0);
    map->setMappingType(znRTTextureAttributes::mappingProjection);
    map->setProjection(overSquare());
    expectLean(-0.6, "plane in the object");
    map->setProjectionSpace(1);
    expectLean(0.6, "plane in the world");
    map->setMappingType(znRTTextureAttributes::mappingTriplanar);
    expectLean(-0.6, "axes of the object");
    const auto axes = osg::UTriplanarSettings::create();
    axes->setSpace(1);
    material->setTriplanar(axes);
    expectLean(0.6, "axes of the world");
}

TEST_F(ProjectedTextures, AreFilteredAsTheSettingsSay)
{
    using F = znRTTextureFunctions;
    Settings::s_interactiveTextureSharpness = 2.0f;
    Settings::s_useHighQualityTextureFiltering = false;
    znRTMaterial::updateStaticSettings();
    EXPECT_EQ(F::s_ewaFilterRescale, 0.5f);
    EXPECT_FALSE(F::s_useHighQualityTextureFiltering);
    Settings::s_interactiveTextureSharpness = 1.0f;
    Settings::s_useHighQualityTextureFiltering = true;
    znRTMaterial::updateStaticSettings();
    EXPECT_EQ(F::s_ewaFilterRescale, 1.0f);
    EXPECT_TRUE(F::s_useHighQualityTextureFiltering);
}
