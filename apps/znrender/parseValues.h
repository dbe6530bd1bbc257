#pragma once

// Values of options. Numbers have a point whatever the locale; each error is a UsageError that
// names the option.

#include "system/nearestName.h"

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// A wrong command line: one line for the user, exit code 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

double parseNumber(const std::string& text, const std::string& option);

/// @param form  how the value should look, for messages
std::vector<double> parseNumbers(const std::string& text, char separator, std::size_t count,
                                 const std::string& option, const std::string& form);

/// "X,Y,Z" of numbers that a float holds.
std::array<double, 3> parsePoint(const std::string& text, const std::string& option);

/// "X,Y" of whole numbers from 0 on.
std::array<unsigned, 2> parsePixel(const std::string& text, const std::string& option);

/// Seconds from "90", "90s", "5m" or "2h".
double parseDuration(const std::string& text, const std::string& option);

/// Words between commas; none may be empty.
std::vector<std::string> parseList(const std::string& text, const std::string& option);
