#pragma once

// State that every material of the core carries; the defaults are those of the fallback material.

struct znRTMaterialState
{
    // What shading reads at a hit; bits as in the shading data block.
    unsigned long shadingRequirements = 19;
    unsigned long shadowShadingRequirements = 0;
    unsigned long materialAttributes = 0;
    unsigned long transparencyAttributes = 0;

    int traceDepthInteractive = 2, traceDepthStill = 10;

    int visibility = int(0xFFCFFFFCu); ///< ray classes that see the material, two bits each
    int sideness = 3;                  ///< 1 front, 2 back, 3 both

    bool sampleEnvironment = false;
    bool traceIndirect = false;
    bool traceEnvironmentShadows = false;
    bool useBaking = false;
    bool fullLighting = false;
    bool environmentQualityOverride = false;
    bool materialFlagA = false;
    bool usesEnvironmentMap = false;
    bool usesIndirectTerm = false;
    bool usesDirectLights = false;

    bool rayLight = false;         ///< carries a ray file
    float photonImportance = 0.0f; ///< strength as a light portal
    float width = 0.0f;            ///< of lines and points, scene units
};
