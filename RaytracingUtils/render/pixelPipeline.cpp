#include "camera/znRTCamera.h"
#include "host/znImagePostprocessor.h"
#include "host/znRTColorTransforms.h"
#include "host/znRTRaytracingSettings.h"
#include "render/copyTasks.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

u32 maskCopyFlags(u32 copyFlags)
{
    using Settings = znRTRaytracingSettings;
    if (!Settings::s_applyTonemapping)
        copyFlags &= ~u32(ZN_COPY_TONEMAP);
    if (!Settings::s_applyColorCorrection)
        copyFlags &= ~u32(ZN_COPY_COLOR_CORRECTION);
    if (!Settings::s_renderBackplates || (copyFlags & ZN_COPY_KEEP_ALPHA))
        copyFlags &= ~u32(ZN_COPY_BACKPLATES);
    if (!Settings::s_renderFrontplates)
        copyFlags &= ~u32(ZN_COPY_FRONTPLATES);
    return copyFlags;
}

u32 floatImageCopyFlags(const znImagePostprocessor& postProcessor)
{
    constexpr u32 always =
        (ZN_COPY_COLOR_CORRECTION | ZN_COPY_BACKPLATES | ZN_COPY_FRONTPLATES) / 4;
    return (postProcessor.flags | always) * 4;
}

namespace {

__m128 alphaOf(__m128 colour)
{
    return _mm_shuffle_ps(colour, colour, 0xff);
}

/// Negative and NaN components become 0.
__m128 clampNegative(__m128 colour)
{
    return _mm_max_ps(colour, _mm_setzero_ps());
}

/// Colour over alpha, 0 for an alpha of 0; alpha is at most 1.
__m128 unPremultiply(__m128 colour)
{
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 alphaLane = _mm_castsi128_ps(_mm_setr_epi32(0, 0, 0, -1));
    const __m128 alpha = _mm_min_ps(alphaOf(colour), one);
    const __m128 quotient =
        _mm_and_ps(_mm_cmpneq_ps(alpha, _mm_setzero_ps()), _mm_div_ps(colour, alpha));
    return _mm_or_ps(_mm_andnot_ps(alphaLane, quotient), _mm_and_ps(alphaLane, alpha));
}

__m128 plateColour(ZN_RGBA32F plate, bool correct, const znImagePostprocessor& postProcessor)
{
    const __m128 colour = _mm_load_ps(&plate.r);
    return correct ? znRTColorTransforms::applySceneplateColorCorrection(colour, postProcessor)
                   : colour;
}

} // namespace

__m128 znRTPixelPipeline::finish(__m128 c, int x, int y, bool clampBeforePlates) const
{
    const __m128 one = _mm_set1_ps(1.0f);
    if (pixelScale != 1.0f) {
        x = int((float(x) + 0.5f) * pixelScale);
        y = int((float(y) + 0.5f) * pixelScale);
    }
    const bool correct = copyFlags & ZN_COPY_COLOR_CORRECTION;
    if (copyFlags & ZN_COPY_KEEP_ALPHA)
        c = unPremultiply(c);
    if (correct)
        c = znRTColorTransforms::applyWhitebalancing(c, *postProcessor);
    if (copyFlags & ZN_COPY_TONEMAP)
        c = znRTColorTransforms::applyTonemapper(c, *postProcessor);
    if (correct && postProcessor->useColorCorrection)
        c = znRTColorTransforms::applyColorCorrection(c, postProcessor->lift, postProcessor->gamma,
                                                      postProcessor->gain, postProcessor->matrix);
    if (clampBeforePlates)
        c = clampNegative(c);
    if ((copyFlags & ZN_COPY_BACKPLATES) && znRTRenderUtils::getBackground()) {
        const __m128 plate =
            plateColour(znRTRenderUtils::getBackgroundColor(x, y, false),
                        correct && postProcessor->correctBackplate, *postProcessor);
        const __m128 behind = clampNegative(_mm_sub_ps(one, alphaOf(c)));
        c = _mm_add_ps(c, _mm_mul_ps(behind, plate));
    }
    if (copyFlags) {
        if (!clampBeforePlates)
            c = clampNegative(c);
        if (camera)
            c = camera->applyFragmentShader(c, x, y);
    }
    if ((copyFlags & ZN_COPY_FRONTPLATES) && znRTRenderUtils::getForeground()) {
        const __m128 plate =
            plateColour(znRTRenderUtils::getForegroundColor(x, y, false),
                        correct && postProcessor->correctFrontplate, *postProcessor);
        const __m128 shown = _mm_sub_ps(one, alphaOf(plate));
        c = _mm_add_ps(_mm_mul_ps(shown, c), plate);
    }
    return c;
}

__m128 znRTPixelPipeline::applyProfile(__m128 colour) const
{
    return copyFlags & ZN_COPY_COLOR_PROFILE
               ? znRTColorTransforms::applyColorProfile(colour, postProcessor->profile)
               : colour;
}
