#include "io/gltfReader.h"

#include "io/InputError.h"
#include "io/gltfScene.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace io {

namespace {

/// Extensions whose content is read, or may be ignored without showing something else.
constexpr std::array knownExtensions = {"EXT_mesh_gpu_instancing",
                                        "KHR_lights_punctual",
                                        "KHR_materials_anisotropy",
                                        "KHR_materials_clearcoat",
                                        "KHR_materials_diffuse_transmission",
                                        "KHR_materials_dispersion",
                                        "KHR_materials_emissive_strength",
                                        "KHR_materials_pbrSpecularGlossiness",
                                        "KHR_materials_ior",
                                        "KHR_materials_iridescence",
                                        "KHR_materials_sheen",
                                        "KHR_materials_specular",
                                        "KHR_materials_transmission",
                                        "KHR_materials_unlit",
                                        "KHR_materials_variants",
                                        "KHR_materials_volume",
                                        "KHR_mesh_quantization",
                                        "KHR_node_visibility",
                                        "KHR_texture_transform"};

const char* adviceFor(const std::string& extension)
{
    if (extension.find("draco") != std::string::npos)
        return "Draco compression";
    if (extension.find("meshopt") != std::string::npos)
        return "meshopt compression";
    if (extension == "KHR_texture_basisu")
        return "KTX2 textures";
    if (extension == "EXT_texture_webp")
        return "WebP textures";
    return nullptr;
}

void checkRequiredExtensions(const GltfDocument& document)
{
    std::string missing;
    for (const Json& entry : listOf(document.getRoot(), "extensionsRequired")) {
        const std::string name = entry.is_string() ? entry.get<std::string>() : "?";
        if (std::find(knownExtensions.begin(), knownExtensions.end(), name) !=
            knownExtensions.end())
            continue;
        const char* advice = adviceFor(name);
        missing += missing.empty() ? "" : ", ";
        missing += advice ? fmt::format("{} ({})", name, advice) : name;
    }
    if (!missing.empty())
        document.fail("needs " + missing + ", which is not supported; export it again without");
}

} // namespace

SceneFile readGltf(const std::string& path, const std::vector<std::string>& includeFolders,
                   const Limits& limits)
{
    InputFile file = InputFile::open(path, limits);
    const SceneFolder folder(path, includeFolders, limits);
    return readGltf(file, &folder);
}

SceneFile readGltf(InputFile& file, const SceneFolder* folder)
{
    GltfDocument document(file, folder);
    try {
        checkRequiredExtensions(document);
        return GltfScene(document).read();
    } catch (const GltfFault& fault) {
        document.fail(fault.what());
    }
}

} // namespace io
