#include "camera/znRTBlendingMapFragmentShader.h"

#include "host/znLog.h"

const znRTTypeId znRTBlendingMapFragmentShader::s_typeId("znRTBlendingMapFragmentShader");

void znRTBlendingMapFragmentShader::updateAttributes(const znRTCamera&)
{
    static const bool isLogged =
        (znLog::warning("Blending maps are not available yet; images are shown without them."),
         true);
    (void)isLogged;
}
