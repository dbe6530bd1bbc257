#include "renderFixture.h"

#include "accel/znRTDynamicBVH.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/FogSettings.h"
#include "host/osg/Materials.h"
#include "host/osg/Viewport.h"
#include "host/znLog.h"
#include "host/znSceneDataManager.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <string>

using namespace renderTest;

namespace {

/// Lines that the log gets while it stands.
class LogCapture
{
public:
    LogCapture()
    {
        before = znLog::setSink([this](znLog::Level level, const char* text) {
            if (level == znLog::Level::error)
                errors.push_back(text);
            else if (level == znLog::Level::warning)
                warnings.push_back(text);
        });
    }
    ~LogCapture() { znLog::setSink(before); }
    long countWarnings(const std::string& text) const
    {
        return std::count(warnings.begin(), warnings.end(), text);
    }
    std::vector<std::string> errors, warnings;

private:
    znLog::Sink before;
};

/// Fails in the middle of an update, or counts its builds.
class TestScene : public znRTDynamicBVH
{
public:
    void updateLights() override
    {
        if (fails)
            throw std::runtime_error("lights");
        znRTDynamicBVH::updateLights();
    }
    void clear() override
    {
        ++clears;
        znRTDynamicBVH::clear();
    }
    void build(unsigned quality) override
    {
        ++builds;
        znRTDynamicBVH::build(quality);
    }
    bool updateObject(unsigned index) override
    {
        const bool needsTree = znRTDynamicBVH::updateObject(index);
        objectTrees += needsTree;
        ++objectUpdates;
        return needsTree;
    }
    bool fails = false;
    int clears = 0, builds = 0;
    int objectUpdates = 0, objectTrees = 0; ///< calls, and those that asked for another tree
};

class SceneUpdate : public RenderTest
{
protected:
    TestScene& useTestScene()
    {
        auto* const scene = new TestScene;
        znRTRenderUtils::setAccelerator(scene);
        return *scene;
    }
    std::vector<ZN_RGBA32F> renderFrame()
    {
        view.resize(48, 36);
        instance->generateRenderTiles(&view.record, 16);
        begin();
        EXPECT_FALSE(trace());
        return view.frame;
    }
    static bool sameImage(const std::vector<ZN_RGBA32F>& a, const std::vector<ZN_RGBA32F>& b)
    {
        return a.size() == b.size() &&
               std::memcmp(a.data(), b.data(), a.size() * sizeof(ZN_RGBA32F)) == 0;
    }
};

} // namespace

TEST_F(SceneUpdate, BecomesActiveWithTheFirstOneThatSucceeds)
{
    EXPECT_FALSE(instance->isActive());
    instance->applyChangeList(0);
    EXPECT_TRUE(instance->isActive());
}

TEST_F(SceneUpdate, LogsOneLineAndSwitchesOffWhenItFails)
{
    TestScene& scene = useTestScene();
    add(makeSquare(1));
    instance->applyChangeList(0);
    EXPECT_TRUE(instance->isActive());
    {
        const LogCapture log;
        scene.fails = true;
        instance->applyChangeList(0);
        EXPECT_FALSE(instance->isActive());
        ASSERT_EQ(log.errors.size(), 1u);
        EXPECT_EQ(log.errors[0], "Raytracing update crashed, disabled raytracing!\n");
    }
    scene.fails = false;
    instance->applyChangeList(0);
    EXPECT_TRUE(instance->isActive());
    EXPECT_EQ(scene.getSceneNodesSize(), 1u);
}

TEST_F(SceneUpdate, ChangesNothingForUnknownIdsAndClearsTheList)
{
    TestScene& scene = useTestScene();
    add(makeSquare(1));
    instance->applyChangeList(0);
    const int clears = scene.clears;
    osg::ChangeList list;
    list.addCreated(0x7ffffff0);
    list.addChanged(0x7ffffff1, 1);
    list.addDestroyed(0x7ffffff2);
    instance->setChangeList(&list, 0xffffffff, 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(scene.clears, clears);
    EXPECT_EQ(scene.getSceneNodesSize(), 1u);
    EXPECT_TRUE(instance->isActive());
}

TEST_F(SceneUpdate, AddsAHundredNewNodesOneByOneAndReadsAllFromThereOn)
{
    for (int count : {100, 101}) {
        TestScene& scene = useTestScene();
        instance->applyChangeList(0); // the first update always reads everything
        const int clears = scene.clears;
        const u64 before = scene.getSceneNodesSize();
        for (int i = 0; i < count + int(before) * (count > 100); ++i)
            add(makeSquare(0.1f), i, 0, 0);
        instance->applyChangeList(0);
        EXPECT_EQ(scene.clears, clears + (count > 100)) << count;
        EXPECT_GE(scene.getSceneNodesSize(), u64(count));
    }
}

TEST_F(SceneUpdate, KeepsTheTreesWhenNothingHappened)
{
    TestScene& scene = useTestScene();
    add(makeSquare(1));
    instance->applyChangeList(0);
    const int builds = scene.builds;
    for (int i = 0; i < 5; ++i)
        instance->applyChangeList(0);
    EXPECT_EQ(scene.builds, builds);
}

// Colours, texture coordinates and normals are no part of a tree, whether they are replaced or
// edited in place; positions are.
TEST_F(SceneUpdate, KeepsTheTreesWhenOnlyAttributesChange)
{
    TestScene& scene = useTestScene();
    const osg::GeometryPtr square = makeSquare(1);
    add(square);
    const auto makeColors = [](float red) {
        const osg::Vec3f c(red, 0, 0);
        return osg::GeoProperty::create({c, c, c, c, c});
    };
    square->setColors(makeColors(0.5f));
    renderFrame();
    int updates = scene.objectUpdates, trees = scene.objectTrees, builds = scene.builds;
    const auto expectUpdate = [&](bool isBuilt) {
        instance->applyChangeList(0);
        EXPECT_EQ(scene.objectUpdates, ++updates);
        EXPECT_EQ(scene.objectTrees, trees += isBuilt);
        EXPECT_EQ(scene.builds, builds += isBuilt);
    };
    square->setColors(makeColors(1.0f));
    expectUpdate(false);
    {
        const osg::EditScope edit(square->getColors(), osg::GeoProperty::BytesFieldMask);
    }
    expectUpdate(false);
    const osg::Vec3f tilted(0.6f, 0, 0.8f);
    square->setNormals(osg::GeoProperty::create({tilted, tilted, tilted, tilted, tilted}));
    expectUpdate(false);
    EXPECT_FALSE(trace());
    EXPECT_NEAR(view.pixel(24, 18).r / view.pixel(24, 18).b, 1.6f / 1.8f, 1e-2f);
    {
        const osg::EditScope edit(square->getPositions(), osg::GeoProperty::BytesFieldMask);
    }
    expectUpdate(true);
    square->setPositions(makeSquare(0.5f)->getPositions());
    expectUpdate(true);
}

// The image after a move is that of a scene that was loaded with the object in its new place.
TEST_F(SceneUpdate, MovesANodeWithTheImageOfAFreshLoad)
{
    const osg::NodePtr sphere = add(makeSphere(16, 32), -1, 0, 0);
    add(makeSquare(0.5f), 1, 0.5, 0);
    const auto before = renderFrame();
    const osg::NodePtr place = sphere->getParent();
    osg::Matrix matrix;
    matrix[3][0] = 0.4;
    matrix[3][1] = -0.3;
    osg::FCPtr<osg::Transform>::dcast(place->getCore())->setMatrix(matrix);
    const auto moved = renderFrame();
    EXPECT_FALSE(sameImage(before, moved));
    instance->applyChangeList(1); // reads everything
    EXPECT_TRUE(sameImage(renderFrame(), moved));
}

TEST_F(SceneUpdate, DropsDestroyedNodes)
{
    const osg::NodePtr sphere = add(makeSphere(16, 32));
    add(makeSquare(0.5f), 1.5, 0.5, 0);
    const auto with = renderFrame();
    EXPECT_GT(view.pixel(24, 18).a, 0.5f);
    root->subChild(sphere->getParent());
    renderFrame();
    EXPECT_EQ(view.pixel(24, 18).a, 0.0f);
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator()->getSceneNodesSize(), 1u);
}

TEST_F(SceneUpdate, HidesAndShowsNodes)
{
    const osg::NodePtr sphere = add(makeSphere(16, 32));
    renderFrame();
    EXPECT_GT(view.pixel(24, 18).a, 0.5f);
    sphere->setHidden(true);
    renderFrame();
    EXPECT_EQ(view.pixel(24, 18).a, 0.0f);
    sphere->setHidden(false);
    renderFrame();
    EXPECT_GT(view.pixel(24, 18).a, 0.5f);
}

TEST_F(SceneUpdate, TellsTheHostWhatTheSceneHolds)
{
    add(makeSphere(16, 32));
    add(makeSquare(1), 3, 0, 0);
    renderFrame();
    const znRTSceneStatistics& statistics = view.record.m_statistics;
    EXPECT_EQ(statistics.objects, 2u);
    EXPECT_EQ(statistics.nodes, 2u);
    EXPECT_GE(statistics.primitives, 16u * 32u * 2u - 2u * 32u);
    EXPECT_GT(statistics.intersectorMemory, 0.0f);
}

TEST_F(SceneUpdate, BuildsFromListsOfNodes)
{
    std::vector<osg::NodePtr> geometries = {add(makeSphere(8, 16))}, lights;
    add(makeSquare(1), 3, 0, 0);
    instance->buildAccelerationStructure(geometries, lights);
    EXPECT_TRUE(instance->isActive());
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator()->getSceneNodesSize(), 1u);
    instance->clearAccelerationStructure();
    EXPECT_FALSE(instance->isActive());
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator()->getSceneNodesSize(), 0u);
}

// From (0.3, 0.2, 5) straight down the axis: z = sqrt(1 - 0.09 - 0.04).
TEST_F(SceneUpdate, FindsTheNodeUnderARay)
{
    const osg::NodePtr sphere = add(makeSphere(101, 203));
    instance->applyChangeList(0);
    znRTVector3f position(9, 9, 9), normal;
    osg::NodePtr node;
    ASSERT_TRUE(instance->getHitPoint({0.3f, 0.2f, 5.0f}, {0, 0, -20.0f}, position, normal, node));
    EXPECT_EQ(node, sphere);
    EXPECT_NEAR(position.z, std::sqrt(0.87), 1e-3);
    EXPECT_NEAR(normal.x, 0.3f, 1e-2f);
    EXPECT_FALSE(instance->getHitPoint({3, 0, 5}, {0, 0, -1}, position, normal, node));
    EXPECT_NEAR(position.x, 0.3f, 1e-6f); // as it was
    EXPECT_FALSE(instance->getHitPoint({0, 0, 5}, {0, 0, 0}, position, normal, node));
}

TEST_F(SceneUpdate, PicksWhatLiesBehindLockedObjects)
{
    const osg::NodePtr front = add(makeSquare(1), 0, 0, 1), back = add(makeSquare(1));
    instance->applyChangeList(0);
    const auto pick = [&] {
        znRTVector3f position, normal;
        osg::NodePtr node;
        const bool isHit =
            instance->getHitPoint({0.1f, 0.2f, 5}, {0, 0, -1}, position, normal, node);
        return isHit ? node : osg::NodePtr();
    };
    EXPECT_EQ(pick(), front);
    front->getParent()->setLock(true);
    EXPECT_EQ(pick(), back) << "an ancestor is locked";
    back->setLock(true);
    EXPECT_EQ(pick(), osg::NodePtr());
    front->getParent()->setLock(false);
    EXPECT_EQ(pick(), front);
}

TEST_F(SceneUpdate, KeepsScenesByName)
{
    EXPECT_NE(znRTRenderUtils::getAccelerator("Default"), nullptr);
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator(), znRTRenderUtils::getAccelerator("Default"));
    auto* const other = new TestScene;
    znRTRenderUtils::addAccelerator(other, "Other");
    EXPECT_EQ(znRTRenderUtils::getAccelerator("Other"), other);
    EXPECT_EQ(znRTSceneHandler::getScene("Other"), other);
    EXPECT_FALSE(znRTRenderUtils::setCurrentAccelerator("Nobody"));
    EXPECT_NE(znRTRenderUtils::getCurrentAccelerator(), other);
    EXPECT_TRUE(znRTRenderUtils::setCurrentAccelerator("Other"));
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator(), other);
    EXPECT_EQ(znRTSceneHandler::s_currentScene, other);
    EXPECT_TRUE(znRTRenderUtils::deleteAccelerator("Other"));
    EXPECT_FALSE(znRTRenderUtils::deleteAccelerator("Other"));
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator(), nullptr);
    EXPECT_FALSE(instance->updateObjects());
    EXPECT_TRUE(znRTRenderUtils::setCurrentAccelerator("Default"));
}

TEST_F(SceneUpdate, SurvivesASecondInitialization)
{
    znRTAccelerator* const scene = znRTRenderUtils::getCurrentAccelerator();
    znRTCamera* const before = znRTRenderUtils::getCamera();
    instance->initialize();
    EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator(), scene);
    EXPECT_EQ(znRTRenderUtils::getCamera(), before);
}

// Only the first twelve characters count.
TEST_F(SceneUpdate, BringsPreviewScenesUpToDateWhenTheyBecomeCurrent)
{
    const u64 stamp = znRTSceneHandler::getBuildTimeStamp();
    znRTRenderUtils::addAccelerator(new TestScene, "MaterialBallXYZ");
    znRTRenderUtils::addAccelerator(new TestScene, "MaterialBal");
    instance->setCurrentAccelerator("MaterialBal");
    EXPECT_EQ(znRTSceneHandler::getBuildTimeStamp(), stamp);
    instance->setCurrentAccelerator("MaterialBallXYZ");
    EXPECT_EQ(znRTSceneHandler::getBuildTimeStamp(), stamp + 1);
    instance->setCurrentAccelerator("MaterialBallNobody");
    EXPECT_EQ(znRTSceneHandler::getBuildTimeStamp(), stamp + 1);
    instance->setCurrentAccelerator("Default");
}

TEST_F(SceneUpdate, MakesAnEmptySceneForEveryAcceleratorType)
{
    add(makeSquare(1));
    for (u32 type : {0u, 1u, 2u, 3u, 99u}) {
        instance->setAcceleratorType(type);
        EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator()->getSceneNodesSize(), 0u);
        EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator(),
                  znRTRenderUtils::getAccelerator("Default"));
        EXPECT_FALSE(instance->isActive());
        instance->applyChangeList(0);
        EXPECT_EQ(znRTRenderUtils::getCurrentAccelerator()->getSceneNodesSize(), 1u);
    }
}

TEST_F(SceneUpdate, MarksSelectedObjectsWithoutTouchingTheOthers)
{
    const osg::NodePtr square = add(makeSquare(1));
    add(makeSquare(1), 3, 0, 0);
    renderFrame();
    const auto isSelected = [&](u64 index) {
        return znRTRenderUtils::getCurrentAccelerator()
            ->getSceneNode(index)
            ->hasWireframeSelection();
    };
    EXPECT_FALSE(isSelected(0) || isSelected(1));
    znSceneDataManager::getSceneData(0)->setSelectedNodes({square->getId()});
    renderFrame();
    EXPECT_NE(isSelected(0), isSelected(1));
    znSceneDataManager::getSceneData(0)->setSelectedNodes({});
    renderFrame();
    EXPECT_FALSE(isSelected(0) || isSelected(1));
}

// 4 (n / 2)^2 lights are worth n draws.
TEST(LightEvaluations, GrowWithTheRootOfTheLights)
{
    const int expected[][2] = {{0, 1},     {1, 1},     {15, 1},    {16, 2},
                               {35, 2},    {36, 3},    {899, 14},  {900, 15},
                               {1023, 15}, {1024, 16}, {1296, 16}, {100000, 16}};
    for (const auto& [lights, draws] : expected)
        EXPECT_EQ(znRTRenderUtils::countLightEvaluations(u64(lights)), draws) << lights;
}

// Each of these leaves something out of the picture, and says so once in the life of the process.
TEST_F(SceneUpdate, TellsOnceWhatItLeavesOut)
{
    const LogCapture log;
    const auto viewport = osg::Ref<osg::Viewport>(osg::Viewport::create());
    const auto fog = osg::FogSettings::create();
    const auto material = osg::UPhongMaterial::create();
    const osg::GeometryPtr square = makeSquare(1);
    square->setMaterial(material);
    material->setDisplacementHeight(0.5f);
    camera->setFogSettings(fog);
    add(square);
    renderFrame();
    instance->updateSceneplates(&view.record, viewport.get().get(), camera.get().get());
    EXPECT_EQ(log.countWarnings("Backgrounds and scene plates of viewports are not drawn yet."), 0);
    EXPECT_EQ(log.countWarnings("Fog is not rendered yet."), 0);
    fog->setFogEnableHeight(1);
    viewport->setBackground(osg::SolidBackground::create());
    for (int i = 0; i < 2; ++i) {
        instance->updateSceneplates(&view.record, viewport.get().get(), camera.get().get());
        updateCamera();
        znRTRenderUtils::getCurrentAccelerator()->applyImageQuadChanges();
        instance->applyChangeList(1);
    }
    for (const char* text : {"Backgrounds and scene plates of viewports are not drawn yet.",
                             "Fog is not rendered yet.", "Image quads are not drawn yet",
                             "Materials do not displace yet: surfaces stay smooth."})
        EXPECT_EQ(log.countWarnings(text), 1) << text;
}
