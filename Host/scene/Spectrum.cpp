#include "host/osg/Spectrum.h"

namespace osg {

ZN_CONTAINER_BODY(Spectrum)

Spectrum* ColorComponent::getSpectrum() const
{
    return spectrum.get().get();
}

} // namespace osg
