#pragma once

// What the benchmark compares: something that is built over a mesh and traces packets of a set.

#include "raySets.h"

#include <memory>

class Tracer
{
public:
    virtual ~Tracer() = default;
    virtual std::string getName() const = 0;
    /// Whether this form of tracing is meant for the set (bundles only for primary rays).
    virtual bool accepts(const RaySet& set) const = 0;
    /// Traces packets begin to end - 1.
    /// @param out  four records per packet
    virtual void trace(const RaySet& set, std::size_t begin, std::size_t end,
                       HitRecord* out) const = 0;
};

/// A built structure with its ways to trace.
class Structure
{
public:
    virtual ~Structure() = default;
    virtual std::string getName() const = 0;
    virtual u64 getMemory() const = 0;
    virtual const std::vector<std::unique_ptr<Tracer>>& getTracers() const = 0;
};

/// A copy of a mesh that stands in the scene: object to world, column by column.
struct Instance
{
    float toWorld[4][4];
};

struct CoreStructure : Structure
{
    /// Triangles in the order of the tree: what primitive numbers count.
    virtual const std::vector<znRTTriangle>& getTriangles() const = 0;
};

std::unique_ptr<CoreStructure> buildCore(const Mesh& mesh);
std::unique_ptr<Structure> buildCoreInstances(const Mesh& mesh,
                                              const std::vector<Instance>& instances);

/// @param config  configuration string of the device
/// @param isFull  with all interfaces, not packets of four and single rays alone
std::unique_ptr<Structure> buildEmbree(const Mesh& mesh, const std::string& config, bool isFull,
                                       const std::vector<Instance>* instances = nullptr);
