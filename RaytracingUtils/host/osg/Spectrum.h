#pragma once

// A measured or chosen spectrum. Sample i is the mean over the band from 380 + 10 i to 390 + 10 i
// nanometres; from 40 samples on it can stand in for an RGB colour.

#include "host/osg/AttachmentContainer.h"

namespace osg {

class Spectrum : public AttachmentContainer
{
    ZN_CONTAINER(Spectrum, AttachmentContainer)
    ZN_FLAG(useSpectrum, UseSpectrum, false)
    ZN_SLOT(std::vector<float>, samples, Samples)

    /// Switched on and long enough to be used.
    bool isUsable() const { return getUseSpectrum() && getSamples().size() >= 40; }
};

} // namespace osg
