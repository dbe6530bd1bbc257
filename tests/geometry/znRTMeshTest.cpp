#include "geometry/znRTMesh.h"

#include "host/osg/SkinAttachment.h"
#include "host/osg/logStream.h"
#include "support/lanes.h"
#include "support/meshScene.h"

#include <sstream>

namespace meshTest {
using osg::MaterialDrawable;

/// Something to draw that has no triangles.
class PlainDrawable : public osg::MaterialDrawable
{
    ZN_CONTAINER(PlainDrawable, MaterialDrawable)
};
ZN_CONTAINER_BODY(PlainDrawable)

} // namespace meshTest

namespace {

/// Material of which a mesh needs tangents is not there yet: they are made by hand.
znRTMesh& meshWithTangents(MeshScene& scene, const osg::NodePtr& node)
{
    znRTMesh& mesh = scene.mesh(node);
    EXPECT_TRUE(mesh.calculateTangents());
    return mesh;
}

znRTVector3f tangentOf(const znRTMesh& mesh, u32 vertex)
{
    const float* const t = mesh.getTangents() + 3 * vertex;
    return {t[0], t[1], t[2]};
}

void expectNear(const znRTVector3f& actual, const znRTVector3f& expected, float tolerance)
{
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(actual[axis], expected[axis], tolerance) << "axis " << axis;
}

} // namespace

TEST(Mesh, ReportsACoreThatIsNoGeometry)
{
    std::ostringstream stream;
    std::ostream* const before = osg::setLogStream(&stream);
    znRTMesh mesh;
    const osg::Ref<osg::Group> group = osg::Group::create();
    const osg::Ref<osg::Node> node = osg::Node::create(group.get());
    mesh.initialize(node, group.get());
    osg::setLogStream(before);
    EXPECT_NE(stream.str().find("Error, BAD GEOMETRY"), std::string::npos);
    EXPECT_FALSE(mesh.isValid());
}

TEST(Mesh, ReportsMissingPositionsWithItsName)
{
    MeshScene scene;
    const GeometryRef geometry = osg::Geometry::create();
    const osg::Ref<osg::Node> node = osg::Node::create(geometry.get(), "bonnet");
    znRTMesh mesh;
    mesh.initialize(node, geometry.get());
    EXPECT_FALSE(mesh.isValid());
    EXPECT_TRUE(scene.hasLogged("Mesh has no valid positions: bonnet"));
}

TEST(Mesh, IsInvalidWithoutTriangles)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{0, 0, 0}, {1, 0, 0}}, {0, 1});
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    EXPECT_FALSE(scene.mesh(node).isValid());
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.0f, 0.0f)).hitMask, 0u);
}

// The padding behind the list repeats vertex 0, through which a ray goes here.
TEST(Mesh, DoesNotHitItsPadding)
{
    MeshScene scene;
    const GeometryRef geometry =
        makeMesh({{0, 0, 0}, {1, 0, -1}, {2, 0, -1}, {1, 1, -1}}, {1, 2, 3});
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    EXPECT_EQ(scene.intersector(node).getTriangleCount(), 1u);
    EXPECT_EQ(scene.intersector(node).getCount(), 5u);
    EXPECT_EQ(scene.trace(downward({0.0f, 1.2f, 0.0f, 1.2f}, {0.0f, 0.2f, 0.0f, 0.2f})).hitMask,
              0b1010u);
}

// E. Lengyel's tangents: along growing u. On the square u grows with x.
TEST(MeshTangents, RunAlongTheFirstTextureCoordinate)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const znRTMesh& mesh = meshWithTangents(scene, scene.add(geometry.get()));
    for (u32 v = 0; v < 4; ++v)
        expectNear(tangentOf(mesh, v), {1, 0, 0}, 1e-6f);
}

// The core's tangents win over those that texture coordinates would give, as they are; the fourth
// number is a side. A changed array is noticed.
TEST(MeshTangents, AreTakenFromTheCoreThatHasThem)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const float t[16] = {0, 1, 0, 1, 0, 1, 0, -1, 0, 0.6f, 0.8f, 1, 0, 1, 0, 1};
    const osg::GeoPropertyPtr property = osg::GeoProperty::create({0u});
    property->set(osg::GeoProperty::Float32, 4, t, 4, false);
    geometry->setTangents(property);
    const osg::NodePtr node = scene.add(geometry.get());
    znRTMesh& mesh = meshWithTangents(scene, node);
    expectNear(tangentOf(mesh, 1), {0, 1, 0}, 0.0f);
    expectNear(tangentOf(mesh, 2), {0, 0.6f, 0.8f}, 0.0f);
    EXPECT_EQ(mesh.getGeometryMemoryUsage(), 4 * 3 * sizeof(float));

    EXPECT_FALSE(mesh.verifyData());
    geometry->setTangents({});
    EXPECT_TRUE(mesh.verifyData());
    mesh.updateGeometry(osg::Geometry::TangentsFieldMask);
    mesh.calculateTangents();
    expectNear(tangentOf(mesh, 2), {1, 0, 0}, 1e-6f);

    // Too few of them count as none.
    const osg::GeoPropertyPtr few = osg::GeoProperty::create({0u});
    few->set(osg::GeoProperty::Float32, 4, t, 3, false);
    geometry->setTangents(few);
    mesh.updateGeometry(osg::Geometry::TangentsFieldMask);
    mesh.calculateTangents();
    expectNear(tangentOf(mesh, 1), {1, 0, 0}, 1e-6f);
}

TEST(MeshTangents, NeedNeitherNormalsNorTextureWhenTheCoreHasThem)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}}, {0, 1, 2});
    geometry->setTangents(osg::GeoProperty::create({osg::Vec3f(1, 0, 0), {1, 0, 0}, {1, 0, 0}}));
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    EXPECT_TRUE(scene.mesh(node).calculateTangents());
}

TEST(MeshTangents, RunAlongTheFirstEdgeWithoutTextureArea)
{
    MeshScene scene;
    const GeometryRef geometry =
        makeMesh({{0, 0, 0}, {0, 3, 0}, {-1, 0, 0}}, {0, 1, 2}, {{0, 0, 1}, {0, 0, 1}, {0, 0, 1}},
                 {{0.5f, 0.5f}, {0.5f, 0.5f}, {0.5f, 0.5f}});
    const znRTMesh& mesh = meshWithTangents(scene, scene.add(geometry.get()));
    for (u32 v = 0; v < 3; ++v)
        expectNear(tangentOf(mesh, v), {0, 1, 0}, 1e-6f);
}

// The normals lean against the edge: tangents stay perpendicular to them, and each triangle of a
// vertex counts the same, whatever its size.
TEST(MeshTangents, ArePerpendicularToTheNormalAndUnweighted)
{
    MeshScene scene;
    const osg::Vec3f lean(0.6f, 0.0f, 0.8f);
    const GeometryRef geometry =
        makeMesh({{0, 0, 0}, {100, 0, 0}, {0, 100, 0}, {0, 1, 0}, {-1, 0, 0}}, {0, 1, 2, 0, 3, 4},
                 {lean, lean, lean, lean, lean}, {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {0, 1}});
    const znRTMesh& mesh = meshWithTangents(scene, scene.add(geometry.get()));
    const znRTVector3f n(0.6f, 0.0f, 0.8f);
    for (u32 v = 0; v < 5; ++v) {
        EXPECT_NEAR(dot(tangentOf(mesh, v), n), 0.0f, 1e-6f);
        EXPECT_NEAR(tangentOf(mesh, v).getLength(), 1.0f, 1e-6f);
    }
    // Vertex 0 adds the projections of +x (unit: (.8, 0, -.6)) and of +y, equally long.
    expectNear(tangentOf(mesh, 0), znRTVector3f(0.8f, 1.0f, -0.6f).getNormalized(), 1e-5f);
}

TEST(MeshTangents, CancelToNoTangent)
{
    MeshScene scene;
    // Two triangles whose texture runs in opposite directions over a common vertex.
    const GeometryRef geometry =
        makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2, 0, 3, 4},
                 std::vector<osg::Vec3f>(5, osg::Vec3f(0, 0, 1)),
                 {{0, 0}, {1, 0}, {0, 1}, {-1, 0}, {0, -1}});
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    const znRTMesh& mesh = meshWithTangents(scene, node);
    EXPECT_TRUE(std::isnan(tangentOf(mesh, 0).x));
    EXPECT_FALSE(std::isnan(tangentOf(mesh, 1).x));

    // Readers take it for a vertex without tangent.
    znRTDataBlockPacket data{scene.trace(downward(0.25f, 0.25f))};
    ASSERT_EQ(data.hit.hitMask, 15u);
    data.dg.tangentMask = znFloatType<2>::allLanes();
    ASSERT_TRUE(mesh.getVertexTangentData(data, 15));
    EXPECT_EQ(moveMask(data.dg.tangentMask), 0);
}

TEST(MeshTangents, NeedNormalsAndTextureCoordinates)
{
    MeshScene scene;
    const GeometryRef geometry = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    EXPECT_FALSE(scene.mesh(scene.add(geometry.get())).calculateTangents());
}

TEST(MeshTangents, AreSharedByAllNodesOfACore)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const znRTMesh& a = meshWithTangents(scene, scene.add(geometry.get()));
    const znRTMesh& b = meshWithTangents(scene, scene.add(geometry.get()));
    EXPECT_EQ(a.getTangents(), b.getTangents());
    EXPECT_GE(a.getGeometryMemoryUsage(), 4 * 3 * sizeof(float));
}

TEST(Mesh, NoticesEveryExchangedProperty)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    znRTMesh& mesh = scene.mesh(scene.add(geometry.get()));
    EXPECT_FALSE(mesh.verifyData());
    const auto exchanged = [&](auto set) {
        set();
        const bool noticed = mesh.verifyData();
        mesh.initGeometry();
        EXPECT_FALSE(mesh.verifyData());
        return noticed;
    };
    const auto points = [] {
        return osg::GeoProperty::create({osg::Vec3f(0, 0, 1), {1, 0, 1}, {1, 1, 1}, {0, 1, 1}});
    };
    const std::vector<osg::Vec2f> uvs(4);
    EXPECT_TRUE(exchanged([&] { geometry->setPositions(points()); }));
    EXPECT_TRUE(exchanged([&] { geometry->setNormals(points()); }));
    EXPECT_TRUE(exchanged([&] { geometry->setColors(points()); }));
    EXPECT_TRUE(exchanged([&] { geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u})); }));
    for (int set = 0; set < 8; ++set)
        EXPECT_TRUE(exchanged([&] {
            geometry->setTexCoordSet(set,
                                     osg::GeoProperty::create(std::span<const osg::Vec2f>(uvs)));
        })) << set;
    EXPECT_TRUE(exchanged([&] { geometry->setTexCoordSet(7, nullptr); }));
}

TEST(Mesh, KeepsItsTreeWhenOnlyAttributesChange)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    const u64 version = scene.mesh(node).getSharedVolume()->builtVersion.load();
    const znRTTriangle* const list = scene.intersector(node).getTriangles().data;
    const std::vector<osg::Vec2f> uvs(4, osg::Vec2f(0.25f, 0.75f));
    geometry->setTexCoords(osg::GeoProperty::create(std::span<const osg::Vec2f>(uvs)));
    EXPECT_FALSE(scene.mesh(node).updateGeometry(osg::Geometry::TexCoordsFieldMask));
    EXPECT_EQ(scene.mesh(node).getSharedVolume()->builtVersion.load(), version);
    EXPECT_EQ(scene.intersector(node).getTriangles().data, list);
    znRTHitInfoPacket hit = scene.trace(downward(0.5f, 0.2f));
    EXPECT_LANES_NEAR(scene.mesh(node).getUVs(0, hit).y, 0.75f, 0.75f, 0.75f, 0.75f, 1e-6f);
}

TEST(Mesh, BuildsAgainWhenPositionsChangeInPlace)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    float* const z = static_cast<float*>(geometry->getPositions()->editData());
    for (int v = 0; v < 4; ++v)
        z[3 * v + 2] = 2.0f;
    EXPECT_TRUE(scene.mesh(node).updateGeometry(osg::Geometry::PositionsFieldMask));
    scene.mesh(node).rebuild();
    scene.build();
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 3, 3, 3, 3, 1e-5f);
}

TEST(Mesh, TakesTheArraysOfAnEnabledSkin)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    const osg::Ref<osg::Node> joint = osg::Node::create([] {
        const auto transform = osg::Transform::create();
        transform->setMatrix(makeTranslation(0, 0, 1.5f));
        return transform;
    }());
    const osg::Ref<osg::SkinAttachment> skin = osg::SkinAttachment::create();
    skin->setJoints({joint.get()});
    skin->setInfluenceCount(1);
    skin->setJointIndices({0, 0, 0, 0});
    skin->setWeights({1, 1, 1, 1});
    geometry->addAttachment(skin.get());

    const float* const plain = scene.mesh(node).getPositions();
    skin->setEnabled(true);
    scene.mesh(node).calculateDeformer();
    EXPECT_NE(scene.mesh(node).getPositions(), plain);
    EXPECT_FLOAT_EQ(scene.mesh(node).getPositions()[2], 1.5f);
    scene.mesh(node).reinit();
    scene.build();
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 3.5f, 3.5f, 3.5f, 3.5f, 1e-5f);

    skin->setEnabled(false);
    scene.mesh(node).reinit();
    EXPECT_EQ(scene.mesh(node).getPositions(), plain);
    scene.build();
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 5, 5, 5, 5, 1e-5f);
}

TEST(Mesh, IgnoresTrianglesThatAreNotFinite)
{
    MeshScene scene;
    const float huge = INFINITY;
    const GeometryRef geometry =
        makeMesh({{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}, {huge, 0, 1}, {NAN, 0, 1}},
                 {0, 1, 2, 0, 3, 2, 0, 1, 4});
    scene.add(geometry.get());
    scene.build();
    EXPECT_EQ(scene.scene->getFullBoundingBox().getMaximum(), znRTVector3f(1, 1, 0));
    EXPECT_EQ(scene.trace(downward(0.0f, 0.0f)).hitMask, 15u);
}

TEST(Mesh, LetsRaysPassOnceItsPositionsAreGone)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    geometry->setPositions(nullptr);
    EXPECT_TRUE(scene.mesh(node).updateGeometry(~0ull));
    EXPECT_EQ(scene.intersector(node).getLeaf(), nullptr);
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
    scene.mesh(node).rebuild();
    scene.build();
    EXPECT_FALSE(scene.scene->isValid());
    geometry->setPositions(
        osg::GeoProperty::create({osg::Vec3f(-1, -1, 1), {1, -1, 1}, {1, 1, 1}, {-1, 1, 1}}));
    EXPECT_TRUE(scene.mesh(node).updateGeometry(~0ull));
    scene.build();
    EXPECT_LANES_NEAR(scene.trace(downward(0.5f, 0.2f)).t, 4, 4, 4, 4, 1e-5f);
}

// No fingerprint of the arrays shows an edit in place: the change itself has to.
TEST(MeshTangents, FollowEditsInPlace)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr a = scene.add(geometry.get()), b = scene.add(geometry.get());
    scene.build();
    expectNear(tangentOf(meshWithTangents(scene, a), 0), {1, 0, 0}, 1e-6f);
    float* const uv = static_cast<float*>(geometry->getTexCoords()->editData());
    for (int v = 0; v < 4; ++v)
        uv[2 * v] = 1.0f - uv[2 * v];
    EXPECT_FALSE(scene.mesh(a).updateGeometry(osg::Geometry::TexCoordsFieldMask));
    expectNear(tangentOf(meshWithTangents(scene, a), 0), {-1, 0, 0}, 1e-6f);

    for (int v = 0; v < 4; ++v)
        uv[2 * v] = 1.0f - uv[2 * v];
    EXPECT_TRUE(scene.mesh(a).updateGeometry(~0ull));
    expectNear(tangentOf(meshWithTangents(scene, a), 0), {1, 0, 0}, 1e-6f);
    // The second node of the core hears of the same edit: what the first one made stays.
    const u64 version = scene.mesh(a).getSharedVolume()->tangentVersion;
    EXPECT_TRUE(scene.mesh(b).updateGeometry(~0ull));
    EXPECT_EQ(scene.mesh(a).getSharedVolume()->tangentVersion, version);
}

TEST(Mesh, LetsGoOfACoreThatIsReplacedByNoGeometry)
{
    MeshScene scene;
    std::ostringstream stream;
    std::ostream* const before = osg::setLogStream(&stream);
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    node->setCore(meshTest::PlainDrawable::create());
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_FALSE(scene.scene->updateObjects());
    osg::setLogStream(before);
    EXPECT_EQ(stream.str(), "Error, BAD GEOMETRY\n");
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 0u);
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(geometry->getId()), 0u);

    node->setCore(geometry.get());
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_EQ(scene.trace(downward(0.5f, 0.2f)).hitMask, 15u);
}

TEST(Mesh, LetsGoOfACoreThatIsReplacedByOneWithoutPositions)
{
    MeshScene scene;
    const GeometryRef geometry = makeSquare();
    const osg::NodePtr node = scene.add(geometry.get());
    scene.build();
    node->setCore(osg::Geometry::create());
    EXPECT_TRUE(scene.scene->updateObjects());
    EXPECT_FALSE(scene.scene->updateObjects());
    EXPECT_FALSE(scene.scene->isValid());
    EXPECT_EQ(znRTSharedGeometryTable::getUseCount(geometry->getId()), 0u);
}
