#include "parseFaults.h"

#include "io/InputError.h"
#include "system/nearestName.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

/// The command that was typed, or the program itself.
const CLI::App& commandOf(const CLI::App& app)
{
    const std::vector<CLI::App*> typed = app.get_subcommands();
    return typed.empty() ? app : *typed.front();
}

/// Long and short names with their dashes.
std::vector<std::string> namesOf(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string& name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

bool hasName(const CLI::App& command, const std::string& name)
{
    const std::vector<std::string> names = namesOf(command);
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string unexpected(const std::string& word, const CLI::App& app)
{
    const CLI::App& command = commandOf(app);
    const std::string name = io::printable(word.substr(0, word.find('=')));
    if (!word.starts_with('-'))
        return fmt::format("'{}' is one word too many", name);
    for (const CLI::App* const other : app.get_subcommands([](const CLI::App*) { return true; }))
        if (hasName(*other, name))
            return fmt::format("{}: is no option of '{}'", name, command.get_name());
    if (!name.starts_with("--"))
        return fmt::format("{}: there is no such option", name); // all letters are as near
    return fmt::format("{}: there is no such option, perhaps '{}'", name,
                       nearestName(name, namesOf(command)));
}

} // namespace

std::string faultText(const CLI::ParseError& error, const CLI::App& app)
{
    const CLI::App& command = commandOf(app);
    const std::vector<std::string> rest = command.remaining();
    if (dynamic_cast<const CLI::ExtrasError*>(&error) && !rest.empty())
        return unexpected(rest.front(), app);
    if (!dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return error.what();
    const std::string text = error.what(), name = text.substr(0, text.find(':'));
    for (const CLI::Option* const option : command.get_options())
        if (option->get_name() == name)
            return option->results().size() > 1 ? name + ": is given more than once"
                                                : name + ": needs a value";
    return text;
}
