#pragma once

// Colours of the selection overlay, linear RGB with the overlay's opacity as alpha.

#include "host/znRTVector.h"

class znSelectionColors
{
public:
    enum Kind { selection = 0, preselection = 1 };

    static void setSelectionColor(const znRTVector4f& color);
    static void setPreselectionColor(const znRTVector4f& color);
    static const znRTVector4f& getColor(int kind);
};
