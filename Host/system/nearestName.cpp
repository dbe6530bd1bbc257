#include "system/nearestName.h"

#include <algorithm>
#include <cctype>

namespace {

/// Beyond this length names are told apart by their first letters.
constexpr std::size_t longestCompared = 64;

std::size_t editDistance(std::string_view a, std::string_view b)
{
    a = a.substr(0, longestCompared);
    b = b.substr(0, longestCompared);
    std::size_t row[longestCompared + 1];
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

} // namespace

std::string nearestName(std::string_view name, const std::vector<std::string>& names)
{
    std::size_t least = ~std::size_t(0);
    const std::string* nearest = nullptr;
    for (const std::string& candidate : names)
        if (const std::size_t distance = editDistance(name, candidate); distance < least) {
            least = distance;
            nearest = &candidate;
        }
    return nearest ? *nearest : "";
}

std::string perhaps(std::string_view name, const std::vector<std::string>& names)
{
    const std::string nearest = nearestName(name, names);
    return nearest.empty() ? "" : ", perhaps '" + nearest + "'";
}
