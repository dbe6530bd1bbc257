#include "camera/znRTFragmentShader.h"

const znRTTypeId znRTFragmentShader::s_typeId("znRTFragmentShader");

__m128 znRTFragmentShader::apply(const __m128& colour, int, int) const
{
    return colour;
}
