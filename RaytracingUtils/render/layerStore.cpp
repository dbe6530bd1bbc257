#include "render/layerStore.h"

#include "camera/znRTCamera.h"
#include "host/znRTCryptomatte.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "render/splatSample.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>
#include <limits>

namespace {

/// Layers that a pixel filter blends: light and occlusion.
constexpr u32 filteredLayers = ZN_PASS_OCCLUSION + 1;

constexpr u32 dataLayers[] = {ZN_PASS_NORMAL, ZN_PASS_MATERIAL_ID, ZN_PASS_MASK, ZN_PASS_POSITION,
                              ZN_PASS_VIEW};

/// All components of all lanes are 0. NaN is not.
bool isBlack(const znRTColorPacket& layer)
{
    const znFloatType<2> bits = layer.r | layer.g | layer.b | layer.a;
    return !anyLane(bits != znFloatType<2>(0.0f));
}

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

/// The layers of a packet to which a sample adds something, beauty first.
struct znRTLayerStore::LightValues
{
    __m128 values[filteredLayers][4]; ///< lane by lane
    ZN_RGBA32F* buffers[filteredLayers];
    u32 count = 0;
};

void znRTLayerStore::bind(const znRaytracerP& view, const znRTCamera& camera, float sampleClamp)
{
    buffers = view.m_passBuffers;
    rowStride = camera.rowStride;
    clampValue = sampleClamp;
    depthRange = znRTDepthRange(camera.nearClip, camera.farClip);
    activePixels = view.m_activePixels;
    filterWeights = view.m_filterWeights;
    filter = &camera.pixelFilterSet;

    using Settings = znRTRaytracingSettings;
    if (Settings::s_qualityMode != Settings::stillFrame)
        return;
    matte = view.m_cryptomatte;
    if (matte && znRTRenderUtils::getCurrentAccelerator())
        matteIds.update(*matte, *znRTRenderUtils::getCurrentAccelerator());
    sampleDistance = camera.shiftX * camera.shiftX + camera.shiftY * camera.shiftY;
    const u64 pixels = u64(view.m_renderWidth) * view.m_renderHeight;
    const bool isNewImage = view.m_iteration == 0 && !view.m_continueAccumulation;
    if (isNewImage || keptDistances.size() != pixels)
        keptDistances.assign(pixels, std::numeric_limits<float>::max());
}

void znRTLayerStore::store(const znRTLayerPacket& packet) const
{
    const znRTMultilayerFragment& fragment = packet.fragment;
    for (u32 i = 0; i < u32(znRenderPassCount); ++i) {
        ZN_RGBA32F* const buffer = buffers[i];
        if (!buffer || isCryptomattePass(i))
            continue;
        if (i == ZN_PASS_DEPTH) {
            storeDepth(packet, packet.lanes);
            continue;
        }
        __m128 lanes[4];
        toLanes(i == ZN_PASS_BEAUTY ? fragment.colour : fragment.layers[i],
                i == ZN_PASS_BEAUTY ? beautyCoverage(packet) : fragment.coverage,
                isLightPass(i) ? &clampValue : nullptr, lanes);
        forEachLane(packet.lanes,
                    [&](int lane) { _mm_store_ps(&buffer[indexOf(packet, lane)].r, lanes[lane]); });
    }
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

void znRTLayerStore::gatherLight(const znRTLayerPacket& packet, LightValues& values) const
{
    const znRTMultilayerFragment& fragment = packet.fragment;
    toLanes(fragment.colour, beautyCoverage(packet), &clampValue, values.values[0]);
    values.buffers[0] = buffers[ZN_PASS_BEAUTY];
    values.count = 1;
    for (u32 i = 1; i < filteredLayers; ++i) {
        // Most layers of a packet are empty, and to add nothing is not worth fetching the pixels.
        if (!buffers[i] || isBlack(fragment.layers[i]))
            continue;
        // The pixels are on their way while the other layers are looked at: a still frame's lanes
        // lie in four different cache lines of each buffer.
        forEachLane(15, [&](int lane) {
            _mm_prefetch(reinterpret_cast<const char*>(buffers[i] + indexOf(packet, lane)),
                         _MM_HINT_T0);
        });
        toLanes(fragment.layers[i], fragment.coverage, isLightPass(i) ? &clampValue : nullptr,
                values.values[values.count]);
        values.buffers[values.count++] = buffers[i];
    }
}

void znRTLayerStore::accumulate(const znRTLayerPacket& packet)
{
    int lanes = 0; // those that still take samples
    forEachLane(packet.lanes,
                [&](int lane) { lanes |= activePixels[indexOf(packet, lane)] ? 1 << lane : 0; });
    if (lanes == 0)
        return;
    LightValues values;
    gatherLight(packet, values);
    forEachLane(lanes, [&](int lane) {
        if (filter->isBox())
            addLight(values, indexOf(packet, lane), lane);
        else
            splatLight(values, u32(packet.ray.pixelX[lane]), u32(packet.ray.pixelY[lane]), lane);
        if (matte)
            addToMattes(packet, lane);
    });
    keepData(packet, lanes);
}

void znRTLayerStore::addLight(const LightValues& values, u64 pixel, int lane) const
{
    filterWeights[pixel] += 1.0f;
    for (u32 i = 0; i < values.count; ++i) {
        float* const sum = &values.buffers[i][pixel].r;
        _mm_store_ps(sum, _mm_add_ps(_mm_load_ps(sum), values.values[i][lane]));
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
            Settings::s_imageTopBound};
}

void znRTLayerStore::splatLight(const LightValues& values, u32 x, u32 y, int lane) const
{
    znRTSplatPixel pixels[znMostSplatPixels];
    u32 count = 0;
    forEachSplatPixel(splatTarget(), *filter, x, y, [&](u32 xj, u32 yj, float weight) {
        pixels[count++] = {yj * rowStride + xj, weight};
    });
    splatSampleLayers(pixels, count, filterWeights,
                      {values.buffers, &values.values[0][lane], values.count});
}

void znRTLayerStore::addToMattes(const znRTLayerPacket& packet, int lane) const
{
    const bool isHit = (packet.hit.hitMask >> lane & 1) && packet.fragment.coverage[lane] > 0.0f;
    const znRTCryptomatteIds::Ids& ids =
        isHit ? matteIds[u32(packet.hit.geometry[lane])] : znRTCryptomatteIds::none;
    const u32 x = u32(packet.ray.pixelX[lane]), y = u32(packet.ray.pixelY[lane]);
    if (filter->isBox()) {
        matte->add(int(x), int(y), ids.object, ids.material, 1.0f);
        return;
    }
    forEachSplatPixel(splatTarget(), *filter, x, y, [&](u32 xj, u32 yj, float weight) {
        matte->addLocked(int(xj), int(yj), ids.object, ids.material, weight);
    });
}

void znRTLayerStore::keepData(const znRTLayerPacket& packet, int lanes)
{
    if (buffers[ZN_PASS_DEPTH])
        storeDepth(packet, lanes);
    int nearer = 0;
    forEachLane(lanes, [&](int lane) {
        float& kept = keptDistances[indexOf(packet, lane)];
        if (sampleDistance < kept) {
            kept = sampleDistance;
            nearer |= 1 << lane;
        }
    });
    if (nearer == 0)
        return;
    for (const u32 i : dataLayers) {
        if (!buffers[i])
            continue;
        __m128 values[4];
        toLanes(packet.fragment.layers[i], packet.fragment.coverage, nullptr, values);
        forEachLane(nearer, [&](int lane) {
            _mm_store_ps(&buffers[i][indexOf(packet, lane)].r, values[lane]);
        });
    }
}
