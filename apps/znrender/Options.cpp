#include "Options.h"

#include "optionDefaults.h"
#include "optionWords.h"
#include "parseFaults.h"

#include <algorithm>

namespace {

const std::vector<std::pair<std::string, Verb>> verbs = {
    {"render", Verb::render},   {"info", Verb::info},     {"list", Verb::list},
    {"convert", Verb::convert}, {"schema", Verb::schema}, {"debug-pixel", Verb::debugPixel}};

/// Words behind "--" are names, also those that look like options. The parser takes the mark for
/// the end of a repeatable option's values; a folder in front of a name says the same.
void takeEndMark(std::vector<std::string>& line)
{
    const auto mark = std::find(line.begin(), line.end(), "--");
    if (mark == line.end())
        return;
    for (auto word = mark + 1; word != line.end(); ++word)
        if (word->starts_with('-'))
            word->insert(0, "./");
    line.erase(mark);
}

} // namespace

Options parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    Words words;

    CLI::App app("Renders scenes with the ray tracing core.", "znrender");
    app.add_flag("-V,--version", words.showVersion, "Print the version");

    declareCommands(app, options, words);
    app.require_subcommand(0, 1);
    app.fallthrough(false);

    // Without a verb the command is "render"; only help and version stand without one.
    std::vector<std::string> line = arguments;
    const bool hasVerb =
        !line.empty() && std::any_of(verbs.begin(), verbs.end(),
                                     [&](const auto& v) { return v.first == line.front(); });
    const bool bareFlag = line.size() == 1 && (line[0] == "-h" || line[0] == "--help" ||
                                               line[0] == "-V" || line[0] == "--version");
    if (!hasVerb && !bareFlag)
        line.insert(line.begin(), "render");
    takeEndMark(line);
    OptionDefaults defaults;
    if (!bareFlag)
        for (CLI::App* const command : app.get_subcommands([](CLI::App*) { return true; }))
            if (command->get_name() == line.front())
                defaults.add(*command, app, line);
    try {
        std::vector<std::string> reversed(line.rbegin(), line.rend());
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        options.verb = Verb::help;
        const auto chosen = app.get_subcommands();
        options.helpText = chosen.empty() || !hasVerb
                               ? app.help() + "\n" + app.get_subcommand("render")->help("znrender")
                               : chosen.front()->help("znrender");
        return options;
    } catch (const CLI::ParseError& error) {
        if (!words.showVersion)
            throw UsageError(defaults.withSource(faultText(error, app)));
    }
    if (words.showVersion) {
        options.verb = Verb::version;
        return options;
    }
    for (const auto& [name, verb] : verbs)
        if (app.got_subcommand(name))
            options.verb = verb;

    try {
        takeWords(words, options);
    } catch (const UsageError& error) {
        throw UsageError(defaults.withSource(error.what()));
    }
    return options;
}
