#pragma once

// What the parser of the command line found wrong, as users of it would say it.

#include <CLI/CLI.hpp>

#include <string>

/// One line that names the option; an unknown one comes with the nearest of the command's.
/// @param app  with its commands, after it threw the error
std::string faultText(const CLI::ParseError& error, const CLI::App& app);
