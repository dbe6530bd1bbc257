#include "parseValues.h"

#include "io/InputError.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> words;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != text.npos; start = end + 1)
        words.push_back(text.substr(start, end - start));
    words.push_back(text.substr(start));
    return words;
}

} // namespace

double parseNumber(const std::string& text, const std::string& option)
{
    double value = 0.0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || end != last || !std::isfinite(value))
        throw UsageError(fmt::format("{}: '{}' is not a number", option, io::printable(text)));
    return value;
}

std::vector<double> parseNumbers(const std::string& text, char separator, std::size_t count,
                                 const std::string& option, const std::string& form)
{
    std::vector<double> values;
    for (const std::string& word : split(text, separator))
        values.push_back(parseNumber(word, option));
    if (values.size() != count)
        throw UsageError(
            fmt::format("{}: '{}' should have the form {}", option, io::printable(text), form));
    return values;
}

std::array<double, 3> parsePoint(const std::string& text, const std::string& option)
{
    const std::vector<double> v = parseNumbers(text, ',', 3, option, "X,Y,Z");
    // Squares of distances have to stay floats as well.
    for (const double value : v)
        if (std::abs(value) > 1e15)
            throw UsageError(fmt::format("{}: '{}' is too far away", option, io::printable(text)));
    return {v[0], v[1], v[2]};
}

std::array<unsigned, 2> parsePixel(const std::string& text, const std::string& option)
{
    const std::vector<double> v = parseNumbers(text, ',', 2, option, "X,Y");
    for (const double value : v)
        if (value < 0.0 || value != std::floor(value) || value > 1e9)
            throw UsageError(fmt::format("{}: '{}' is no pixel", option, io::printable(text)));
    return {unsigned(v[0]), unsigned(v[1])};
}

double parseDuration(const std::string& text, const std::string& option)
{
    const std::string units = "smh";
    const double factors[] = {1.0, 60.0, 3600.0};
    std::string number = text;
    double factor = 1.0;
    if (!text.empty() && std::isalpha(static_cast<unsigned char>(text.back()))) {
        const std::size_t unit = units.find(text.back());
        if (unit == units.npos)
            throw UsageError(fmt::format("{}: '{}' has an unknown unit; use s, m or h", option,
                                         io::printable(text)));
        factor = factors[unit];
        number.pop_back();
    }
    const double seconds = parseNumber(number, option) * factor;
    if (seconds <= 0.0)
        throw UsageError(fmt::format("{}: '{}' is not above 0", option, io::printable(text)));
    return seconds;
}

std::vector<std::string> parseList(const std::string& text, const std::string& option)
{
    const std::vector<std::string> words = split(text, ',');
    if (std::find(words.begin(), words.end(), "") != words.end())
        throw UsageError(fmt::format("{}: '{}' has an empty place", option, io::printable(text)));
    return words;
}
