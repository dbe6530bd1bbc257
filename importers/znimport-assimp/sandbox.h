#pragma once

// Gives up what an importer never needs: files outside of the given folders, writing, the network,
// new processes, other programs. Where the kernel lacks a means, the rest still holds.

#include <string>
#include <vector>

/// From here on only these folders can be read from.
/// @param file  readable as well, wherever it is
void confine(const std::vector<std::string>& folders, const std::string& file);

/// Tries what must not work after confine().
/// @return what did work, one name each
std::vector<std::string> openDoors();
