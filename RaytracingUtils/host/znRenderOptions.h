#pragma once

// Display options of the whole application that the core asks for.

#include "host/znRTSelectionSettings.h"

class znRenderOptions
{
public:
    static znRenderOptions& getInstance();

    /// True when any form of showing selected or preselected objects is on.
    bool isAnySelectionEnabled() const;

    void setSelectionEnabled(bool on) { selectionEnabled = on; }

private:
    bool selectionEnabled = true;
};
