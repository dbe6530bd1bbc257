// znrender: scenes in, pictures out.

#include "LogFile.h"
#include "Options.h"
#include "commands.h"
#include "outputs.h"

#include "driver/StopSignals.h"
#include "driver/WriteSignals.h"
#include "host/znLog.h"
#include "io/InputError.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <unistd.h>

namespace {

/// Beside the terminal, when it was asked for.
std::optional<LogFile> s_logFile;

int report(const std::string& text, int exitCode)
{
    const std::string line = io::printable(text, 2000);
    // Not by a function that throws: nobody may be left to read it, and the exit code still tells.
    std::fprintf(stderr, "znrender: %s\n", line.c_str());
    if (s_logFile)
        s_logFile->write(znLog::Level::error, line);
    return exitCode;
}

int run(const Options& options)
{
    switch (options.verb) {
    case Verb::help:
        fmt::print("{}", options.helpText);
        return exitDone;
    case Verb::version:
        fmt::print("znrender {}\n", ZN_VERSION);
        return exitDone;
    case Verb::info:
        return runInfo(options);
    case Verb::list:
        return runList(options);
    case Verb::convert:
        return runConvert(options);
    case Verb::schema:
        return runSchema(options);
    case Verb::debugPixel:
        return runDebugPixel(options);
    case Verb::render:
        return runRender(options);
    }
    return exitError;
}

void setLog(const Options& options)
{
    const znLog::Level level = options.quiet || options.logLevel == "error" ? znLog::Level::error
                               : options.logLevel == "warning"              ? znLog::Level::warning
                                                                            : znLog::Level::info;
    znLog::setLevel(level);
    if (!options.logFile.empty())
        s_logFile.emplace(options.logFile, level);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    StopSignals::install();
    WriteSignals::install();
    try {
        const Options options = parseOptions({arguments + 1, arguments + argumentCount});
        checkNames(options); // opening a log makes a file
        setLog(options);
        // Ten steps, as the command of that name takes them.
        if (options.nice && ::nice(10) == -1)
            znLog::warning("--nice: the priority cannot be lowered");
        const int exitCode = run(options);
        // What was buffered may fail only now (a full disk, a closed pipe).
        if (std::fflush(stdout) != 0 && exitCode == exitDone)
            return report("standard output: cannot be written", exitError);
        return exitCode;
    } catch (const UsageError& error) {
        return report(fmt::format("{} (see 'znrender --help')", error.what()), exitUsage);
    } catch (const std::bad_alloc&) {
        return report("out of memory", exitError);
    } catch (const std::exception& error) {
        return report(error.what(), exitError);
    }
}
