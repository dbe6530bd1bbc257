#include "accel/znRTDynamicAccelerator.h"

#include "accel/znRTIntersector.h"
#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "host/znLog.h"
#include "host/znRTSelectionSettings.h"
#include "material/znRTDummyMaterial.h"

#include <cmath>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>

namespace {

constexpr double bytesPerMB = 1024.0 * 1024.0;

float toMB(u64 bytes)
{
    return float(double(bytes) / bytesPerMB);
}

bool isFinite(const znRTBoundingBox& box)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!std::isfinite(box.low(axis)) || !std::isfinite(box.high(axis)))
            return false;
    return true;
}

bool isFinite(const znMatrix4x4& matrix)
{
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            if (!std::isfinite(matrix[column][row]))
                return false;
    return true;
}

/// A matrix that flattens objects has no inverse to take rays to them. Chains of rotations and a
/// scale of zero leave rounding errors instead of a determinant of 0: it is measured against the
/// volume that axes of these lengths would span at right angles.
bool isSingular(const znMatrix4x4& m)
{
    const auto square = [&](int c) {
        return double(m[c][0]) * m[c][0] + double(m[c][1]) * m[c][1] + double(m[c][2]) * m[c][2];
    };
    const auto minor = [&](int a, int b) {
        return double(m[1][a]) * m[2][b] - double(m[2][a]) * m[1][b];
    };
    const double determinant =
        m[0][0] * minor(1, 2) - m[0][1] * minor(0, 2) + m[0][2] * minor(0, 1);
    constexpr double flat = 1e-6;
    return !(std::fabs(determinant) > flat * std::sqrt(square(0) * square(1) * square(2)));
}

const znRTBoundingBox nothing({0, 0, 0}, {0, 0, 0});

} // namespace

/// What the build knows about one node that is valid and shown.
struct znRTDynamicAccelerator::Entry
{
    znRTGeometryNode* node;
    u32 index;
    bool inTree[treeCount] = {};
    bool isPhotonTarget = false;
    bool isNotFinite = false;
    u32 place[treeCount] = {}; ///< in the records of each tree
};

void znRTDynamicAccelerator::build(unsigned int)
{
    const std::lock_guard lock(getLock());
    objectsChanged = false;
    if (sceneNodes.size == 0)
        return;
    figures = znRTSceneFigures();
    std::vector<Entry> entries;
    prepareIntersectors(entries);

    znDynArray<znRTDynamicAcceleratorNode> records[treeCount];
    collectRecords(entries, records);
    for (unsigned tree = 0; tree < treeCount; ++tree)
        figures.intersectorMB += toMB(buildTreeIterative(tree, records[tree]));
}

void znRTDynamicAccelerator::prepareIntersectors(std::vector<Entry>& entries)
{
    for (u64 i = 0; i < sceneNodes.size; ++i) {
        znRTGeometryNode* const node = sceneNodes[i];
        if (node && node->isValid() && node->isShown())
            entries.push_back({node, u32(i)});
    }
    // Instances of one core build it once; who comes second goes on at once, so nothing may look
    // at trees and volumes before this loop has been joined.
    tbb::parallel_for(
        tbb::blocked_range<u64>(0, entries.size(), 1),
        [&](const tbb::blocked_range<u64>& range) {
            for (u64 i = range.begin(); i != range.end(); ++i)
                entries[i].node->getIntersector(int(entries[i].index));
        },
        tbb::auto_partitioner());
}

void znRTDynamicAccelerator::collectRecords(std::vector<Entry>& entries,
                                            znDynArray<znRTDynamicAcceleratorNode>* records)
{
    std::atomic<u64> geometryBytes{0}, intersectorBytes{0}, primitives{0};
    tbb::enumerable_thread_specific<znRTBoundingBox> fullBoxes, photonBoxes, bodyBoxes;
    const bool hasSelectionTrees = znRTSelectionSettings::current().wireframeAlwaysInFront;
    const tbb::blocked_range<u64> all(0, entries.size());

    const auto examine = [&](Entry& entry) {
        znRTGeometryNode& node = *entry.node;
        geometryBytes += node.getGeometryMemoryUsage();
        if (!node.isTraceable())
            return;
        intersectorBytes += node.getIntersectorMemoryUsage();
        node.updateWorldVolume();
        const znRTBoundingBox& box = node.getWorldVolume();
        const znMatrix4x4& toWorld = node.getToWorldMatrix();
        entry.isNotFinite = !isFinite(toWorld) || (box.isValid() && !isFinite(box));
        if (!box.isValid() || isSingular(toWorld))
            return;
        if (entry.isNotFinite)
            return;
        fullBoxes.local().surround(box);
        entry.isPhotonTarget = node.isPhotonTarget();
        if (entry.isPhotonTarget)
            photonBoxes.local().surround(box);
        entry.inTree[Tree::all] = true;
        entry.inTree[Tree::selected] =
            hasSelectionTrees && node.hasWireframeSelection() && !node.hasWireframePreselection();
        entry.inTree[Tree::preselected] = hasSelectionTrees && node.hasWireframePreselection();
        entry.inTree[Tree::environment] =
            node.getActiveMaterial() && node.getActiveMaterial()->isEnvironment();
        if (!entry.inTree[Tree::environment])
            bodyBoxes.local().surround(box);
        primitives += node.getCount();
    };
    tbb::parallel_for(
        all,
        [&](const tbb::blocked_range<u64>& range) {
            for (u64 i = range.begin(); i != range.end(); ++i)
                examine(entries[i]);
        },
        tbb::static_partitioner());

    // Places by running sums over the list: the order does not depend on which thread came first.
    u32 counts[treeCount] = {};
    for (Entry& entry : entries) {
        if (entry.isNotFinite)
            znLog::warning(
                ("Geometry reaches beyond all bounds and is left out: " + entry.node->getName())
                    .c_str());
        for (unsigned tree = 0; tree < treeCount; ++tree)
            entry.place[tree] = counts[tree] += entry.inTree[tree];
    }
    for (unsigned tree = 0; tree < treeCount; ++tree)
        records[tree].reserve(counts[tree], false), records[tree].size = counts[tree];
    tbb::parallel_for(
        all,
        [&](const tbb::blocked_range<u64>& range) {
            for (u64 i = range.begin(); i != range.end(); ++i)
                for (unsigned tree = 0; tree < treeCount; ++tree)
                    if (entries[i].inTree[tree])
                        writeRecord(entries[i], records[tree][entries[i].place[tree] - 1]);
        },
        tbb::static_partitioner());

    fullBox = photonTargetsBox = znRTBoundingBox();
    for (const znRTBoundingBox& box : fullBoxes)
        fullBox.surround(box);
    for (const znRTBoundingBox& box : photonBoxes)
        photonTargetsBox.surround(box);
    znRTBoundingBox sceneBox = photonTargetsBox;
    if (!sceneBox.isValid())
        for (const znRTBoundingBox& box : bodyBoxes)
            sceneBox.surround(box);
    if (!fullBox.isValid())
        fullBox = nothing;
    if (!photonTargetsBox.isValid())
        photonTargetsBox = nothing;
    sceneSphere.setBoundingSphere(sceneBox.isValid() ? sceneBox : nothing);
    fullSphere.setBoundingSphere(fullBox);
    figures.geometryMB = toMB(geometryBytes);
    figures.intersectorMB = toMB(intersectorBytes);
    figures.primitives = primitives;
    figures.objects = counts[Tree::all];
}

void znRTDynamicAccelerator::writeRecord(const Entry& entry, znRTDynamicAcceleratorNode& record)
{
    const znRTBoundingBox& box = entry.node->getWorldVolume();
    const znRTVector3f center = box.getCenter();
    for (int axis = 0; axis < 3; ++axis) {
        record.box[2 * axis] = box.low(axis);
        record.box[2 * axis + 1] = box.high(axis);
        record.center[axis] = center[axis];
    }
    record.intersector = entry.node->getCurrentIntersector();
    record.geometryIndex = entry.index;
}

void znRTDynamicAccelerator::getMemoryUsage(float& intersectorMB, float& geometryMB,
                                            unsigned long long& primitives,
                                            unsigned long long& objects,
                                            unsigned long long& spare) const
{
    intersectorMB = figures.intersectorMB;
    geometryMB = figures.geometryMB;
    primitives = figures.primitives;
    objects = figures.objects;
    spare = 0;
}
