#include "optionDefaults.h"

#include "io/InputError.h"
#include "io/InputFile.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <unistd.h>

namespace {

constexpr std::string_view prefix = "ZNRENDER_";

std::string trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == text.npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

bool isOption(const CLI::Option& option)
{
    return !option.get_lnames().empty() && !option.check_lname("help");
}

/// The option of a command by its long name, null without.
const CLI::Option* find(const CLI::App& command, const std::string& name)
{
    for (const CLI::Option* const option : command.get_options())
        if (isOption(*option) && option->check_lname(name))
            return option;
    return nullptr;
}

bool isFlag(const CLI::Option& option)
{
    return option.get_items_expected_max() == 0;
}

/// Whether the words of a command line name an option.
bool isTyped(const CLI::Option& option, const std::vector<std::string>& words)
{
    return std::any_of(words.begin(), words.end(), [&](const std::string& word) {
        for (const std::string& name : option.get_lnames())
            if (word == "--" + name || word.rfind("--" + name + "=", 0) == 0)
                return true;
        for (const std::string& name : option.get_snames())
            if (word.rfind("-" + name, 0) == 0)
                return true;
        return false;
    });
}

/// The value behind "--config" on a command line.
std::string typedConfig(const std::vector<std::string>& words)
{
    const std::string name = "--config";
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == name && i + 1 < words.size())
            return words[i + 1];
        if (words[i].rfind(name + "=", 0) == 0)
            return words[i].substr(name.size() + 1);
    }
    return "";
}

} // namespace

std::vector<OptionDefaults::Value> OptionDefaults::fromVariables()
{
    std::vector<Value> values;
    for (char** variable = environ; variable && *variable; ++variable) {
        const std::string text = *variable;
        const std::size_t equals = text.find('=');
        if (text.rfind(prefix, 0) != 0 || equals == text.npos)
            continue;
        std::string name = text.substr(prefix.size(), equals - prefix.size());
        for (char& c : name)
            c = c == '_' ? '-' : c >= 'A' && c <= 'Z' ? char(c + 32) : c;
        values.push_back({name, text.substr(equals + 1), text.substr(0, equals)});
    }
    std::sort(values.begin(), values.end(),
              [](const Value& a, const Value& b) { return a.name < b.name; });
    return values;
}

std::vector<OptionDefaults::Value> OptionDefaults::fromFile(const std::string& path)
{
    io::Limits limits;
    limits.fileSize = u64(1) << 20;
    const std::vector<u8> bytes = io::InputFile::open(path, limits).readAll();
    std::vector<Value> values;
    std::size_t number = 0;
    for (auto at = bytes.begin(); at != bytes.end();) {
        const auto end = std::find(at, bytes.end(), u8('\n'));
        const std::string text = trimmed(std::string(at, end));
        at = end == bytes.end() ? end : end + 1;
        ++number;
        if (text.empty() || text[0] == '#')
            continue;
        const std::string source = fmt::format("{}, line {}", io::printable(path), number);
        const std::size_t equals = text.find('=');
        if (equals == text.npos)
            throw UsageError(fmt::format("{}: '{}' should have the form NAME = VALUE", source,
                                         io::printable(text)));
        values.push_back(
            {trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1)), source});
    }
    return values;
}

void OptionDefaults::append(const Value& value, const CLI::App& command, const CLI::App& app,
                            std::vector<std::string>& line)
{
    const CLI::Option* const option = find(command, value.name);
    if (!option) {
        std::vector<std::string> names;
        for (const CLI::App* const other :
             app.get_subcommands([](const CLI::App*) { return true; }))
            for (const CLI::Option* const known : other->get_options())
                if (isOption(*known))
                    names.push_back(known->get_lnames().front());
        if (std::find(names.begin(), names.end(), value.name) != names.end())
            return;
        throw UsageError(fmt::format("{}: there is no option '{}', perhaps '{}'", value.source,
                                     io::printable(value.name), nearestName(value.name, names)));
    }
    const std::string word = "--" + value.name;
    for (const std::string& name : option->get_lnames())
        sources["--" + name] = value.source;
    for (const std::string& name : option->get_snames())
        sources["-" + name] = value.source;
    if (!isFlag(*option)) {
        line.push_back(word + "=" + value.value);
    } else if (value.value == "true" || value.value == "1") {
        line.push_back(word);
    } else if (value.value != "false" && value.value != "0") {
        throw UsageError(fmt::format("{}: '{}' is true or false, not '{}'", value.source,
                                     value.name, io::printable(value.value)));
    }
}

void OptionDefaults::add(const CLI::App& command, const CLI::App& app,
                         std::vector<std::string>& line)
{
    std::vector<std::string> typed(line.begin() + 1, line.end());
    const auto appendOpen = [&](const std::vector<Value>& values) {
        for (const Value& value : values) {
            const CLI::Option* const option = find(command, value.name);
            if (value.name != "config" && !(option && isTyped(*option, typed)))
                append(value, command, app, line);
        }
        // What is said once is not said again by those that come behind; a repeatable option may
        // stand several times in one file.
        typed.assign(line.begin() + 1, line.end());
    };
    const std::vector<Value> variables = fromVariables();
    std::string config = typedConfig(typed);
    for (const Value& value : variables)
        if (value.name == "config" && config.empty())
            config = value.value;
    appendOpen(variables);
    if (!config.empty())
        appendOpen(fromFile(config));
}

std::string OptionDefaults::withSource(const std::string& message) const
{
    for (const auto& [word, source] : sources)
        if (message.rfind(word + ":", 0) == 0 || message.find(word + " ") != message.npos)
            return fmt::format("{} ({})", message, source);
    return message;
}
