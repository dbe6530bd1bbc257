#pragma once

// The log. Each call is one line; texts come ready formatted. Safe on any thread.

#include <functional>

class znLog
{
public:
    enum class Level
    {
        error = 0,
        warning = 1,
        info = 2
    };
    using Sink = std::function<void(Level, const char*)>;

    static void error(const char* text);
    static void warning(const char* text);
    static void info(const char* text);

    /// Replaces where lines go (default: standard error); an empty sink restores the default.
    /// @return the sink in force before
    static Sink setSink(Sink sink);
    /// Lines above this level are dropped by the default sink.
    static void setLevel(Level level);
    /// How often a level was written since the process began.
    static unsigned getCount(Level level);
};
