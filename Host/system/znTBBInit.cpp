#include "host/znTBBInit.h"

#include <tbb/global_control.h>
#include <tbb/info.h>

#include <algorithm>
#include <memory>

namespace {

constexpr std::size_t workerStackSize = std::size_t(32) << 20;

std::unique_ptr<tbb::global_control> s_stackSize;
std::unique_ptr<tbb::global_control> s_parallelism;

} // namespace

znTBBInit& znTBBInit::the()
{
    static znTBBInit instance;
    return instance;
}

znTBBInit::znTBBInit()
{
    s_stackSize = std::make_unique<tbb::global_control>(tbb::global_control::thread_stack_size,
                                                        workerStackSize);
}

int znTBBInit::getNumAvailableLimitedLogicalCores() const
{
    return limit > 0 ? limit : std::max(1, tbb::info::default_concurrency());
}

void znTBBInit::setLimit(int threads)
{
    limit = std::max(0, threads);
    s_parallelism.reset();
    if (limit > 0)
        s_parallelism = std::make_unique<tbb::global_control>(
            tbb::global_control::max_allowed_parallelism, std::size_t(limit));
}
