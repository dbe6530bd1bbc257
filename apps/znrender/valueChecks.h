#pragma once

// What the values of options may be, checked before anything else happens: numbers in a range, and
// words of a list. "nan" is a number to the parser of the command line and would pass any range.

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// Decimal numbers from low to high, both included.
CLI::Validator numberWithin(double low, double high);
/// Whole numbers, in decimal digits: the parser would take a leading zero for octal ones.
CLI::Validator wholeNumberWithin(int low, int high);
CLI::Validator oneOf(std::vector<std::string> words);

/// "'x' is unknown, perhaps 'y'; there are y, z"
std::string unknownWord(const std::string& word, const std::vector<std::string>& known);
