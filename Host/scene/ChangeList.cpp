#include "host/osg/ChangeList.h"

#include <utility>

namespace osg {

namespace {
thread_local ChangeList* s_current = nullptr;
}

void ChangeList::addChanged(u32 id, u64 mask)
{
    if (!changed.empty() && changed.back().id == id)
        changed.back().mask |= mask;
    else
        changed.push_back({id, mask});
}

void ChangeList::append(const ChangeList& other)
{
    created.insert(created.end(), other.created.begin(), other.created.end());
    destroyed.insert(destroyed.end(), other.destroyed.begin(), other.destroyed.end());
    changed.insert(changed.end(), other.changed.begin(), other.changed.end());
}

void ChangeList::clear()
{
    created.clear();
    destroyed.clear();
    changed.clear();
}

ChangeList* ChangeList::current()
{
    return s_current;
}

ChangeList* ChangeList::setCurrent(ChangeList* list)
{
    return std::exchange(s_current, list);
}

} // namespace osg
