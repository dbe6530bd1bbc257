#include "light/lightProblems.h"

#include "host/osg/AttachmentContainer.h"
#include "host/osg/Node.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/znLog.h"
#include "host/znRTLightBase.h"

#include <mutex>
#include <set>
#include <string>

namespace {

/// Of the node, or else of the core; lights without a name go by their number.
std::string nameOf(const znRTLightBase& light)
{
    std::string name = light.getNode() ? osg::getName(light.getNode()) : std::string();
    if (name.empty() && light.getCore())
        name = osg::getName(light.getCore());
    return name.empty() ? "number " + std::to_string(light.getId()) : '"' + name + '"';
}

} // namespace

void tellOfLightProblem(const znRTLightBase& light, std::string_view problem)
{
    static std::mutex lock;
    static std::set<std::pair<u32, std::string>> told;
    const std::lock_guard guard(lock);
    if (told.emplace(light.getId(), problem).second)
        znLog::warning(("Light " + nameOf(light) + ": " + std::string(problem)).c_str());
}
