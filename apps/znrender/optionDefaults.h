#pragma once

// Options that are not typed: from ZNRENDER_* variables, then from a configuration file. They go
// into the command line behind the words that were typed, so that every check sees them as if they
// had been typed.
//
// ZNRENDER_TIME_LIMIT=5m stands for --time-limit 5m. A file has one NAME = VALUE a line, with the
// option's long name; lines that begin with # and empty lines say nothing. Flags take true or
// false. Options of other commands than the one that runs are left out.

#include "parseValues.h"

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

class OptionDefaults
{
public:
    /// Appends what the line leaves open.
    /// @param command  the one that runs
    /// @param app      all commands
    /// @param line     the command's name and the words behind it
    /// @throws UsageError for names that no command has and for lines of another form
    void add(const CLI::App& command, const CLI::App& app, std::vector<std::string>& line);

    /// A message that names an option which was not typed tells where it stands.
    std::string withSource(const std::string& message) const;

private:
    struct Value
    {
        std::string name, value; ///< name without dashes
        std::string source;      ///< for messages
    };
    static std::vector<Value> fromVariables();
    static std::vector<Value> fromFile(const std::string& path);
    void append(const Value& value, const CLI::App& command, const CLI::App& app,
                std::vector<std::string>& line);

    std::map<std::string, std::string> sources; ///< by "--name" and "-n"
};
