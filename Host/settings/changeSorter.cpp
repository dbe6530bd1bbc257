#include "settings/changeSorter.h"

#include "host/osg/Background.h"
#include "host/osg/Camera.h"
#include "host/osg/ClipPlane.h"
#include "host/osg/FogSettings.h"
#include "host/osg/Geometry.h"
#include "host/osg/LightProfileAttachment.h"
#include "host/osg/Materials.h"
#include "host/osg/PBARGeometryAttachment.h"
#include "host/osg/RayFileAttachment.h"
#include "host/osg/RaytracingGeoAttachment.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/RaytracingPBARSettings.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/RenderOptions.h"
#include "host/osg/SkinAttachment.h"
#include "host/osg/SurfaceAnalysisAttachment.h"
#include "host/osg/TonemappingSettings.h"
#include "host/osg/UberLight.h"
#include "host/osg/Viewport.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTSceneBase.h"
#include "host/znRTSceneHandler.h"
#include "host/znSceneDataManager.h"
#include "settings/ancestry.h"

#include <algorithm>

using osg::isKindOf;

ChangeSorter::ChangeSorter(znRTSceneBase* scene_, znRTSceneChanges& changes_)
    : scene(scene_), changes(changes_)
{
}

namespace {

osg::FieldContainerPtr resolve(u32 id)
{
    return osg::FieldContainerFactory::the()->getContainer(id);
}

bool hasContent(const osg::NodePtr& node)
{
    return isKindOf<osg::MaterialDrawable>(node->getCore()) ||
           isKindOf<osg::UberLight>(node->getCore()) || isKindOf<osg::ClipPlane>(node->getCore());
}

} // namespace

void ChangeSorter::sort(const osg::ChangeList& list, u64 mask)
{
    // What was born and died within the list was never seen by anybody.
    const std::set<u32> born(list.getCreated().begin(), list.getCreated().end());
    for (const u32 id : list.getDestroyed())
        mark(changes.destroyed, id, born.count(id) ? 0u : u32(znChangeNodesDestroyed));
    sortCreated(list);
    for (const osg::ChangeList::Change& change : list.getChanged())
        if (change.mask & mask)
            if (const osg::FieldContainerPtr container = resolve(change.id))
                sortChanged(container, change.mask);
    if (childrenChanged)
        findLostNodes();
    if (!changes.transforms.empty() || !changes.structure.empty())
        findFollowers();
    if (changes.flags & znChangeSelection)
        copySelection();
    dropDestroyed();
}

const SceneOwners& ChangeSorter::getOwners()
{
    if (!owners)
        owners.emplace(znRTSceneHandler::getRoot());
    return *owners;
}

template <class Use>
void ChangeSorter::eachOwner(u32 id, Use&& use)
{
    for (const u32 owner : getOwners().getOwners(id))
        if (const osg::FieldContainerPtr container = resolve(owner))
            use(container);
}

template <class Use>
void ChangeSorter::eachNodeOf(u32 coreId, Use&& use)
{
    eachOwner(coreId, [&](const osg::FieldContainerPtr& owner) {
        if (const auto node = osg::NodePtr::dcast(owner))
            use(node);
    });
}

void ChangeSorter::mark(std::set<u32>& ids, u32 id, u32 flag)
{
    ids.insert(id);
    changes.flags |= flag;
}

// Creation

void ChangeSorter::addCreated(const osg::NodePtr& node)
{
    mark(changes.created, node->getId(), znChangeNodesCreated);
    if (isKindOf<osg::UberLight>(node->getCore()))
        changes.flags |= znChangeLightsCreated;
    if (isKindOf<osg::ClipPlane>(node->getCore()))
        mark(changes.clipPlanes, node->getId(), znChangeClipping);
}

void ChangeSorter::sortCreated(const osg::ChangeList& list)
{
    for (const u32 id : list.getCreated()) {
        const auto node = osg::NodePtr::dcast(resolve(id));
        if (node && getOwners().contains(id))
            addCreated(node);
    }
}

void ChangeSorter::findLostNodes()
{
    for (const u32 id : *knownNodes)
        if (resolve(id) && !getOwners().contains(id))
            mark(changes.destroyed, id, znChangeNodesDestroyed);
}

/// What left the root but lives on elsewhere.
void ChangeSorter::addLost(const osg::NodePtr& lost)
{
    osg::traverse(lost, [&](const osg::NodePtr& node) {
        if (hasContent(node))
            mark(changes.destroyed, node->getId(), znChangeNodesDestroyed);
        if (isKindOf<osg::UberLight>(node->getCore()))
            changes.flags |= znChangeLightsCreated;
        if (isKindOf<osg::ClipPlane>(node->getCore()))
            changes.flags |= znChangeClipping;
        return true;
    });
}

/// Things that stand elsewhere but move along: planes with their own or their beacon's node, and
/// skins with their joints.
void ChangeSorter::findFollowers()
{
    const auto isMoved = [&](const osg::NodePtr& node) {
        return isAtOrBelowOne(node, changes.transforms) || isAtOrBelowOne(node, changes.structure);
    };
    getOwners().each([&](u32 id) {
        const osg::FieldContainerPtr container = resolve(id);
        if (const auto node = osg::NodePtr::dcast(container)) {
            const auto plane = osg::ClipPlane::Ptr::dcast(node->getCore());
            if (plane && (isMoved(node) || isMoved(plane->getBeacon())))
                mark(changes.clipPlanes, id, znChangeClipping);
        } else if (const auto skin = osg::SkinAttachment::Ptr::dcast(container)) {
            const std::vector<osg::NodePtr> joints = skin->getJoints();
            if (skin->getEnabled() && std::any_of(joints.begin(), joints.end(), isMoved))
                sortAttachment(skin);
        }
    });
}

void ChangeSorter::sortChildren(const osg::NodePtr& node)
{
    childrenChanged = true;
    if (!knownNodes) {
        knownNodes.emplace();
        for (u64 i = 0; scene && i < scene->getSceneNodesSize(); ++i)
            if (const znRTGeometryNodeBase* object = scene->getGeometryNodeBase(i))
                knownNodes->insert(object->getNodeId());
    }
    // What came in from elsewhere counts as created; what was there may stand elsewhere now.
    osg::traverse(node, [&](const osg::NodePtr& each) {
        if (hasContent(each) && !knownNodes->count(each->getId()))
            addCreated(each);
        return true;
    });
    mark(changes.transforms, node->getId(), znChangeTransforms);
    mark(changes.visibility, node->getId(), znChangeVisibility);
    mark(changes.materialAssignments, node->getId(), znChangeMaterialAssignment);
}

// Changes

namespace {

/// Fields of a container that a part of it stands in.
u64 fieldsThatHold(const osg::FieldContainerPtr& owner, u32 part)
{
    using G = osg::Geometry;
    if (isKindOf<osg::Node>(owner))
        return 0;
    const auto geometry = osg::GeometryPtr::dcast(owner);
    if (!geometry)
        return ~u64(0);
    u64 fields = 0;
    const auto look = [&](const osg::GeoPropertyPtr& property, u64 mask) {
        if (property && property->getId() == part)
            fields |= mask;
    };
    look(geometry->getPositions(), G::PositionsFieldMask);
    look(geometry->getNormals(), G::NormalsFieldMask);
    look(geometry->getTangents(), G::TangentsFieldMask);
    look(geometry->getColors(), G::ColorsFieldMask);
    look(geometry->getSecondaryColors(), G::SecondaryColorsFieldMask);
    look(geometry->getIndices(), G::IndicesFieldMask);
    for (int set = 0; set < G::texCoordSetCount; ++set)
        look(geometry->getTexCoordSet(set), G::TexCoordsFieldMask << set);
    return fields ? fields : ~u64(0);
}

} // namespace

void ChangeSorter::sortChanged(const osg::FieldContainerPtr& container, u64 mask)
{
    if (sortView(container, mask))
        return;
    const auto node = osg::NodePtr::dcast(container);
    if (!getOwners().contains(container->getId())) {
        if (node && mask & osg::Node::leftParentMask)
            addLost(node);
    } else if (node)
        sortNode(node, mask);
    else if (isKindOf<osg::NodeCore>(container))
        sortCore(container, mask);
    else if (isKindOf<osg::Material>(container))
        sortMaterial(container);
    else if (!sortAttachment(container) && visited.insert(container->getId()).second) {
        // A part of something: an image, a property, a spectrum. What it belongs to has changed.
        if (isKindOf<osg::Image>(container)) {
            changes.flags |= znChangeImages;
            znRTMaterialSlots::reloadImage(container->getId());
        }
        // Not its material nor its attachments: these tell of themselves.
        constexpr u64 parts =
            ~(osg::MaterialDrawable::MaterialFieldMask | osg::NodeCore::AttachmentsFieldMask);
        eachOwner(container->getId(), [&](const osg::FieldContainerPtr& owner) {
            sortChanged(owner, fieldsThatHold(owner, container->getId()) & parts);
        });
    }
}

/// What belongs to views and to the process rather than to the scene tree.
bool ChangeSorter::sortView(const osg::FieldContainerPtr& container, u64 mask)
{
    if (isKindOf<osg::Camera>(container) || isKindOf<osg::TonemappingSettings>(container) ||
        isKindOf<osg::FogSettings>(container) || isKindOf<osg::RaytracingPBARSettings>(container))
        changes.flags |= znChangeCamera;
    else if (isKindOf<osg::Viewport>(container) || isKindOf<osg::Background>(container) ||
             isKindOf<osg::Sceneplate>(container))
        mark(changes.plates, container->getId(), znChangeImages);
    else if (isKindOf<osg::RenderOptions>(container)) {
        constexpr u64 sides =
            osg::RenderOptions::ShowASidesFieldMask | osg::RenderOptions::ShowBSidesFieldMask;
        changes.flags |= mask & sides ? znChangeVisibility : 0u;
        changes.flags |= mask & ~sides ? znChangeSelection : 0u;
    } else if (isKindOf<znSceneData>(container)) {
        if (mask & (znSceneData::SelectedNodesFieldMask | znSceneData::PreselectedNodesFieldMask))
            changes.flags |= znChangeSelection;
        if (mask & znSceneData::UnitsPerMetreFieldMask)
            changes.flags |= znChangeLights | znChangeSettings;
    } else
        return false;
    return true;
}

void ChangeSorter::sortNode(const osg::NodePtr& node, u64 mask)
{
    const u32 id = node->getId();
    if (mask & osg::Node::ChildrenFieldMask)
        sortChildren(node);
    if (mask & osg::Node::CoreFieldMask) {
        // The new core may be a light or a plane, and the old or new one may have moved, switched
        // or given a material to what lies below.
        mark(changes.structure, id, znChangeGeometry | znChangeTransforms);
        mark(changes.materialAssignments, id, znChangeMaterialAssignment);
        sortLightsBelow(node);
    }
    if (mask & (osg::Node::FlagsFieldMask | osg::Node::ActiveFieldMask)) {
        mark(changes.visibility, id, znChangeVisibility);
        sortLightsBelow(node);
    }
    if (mask & osg::Node::AttachmentsFieldMask) {
        mark(changes.visibility, id, znChangeVisibility);
        if (isKindOf<osg::UberLight>(node->getCore()))
            sortLightNode(id, znChangeLightAttachments);
        if (node == znRTSceneHandler::getRoot()) {
            changes.settings = true;
            changes.flags |= znChangeSettings;
        }
    }
    if (mask &
        ~(osg::Node::ChildrenFieldMask | osg::Node::CoreFieldMask | osg::Node::FlagsFieldMask |
          osg::Node::ActiveFieldMask | osg::Node::AttachmentsFieldMask | osg::Node::leftParentMask))
        changes.nodes.insert(id);
}

void ChangeSorter::sortLightsBelow(const osg::NodePtr& node)
{
    osg::traverse(node, [&](const osg::NodePtr& each) {
        if (isKindOf<osg::UberLight>(each->getCore()))
            sortLightNode(each->getId(), znChangeLights);
        return true;
    });
}

void ChangeSorter::sortLightNode(u32 nodeId, u32 flag)
{
    mark(changes.lights, nodeId, flag);
}

void ChangeSorter::sortCore(const osg::FieldContainerPtr& core, u64 mask)
{
    const u32 id = core->getId();
    const auto nodes = [&](std::set<u32>& ids, u32 flag) {
        eachNodeOf(id, [&](const osg::NodePtr& node) { mark(ids, node->getId(), flag); });
    };
    if (isKindOf<osg::UberLight>(core)) {
        const bool attachmentsOnly = (mask & ~osg::NodeCore::AttachmentsFieldMask) == 0;
        nodes(changes.lights, attachmentsOnly ? znChangeLightAttachments : znChangeLights);
    } else if (isKindOf<osg::ClipPlane>(core))
        nodes(changes.clipPlanes, znChangeClipping);
    else if (isKindOf<osg::MaterialDrawable>(core)) {
        constexpr u64 assignment = osg::MaterialDrawable::MaterialFieldMask;
        constexpr u64 attachments = osg::NodeCore::AttachmentsFieldMask;
        if (mask & assignment)
            nodes(changes.materialAssignments, znChangeMaterialAssignment);
        if (mask & attachments)
            nodes(changes.visibility, znChangeVisibility);
        // A skin that came or went moves the vertices, and owns those that were shown.
        if (mask & ~assignment) {
            changes.cores[id] |= mask & ~assignment;
            changes.flags |= znChangeGeometry;
        }
    } else if (isKindOf<osg::MaterialGroup>(core)) {
        if (mask & osg::MaterialGroup::MaterialFieldMask)
            nodes(changes.materialAssignments, znChangeMaterialAssignment);
    } else if (isKindOf<osg::Switch>(core)) {
        if (mask & osg::Switch::ChoiceFieldMask) {
            nodes(changes.visibility, znChangeVisibility);
            eachNodeOf(id, [&](const osg::NodePtr& node) { sortLightsBelow(node); });
        }
    } else if (isKindOf<osg::Transform>(core)) {
        if (mask & osg::Transform::MatrixFieldMask)
            nodes(changes.transforms, znChangeTransforms);
    }
}

void ChangeSorter::sortMaterial(const osg::FieldContainerPtr& changed)
{
    // A material that is made of others changes with them. Files may nest them to any depth.
    std::vector<osg::FieldContainerPtr> waiting{changed};
    while (!waiting.empty()) {
        const osg::FieldContainerPtr material = waiting.back();
        waiting.pop_back();
        // The change may be one of a texture or a spectrum, of which the material was not told.
        if (const auto uber = osg::UberMaterialPtr::dcast(material))
            uber->refill();
        const u32 id = material->getId();
        if (!visited.insert(id).second)
            continue;
        mark(changes.materials, id, znChangeMaterials);
        if (isKindOf<osg::UEnvironmentMaterial>(material) ||
            isKindOf<osg::UEnvironmentSwitchMaterial>(material))
            mark(changes.environments, id, znChangeEnvironment);
        if (isKindOf<osg::UVolumeScatterMaterial>(material))
            mark(changes.media, id, znChangeClipping);
        eachOwner(id, [&](const osg::FieldContainerPtr& owner) {
            if (isKindOf<osg::Material>(owner))
                waiting.push_back(owner);
        });
    }
}

/// @return false for containers that are no attachment with a meaning of its own
bool ChangeSorter::sortAttachment(const osg::FieldContainerPtr& attachment)
{
    const u32 id = attachment->getId();
    const auto nodesWith = [&](auto&& use) {
        eachOwner(id, [&](const osg::FieldContainerPtr& owner) {
            if (const auto node = osg::NodePtr::dcast(owner))
                use(node);
            else
                eachNodeOf(owner->getId(), use);
        });
    };
    if (isKindOf<osg::RaytracingGeoAttachment>(attachment) ||
        isKindOf<osg::PBARGeometryAttachment>(attachment))
        nodesWith([&](const osg::NodePtr& node) {
            mark(changes.visibility, node->getId(), znChangeVisibility);
        });
    else if (isKindOf<osg::RaytracingLightAttachment>(attachment) ||
             isKindOf<osg::LightProfileAttachment>(attachment))
        nodesWith([&](const osg::NodePtr& node) {
            sortLightNode(node->getId(), znChangeLightAttachments);
        });
    else if (isKindOf<osg::RayFileAttachment>(attachment)) {
        nodesWith([&](const osg::NodePtr& node) {
            sortLightNode(node->getId(), znChangeLightAttachments);
        });
        eachOwner(id, [&](const osg::FieldContainerPtr& owner) {
            if (isKindOf<osg::Material>(owner))
                sortMaterial(owner);
        });
        changes.flags |= znChangeLightAttachments;
    } else if (isKindOf<osg::SkinAttachment>(attachment))
        eachOwner(id, [&](const osg::FieldContainerPtr& owner) {
            if (isKindOf<osg::Geometry>(owner)) {
                changes.cores[owner->getId()] |= osg::Geometry::PositionsFieldMask;
                changes.flags |= znChangeGeometry;
            }
        });
    else if (isKindOf<osg::RaytracingSettingsAttachment>(attachment) ||
             isKindOf<osg::SurfaceAnalysisAttachment>(attachment)) {
        changes.settings = true;
        changes.flags |= znChangeSettings;
    } else
        return isKindOf<osg::NameAttachment>(attachment);
    return true;
}

// Finish

void ChangeSorter::copySelection()
{
    const znSceneData* data = znSceneDataManager::getSceneData(0);
    changes.selected.insert(data->getSelectedNodes().begin(), data->getSelectedNodes().end());
    changes.preselected.insert(data->getPreselectedNodes().begin(),
                               data->getPreselectedNodes().end());
}

void ChangeSorter::dropDestroyed()
{
    for (std::set<u32>* ids :
         {&changes.created, &changes.nodes, &changes.structure, &changes.transforms,
          &changes.visibility, &changes.materials, &changes.materialAssignments, &changes.lights,
          &changes.environments, &changes.clipPlanes, &changes.media, &changes.plates})
        std::erase_if(*ids, [&](u32 id) { return changes.destroyed.count(id) != 0; });
    std::erase_if(changes.cores,
                  [&](const auto& core) { return changes.destroyed.count(core.first) != 0; });
}
