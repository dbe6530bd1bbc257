#pragma once

// A fixed set of directions for rays that leave a point on all sides, in packets of four with their
// reciprocals, so that a ray packet is filled by copies. The four rays of a packet leave toward
// neighbouring parts of the sphere: points are sorted into eight bins of the unit square before
// they are mapped, and no packet spans two bins. Immutable after construction.
//
// A bin's last packet may be short. Its spare lanes hold the image of the square's corner like any
// other direction; who averages over directions leaves them out by getLaneMask(): in a small set
// they are most of all lanes.
//
// Directions come from fast sine and cosine: their length is 1 within 2e-4.

#include "core/znDynArray.h"
#include "core/znRTVector3fPacket.h"

class znRTSampleSet : public znAlignedBase32
{
public:
    /// Makes countU countV directions, rounded down to a multiple of four. Without memory the set
    /// is empty.
    /// @param fullSphere  uniform over the sphere; otherwise over the hemisphere around z with a
    ///                    density of cosine / pi
    /// The other arguments have no effect.
    znRTSampleSet(u32 countU, u32 countV, bool spare, bool fullSphere, float spareA = 0.0f,
                  float spareB = 0.0f);

    /// Number of packets; short ones count.
    u64 getNumSamples() const { return samples.size; }
    int getPacketDim() const { return packetDim; }
    /// 0 for the full sphere, 1 for the hemisphere.
    u32 getFlags() const { return flags; }
    /// Solid angle of a direction over 8 pi: 1 / (2 countU countV); 0 for the hemisphere.
    float getWeight() const { return weight; }

    void getSample(u64 index, znFloatType<2>& x, znFloatType<2>& y, znFloatType<2>& z) const;
    void getSample(u64 index, znFloatType<2>& x, znFloatType<2>& y, znFloatType<2>& z,
                   znFloatType<2>& invX, znFloatType<2>& invY, znFloatType<2>& invZ) const;
    /// @param inverse  reciprocals by component, infinite where a component is 0
    void getSample(u64 index, znRTVector3fPacket& direction, znRTVector3fPacket& inverse) const;

    /// Lanes of a packet that hold a direction of their own, bit l for lane l. Never 0.
    int getLaneMask(u64 index) const { return laneMasks[index]; }

private:
    struct Sample
    {
        znFloatType<2> x, y, z, invX, invY, invZ;
    };

    void sortIntoBins(u64 pointCount, float step);
    void mapToSphere(Sample& sample) const;
    void mapToHemisphere(Sample& sample) const;

    znDynArray<Sample> samples; ///< size, capacity, alignment 16 and the records themselves
    znDynArray<u8> laneMasks;   ///< beside the records
    u32 flags = 0;
    int packetDim = znFloatType<2>::laneCount;
    float weight = 0.0f;
};
