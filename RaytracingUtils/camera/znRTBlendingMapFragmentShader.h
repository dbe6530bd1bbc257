#pragma once

// Multiplies the image with a map per eye (overlapping projectors). Not available yet: it says so
// once and leaves pixels as they are.

#include "camera/znRTFragmentShader.h"

class znRTBlendingMapFragmentShader : public znRTFragmentShader
{
public:
    static const znRTTypeId s_typeId;

    znRTBlendingMapFragmentShader() : znRTFragmentShader(s_typeId) {}

    void updateAttributes(const znRTCamera& camera) override;
};
