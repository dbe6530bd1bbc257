#include "settings/SceneFixture.h"

#include "host/osg/Camera.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/UTextureSettings.h"
#include "host/osg/UberCamera.h"
#include "host/osg/UberLight.h"
#include "host/osg/Viewport.h"
#include "host/znSceneDataManager.h"

#include <thread>

namespace {

using Ids = std::set<u32>;

class ChangeFilter : public SceneFixture
{
protected:
    ~ChangeFilter() override { znSceneDataManager::getSceneData(0)->setSelectedNodes({}); }
};

TEST_F(ChangeFilter, FindsNothingInAnEmptyList)
{
    const znRTSceneChanges changes = filter();
    EXPECT_TRUE(changes.empty());
}

// One row per kind: what is done, the flag it raises, and where it is listed.
TEST_F(ChangeFilter, RaisesTheFlagOfEachKind)
{
    const osg::Ref<osg::Node> light(osg::Node::create(osg::UPointLight::create()));
    const osg::Ref<osg::Node> plane(osg::Node::create(osg::ClipPlane::create()));
    root->addChild(light.get());
    root->addChild(plane.get());
    const auto switchCore = osg::Switch::create();
    const osg::Ref<osg::Node> switchNode(osg::Node::create(switchCore));
    root->addChild(switchNode.get());
    const auto assignment = osg::MaterialGroup::create();
    const osg::Ref<osg::Node> assignmentNode(osg::Node::create(assignment));
    root->addChild(assignmentNode.get());
    const auto geo = osg::RaytracingGeoAttachment::create();
    one->addAttachment(geo);
    const auto lightAttachment = osg::RaytracingLightAttachment::create();
    light->addAttachment(lightAttachment);
    const auto phong = osg::FCPtr<osg::UPhongMaterial>::dcast(triangleOne->getMaterial());
    const auto settings = znRTSceneHandler::getRaytracingSettingsAttachment();
    const auto point = osg::FCPtr<osg::UPointLight>::dcast(light->getCore());
    const auto clip = osg::FCPtr<osg::ClipPlane>::dcast(plane->getCore());

    // Assignments must not destroy what they replace.
    const osg::Ref<osg::Material> keep(triangleTwo->getMaterial());

    struct Row
    {
        const char* what;
        std::function<void()> act;
        u32 flags;
        Ids znRTSceneChanges::*list;
        u32 id;
    };
    osg::Matrix moved;
    moved[3][1] = 2.0f;
    const Row rows[] = {
        {"transform", [&] { transform->setMatrix(moved); }, znChangeTransforms,
         &znRTSceneChanges::transforms, group->getId()},
        {"hidden", [&] { one->setHidden(true); }, znChangeVisibility, &znRTSceneChanges::visibility,
         one->getId()},
        {"switch", [&] { switchCore->setChoice(osg::Switch::none); }, znChangeVisibility,
         &znRTSceneChanges::visibility, switchNode->getId()},
        {"geometry attachment", [&] { geo->setCastShadows(false); }, znChangeVisibility,
         &znRTSceneChanges::visibility, one->getId()},
        {"light", [&] { point->setIntensity(3.0f); }, znChangeLights, &znRTSceneChanges::lights,
         light->getId()},
        {"light attachment", [&] { lightAttachment->setShadowIntensity(0.5f); },
         znChangeLightAttachments, &znRTSceneChanges::lights, light->getId()},
        {"material", [&] { phong->setSideness(1); }, znChangeMaterials,
         &znRTSceneChanges::materials, phong->getId()},
        {"assignment", [&] { assignment->setMaterial(phong); }, znChangeMaterialAssignment,
         &znRTSceneChanges::materialAssignments, assignmentNode->getId()},
        {"core's material", [&] { triangleTwo->setMaterial(phong); }, znChangeMaterialAssignment,
         &znRTSceneChanges::materialAssignments, two->getId()},
        {"clip plane", [&] { clip->setOn(false); }, znChangeClipping, &znRTSceneChanges::clipPlanes,
         plane->getId()},
        {"settings", [&] { settings->setPhotonMode(1); }, znChangeSettings, nullptr, 0},
        {"side flag",
         [&] { znSceneDataManager::getSceneData(0)->getRenderOptions()->setShowASides(false); },
         znChangeVisibility, nullptr, 0},
        {"selection",
         [&] { znSceneDataManager::getSceneData(0)->setSelectedNodes({one->getId()}); },
         znChangeSelection, &znRTSceneChanges::selected, one->getId()},
    };
    for (const Row& row : rows) {
        znRTSceneHandler::clearChangeList();
        row.act();
        const znRTSceneChanges changes = filter();
        EXPECT_EQ(changes.flags, row.flags) << row.what;
        if (row.list) {
            EXPECT_EQ(changes.*row.list, Ids{row.id}) << row.what;
        }
        EXPECT_TRUE(changes.destroyed.empty() && changes.created.empty()) << row.what;
    }
    znSceneDataManager::getSceneData(0)->getRenderOptions()->setShowASides(true);
}

TEST_F(ChangeFilter, TellsViewsFromScenes)
{
    const osg::Ref<osg::UberCamera> camera(osg::UberCamera::create());
    const osg::Ref<osg::Viewport> viewport(osg::Viewport::create());
    znRTSceneHandler::clearChangeList();
    camera->setFov(30.0f);
    EXPECT_EQ(filter().flags, znChangeCamera);
    znRTSceneHandler::clearChangeList();
    viewport->setLeft(3);
    EXPECT_EQ(filter().flags, znChangeImages);
    EXPECT_EQ(znLightChanges &
                  (znChangeCamera | znChangeSettings | znChangeSelection | znChangeImages),
              0u);
}

TEST_F(ChangeFilter, FollowsPartsToWhatTheyBelongTo)
{
    const auto phong = osg::FCPtr<osg::UPhongMaterial>::dcast(triangleOne->getMaterial());
    const auto texture = osg::UTextureSettings::create();
    const auto image = osg::Image::create();
    image->set(osg::Image::RGB, 2, 2);
    texture->setImage(image);
    texture->setIsActive(true);
    phong->setDiffuseTexture(texture);
    const auto spectrum = osg::Spectrum::create();
    ColorComponent color(0.5f);
    color.spectrum = osg::Ref<osg::Spectrum>(spectrum);
    phong->setGlossy(color);
    const auto positions = triangleTwo->getPositions();

    znRTSceneHandler::clearChangeList();
    texture->setGamma(1.0f);
    EXPECT_EQ(filter().materials, Ids{phong->getId()}) << "texture settings";
    znRTSceneHandler::clearChangeList();
    spectrum->setUseSpectrum(true);
    EXPECT_EQ(filter().materials, Ids{phong->getId()}) << "spectrum of a colour";
    znRTSceneHandler::clearChangeList();
    osg::EditScope(image, osg::Image::PixelsFieldMask);
    const znRTSceneChanges imageChanges = filter();
    EXPECT_EQ(imageChanges.materials, Ids{phong->getId()}) << "pixels";
    EXPECT_EQ(imageChanges.flags, u32(znChangeMaterials | znChangeImages));
    znRTSceneHandler::clearChangeList();
    osg::EditScope(positions, osg::GeoProperty::BytesFieldMask);
    const znRTSceneChanges positionChanges = filter();
    EXPECT_EQ(positionChanges.flags, znChangeGeometry);
    EXPECT_EQ(positionChanges.cores.count(triangleTwo->getId()), 1u);
}

TEST_F(ChangeFilter, CountsEnvironmentsMediaAndContainersOfMaterialsAsWhatTheyAre)
{
    const auto sky = osg::USkylightMaterial::create();
    const auto choice = osg::SwitchMaterial::create();
    choice->setMaterials({sky});
    triangleOne->setMaterial(choice);
    const auto fog = osg::UVolumeScatterMaterial::create();
    triangleTwo->setMaterial(fog);
    znRTSceneHandler::clearChangeList();
    sky->setTurbidity(5.0f);
    znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.flags, u32(znChangeMaterials | znChangeEnvironment));
    EXPECT_EQ(changes.environments, Ids{sky->getId()});
    EXPECT_EQ(changes.materials, (Ids{sky->getId(), choice->getId()}));
    znRTSceneHandler::clearChangeList();
    fog->setAnisotropy(0.5f);
    changes = filter();
    EXPECT_EQ(changes.media, Ids{fog->getId()});
    EXPECT_EQ(changes.flags, u32(znChangeMaterials | znChangeClipping));
}

TEST_F(ChangeFilter, ListsNewNodesOnce)
{
    const osg::Ref<osg::Node> added = makeNode(makeTriangle());
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    group->addChild(added.get());
    group->addChild(lamp.get());
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.created, (Ids{added->getId(), lamp->getId()}));
    EXPECT_TRUE(changes.flags & znChangeNodesCreated);
    EXPECT_TRUE(changes.flags & znChangeLightsCreated);
}

TEST_F(ChangeFilter, LeavesOutWhatIsNotBelowTheRoot)
{
    const osg::Ref<osg::Node> elsewhere = makeNode(makeTriangle());
    elsewhere->setHidden(true);
    const osg::FCPtr<osg::UPhongMaterial> loose = osg::UPhongMaterial::create();
    const osg::Ref<osg::UPhongMaterial> keep(loose);
    loose->setSideness(2);
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.flags, 0u);
    EXPECT_TRUE(changes.empty());
}

TEST_F(ChangeFilter, LetsDestructionWin)
{
    const u32 id = one->getId();
    one->setHidden(true);
    group->subChild(one.get());
    one = nullptr;
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.destroyed.count(id), 1u);
    EXPECT_EQ(changes.visibility.count(id), 0u);
    EXPECT_TRUE(changes.flags & znChangeNodesDestroyed);
}

TEST_F(ChangeFilter, CountsNodesThatLeftTheRootAsDestroyedAndThoseThatCameAsCreated)
{
    group->subChild(one.get());
    const osg::Ref<osg::Node> outside = makeNode(makeTriangle());
    znRTSceneHandler::clearChangeList();
    osg::ChangeList list;
    list.addChanged(group->getId(), osg::Node::ChildrenFieldMask);
    root->addChild(outside.get());
    list.addChanged(root->getId(), osg::Node::ChildrenFieldMask);
    znRTSceneChanges changes;
    znRTSceneHandler::filterChanges(list, 0xffffffffu, changes);
    EXPECT_EQ(changes.destroyed, Ids{one->getId()});
    EXPECT_EQ(changes.created, Ids{outside->getId()});
}

TEST_F(ChangeFilter, KeepsObjectsThatOnlyMovedToAnotherParent)
{
    root->addChild(one.get()); // leaves its group
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.destroyed.count(one->getId()), 0u);
    EXPECT_EQ(changes.created.count(one->getId()), 0u);
    EXPECT_TRUE(changes.transforms.count(root->getId()));
}

TEST_F(ChangeFilter, CountsLightsAndPlanesThatLeftTheRootAsDestroyed)
{
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    const osg::Ref<osg::Node> plane = makeNode(osg::ClipPlane::create());
    const osg::Ref<osg::Node> holder = makeNode(osg::Group::create());
    holder->addChild(lamp.get());
    root->addChild(holder.get());
    root->addChild(plane.get());
    znRTSceneHandler::clearChangeList();
    root->subChild(plane.get());
    znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.destroyed, Ids{plane->getId()});
    EXPECT_TRUE(changes.flags & znChangeClipping);
    znRTSceneHandler::clearChangeList();
    root->subChild(holder.get());
    changes = filter();
    EXPECT_EQ(changes.destroyed, Ids{lamp->getId()});
    EXPECT_TRUE(changes.flags & znChangeLightsCreated);
    EXPECT_FALSE(changes.flags & znChangeClipping);
}

// The parent dies, its child lives on outside of the root.
TEST_F(ChangeFilter, CountsTheChildrenOfDestroyedNodesAsLost)
{
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    osg::Ref<osg::Node> holder = makeNode(osg::Group::create());
    holder->addChild(lamp.get());
    root->addChild(holder.get());
    znRTSceneHandler::clearChangeList();
    root->subChild(holder.get());
    holder = nullptr;
    EXPECT_TRUE(filter().destroyed.count(lamp->getId()));
}

TEST_F(ChangeFilter, PassesOnWhatAReplacedCoreGivesToTheNodesBelow)
{
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    group->addChild(lamp.get());
    znRTSceneHandler::clearChangeList();
    group->setCore(osg::MaterialGroup::create());
    znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.structure, Ids{group->getId()});
    EXPECT_EQ(changes.materialAssignments, Ids{group->getId()});
    EXPECT_EQ(changes.lights, Ids{lamp->getId()}) << "it stood below a transform";
    znRTSceneHandler::clearChangeList();
    lamp->setCore(osg::ClipPlane::create());
    changes = filter();
    EXPECT_EQ(changes.clipPlanes, Ids{lamp->getId()});
    EXPECT_TRUE(changes.flags & znChangeClipping);
}

TEST_F(ChangeFilter, ListsLightsBelowASwitch)
{
    const auto choice = osg::Switch::create();
    const osg::Ref<osg::Node> node = makeNode(choice), lamp = makeNode(osg::UPointLight::create());
    node->addChild(lamp.get());
    root->addChild(node.get());
    znRTSceneHandler::clearChangeList();
    choice->setChoice(osg::Switch::none);
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.lights, Ids{lamp->getId()});
    EXPECT_EQ(changes.flags, u32(znChangeVisibility | znChangeLights));
}

TEST_F(ChangeFilter, ListsPlanesThatMoveWithTheirNodeOrBeacon)
{
    const auto clip = osg::ClipPlane::create();
    const osg::Ref<osg::Node> plane = makeNode(clip);
    root->addChild(plane.get());
    znRTSceneHandler::clearChangeList();
    osg::Matrix moved;
    moved[3][0] = 1.0f;
    transform->setMatrix(moved);
    EXPECT_TRUE(filter().clipPlanes.empty()) << "it stands elsewhere";
    clip->setBeacon(one.get());
    znRTSceneHandler::clearChangeList();
    moved[3][0] = 2.0f;
    transform->setMatrix(moved);
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.clipPlanes, Ids{plane->getId()}) << "by the beacon below the transform";
    EXPECT_EQ(changes.flags, u32(znChangeTransforms | znChangeClipping));
}

TEST_F(ChangeFilter, CountsGeometryAsChangedWhenJointsOrSkinsDo)
{
    const auto skin = osg::SkinAttachment::create();
    const osg::Ref<osg::SkinAttachment> keep(skin);
    skin->setEnabled(true);
    skin->setJoints({two.get()});
    triangleOne->addAttachment(skin);
    EXPECT_EQ(filter().cores.count(triangleOne->getId()), 1u) << "came";
    znRTSceneHandler::clearChangeList();
    osg::Matrix moved;
    moved[3][0] = 1.0f;
    transform->setMatrix(moved);
    znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.cores.size(), 1u);
    EXPECT_EQ(changes.cores.count(triangleOne->getId()), 1u) << "its joint moved";
    EXPECT_EQ(changes.flags, u32(znChangeTransforms | znChangeGeometry));
    znRTSceneHandler::clearChangeList();
    triangleOne->subAttachment(skin);
    changes = filter();
    EXPECT_EQ(changes.cores.count(triangleOne->getId()), 1u) << "went";
    EXPECT_TRUE(changes.flags & znChangeGeometry);
}

// A call per level would not fit on the stack.
TEST_F(ChangeFilter, FollowsMaterialsOfAnyDepth)
{
    constexpr u32 depth = 100000;
    const auto inner = osg::UPhongMaterial::create();
    osg::MaterialPtr outer = inner;
    for (u32 i = 0; i < depth; ++i) {
        const auto wrapper = osg::MultiPassMaterial::create();
        wrapper->setMaterials({outer});
        outer = wrapper;
    }
    triangleOne->setMaterial(outer);
    znRTSceneHandler::clearChangeList();
    inner->setSideness(1);
    EXPECT_EQ(filter().materials.size(), depth + 1);
}

TEST_F(ChangeFilter, LeavesNamesOutOfTransforms)
{
    osg::setName(transform, "spin");
    EXPECT_EQ(filter().flags & (znChangeTransforms | znChangeGeometry), 0u);
}

TEST_F(ChangeFilter, IgnoresUnknownIdsAndMaskedChanges)
{
    osg::ChangeList list;
    list.addChanged(4000000000u, ~u64(0));
    znRTSceneChanges changes;
    znRTSceneHandler::filterChanges(list, 0xffffffffu, changes);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(changes.flags, 0u);

    one->setHidden(true);
    EXPECT_EQ(filter(u32(osg::Node::CoreFieldMask)).flags, 0u);
    EXPECT_EQ(filter(u32(osg::Node::FlagsFieldMask)).flags, znChangeVisibility);
}

// Materials have more than 32 fields, so the mask "everything" must not stop at bit 31.
TEST_F(ChangeFilter, LetsFieldsBeyondTheThirtySecondPass)
{
    static_assert(osg::UPhongMaterial::GlossyFieldIndex >= 32);
    const auto phong = osg::FCPtr<osg::UPhongMaterial>::dcast(triangleOne->getMaterial());
    phong->setGlossy(ColorComponent(0.9f));
    EXPECT_EQ(filter().flags, znChangeMaterials);
}

using SceneHandler = SceneFixture;

TEST_F(SceneHandler, KeepsScenesByName)
{
    RecordingScene other;
    EXPECT_FALSE(znRTSceneHandler::addScene("Test", &other)) << "taken";
    EXPECT_FALSE(znRTSceneHandler::addScene("Null", nullptr));
    EXPECT_TRUE(znRTSceneHandler::addScene("Other", &other));
    EXPECT_EQ(znRTSceneHandler::getScene("Other"), &other);
    EXPECT_EQ(znRTSceneHandler::getScene("other"), nullptr);
    EXPECT_TRUE(znRTSceneHandler::setCurrentScene("Other"));
    EXPECT_FALSE(znRTSceneHandler::setCurrentScene("Nobody"));
    EXPECT_EQ(znRTSceneHandler::s_currentScene, &other);
    EXPECT_TRUE(znRTSceneHandler::deleteScene("Other"));
    EXPECT_EQ(znRTSceneHandler::s_currentScene, nullptr);
    EXPECT_FALSE(znRTSceneHandler::deleteScene("Other"));
    EXPECT_EQ(znRTSceneHandler::getScene("Test"), &scene);
}

TEST_F(SceneHandler, ForwardsUpdatesAndSurvivesWithoutAScene)
{
    znRTSceneHandler::updateLights();
    znRTSceneHandler::updateMaterials();
    znRTSceneHandler::updateLightPortals();
    EXPECT_EQ(scene.calls, (std::vector<std::string>{"updateLights 0", "updateMaterials 0",
                                                     "updateLightPortals 0"}));
    znRTSceneHandler::deleteScene("Test");
    znRTSceneHandler::updateLights();
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyChanges({}, rebuild);
    znRTSceneHandler::addGeometries({one.get()});
    EXPECT_EQ(scene.calls.size(), 3u);
}

TEST_F(SceneHandler, GathersNodesInTreeOrder)
{
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    one->addChild(lamp.get());
    std::vector<osg::NodePtr> geometries, lights;
    znRTSceneHandler::getGeometries(root.get(), geometries);
    znRTSceneHandler::getLightsources(root.get(), lights);
    EXPECT_EQ(geometries, (std::vector<osg::NodePtr>{one.get(), two.get()}));
    EXPECT_EQ(lights, std::vector<osg::NodePtr>{lamp.get()});
}

TEST_F(SceneHandler, HandsHeadLightsOverSeparately)
{
    const osg::Ref<osg::Node> lamp = makeNode(osg::UPointLight::create());
    const osg::Ref<osg::Node> head = makeNode(osg::UHeadLight::create());
    znRTSceneHandler::addLightsources({lamp.get(), head.get()});
    EXPECT_TRUE(scene.wasAsked("addLight", lamp->getId()));
    EXPECT_TRUE(scene.wasAsked("setHeadlight", head->getId()));
}

TEST_F(SceneHandler, LeavesAuxiliaryNodesOut)
{
    const osg::Ref<osg::Node> super = makeNode(osg::Group::create());
    const osg::Ref<osg::Node> gizmo = makeNode(makeTriangle());
    const osg::Ref<osg::Node> ball = makeNode(makeTriangle());
    super->addChild(root.get());
    super->addChild(gizmo.get());
    super->addChild(ball.get());
    znRTSceneHandler::setSuperRoot(super.get());
    znRTSceneHandler::setMaterialBallRoot(ball.get());
    EXPECT_TRUE(znRTSceneHandler::isAuxiliaryNode(gizmo.get()));
    EXPECT_FALSE(znRTSceneHandler::isAuxiliaryNode(one.get()));
    EXPECT_FALSE(znRTSceneHandler::isAuxiliaryNode(ball.get()));
    EXPECT_TRUE(znRTSceneHandler::isMaterialPreviewNode(ball.get()));
    std::vector<osg::NodePtr> geometries;
    znRTSceneHandler::getGeometries(super.get(), geometries);
    EXPECT_EQ(geometries, (std::vector<osg::NodePtr>{one.get(), two.get(), ball.get()}));
    znRTSceneHandler::setMaterialBallRoot({});
    znRTSceneHandler::setSuperRoot({});
}

TEST_F(SceneHandler, DeletesWhatWasDestroyed)
{
    znRTSceneChanges changes;
    changes.destroyed = {one->getId()};
    znRTSceneHandler::deleteNodes(changes);
    for (const char* operation : {"deleteGeometry", "deleteLight", "deleteEnvironmentLight",
                                  "deleteClippingShape", "deleteMaterial"})
        EXPECT_TRUE(scene.wasAsked(operation, one->getId())) << operation;
    EXPECT_EQ(scene.getObjectListSize(), 1u);
}

TEST_F(SceneHandler, UpdatesObjectsOfChangedCoresAndListsThoseToRebuild)
{
    znRTSceneChanges changes;
    changes.cores[triangleOne->getId()] = osg::Geometry::PositionsFieldMask;
    changes.cores[triangleTwo->getId()] = osg::Geometry::IndicesFieldMask;
    scene.asksForRebuild = true;
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyChanges(changes, rebuild);
    EXPECT_TRUE(scene.wasAsked("updateObject", one->getId()));
    EXPECT_TRUE(scene.wasAsked("reinitObject", two->getId())) << "other primitives";
    EXPECT_EQ(rebuild.size(), 2u);
    EXPECT_TRUE(rebuild.count(one->getId()));
}

TEST_F(SceneHandler, ReplacesObjectsWhoseCoreWasReplaced)
{
    const osg::Ref<osg::NodeCore> keep(osg::NodeCorePtr(triangleOne.get()));
    one->setCore(makeTriangle());
    const znRTSceneChanges changes = filter();
    EXPECT_EQ(changes.structure, Ids{one->getId()});
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyChanges(changes, rebuild);
    EXPECT_TRUE(scene.wasAsked("deleteGeometry", one->getId()));
    EXPECT_TRUE(scene.wasAsked("addGeometryNode", one->getId()));
    EXPECT_TRUE(rebuild.empty());
}

TEST_F(SceneHandler, UpdatesClipPlanesWhenNothingElseChanged)
{
    const auto clip = osg::ClipPlane::create();
    const osg::Ref<osg::Node> plane = makeNode(clip);
    root->addChild(plane.get());
    znRTSceneHandler::clearChangeList();
    clip->setOn(false);
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyChanges(filter(), rebuild);
    EXPECT_TRUE(scene.wasAsked("updateClippingShape", plane->getId()));
}

TEST_F(SceneHandler, AddsGeometryThatHadNoObjectWhenItsCoreChanges)
{
    scene.deleteGeometry(one->getId());
    znRTSceneChanges changes;
    changes.cores[triangleOne->getId()] = osg::Geometry::PositionsFieldMask;
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyChanges(changes, rebuild);
    EXPECT_TRUE(scene.wasAsked("addGeometryNode", one->getId()));
    EXPECT_FALSE(scene.wasAsked("addGeometryNode", two->getId()));
}

TEST_F(SceneHandler, LetsObjectsBelowAChangeCompareThemselves)
{
    znRTSceneChanges all;
    all.transforms = {root->getId()};
    EXPECT_EQ(znRTSceneHandler::applyNodeUpdates(all), 2u) << "the first comparison";
    EXPECT_EQ(znRTSceneHandler::applyNodeUpdates(all), 0u);
    two->setHidden(true);
    EXPECT_EQ(znRTSceneHandler::applyNodeUpdates(filter()), 1u);
}

TEST_F(SceneHandler, AssignsMaterialsBelowTheChangedAssignment)
{
    znRTSceneChanges changes;
    changes.materialAssignments = {two->getId()};
    scene.asksForRebuild = true;
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyMaterialAssignmentChanges(changes, rebuild);
    EXPECT_EQ(scene.calls,
              std::vector<std::string>{"updateObjectMaterial " + std::to_string(two->getId())});
    EXPECT_EQ(rebuild.count(two->getId()), 1u);
}

TEST_F(SceneHandler, ComparesDisplacementOnlyWhereTheMaterialIsShown)
{
    znRTSceneChanges changes;
    changes.materials = {triangleOne->getMaterial()->getId()};
    znRTRebuildMap rebuild;
    znRTSceneHandler::applyMaterialUpdates(changes, rebuild);
    EXPECT_EQ(scene.calls.size(), 1u) << "nothing changed for objects";
    scene.calls.clear();
    scene.materialFlags = znMaterialDisplacementChanged;
    scene.asksForRebuild = true;
    znRTSceneHandler::applyMaterialUpdates(changes, rebuild);
    EXPECT_TRUE(scene.wasAsked("updateObjectMaterial", one->getId()));
    EXPECT_FALSE(scene.wasAsked("updateObjectMaterial", two->getId()));
    EXPECT_EQ(rebuild.count(one->getId()), 1u);
    scene.calls.clear();
    scene.materialFlags = znMaterialVisibilityChanged;
    znRTSceneHandler::applyMaterialUpdates(changes, rebuild);
    EXPECT_TRUE(scene.wasAsked("applyMaterialChanges"));
}

TEST_F(SceneHandler, SkipsObjectsWhoseNodeIsGone)
{
    const u32 id = one->getId();
    group->subChild(one.get());
    one = nullptr;
    znRTSceneChanges changes;
    changes.transforms = {root->getId()};
    changes.materialAssignments = {root->getId()};
    znRTRebuildMap rebuild;
    EXPECT_EQ(znRTSceneHandler::applyNodeUpdates(changes), 1u);
    znRTSceneHandler::applyMaterialAssignmentChanges(changes, rebuild);
    EXPECT_FALSE(scene.wasAsked("updateObjectMaterial", id));
}

TEST_F(SceneHandler, GivesEachPassAStampOfItsOwn)
{
    const u64 before = znRTSceneHandler::getBuildTimeStamp();
    EXPECT_GE(before, 1u);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int k = 0; k < 250; ++k)
                znRTSceneHandler::updateBuildTimeStamp();
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(znRTSceneHandler::getBuildTimeStamp(), before + 1000u);
}

TEST_F(SceneHandler, GivesTheThreadAChangeList)
{
    osg::ChangeList* list = znRTSceneHandler::getChangeList();
    ASSERT_NE(list, nullptr);
    znRTSceneHandler::initializeChangeList();
    EXPECT_EQ(znRTSceneHandler::getChangeList(), list) << "a second call does nothing";
    one->setHidden(true);
    EXPECT_FALSE(list->empty());
    znRTSceneHandler::clearChangeList();
    EXPECT_TRUE(list->empty());
    std::thread([] { EXPECT_EQ(znRTSceneHandler::getChangeList(), nullptr); }).join();
    znRTSceneHandler::destroyChangeList();
    EXPECT_EQ(znRTSceneHandler::getChangeList(), nullptr);
    EXPECT_EQ(osg::ChangeList::current(), nullptr);
    znRTSceneHandler::clearChangeList();
}

/// Made before the thread's list, so it goes after it.
struct HolderOfThread
{
    osg::Ref<osg::Node> node;
    osg::ChangeList** listAtEnd = nullptr;
    ~HolderOfThread()
    {
        if (listAtEnd)
            *listAtEnd = osg::ChangeList::current();
    }
};

TEST_F(SceneHandler, TakesTheChangeListOutOfForceWhenItsThreadEnds)
{
    osg::ChangeList unused;
    osg::ChangeList* listAtEnd = &unused;
    u32 id = 0;
    std::thread([&] {
        thread_local HolderOfThread holder;
        holder.listAtEnd = &listAtEnd;
        znRTSceneHandler::initializeChangeList();
        makeNode(osg::Group::create()); // created and destroyed
        holder.node = makeNode(osg::Group::create());
        id = holder.node->getId();
    }).join();
    EXPECT_EQ(listAtEnd, nullptr);
    EXPECT_FALSE(osg::FieldContainerFactory::the()->getContainer(id));
}

TEST_F(SceneHandler, MakesTheAttachmentsOfTheRoot)
{
    const auto settings = znRTSceneHandler::getRaytracingSettingsAttachment();
    ASSERT_TRUE(settings);
    EXPECT_EQ(znRTSceneHandler::getRaytracingSettingsAttachment(), settings);
    EXPECT_EQ(osg::RaytracingSettingsAttachment::getAttachment(root.get()), settings);
    EXPECT_TRUE(znRTSceneHandler::getSurfaceAnalysisAttachment());
}

} // namespace
