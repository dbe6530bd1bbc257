#include "accel/sharedGeometry.h"

#include <tbb/concurrent_hash_map.h>

namespace {

struct Counted
{
    znRTSharedGeometry* record = nullptr;
    unsigned useCount = 0;
};
using Table = tbb::concurrent_hash_map<u64, Counted>;

Table& table()
{
    static Table records;
    return records;
}

} // namespace

// Accessors are held around pointer and count only, never over a build: a thread that waits for
// its subtasks may pick up a task that wants the same entry.

znRTSharedGeometry* znRTSharedGeometryTable::acquire(u64 key)
{
    Table::accessor entry;
    if (table().insert(entry, key))
        entry->second.record = new znRTSharedGeometry(key);
    ++entry->second.useCount;
    return entry->second.record;
}

void znRTSharedGeometryTable::release(znRTSharedGeometry* record)
{
    if (!record)
        return;
    Table::accessor entry;
    if (!table().find(entry, record->key) || entry->second.record != record)
        return;
    if (--entry->second.useCount > 0)
        return;
    table().erase(entry);
    delete record;
}

unsigned znRTSharedGeometryTable::getUseCount(u64 key)
{
    Table::const_accessor entry;
    return table().find(entry, key) ? entry->second.useCount : 0;
}

u64 znRTSharedGeometryTable::getRecordCount()
{
    return table().size();
}

void znRTSharedGeometryTable::clearStatics()
{
    for (const auto& [key, counted] : table())
        delete counted.record;
    table().clear();
}
