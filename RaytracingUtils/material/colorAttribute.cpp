#include "material/colorAttribute.h"

#include "material/znRTBRDFMaterial.h"
#include "render/notAvailable.h"

void znRTColorAttribute::set(const znRTVector3f& color, const osg::Spectrum* spectrum,
                             bool isTextured)
{
    static znRTOnceWarning notRead("Textures are not read yet: surfaces show uniform colours.");
    if (isTextured)
        notRead();
    uniform = znRTBRDFMaterial::getSpectrum(spectrum, color);
}

float znRTColorAttribute::getPhotometricValue() const
{
    return luminance(znRTColorPacket(uniform))[0];
}
