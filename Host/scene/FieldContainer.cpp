#include "host/osg/FieldContainer.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace osg {

namespace {

/// Containers by id, in shards so that builders and workers seldom wait for each other.
class Registry
{
public:
    static Registry& the()
    {
        // Never destroyed: containers held by other statics may go after it.
        static Registry* const registry = new Registry;
        return *registry;
    }

    u32 add(FieldContainer* container)
    {
        const u32 id = nextId.fetch_add(1, std::memory_order_relaxed);
        Shard& shard = shardOf(id);
        const std::unique_lock lock(shard.mutex);
        shard.containers.emplace(id, container);
        return id;
    }
    void remove(u32 id)
    {
        Shard& shard = shardOf(id);
        const std::unique_lock lock(shard.mutex);
        shard.containers.erase(id);
    }
    FieldContainer* find(u32 id) const
    {
        const Shard& shard = shardOf(id);
        const std::shared_lock lock(shard.mutex);
        const auto found = shard.containers.find(id);
        return found == shard.containers.end() ? nullptr : found->second;
    }
    std::size_t size() const
    {
        std::size_t count = 0;
        for (const Shard& shard : shards) {
            const std::shared_lock lock(shard.mutex);
            count += shard.containers.size();
        }
        return count;
    }

private:
    struct Shard
    {
        mutable std::shared_mutex mutex;
        std::unordered_map<u32, FieldContainer*> containers;
    };
    static constexpr u32 shardCount = 64;
    Shard& shardOf(u32 id) { return shards[id % shardCount]; }
    const Shard& shardOf(u32 id) const { return shards[id % shardCount]; }

    Shard shards[shardCount];
    std::atomic<u32> nextId{1};
};

struct TypeRegistry
{
    std::shared_mutex mutex;
    std::vector<const FieldContainerType*> types;
    std::map<std::string, const FieldContainerType*, std::less<>> byName;

    static TypeRegistry& the()
    {
        static TypeRegistry* const registry = new TypeRegistry;
        return *registry;
    }
};

} // namespace

/// Containers without references wait here; the outermost release of a thread empties it.
class DestructionQueue
{
public:
    static void destroy(FieldContainer* container)
    {
        // A plain pointer: objects that end with the thread may still release containers.
        thread_local std::vector<FieldContainer*>* s_waiting = nullptr;
        if (s_waiting) {
            s_waiting->push_back(container);
            return;
        }
        std::vector<FieldContainer*> waiting{container};
        s_waiting = &waiting;
        while (!waiting.empty()) {
            FieldContainer* const next = waiting.back();
            waiting.pop_back();
            delete next;
        }
        s_waiting = nullptr;
    }
};

FieldContainer::FieldContainer() : id(Registry::the().add(this))
{
    if (ChangeList* list = ChangeList::current())
        list->addCreated(id);
}

FieldContainer::~FieldContainer()
{
    unregister();
}

const FieldContainerType& FieldContainer::getClassType()
{
    static const FieldContainerType type("FieldContainer", nullptr, nullptr, nullptr);
    return type;
}

void FieldContainer::unregister()
{
    if (!isRegistered)
        return;
    isRegistered = false;
    Registry::the().remove(id);
    if (ChangeList* list = ChangeList::current())
        list->addDestroyed(id);
}

void FieldContainer::subRef()
{
    if (references.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    unregister();
    DestructionQueue::destroy(this);
}

void FieldContainer::beginEdit(u64 mask)
{
    ++editDepth;
    pendingMask |= mask;
}

void FieldContainer::endEdit(u64 mask)
{
    pendingMask |= mask;
    if (editDepth > 0 && --editDepth > 0)
        return;
    if (const u64 done = std::exchange(pendingMask, 0))
        record(done);
}

void FieldContainer::noteChange(u64 mask)
{
    if (editDepth > 0)
        pendingMask |= mask;
    else
        record(mask);
}

void FieldContainer::record(u64 mask)
{
    changed(mask);
    if (ChangeList* list = ChangeList::current())
        list->addChanged(id, mask);
}

void FieldContainer::changed(u64) {}

void addRef(const FCHandle& handle)
{
    if (handle)
        handle.getContainer()->addRef();
}

void subRef(const FCHandle& handle)
{
    if (handle)
        handle.getContainer()->subRef();
}

bool FieldLink::set(const FCHandle& next)
{
    const u32 nextId = next ? next.getContainer()->getId() : 0;
    return std::exchange(id, nextId) != nextId;
}

FieldContainerFactory* FieldContainerFactory::the()
{
    static FieldContainerFactory factory;
    return &factory;
}

FieldContainerPtr FieldContainerFactory::getContainer(u32 id) const
{
    return FieldContainerPtr(Registry::the().find(id));
}

std::size_t FieldContainerFactory::getContainerCount() const
{
    return Registry::the().size();
}

const FieldContainerType* FieldContainerFactory::findType(std::string_view name) const
{
    if (name.starts_with("osg::"))
        name.remove_prefix(5);
    TypeRegistry& registry = TypeRegistry::the();
    const std::shared_lock lock(registry.mutex);
    const auto found = registry.byName.find(name);
    return found == registry.byName.end() ? nullptr : found->second;
}

std::vector<const FieldContainerType*> FieldContainerFactory::getTypes() const
{
    TypeRegistry& registry = TypeRegistry::the();
    const std::shared_lock lock(registry.mutex);
    return registry.types;
}

FieldContainerPtr FieldContainerFactory::createContainer(std::string_view typeName) const
{
    const FieldContainerType* type = findType(typeName);
    return type ? type->createContainer() : FieldContainerPtr();
}

FieldContainerType::FieldContainerType(const char* name_, const FieldContainerType* parent_,
                                       Create create_, Describe describe)
    : name(name_), parent(parent_), create(create_)
{
    if (parent)
        fields = parent->fields;
    if (describe)
        describe(fields);
    TypeRegistry& registry = TypeRegistry::the();
    const std::unique_lock lock(registry.mutex);
    registry.types.push_back(this);
    registry.byName.emplace(name, this);
    id = u32(registry.types.size());
}

bool FieldContainerType::isDerivedFrom(const FieldContainerType& ancestor) const
{
    for (const FieldContainerType* type = this; type; type = type->parent)
        if (type == &ancestor)
            return true;
    return false;
}

const FieldDescription* FieldContainerType::findField(std::string_view fieldName) const
{
    for (const FieldDescription& field : fields)
        if (fieldName == field.name)
            return &field;
    return nullptr;
}

FieldContainerPtr FieldContainerType::createContainer() const
{
    return create ? FieldContainerPtr(create()) : FieldContainerPtr();
}

} // namespace osg
