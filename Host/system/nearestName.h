#pragma once

// What somebody may have meant who typed a name that is not there.

#include <string>
#include <string_view>
#include <vector>

/// The name that the fewest edits separate from what was typed, capitals and small letters alike;
/// the first of several; "" without names.
std::string nearestName(std::string_view name, const std::vector<std::string>& names);

/// ", perhaps 'NAME'", or nothing without names.
std::string perhaps(std::string_view name, const std::vector<std::string>& names);
