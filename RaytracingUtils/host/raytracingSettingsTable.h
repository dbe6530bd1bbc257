#pragma once

// The render settings, one row each. Attachment fields, mirrors, accessors and tests expand these
// rows, so a setting is added in this file alone.
//
// Columns: type, stem (accessors get<stem>, set<stem>), field (attachment field, mirror s_<field>),
// default, lowest, highest, meaning. Values outside the range never reach the mirror. Lengths stand
// in metres in the attachment (rows of ZN_..._LENGTH_SETTINGS) and in scene units everywhere else.

#include "host/znRTVector.h"

/// Ray tracing of trimmed surfaces. Rows keep the order of the accessors.
#define ZN_NURBS_SETTINGS(X, XLength)                                                              \
    X(int, NURBSMode, nurbsMode, 1, 0, 1, "0 tessellated, 1 ray traced")                           \
    XLength(float, NURBSEpsilon, nurbsEpsilon, 1e-5f, 0.0f, 1.0f, "intersection distance")         \
    X(float, NURBSNewtonEpsilon, nurbsNewtonEpsilon, 1e-3f, 1e-9f, 1.0f,                           \
      "tolerance of the root finder, relative to the size of a fragment")                          \
    X(bool, NURBSUsePreclassification, nurbsUsePreclassification, true, false, true,               \
      "classify fragments against the trim curves before tracing")                                 \
    X(int, NURBSMinDepthSurface, nurbsMinDepthSurface, 2, 0, 20, "least subdivisions of a surface")\
    X(int, NURBSMaxDepthSurface, nurbsMaxDepthSurface, 10, 0, 20, "most subdivisions of a surface")\
    X(float, NURBSThresholdSurface, nurbsThresholdSurface, 0.8f, 0.0f, 0.999f,                     \
      "how curved a surface fragment may stay, higher is flatter")                                 \
    X(int, NURBSMinDepthCurve, nurbsMinDepthCurve, 2, 0, 20, "least subdivisions of a trim curve") \
    X(int, NURBSMaxDepthCurve, nurbsMaxDepthCurve, 12, 0, 20, "most subdivisions of a trim curve") \
    X(float, NURBSThresholdCurve, nurbsThresholdCurve, 0.8f, 0.0f, 0.999f,                         \
      "how curved a piece of a trim curve may stay, higher is flatter")

#define ZN_SAMPLE_ID_SETTINGS(X)                                                                   \
    X(int, CurrentSampleId, currentSampleId, 0, 0, 0x7fffffff, "sample the host works on")

#define ZN_DISPLAY_STAGE_SETTINGS(X)                                                               \
    X(bool, ApplyTonemapping, applyTonemapping, true, false, true, "tonemap the display image")    \
    X(bool, ApplyColorCorrection, applyColorCorrection, true, false, true,                         \
      "colour correct the display image")

/// Image quality and shading.
#define ZN_QUALITY_SETTINGS(X)                                                                     \
    X(int, InteractiveReflectionDepth, interactiveReflectionDepth, 4, 0, 64, "bounces")            \
    X(int, StillFrameReflectionDepth, stillFrameReflectionDepth, 10, 0, 64, "bounces")             \
    X(int, ImageSamples, imageSamples, 128, 1, 65536, "samples per pixel of a still frame")        \
    X(bool, UseRenderTimeLimit, useRenderTimeLimit, false, false, true, "stop by time")            \
    X(float, RenderTimeInSeconds, renderTimeInSeconds, 60.0f, 0.0f, 1e9f, "time limit, seconds")   \
    X(bool, UseInfiniteRendering, useInfiniteRendering, false, false, true,                        \
      "refine until stopped by hand")                                                              \
    X(int, InteractiveImageSamples, interactiveImageSamples, 1, 1, 16,                             \
      "samples per pixel of an interactive frame: 1, 2, 4, 8, 16")                                 \
    X(int, AdaptiveAASamples, adaptiveAASamples, 0, 0, 65536,                                      \
      "samples before a pixel may be called finished")                                             \
    X(int, AdaptiveAAThresholdQuality, adaptiveAAThresholdQuality, 2, 0, 5,                        \
      "0 coarse to 4 fine, 5 off: every pixel takes all samples")                                  \
    X(bool, Clamping, clamping, false, false, true, "clamp sample values")                         \
    X(float, ReflectionClampValue, reflectionClampValue, 100.0f, 1e-4f, 1e30f,                     \
      "largest sample value")                                                                      \
    X(bool, PBParameters, pbParameters, false, false, true,                                        \
      "lights use their diffuse colour for glossy lobes too")                                      \
    X(bool, SpectralRaytracing, spectralRaytracing, false, false, true, "trace spectra")           \
    X(bool, GpuRaytracing, gpuRaytracing, false, false, true, "kept for scenes, has no effect")    \
    X(float, DisplayLuminance, displayLuminance, 100.0f, 1e-3f, 1e6f, "of display white, cd/m2")   \
    X(bool, IgnoreOverrideTraceDepth, ignoreOverrideTraceDepth, false, false, true,                \
      "materials may not override the trace depth")                                                \
    X(bool, IgnoreOverrideIlluminationMode, ignoreOverrideIlluminationMode, false, false, true,    \
      "materials may not override the illumination mode")                                          \
    X(bool, IgnoreOverrideReflectionQuality, ignoreOverrideReflectionQuality, false, false, true,  \
      "materials may not override the reflection quality")                                         \
    X(bool, IgnoreOverrideIBLQuality, ignoreOverrideIBLQuality, false, false, true,                \
      "materials may not override the environment quality")                                        \
    X(bool, Sim2LuminanceMapping, sim2LuminanceMapping, false, false, true,                        \
      "map scene luminance to a high-range display")                                               \
    X(int, LightOptimizationMode, lightOptimizationMode, 1, 0, 1,                                  \
      "0 all lights at first hits, 1 sampled")                                                     \
    X(int, BrdfMode, brdfMode, 1, 0, 1, "0 classic, 1 energy conserving")                          \
    X(int, InteractiveQualityMode, interactiveQualityMode, 2, 0, 3,                                \
      "0 baked, 1 baked with environment shadows, 2 sampled environment, 3 full illumination")     \
    X(int, InteractiveQuality, interactiveQuality, 1, 0, 1024, "reflection samples")               \
    X(int, StillFrameQualityMode, stillFrameQualityMode, 3, 0, 3,                                  \
      "0 baked, 1 baked with environment shadows, 2 sampled environment, 3 full illumination")     \
    X(int, StillFrameQuality, stillFrameQuality, 4, 0, 1024, "reflection samples")                 \
    X(int, EnvironmentInteractiveQuality, environmentInteractiveQuality, 1, 0, 1024,               \
      "environment samples, 0 off")                                                                \
    X(int, EnvironmentStillQuality, environmentStillQuality, 4, 0, 1024,                           \
      "environment samples, 0 off")                                                                \
    X(int, PhotonDispersionQuality, photonDispersionQuality, 0, 0, 2,                              \
      "photons in dispersive glass: 0 RGB to 2 spectral")

/// Renderer, photons and final gather.
#define ZN_PHOTON_SETTINGS(X, XLength)                                                             \
    X(int, Renderer, renderer, 0, 0, 6, "0 to 3 beauty, 4 light analysis, 5 debug, 6 illuminance") \
    X(bool, UseHighQualityTextureFiltering, useHighQualityTextureFiltering, true, false, true,     \
      "anisotropic texture filter")                                                                \
    X(int, StillFrameSupersampling, stillFrameSupersampling, 1, 1, 4,                              \
      "still frames are rendered this many times larger")                                          \
    X(int, PhotonMode, photonMode, 0, 0, 3,                                                        \
      "0 off, 1 indirect, 2 indirect and caustics, 3 caustics")                                    \
    X(int, PhotonTraceDepth, photonTraceDepth, 10, 0, 64, "bounces of a photon, above 2 to count") \
    X(int, PhotonNoiseReductionSteps, photonNoiseReductionSteps, 0, 0, 16,                         \
      "relaxation passes over the map")                                                            \
    X(bool, PhotonUseAutomaticRadius, photonUseAutomaticRadius, true, false, true,                 \
      "measure the lookup radius")                                                                 \
    X(int, PhotonLookupCount, photonLookupCount, 60, 1, 4096, "photons wanted in a lookup")        \
    X(int, InteractiveFinalGatherQuality, interactiveFinalGatherQuality, 1, 0, 4096,               \
      "gather rays, 0 looks photons up directly")                                                  \
    X(int, StillFrameFinalGatherQuality, stillFrameFinalGatherQuality, 16, 0, 4096,                \
      "gather rays, 0 looks photons up directly")                                                  \
    XLength(float, FinalGatherRadius, finalGatherRadius, 0.0f, 0.0f, 1e6f,                         \
            "lookup radius of the radiance map, 0 automatic")                                      \
    X(bool, UseFinalGatherForGlossy, useFinalGatherForGlossy, false, false, true,                  \
      "gather for glossy lobes")                                                                   \
    XLength(float, IndirectPhotonRadius, indirectPhotonRadius, 0.1f, 0.0f, 1e6f,                   \
            "lookup radius, 0 automatic")                                                          \
    X(unsigned, InteractivePhotonCount, interactivePhotonCount, 200000u, 0u, 1u << 30, "photons")  \
    X(unsigned, StillFramePhotonCount, stillFramePhotonCount, 2000000u, 0u, 1u << 30, "photons")   \
    X(int, PhotonMapRefreshMode, photonMapRefreshMode, 0, 0, 2,                                    \
      "0 on scene change, 1 each image, 2 on request")                                             \
    X(int, PhotonMapFreezeMode, photonMapFreezeMode, 0, 0, 1, "0 live, 1 frozen")

#define ZN_DENOISE_SETTINGS(X)                                                                     \
    X(int, DenoiseFilter, denoiseFilter, 0, 0, 3,                                                  \
      "0 off, 1 filter of the host, 2 AI in still frames, 3 AI always")

#define ZN_DENOISE_THRESHOLD_SETTINGS(X)                                                           \
    X(float, DenoiseFilterThreshold, denoiseFilterThreshold, 0.5f, 0.0f, 1.0f,                     \
      "strength of the host's filter")

#define ZN_ILLUMINANT_SETTINGS(X)                                                                  \
    X(int, Illuminant, illuminant, 0, 0, 2, "white of spectral colours: 0 D65, 1 A, 2 E")

/// What many machines on one image and single views set.
#define ZN_FRAME_SETTINGS(X)                                                                       \
    X(int, RaytracingSampleOffset, raytracingSampleOffset, 0, 0, 0x7fffffff,                       \
      "number of the first sample, for several machines on one image")                             \
    X(float, InteractiveTextureSharpness, interactiveTextureSharpness, 1.0f, 0.1f, 4.0f,           \
      "above 1 sharper, below 1 softer")                                                           \
    X(float, StillFrameTextureSharpness, stillFrameTextureSharpness, 1.0f, 0.1f, 4.0f,             \
      "above 1 sharper, below 1 softer")                                                           \
    X(float, LightEvaluationThreshold, lightEvaluationThreshold, 0.0005f, 0.0f, 1.0f,              \
      "paths below this weight end or are thinned out")                                            \
    X(znRTVector4f, RaytracingRenderRegion, raytracingRenderRegion,                                \
      znRTVector4f(0.0f, 0.0f, 1.0f, 1.0f), 0.0f, 1.0f, "x0, y0, x1, y1 of the image")

/// All rows; X for plain settings, XLength for lengths.
#define ZN_RENDER_SETTINGS(X, XLength)                                                             \
    ZN_NURBS_SETTINGS(X, XLength)                                                                  \
    ZN_SAMPLE_ID_SETTINGS(X)                                                                       \
    ZN_DISPLAY_STAGE_SETTINGS(X)                                                                   \
    ZN_QUALITY_SETTINGS(X)                                                                         \
    ZN_PHOTON_SETTINGS(X, XLength)                                                                 \
    ZN_DENOISE_SETTINGS(X)                                                                         \
    ZN_DENOISE_THRESHOLD_SETTINGS(X)                                                               \
    ZN_ILLUMINANT_SETTINGS(X)                                                                      \
    ZN_FRAME_SETTINGS(X)
