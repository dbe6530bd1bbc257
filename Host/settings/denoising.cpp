// The denoising operations of the instance.

#include "host/znDenoiseFilter.h"
#include "host/znOptix.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRaytracerP.h"
#include "host/znRaytracingUtilsBase.h"
#include "settings/edgeAvoidingFilter.h"

#include <cstring>
#include <vector>

namespace {

constexpr int normalPass = 31;

bool hasFrame(const znRaytracerP* view)
{
    return view && view->m_passBuffers[0] && view->m_renderWidth > 0 && view->m_renderHeight > 0;
}

/// Still frames hold sums of weighted samples; while one of these lives the frame holds colours.
class NormalizedFrame
{
public:
    explicit NormalizedFrame(znRaytracerP& view_)
        : view(view_), count(u64(view.m_renderWidth) * view.m_renderHeight),
          isWeighted(view.m_filterWeights && znRTRaytracingSettings::isStillFrame())
    {
        scale([](float weight) { return 1.0f / weight; });
    }
    ~NormalizedFrame()
    {
        scale([](float weight) { return weight; });
    }
    NormalizedFrame(const NormalizedFrame&) = delete;
    NormalizedFrame& operator=(const NormalizedFrame&) = delete;

private:
    template <class Factor>
    void scale(Factor factor)
    {
        for (u64 i = 0; isWeighted && i < count; ++i) {
            const float weight = view.m_filterWeights[i];
            if (weight == 0.0f)
                continue;
            ZN_RGBA32F& c = view.m_passBuffers[0][i];
            const float f = factor(weight);
            c = {c.r * f, c.g * f, c.b * f, c.a * f};
        }
    }

    znRaytracerP& view;
    u64 count;
    bool isWeighted;
};

} // namespace

void znRaytracingUtilsBase::updateDataForDenoiseFilter(znRaytracerP* view)
{
    if (hasFrame(view) && view->m_denoiseFilter)
        view->m_denoiseFilter->update(view->m_iteration, view->m_renderWidth, view->m_renderHeight,
                                      view->m_passBuffers[0], true);
}

bool znRaytracingUtilsBase::runDenoiseFilterAndSaveNow(znRaytracerP* view)
{
    if (!runDenoiseFilter(view))
        return false;
    updateDataForDenoiseFilter(view);
    return true;
}

bool znRaytracingUtilsBase::runDenoiseFilter(znRaytracerP* view)
{
    if (!hasFrame(view) || !getCPUDenoiseFilterEnabled())
        return false;
    const NormalizedFrame frame(*view);
    filterEdgeAvoiding(view->m_passBuffers[0], view->m_passBuffers[normalPass], view->m_renderWidth,
                       view->m_renderHeight, getDenoiseFilterThreshold());
    return true;
}

bool znRaytracingUtilsBase::runDenoiseFilter(ZN_RGBA32F* pixels, u32 width, u32 height)
{
    if (!pixels || width == 0 || height == 0)
        return false;
    filterEdgeAvoiding(pixels, nullptr, width, height, getDenoiseFilterThreshold());
    return true;
}

bool znRaytracingUtilsBase::runAIDenoiseFilter(znRaytracerP* view)
{
    if (!hasFrame(view))
        return false;
    const NormalizedFrame frame(*view);
    const ZN_RGBA32F* denoised = getAIDenoisedBuffer(view);
    if (!denoised)
        return false;
    const u64 size = u64(view->m_renderWidth) * view->m_renderHeight * sizeof(ZN_RGBA32F);
    std::memcpy(static_cast<void*>(view->m_passBuffers[0]), denoised, size);
    unmapAIDenoisedBuffer();
    return true;
}

const ZN_RGBA32F* znRaytracingUtilsBase::getAIDenoisedBuffer(znRaytracerP* view)
{
    if (!hasFrame(view))
        return nullptr;
    return znOptix::getAIDenoisedBuffer(view->m_passBuffers[0], view->m_renderWidth,
                                        view->m_renderHeight, 0, nullptr, nullptr, 4, nullptr);
}

void znRaytracingUtilsBase::unmapAIDenoisedBuffer()
{
    znOptix::unmapAIDenoisedBuffer();
}
