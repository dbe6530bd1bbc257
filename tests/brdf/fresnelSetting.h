#pragma once

// Sets the render setting of the Fresnel mode while it stands.

#include "host/znRTRaytracingSettings.h"

class FresnelSetting
{
public:
    explicit FresnelSetting(bool energyConserving) : saved(znRTRaytracingSettings::s_brdfMode)
    {
        znRTRaytracingSettings::s_brdfMode = energyConserving ? 1 : 0;
    }
    ~FresnelSetting() { znRTRaytracingSettings::s_brdfMode = saved; }
    FresnelSetting(const FresnelSetting&) = delete;

private:
    int saved;
};
