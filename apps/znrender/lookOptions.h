#pragma once

// Options that change a scene after it is read: looks, single values, the variant.

#include "io/SceneFile.h"
#include "io/sceneReader.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

struct LookOptions
{
    std::vector<std::string> looks; ///< files, the later ones over the earlier
    std::vector<std::string> sets;  ///< PATH.FIELD=VALUE
    std::string variant;            ///< "" keeps what is shown

    bool isEmpty() const { return looks.empty() && sets.empty() && variant.empty(); }
};

void addLooks(CLI::App& command, LookOptions& options);

/// @throws io::InputError of a look, UsageError of what stands on the command line itself
void applyLooks(io::SceneFile& scene, const LookOptions& options, const io::SceneReadOptions& read);
