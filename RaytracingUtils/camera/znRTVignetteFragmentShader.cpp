#include "camera/znRTVignetteFragmentShader.h"

#include "host/znLog.h"

const znRTTypeId znRTVignetteFragmentShader::s_typeId("znRTVignetteFragmentShader");

void znRTVignetteFragmentShader::updateAttributes(const znRTCamera&)
{
    static const bool isLogged =
        (znLog::warning("The vignette is not available yet; images are shown without it."), true);
    (void)isLogged;
}
