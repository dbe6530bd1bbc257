#include "render/layerStore.h"

#include "camera/znRTCamera.h"
#include "host/znRTCryptomatte.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/multiSampleBlock.h"
#include "render/splatSample.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace {

znFloatType<2> validOrZero(const znFloatType<2>& value)
{
    return andNot(isNaN(value), value);
}

/// Four values of a layer, lane by lane, as they are stored.
/// @param highest  null: the layer is not clamped
void toLanes(const znRTColorPacket& layer, const znFloatType<2>& coverage, const float* highest,
             __m128 lanes[4])
{
    znFloatType<2> channels[4];
    for (int i = 0; i < 4; ++i) {
        channels[i] = validOrZero(layer[i] * coverage);
        if (highest)
            channels[i] = clamp(channels[i], 0.0f, *highest);
        lanes[i] = channels[i].v;
    }
    _MM_TRANSPOSE4_PS(lanes[0], lanes[1], lanes[2], lanes[3]);
}

/// Coverage of the beauty: lanes without a hit show the background as it is.
znFloatType<2> beautyCoverage(const znRTLayerPacket& packet)
{
    return select(expandLanes(int(packet.hit.hitMask)), packet.fragment.coverage,
                  znFloatType<2>(1.0f));
}

/// The next layer that samples bring something to; its memory can be on its way meanwhile.
u32 nextLayer(const znRTLayerSamples& samples, u32 layer)
{
    do
        ++layer;
    while (layer < znFilteredLayers && samples.sizes[layer] == 0);
    return layer;
}

constexpr u64 bitOf(u32 layer)
{
    return u64(1) << layer;
}

constexpr u64 filteredLayers = bitOf(znFilteredLayers) - 1;
constexpr u64 dataLayers = bitOf(ZN_PASS_NORMAL) | bitOf(ZN_PASS_MATERIAL_ID) |
                           bitOf(ZN_PASS_MASK) | bitOf(ZN_PASS_POSITION) | bitOf(ZN_PASS_VIEW);

/// Kept distance of pixels without a sample.
constexpr float unseen = std::numeric_limits<float>::max();

/// Calls f with the number of each bit.
template <class Function>
void forEachLayer(u64 layers, Function&& f)
{
    for (; layers; layers &= layers - 1)
        f(u32(std::countr_zero(layers)));
}

template <class Function>
void forEachLane(int lanes, Function&& f)
{
    for (int lane = 0; lane < 4; ++lane)
        if (lanes >> lane & 1)
            f(lane);
}

} // namespace

znRTDepthRange::znRTDepthRange(float near, float far) : farClip(far)
{
    const float inverse = reciprocalOrZero(znFloatType<2>(far - near))[0];
    scale = near * far * inverse;
    bias = 0.5f - 0.5f * (near + far) * inverse;
}

znFloatType<2> znRTDepthRange::store(const znFloatType<2>& distance) const
{
    return validOrZero(reciprocalOrZero(distance) * scale + znFloatType<2>(bias));
}

znRTColorPacket znRTDepthRange::storeLayer(const znRTColorPacket& layer) const
{
    const znFloatType<2> isStored = znFloatType<2>(farClip) >= layer.r;
    const znFloatType<2> z = maximum(store(layer.r) & isStored, 0.0f);
    return {z, z, z, layer.a & isStored};
}

void znRTLayerStore::bind(const znRaytracerP& view, const znRTCamera& camera, float sampleClamp)
{
    const u64 pixels = u64(view.m_renderWidth) * view.m_renderHeight;
    const bool isSameMemory = buffers == view.m_passBuffers && rowStride == camera.rowStride;
    buffers = view.m_passBuffers;
    rowStride = camera.rowStride;
    clampValue = sampleClamp;
    depthRange = znRTDepthRange(camera.nearClip, camera.farClip);
    activePixels = view.m_activePixels;
    filterWeights = view.m_filterWeights;
    filter = &camera.pixelFilterSet;
    hasLobes = hasNegativeWeight(*filter);
    stored = 0;
    for (u32 i = 0; i < u32(znRenderPassCount); ++i)
        if (buffers[i] && !isCryptomattePass(i) && i != ZN_PASS_DEPTH)
            stored |= bitOf(i);

    using Settings = znRTRaytracingSettings;
    if (Settings::s_qualityMode != Settings::stillFrame) {
        // What stands in memory that was not seen before is unknown.
        if (!isSameMemory || shownLayers.size() != pixels)
            shownLayers.assign(pixels, ~u64(0));
        return;
    }
    matte = view.m_cryptomatte;
    if (matte && znRTRenderUtils::getCurrentAccelerator())
        matteIds.update(*matte, *znRTRenderUtils::getCurrentAccelerator());
    sampleDistance = camera.shiftX * camera.shiftX + camera.shiftY * camera.shiftY;
    const bool isNewImage = view.m_iteration == 0 && !view.m_continueAccumulation;
    if (isNewImage || keptDistances.size() != pixels) {
        keptDistances.assign(pixels, unseen);
        beganCleared = isNewImage;
    }
}

void znRTLayerStore::fetch(const znRTPixelRectangle& r) const
{
    if (keptDistances.empty()) {
        fetchPixels(shownLayers.data(), rowStride, r);
        return;
    }
    fetchPixels(filterWeights, rowStride, r);
    fetchPixels(keptDistances.data(), rowStride, r);
}

void znRTLayerStore::fetch(const znRTRayPacket& ray, int lanes) const
{
    forEachLane(lanes, [&](int lane) {
        const u64 i = indexOf(u32(ray.pixelX[lane]), u32(ray.pixelY[lane]));
        for (const u32 layer : {ZN_PASS_BEAUTY, ZN_PASS_DEPTH})
            if (buffers[layer])
                _mm_prefetch(reinterpret_cast<const char*>(buffers[layer] + i), _MM_HINT_T0);
    });
}

void znRTLayerStore::store(const znRTLayerPacket& packet)
{
    const znRTMultilayerFragment& fragment = packet.fragment;
    const u64 shown = packet.used & stored;
    u64 shownBefore = 0;
    forEachLane(packet.lanes, [&](int lane) { shownBefore |= shownLayers[indexOf(packet, lane)]; });
    forEachLayer(shown | (shownBefore & stored), [&](u32 i) {
        const bool isBeauty = i == ZN_PASS_BEAUTY;
        __m128 lanes[4];
        toLanes(isBeauty ? fragment.colour : fragment.layers[i],
                isBeauty ? beautyCoverage(packet) : fragment.coverage,
                isLightPass(i) ? &clampValue : nullptr, lanes);
        ZN_RGBA32F* const buffer = buffers[i];
        forEachLane(packet.lanes,
                    [&](int lane) { _mm_store_ps(&buffer[indexOf(packet, lane)].r, lanes[lane]); });
    });
    if (buffers[ZN_PASS_DEPTH] && packet.hit.hitMask)
        storeDepth(packet, packet.lanes);
    if (shown != shownBefore)
        forEachLane(packet.lanes, [&](int lane) { shownLayers[indexOf(packet, lane)] = shown; });
}

void znRTLayerStore::storeDepth(const znRTLayerPacket& packet, int lanes) const
{
    ZN_RGBA32F* const buffer = buffers[ZN_PASS_DEPTH];
    const znRTColorPacket& layer = packet.fragment.layers[ZN_PASS_DEPTH];
    const znFloatType<2> depth = depthRange.store(layer.r);
    const znFloatType<2> hit = validOrZero(layer.a * packet.fragment.coverage);
    const znFloatType<2> isStored = (znFloatType<2>(depthRange.farClip) >= layer.r) &
                                    (packet.fragment.coverage > znFloatType<2>(0.0f));
    const int inRange = lanes & moveMask(isStored);
    forEachLane(inRange, [&](int lane) {
        float* const pixel = &buffer[indexOf(packet, lane)].r;
        const float z = depth[lane];
        _mm_store_ps(pixel, _mm_max_ps(_mm_load_ps(pixel), _mm_setr_ps(z, z, z, hit[lane])));
    });
}

void znRTLayerStore::collect(const znRTLayerPacket& packet, znRTLayerSamples& samples)
{
    int lanes = 0;      // those that still take samples
    u32 places[4] = {}; // in the list
    forEachLane(packet.lanes, [&](int lane) {
        const u32 x = u32(packet.ray.pixelX[lane]), y = u32(packet.ray.pixelY[lane]);
        if (!activePixels[indexOf(x, y)])
            return;
        lanes |= 1 << lane;
        places[lane] = samples.count;
        const bool isHit =
            (packet.hit.hitMask >> lane & 1) && packet.fragment.coverage[lane] > 0.0f;
        const znRTCryptomatteIds::Ids& ids =
            isHit ? matteIds[u32(packet.hit.geometry[lane])] : znRTCryptomatteIds::none;
        samples.samples[samples.count++] = {x, y, ids.object, ids.material};
    });
    if (lanes == 0)
        return;
    const znRTMultilayerFragment& fragment = packet.fragment;
    const auto add = [&](u32 layer, const znRTColorPacket& color, const znFloatType<2>& coverage) {
        __m128 values[4];
        toLanes(color, coverage, isLightPass(layer) ? &clampValue : nullptr, values);
        forEachLane(lanes, [&](int lane) { samples.add(layer, places[lane], values[lane]); });
    };
    forEachLayer(packet.used & stored & filteredLayers, [&](u32 i) {
        if (i == ZN_PASS_BEAUTY)
            add(i, fragment.colour, beautyCoverage(packet));
        else
            add(i, fragment.layers[i], fragment.coverage);
    });
    keepData(packet, lanes);
}

void znRTLayerStore::accumulate(znRTLayerSamples& samples)
{
    if (filter->isBox())
        addToPixels(samples);
    else
        splat(samples);
    if (matte)
        addToMattes(samples);
    samples.clear();
}

void znRTLayerStore::addToPixels(const znRTLayerSamples& samples) const
{
    u64 pixels[znRTLayerSamples::limit];
    for (u32 i = 0; i < samples.count; ++i) {
        pixels[i] = indexOf(samples.samples[i].x, samples.samples[i].y);
        filterWeights[pixels[i]] += 1.0f;
    }
    for (u32 layer = 0; layer < znFilteredLayers;) {
        const u32 next = nextLayer(samples, layer);
        if (next < znFilteredLayers)
            for (u32 i = 0; i < samples.count; ++i)
                _mm_prefetch(reinterpret_cast<const char*>(buffers[next] + pixels[i]), _MM_HINT_T0);
        for (u32 i = 0; i < samples.sizes[layer]; ++i) {
            float* const sum = &buffers[layer][pixels[samples.owners[layer][i]]].r;
            _mm_store_ps(sum, _mm_add_ps(_mm_load_ps(sum), samples.values[layer][i]));
        }
        layer = next;
    }
}

znRTSplatTarget znRTLayerStore::splatTarget() const
{
    using Settings = znRTRaytracingSettings;
    return {buffers[ZN_PASS_BEAUTY],
            filterWeights,
            activePixels,
            u32(rowStride),
            Settings::s_imageLeftBound,
            Settings::s_imageRightBound,
            Settings::s_imageBottomBound,
            Settings::s_imageTopBound,
            hasLobes};
}

namespace {

/// The rectangle around all footprints.
znRTPixelRectangle boundsOf(const znRTFootprint* footprints, u32 count)
{
    znRTPixelRectangle bounds{~0u, 0, ~0u, 0};
    for (const znRTFootprint* f = footprints; f < footprints + count; ++f)
        if (f->width > 0)
            bounds = {std::min(bounds.x0, f->x), std::max(bounds.x1, f->x + f->width),
                      std::min(bounds.y0, f->y), std::max(bounds.y1, f->y + f->height)};
    return bounds;
}

} // namespace

void znRTLayerStore::splat(const znRTLayerSamples& samples) const
{
    const znRTSplatTarget target = splatTarget();
    znRTFootprint footprints[znRTLayerSamples::limit];
    for (u32 i = 0; i < samples.count; ++i) {
        footprints[i] = footprintOf(target, *filter, samples.samples[i].x, samples.samples[i].y);
        addWeights(target, *filter, footprints[i]);
    }
    const znRTPixelRectangle bounds = boundsOf(footprints, samples.count);
    for (u32 layer = 0; layer < znFilteredLayers;) {
        const u32 next = nextLayer(samples, layer);
        if (next < znFilteredLayers)
            fetchPixels(buffers[next], rowStride, bounds);
        for (u32 i = 0; i < samples.sizes[layer]; ++i)
            addToFootprint(target, *filter, footprints[samples.owners[layer][i]], buffers[layer],
                           samples.values[layer][i]);
        layer = next;
    }
}

void znRTLayerStore::addToMattes(const znRTLayerSamples& samples) const
{
    const znRTSplatTarget target = splatTarget();
    for (u32 i = 0; i < samples.count; ++i) {
        const znRTLayerSamples::Sample& s = samples.samples[i];
        if (filter->isBox()) {
            matte->add(int(s.x), int(s.y), s.objectId, s.materialId, 1.0f);
            continue;
        }
        forEachSplatPixel(target, *filter, footprintOf(target, *filter, s.x, s.y),
                          [&](const znRTSplatPixel& pixel) {
                              matte->addLocked(int(pixel.x), int(pixel.y), s.objectId, s.materialId,
                                               pixel.weight);
                          });
    }
}

void znRTLayerStore::keepData(const znRTLayerPacket& packet, int lanes)
{
    if (buffers[ZN_PASS_DEPTH] && packet.hit.hitMask)
        storeDepth(packet, lanes);
    int nearer = 0;
    bool areBlack = beganCleared; // those lanes' pixels as they are
    forEachLane(lanes, [&](int lane) {
        float& kept = keptDistances[indexOf(packet, lane)];
        if (sampleDistance < kept) {
            areBlack &= kept == unseen;
            kept = sampleDistance;
            nearer |= 1 << lane;
        }
    });
    if (nearer == 0)
        return;
    forEachLayer(stored & (areBlack ? dataLayers & packet.used : dataLayers), [&](u32 i) {
        __m128 values[4];
        toLanes(packet.fragment.layers[i], packet.fragment.coverage, nullptr, values);
        forEachLane(nearer, [&](int lane) {
            _mm_store_ps(&buffers[i][indexOf(packet, lane)].r, values[lane]);
        });
    });
}
