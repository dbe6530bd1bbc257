#pragma once

// Telling once what this version cannot do.

#include "host/znLog.h"

#include <atomic>

/// A place that warns the first time it is reached and is silent afterwards.
class znRTOnceWarning
{
public:
    constexpr explicit znRTOnceWarning(const char* text_) : text(text_) {}
    void operator()()
    {
        if (!wasTold.exchange(true))
            znLog::warning(text);
    }

private:
    const char* text;
    std::atomic<bool> wasTold{false};
};
