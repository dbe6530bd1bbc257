#include "valueChecks.h"

#include "io/InputError.h"
#include "system/nearestName.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace {

/// Takes the whole text for a number; a plus sign in front is allowed.
template <class T>
bool readNumber(const std::string& text, T& value)
{
    const char* const last = text.data() + text.size();
    const char* const first = text.data() + (text.size() > 1 && text[0] == '+' && text[1] != '-');
    const auto [end, error] = std::from_chars(first, last, value);
    return end == last && end != first && error == std::errc();
}

template <class T>
std::string rangeText(T low, T high)
{
    return fmt::format("{:g} to {:g}", double(low), double(high));
}

template <class T>
std::string faultOf(const std::string& text, const char* kind, bool isRead, T value, T low, T high)
{
    if (!isRead || value != value)
        return fmt::format("'{}' is no {}", io::printable(text), kind);
    return value >= low && value <= high
               ? ""
               : fmt::format("'{}' lies outside of {}", io::printable(text), rangeText(low, high));
}

} // namespace

CLI::Validator numberWithin(double low, double high)
{
    return CLI::Validator(
        [=](std::string& text) {
            double value = 0.0;
            const bool isRead = readNumber(text, value);
            return faultOf(text, "number", isRead, value, low, high);
        },
        rangeText(low, high));
}

CLI::Validator wholeNumberWithin(int low, int high)
{
    return CLI::Validator(
        [=](std::string& text) {
            long long value = 0;
            const bool isRead = readNumber<long long>(text, value);
            const std::string fault =
                faultOf<long long>(text, "whole number", isRead, value, low, high);
            if (fault.empty())
                text = std::to_string(value);
            return fault;
        },
        rangeText(low, high));
}

CLI::Validator oneOf(std::vector<std::string> words)
{
    const std::string description = fmt::format("{}", fmt::join(words, ", "));
    return CLI::Validator(
        [words = std::move(words)](std::string& text) {
            const bool isKnown = std::find(words.begin(), words.end(), text) != words.end();
            return isKnown ? "" : unknownWord(text, words);
        },
        description);
}

std::string unknownWord(const std::string& word, const std::vector<std::string>& known)
{
    return fmt::format("'{}' is unknown, perhaps '{}'; there are {}", io::printable(word),
                       nearestName(word, known), fmt::join(known, ", "));
}
