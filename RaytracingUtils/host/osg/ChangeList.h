#pragma once

// What happened to field containers on one thread since the list was cleared.

#include "host/znAligned.h"

#include <vector>

namespace osg {

class ChangeList
{
public:
    struct Change
    {
        u32 id;
        u64 mask; ///< field bits of the container's type
        bool operator==(const Change&) const = default;
    };

    const std::vector<u32>& getCreated() const { return created; }
    const std::vector<u32>& getDestroyed() const { return destroyed; }
    const std::vector<Change>& getChanged() const { return changed; }

    void addCreated(u32 id) { created.push_back(id); }
    void addDestroyed(u32 id) { destroyed.push_back(id); }
    /// Changes of one container in a row become one record.
    void addChanged(u32 id, u64 mask);
    /// Appends what another thread recorded.
    void append(const ChangeList& other);

    void clear();
    bool empty() const { return created.empty() && destroyed.empty() && changed.empty(); }

    /// The list into which this thread records; null (the start value) records nothing.
    static ChangeList* current();
    /// @return the list in force before; the caller keeps ownership of both
    static ChangeList* setCurrent(ChangeList* list);

private:
    std::vector<u32> created, destroyed;
    std::vector<Change> changed;
};

} // namespace osg
