#pragma once

// Decides for rays which objects they see, beyond the objects' own visibility. A packet points to
// its filter; the scene walk asks it at each leaf. Filters run on many threads at once.

#include "host/znAligned.h"

class znRTIntersector;

class znRTRayFilter : public znAlignedBase64
{
public:
    // The order of the virtual operations is part of the interface.
    /// @param laneMask  lanes under test, bit l for lane l
    /// @return the lanes of laneMask that may see the object
    virtual int filter(const znRTIntersector* const object, int laneMask) const = 0;
    /// @return whether this one lane may see the object
    virtual bool filterSingle(const znRTIntersector* const object, int lane) const = 0;
    virtual ~znRTRayFilter() = default;
};
