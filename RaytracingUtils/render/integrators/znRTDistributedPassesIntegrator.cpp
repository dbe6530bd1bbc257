#include "render/integrators/znRTDistributedPassesIntegrator.h"

#include "camera/znRTCamera.h"
#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/integrators/znRTDistributedIntegrator.h"
#include "render/layerStore.h"
#include "render/znRTMultilayerFragment.h"

#include <array>
#include <utility>

void integratePass(u32 pass, znRTFragment& fragment, const znRTCamera& camera,
                   znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block, u32 sampleOffset)
{
    znRTMultilayerFragment shaded;
    shaded.clear();
    shaded.updateFragmentColor(fragment.colour, fragment.colour.a, znFloatType<2>::allLanes());
    znRTDistributedIntegrator<znRTMultilayerFragment>().integrate(shaded, &camera, ray, block,
                                                                  sampleOffset);
    const znRTColorPacket shown =
        pass == ZN_PASS_DEPTH
            ? znRTDepthRange(camera.nearClip, camera.farClip).storeLayer(shaded.layers[pass])
            : shaded.layers[pass];
    fragment.updateFragmentColor(shown, shown.a, znFloatType<2>::allLanes());
    fragment.coverage = block.coverage;
}

namespace {

using CreateTask = znRTRenderTask* (*)(const znRTRenderTaskKey& key);

template <u32 N>
struct PassOf
{
    template <class G>
    using Integrator = znRTDistributedPassesIntegrator<G, N>;
};

/// Makers by layer; id mattes fall back to the beauty.
template <u32... N>
constexpr std::array<CreateTask, sizeof...(N)> makersOf(std::integer_sequence<u32, N...>)
{
    return {&createPlainTask<PassOf<isCryptomattePass(N) ? 0 : N>::template Integrator,
                             znRTFragment>...};
}

} // namespace

znRTRenderTask* createDistributedPassesTask(const znRTRenderTaskKey& key)
{
    static constexpr std::array<CreateTask, znRenderPassCount> makers =
        makersOf(std::make_integer_sequence<u32, znRenderPassCount>());
    return makers[key.singlePass < makers.size() ? key.singlePass : 0](key);
}
