#pragma once

// Image effects of a viewport (glow, glare) that run on the finished linear frame, one after the
// other, before the copy.

#include "host/pixelFormats.h"

#include <memory>
#include <vector>

namespace osg {
class Viewport;
}

class znPostProcess
{
public:
    virtual ~znPostProcess() = default;
    /// Reads all of in and writes all of out; the two never overlap.
    virtual void apply(const ZN_RGBA32F* in, ZN_RGBA32F* out, int width, int height) = 0;
};

class znPostProcessHandler
{
public:
    using List = std::vector<std::shared_ptr<znPostProcess>>;

    /// In order of application; empty unless some were set.
    static List getPostProcesses(const osg::Viewport* viewport);
    /// An empty list forgets the viewport.
    static void setPostProcesses(const osg::Viewport* viewport, List list);
};
