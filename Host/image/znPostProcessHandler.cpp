#include "host/znPostProcessHandler.h"

#include <map>
#include <mutex>

namespace {

std::mutex s_mutex;

std::map<const osg::Viewport*, znPostProcessHandler::List>& lists()
{
    static std::map<const osg::Viewport*, znPostProcessHandler::List> s_lists;
    return s_lists;
}

} // namespace

znPostProcessHandler::List znPostProcessHandler::getPostProcesses(const osg::Viewport* viewport)
{
    const std::lock_guard lock(s_mutex);
    const auto found = lists().find(viewport);
    return found == lists().end() ? List() : found->second;
}

void znPostProcessHandler::setPostProcesses(const osg::Viewport* viewport, List list)
{
    const std::lock_guard lock(s_mutex);
    if (list.empty())
        lists().erase(viewport);
    else
        lists()[viewport] = std::move(list);
}
