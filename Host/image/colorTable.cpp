#include "image/colorTable.h"

#include <lcms2.h>

#include <array>

namespace {

constexpr std::size_t largestProfile = std::size_t(16) << 20;

struct CloseContext
{
    void operator()(void* context) const { cmsDeleteContext(static_cast<cmsContext>(context)); }
};
struct CloseProfile
{
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct CloseTransform
{
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Context = std::unique_ptr<void, CloseContext>;
using Profile = std::unique_ptr<void, CloseProfile>;
using Transform = std::unique_ptr<void, CloseTransform>;

/// A private context: no plug-ins, no error text on standard output.
Context makeContext()
{
    return Context(cmsCreateContext(nullptr, nullptr));
}

} // namespace

__m128 lookUpColorTable(const float* entries, int size, __m128 color)
{
    const float last = float(size - 1);
    // max first: its second operand is what NaN becomes.
    const __m128 place = _mm_mul_ps(
        _mm_min_ps(_mm_max_ps(color, _mm_setzero_ps()), _mm_set1_ps(1.0f)), _mm_set1_ps(last));
    alignas(16) float p[4];
    _mm_store_ps(p, place);
    std::size_t offset = 0, stride = 4;
    std::size_t strides[3];
    float fraction[3];
    for (int axis = 0; axis < 3; ++axis) {
        // The last cell also serves its upper end.
        const int cell = p[axis] < last ? int(p[axis]) : size - 2;
        fraction[axis] = p[axis] - float(cell);
        offset += std::size_t(cell) * stride;
        strides[axis] = stride;
        stride *= std::size_t(size);
    }
    const auto mix = [](__m128 a, __m128 b, float t) {
        return _mm_add_ps(a, _mm_mul_ps(_mm_sub_ps(b, a), _mm_set1_ps(t)));
    };
    const auto edge = [&](const float* corner) {
        return mix(_mm_loadu_ps(corner), _mm_loadu_ps(corner + strides[0]), fraction[0]);
    };
    const auto face = [&](const float* corner) {
        return mix(edge(corner), edge(corner + strides[1]), fraction[1]);
    };
    const float* corner = entries + offset;
    return mix(face(corner), face(corner + strides[2]), fraction[2]);
}

std::shared_ptr<const std::vector<float>> bakeICCProfile(const void* data, std::size_t bytes,
                                                         int size)
{
    if (!data || bytes == 0 || bytes > largestProfile)
        return nullptr;
    const Context context = makeContext();
    if (!context)
        return nullptr;
    auto* raw = static_cast<cmsContext>(context.get());
    const Profile display(cmsOpenProfileFromMemTHR(raw, data, cmsUInt32Number(bytes)));
    if (!display || cmsGetColorSpace(display.get()) != cmsSigRgbData ||
        !cmsIsIntentSupported(display.get(), INTENT_RELATIVE_COLORIMETRIC, LCMS_USED_AS_OUTPUT))
        return nullptr;
    const Profile scene(cmsCreate_sRGBProfileTHR(raw));
    const Transform transform(cmsCreateTransformTHR(
        raw, scene.get(), TYPE_RGB_FLT, display.get(), TYPE_RGB_FLT, INTENT_RELATIVE_COLORIMETRIC,
        cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION));
    if (!transform)
        return nullptr;

    auto entries = std::make_shared<std::vector<float>>(std::size_t(size) * size * size * 4, 1.0f);
    std::vector<std::array<float, 3>> row(size), shown(size);
    float* target = entries->data();
    const float scale = 1.0f / float(size - 1);
    for (int b = 0; b < size; ++b)
        for (int g = 0; g < size; ++g) {
            for (int r = 0; r < size; ++r)
                row[r] = {float(r) * scale, float(g) * scale, float(b) * scale};
            cmsDoTransform(transform.get(), row.data(), shown.data(), cmsUInt32Number(size));
            for (int r = 0; r < size; ++r, target += 4)
                for (int c = 0; c < 3; ++c)
                    // A broken curve can give anything; the display takes [0, 1].
                    target[c] =
                        shown[r][c] > 0.0f ? (shown[r][c] < 1.0f ? shown[r][c] : 1.0f) : 0.0f;
        }
    return entries;
}
