#pragma once

// Prepares all objects in parallel and collects the records that the trees over them are built
// from. Records stand in the order of the scene node list, so two builds of one scene give equal
// trees, equal ties between surfaces and equal images.

#include "accel/znRTAccelerator.h"
#include "accel/znRTDynamicAcceleratorNode.h"

class znRTDynamicAccelerator : public znRTAccelerator
{
public:
    /// Trees over the objects.
    enum Tree : unsigned { all = 0, selected = 1, environment = 2, preselected = 3, treeCount = 4 };

    void build(unsigned int quality) override;
    void getAmbientOcclusionData(znRTDataBlockPacket& data) const override;
    void getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                        bool shadow, u32 extraAttributes, u32 extraRequirements) const override;
    void getMemoryUsage(float& intersectorMB, float& geometryMB, unsigned long long& primitives,
                        unsigned long long& objects, unsigned long long& spare) const override;
    bool refit(unsigned long long) override { return false; }

protected:
    /// Builds one tree from its records, which may be reordered; none gives an empty tree.
    /// @return bytes of its nodes
    virtual u64 buildTreeIterative(unsigned int tree,
                                   znDynArray<znRTDynamicAcceleratorNode>& records) = 0;

private:
    struct Entry;
    void prepareIntersectors(std::vector<Entry>& entries);
    void collectRecords(std::vector<Entry>& entries,
                        znDynArray<znRTDynamicAcceleratorNode>* records);
    static void writeRecord(const Entry& entry, znRTDynamicAcceleratorNode& record);
};
