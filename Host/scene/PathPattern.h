#pragma once

// Patterns for paths of nodes (see host/nodePaths.h) and for names.
//
//   ?    one character          *    any characters within a name
//   **   any number of names on the way, also none            \   takes the next character as it is
//
// A pattern that begins with a slash is compared with the whole path: "/car/*/rim" finds rims two
// levels below the car, "/car/**" the car and everything below it. One without a slash is compared
// with the last name alone: "wheel*", "*".

#include <string>
#include <string_view>
#include <vector>

namespace scene {

/// Whether a name fits a pattern of ?, * and \. Takes time in proportion to the product of both.
bool matchesName(std::string_view pattern, std::string_view name);

class PathPattern
{
public:
    explicit PathPattern(const std::string& pattern);

    bool matches(std::string_view path) const;
    const std::string& getText() const { return text; }
    /// Without ? and *: it means one path, or one name.
    bool isLiteral() const;

private:
    std::string text;
    std::vector<std::string> names; ///< between the slashes; empty for a pattern of names alone
};

} // namespace scene
