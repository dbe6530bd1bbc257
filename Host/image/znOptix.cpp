#include "host/znOptix.h"

#include <memory>
#include <vector>

namespace {

znOptix::Denoiser s_denoiser = nullptr;

struct FreeAligned
{
    void operator()(ZN_RGBA32F* block) const { zn_aligned_free(block); }
};
std::unique_ptr<ZN_RGBA32F, FreeAligned> s_target;

} // namespace

const ZN_RGBA32F* znOptix::getAIDenoisedBuffer(const ZN_RGBA32F* source, u32 width, u32 height, u32,
                                               const ZN_RGBA32F* albedo, const ZN_RGBA32F* normal,
                                               u32 channels, void*)
{
    if (!s_denoiser || !source || width == 0 || height == 0 || channels != 4)
        return nullptr;
    s_target.reset(
        static_cast<ZN_RGBA32F*>(zn_aligned_malloc(u64(width) * height * sizeof(ZN_RGBA32F), 16)));
    if (!s_target || !s_denoiser(source, s_target.get(), width, height, albedo, normal))
        s_target.reset();
    return s_target.get();
}

void znOptix::unmapAIDenoisedBuffer()
{
    s_target.reset();
}

void znOptix::setDenoiser(Denoiser denoiser)
{
    s_denoiser = denoiser;
}

bool znOptix::isAvailable()
{
    return s_denoiser != nullptr;
}
