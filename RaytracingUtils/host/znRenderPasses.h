#pragma once

// The named layers of a frame. The index of a layer is its place in the pass buffers of a view, in
// the layers of a fragment and in pass masks (bit per index).

#include "host/znAligned.h"

#include <array>
#include <string_view>

/// Beauty and the named layers of a frame.
constexpr int znRenderPassCount = 43;

enum znRenderPass : u32 {
    ZN_PASS_BEAUTY,
    ZN_PASS_DIFFUSE_IBL,
    ZN_PASS_DIFFUSE_LIGHT,
    ZN_PASS_GLOSSY_IBL,
    ZN_PASS_GLOSSY_LIGHT,
    ZN_PASS_SPECULAR_REFLECTION,
    ZN_PASS_TRANSLUCENCY,
    ZN_PASS_INCANDESCENCE,
    ZN_PASS_DIFFUSE_INDIRECT,
    ZN_PASS_GLOSSY_INDIRECT,
    ZN_PASS_DIFFUSE_COLOR,
    ZN_PASS_GLOSSY_COLOR,
    ZN_PASS_SPECULAR_COLOR,
    ZN_PASS_TRANSLUCENCY_COLOR,
    ZN_PASS_TRANSPARENCY_COLOR,
    ZN_PASS_BACKGROUND_COLOR,
    ZN_PASS_DIFFUSE_IBL_ILLUMINATION,
    ZN_PASS_GLOSSY_IBL_ILLUMINATION,
    ZN_PASS_TRANSLUCENCY_IBL_ILLUMINATION,
    ZN_PASS_DIFFUSE_LIGHT_ILLUMINATION,
    ZN_PASS_GLOSSY_LIGHT_ILLUMINATION,
    ZN_PASS_TRANSLUCENCY_LIGHT_ILLUMINATION,
    ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION,
    ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION,
    ZN_PASS_SPECULAR_INDIRECT_ILLUMINATION,
    ZN_PASS_TRANSLUCENCY_INDIRECT_ILLUMINATION,
    ZN_PASS_FOG,
    ZN_PASS_LENS_FLARE,
    ZN_PASS_BACKPLATES,
    ZN_PASS_FRONTPLATES,
    ZN_PASS_OCCLUSION,
    ZN_PASS_NORMAL,
    ZN_PASS_DEPTH,
    ZN_PASS_CRYPTO_OBJECT_00,
    ZN_PASS_CRYPTO_OBJECT_01,
    ZN_PASS_CRYPTO_OBJECT_02,
    ZN_PASS_CRYPTO_MATERIAL_00,
    ZN_PASS_CRYPTO_MATERIAL_01,
    ZN_PASS_CRYPTO_MATERIAL_02,
    ZN_PASS_MATERIAL_ID,
    ZN_PASS_MASK,
    ZN_PASS_POSITION,
    ZN_PASS_VIEW
};

inline constexpr std::array<const char*, znRenderPassCount> znRenderPassNames = {
    "beauty",
    "diffuse_ibl",
    "diffuse_light",
    "glossy_ibl",
    "glossy_light",
    "specular_reflection",
    "translucency",
    "incandescence",
    "diffuse_indirect",
    "glossy_indirect",
    "diffuse_color",
    "glossy_color",
    "specular_color",
    "translucency_color",
    "transparency_color",
    "background_color",
    "diffuse_ibl_illumination",
    "glossy_ibl_illumination",
    "translucency_ibl_illumination",
    "diffuse_light_illumination",
    "glossy_light_illumination",
    "translucency_light_illumination",
    "diffuse_indirect_illumination",
    "glossy_indirect_illumination",
    "specular_indirect_illumination",
    "translucency_indirect_illumination",
    "fog",
    "lens_flare",
    "backplates",
    "frontplates",
    "occlusion",
    "normal",
    "depth",
    "cryptoObject00",
    "cryptoObject01",
    "cryptoObject02",
    "cryptoMaterial00",
    "cryptoMaterial01",
    "cryptoMaterial02",
    "materialID",
    "mask",
    "position",
    "view",
};

/// Layers of light: clamped, filtered, tonemapped and corrected like the beauty.
constexpr bool isLightPass(u32 pass)
{
    return pass < ZN_PASS_OCCLUSION;
}

/// Id mattes: read from the view's cryptomatte, without buffers of their own.
constexpr bool isCryptomattePass(u32 pass)
{
    return pass >= ZN_PASS_CRYPTO_OBJECT_00 && pass <= ZN_PASS_CRYPTO_MATERIAL_02;
}

/// Layers of values that no filter may blend: normals, distances, ids, places.
constexpr bool isDataPass(u32 pass)
{
    return pass >= ZN_PASS_NORMAL && !isCryptomattePass(pass);
}

/// @return index of a name, or -1
constexpr int findRenderPass(std::string_view name)
{
    for (int i = 0; i < znRenderPassCount; ++i)
        if (name == znRenderPassNames[std::size_t(i)])
            return i;
    return -1;
}
