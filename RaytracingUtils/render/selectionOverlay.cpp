#include "render/selectionOverlay.h"

#include "camera/znRTCamera.h"
#include "core/shadingRequirements.h"
#include "core/znRTRayPacket.h"
#include "geometry/znRTGeometryNode.h"
#include "host/znRenderOptions.h"
#include "host/znSelectionColors.h"
#include "render/znRTRenderUtils.h"

bool s_hasSelection = false;

namespace {

constexpr unsigned selectedTree = 1, preselectedTree = 3;
/// Distances that differ by less than this share of them belong to one surface.
constexpr float sameSurface = 1e-4f;
/// Edges of objects that are not selected, in wireframe mode.
const znRTColor plainWire{0.05f, 0.05f, 0.05f, 1.0f};

/// What is laid over each lane: straight colours, their alpha is the opacity.
struct Overlay
{
    znRTColorPacket tint{0.0f}, wire{0.0f};
};

void enterNode(const znRTGeometryNode& node, int lane, Overlay& overlay)
{
    const znRTSelectionSettings& settings = znRTSelectionSettings::current();
    if (!node.hasAnyWireframeSelection()) {
        if (znRTGeometryNode::s_wireframeRenderMode)
            overlay.wire.setComponent(lane, plainWire);
        return;
    }
    const bool isPreselected = node.hasWireframePreselection();
    const znRTVector4f& c = znSelectionColors::getColor(
        isPreselected ? znSelectionColors::preselection : znSelectionColors::selection);
    overlay.tint.setComponent(lane, {c.x, c.y, c.z, settings.selectionOpacity});
    const bool hasWire = znRTGeometryNode::s_wireframeRenderMode ||
                         (isPreselected && settings.preselectionWireframe) ||
                         (node.hasWireframeSelection() && settings.selectionWireframe);
    if (hasWire)
        overlay.wire.setComponent(lane, {c.x, c.y, c.z, c.w});
}

Overlay collectOverlay(const znRTDataBlockPacket& block, int lanes)
{
    Overlay overlay;
    for (int lane = 0; lane < 4; ++lane)
        if ((lanes >> lane & 1) && block.nodes[lane])
            enterNode(*block.nodes[lane], lane, overlay);
    return overlay;
}

/// Share of the pixel that the edges of the primitive cover. The distance from an edge is measured
/// along the surface and divided by how much of it the pixel's footprint spans across the edge.
znFloatType<2> edgeCoverage(const znRTDataBlockPacket& block, float lineWidth)
{
    const znFloatType<2> reach(0.5f * lineWidth + 0.5f);
    znFloatType<2> coverage(0.0f);
    for (int k = 0; k < 3; ++k) {
        const znRTVector3fPacket& corner = block.edgeVertices[k];
        const znRTVector3fPacket edge = block.edgeVertices[(k + 1) % 3] - corner;
        const znRTVector3fPacket across = cross(block.geometricNormal(), edge);
        const znFloatType<2> dx = dot(across, block.dg.dPdx), dy = dot(across, block.dg.dPdy);
        const znFloatType<2> span = squareRoot(dx * dx + dy * dy);
        const znFloatType<2> distance =
            absolute(dot(across, block.position() - corner)) * reciprocalOrZero(span);
        const znFloatType<2> covered = clamp01(reach - distance);
        coverage = maximum(coverage, covered & (span > znFloatType<2>(0.0f)));
    }
    return coverage;
}

/// Lays a colour over another one, opacity by opacity.
void layOver(znRTColorPacket& colour, const znRTColorPacket& top, const znFloatType<2>& opacity)
{
    const znFloatType<2> a = top.a * opacity;
    const znRTColorPacket opaque(top.r, top.g, top.b, 1.0f);
    znRTColorPacket mixed;
    mixed.mixColor(colour, opaque, a);
    colour.maskedUpdate(mixed, a > znFloatType<2>(0.0f));
}

/// Edges of marked objects that something else hides.
void layHiddenEdges(znRTColorPacket& colour, const znRTRayDifferentialPacket& ray,
                    const znRTDataBlockPacket& front, int lanes, unsigned tree)
{
    const znRTCamera* const camera = znRTRenderUtils::getCamera();
    if (!camera)
        return;
    const znFloatType<2> tMin(0.0f), tMax(camera->farClip);
    znRTHitInfoPacket hit;
    hit.reset(tMax);
    znRTRenderUtils::getIntersection(ray, tMin, tMax, hit, lanes, tree);
    const int hidden =
        int(hit.hitMask) & moveMask(hit.t > front.hit.t * znFloatType<2>(1.0f + sameSurface));
    if (hidden == 0)
        return;
    znRTDataBlockPacket block(hit);
    znRTRenderUtils::getShadingData(ray, block, false, 0,
                                    shadingRequirement::edgeData | shadingRequirement::footprint);
    layOver(colour, collectOverlay(block, hidden).wire,
            edgeCoverage(block, znRTSelectionSettings::current().lineWidth));
}

} // namespace

void znRTRenderUtils::getWireframeSelectionColor(znRTColorPacket& colour,
                                                 const znRTRayDifferentialPacket& ray,
                                                 const znRTDataBlockPacket& block, int hitMask,
                                                 znRTShadingState&)
{
    if (!s_hasSelection && !znRTGeometryNode::s_wireframeRenderMode)
        return;
    const bool isEnabled = znRenderOptions::getInstance().isAnySelectionEnabled();
    if (!isEnabled && !znRTGeometryNode::s_wireframeRenderMode)
        return;
    const znRTSelectionSettings& settings = znRTSelectionSettings::current();
    const Overlay overlay = collectOverlay(block, hitMask);
    layOver(colour, overlay.tint, znFloatType<2>(1.0f));
    // Edge data is there for the lanes that have a wire, and for no others.
    if (anyLane(overlay.wire.a > znFloatType<2>(0.0f)))
        layOver(colour, overlay.wire, edgeCoverage(block, settings.lineWidth));
    if (settings.wireframeAlwaysInFront && s_hasSelection)
        for (const unsigned tree : {selectedTree, preselectedTree})
            layHiddenEdges(colour, ray, block, hitMask, tree);
}
