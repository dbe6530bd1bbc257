#pragma once

// Looks: JSON files NAME.zn.json that are laid over a scene. They add files, materials, rules that
// assign them, lights, cameras and surroundings, and set single values, all by reflection (see
// LookFields.h). Several looks stack; what a later one says comes last.
//
//     {
//         "assets": [{"file": "car.glb", "position": [0, 0, 0]}],
//         "materials": {"paint": {"type": "UMetallicPaintMaterial", "base": "#801010"}},
//         "assign": [{"nodes": "/car/body/**", "material": "paint"}],
//         "lights": [{"type": "USphericalLight", "position": [1, -1, 2], "radius": 0.1}],
//         "cameras": [{"name": "front", "position": [0, -4, 1], "at": [0, 0, 0.5]}],
//         "environment": {"image": "studio.hdr", "turn": 90},
//         "settings": {"stillFrameQualityMode": "full"},
//         "set": {"/car/door.visible": false},
//         "variant": "red"
//     }
//
// Every fault is one InputError that names the file, the line, the path in the JSON and, for a name
// that is not there, the nearest one.

#include "io/SceneFolder.h"
#include "io/sceneReader.h"

#include <string_view>

namespace io {

/// Whether a file is named like a look.
bool isLookFile(const std::string& path);

/// Applies a look and those that it includes.
/// @throws InputError
void applyLook(SceneFile& scene, const std::string& path, const SceneReadOptions& options);

/// Applies the block that a scene file carries (SceneFile::look). It names no further scenes.
/// @throws InputError
void applyLookBlock(SceneFile& scene, const std::string& path, const SceneReadOptions& options);

/// Applies the text of a look.
/// @param folder  where the files are that it names; null: it names none
/// @throws InputError
void applyLookText(SceneFile& scene, std::string_view text, const std::string& name,
                   const SceneFolder* folder, const SceneReadOptions& options);

/// Sets one value: "PATH.FIELD=VALUE", the value as JSON or as a plain word.
/// @throws InputError
void applySetting(SceneFile& scene, const std::string& assignment, const SceneReadOptions& options);

/// Chooses a variant in all switches that have it.
/// @throws InputError that names the nearest one
void applyVariant(SceneFile& scene, const std::string& name);

} // namespace io
