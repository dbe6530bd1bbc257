#pragma once

// The parent of the tasks that shoot photons. It keeps the boxes that photons fall into, so that
// they stay with the view from pass to pass.

#include "core/znRTAlignedBox.h"
#include "render/znRTRootTask.h"

#include <array>

class znRTPhotonRootTask : public znRTRootTask
{
public:
    using znRTRootTask::znRTRootTask;

    /// World boxes of the direct, indirect, caustic and radiance photons; empty at first.
    alignas(32) std::array<znRTAlignedBox, 4> boxes;
};
