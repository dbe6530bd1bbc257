// znrender: scenes in, pictures out.

#include "Options.h"
#include "commands.h"

#include "driver/StopSignals.h"
#include "host/znLog.h"
#include "io/InputError.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <new>

namespace {

int report(const std::string& text, int exitCode)
{
    fmt::print(stderr, "znrender: {}\n", io::printable(text, 2000));
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
    case Verb::debugPixel:
        return runDebugPixel(options);
    case Verb::render:
        return runRender(options);
    }
    return exitError;
}

void setLogLevel(const Options& options)
{
    if (options.quiet || options.logLevel == "error")
        znLog::setLevel(znLog::Level::error);
    else if (options.logLevel == "warning")
        znLog::setLevel(znLog::Level::warning);
    else
        znLog::setLevel(znLog::Level::info);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    StopSignals::install();
    try {
        const Options options = parseOptions({arguments + 1, arguments + argumentCount});
        setLogLevel(options);
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
