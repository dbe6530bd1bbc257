#pragma once

// The lobes of four hits as those who gather light see them. A material fills a set once per shade;
// the set points to lobes and frames that outlive it on the stack of the shade.
//
// Light is returned per kind of lobe, without the colours: those who write the result multiply them
// in. Colours stand here to tell how much a lobe can matter.

#include "brdf/znRTBRDF.h"
#include "brdf/znRTONB.h"

struct znRTLobeSet : znAlignedBase16
{
    static constexpr int capacity = 4;

    struct Entry
    {
        const znRTBRDF* lobe;
        const znRTONB* onb; ///< world space
        znRTColorPacket color;
        znFloatType<2> mask; ///< lanes that have the lobe
    };

    /// Lobes beyond the capacity are ignored.
    void add(const znRTBRDF& lobe, const znRTONB& onb, const znRTColorPacket& color,
             const znFloatType<2>& mask)
    {
        if (count < capacity)
            entries[count++] = {&lobe, &onb, color, mask};
    }
    const Entry* begin() const { return entries; }
    const Entry* end() const { return entries + count; }
    /// Whether a lobe answers to one of the bits, see lobeType.
    bool has(unsigned flags) const
    {
        for (const Entry& entry : *this)
            if (entry.lobe->isSelected(flags))
                return true;
        return false;
    }

    Entry entries[capacity];
    int count = 0;
    /// Draws directions for all lobes together, with the density of the mixture; null with one
    /// lobe, which then draws for itself.
    const znRTBRDF* mixture = nullptr;
};
