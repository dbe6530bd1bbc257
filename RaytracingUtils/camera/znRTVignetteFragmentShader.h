#pragma once

// Darkens toward the edges of the image. Not available yet: it says so once and leaves pixels as
// they are.

#include "camera/znRTFragmentShader.h"

class znRTVignetteFragmentShader : public znRTFragmentShader
{
public:
    static const znRTTypeId s_typeId;

    znRTVignetteFragmentShader() : znRTFragmentShader(s_typeId) {}

    void updateAttributes(const znRTCamera& camera) override;
};
