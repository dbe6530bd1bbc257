#pragma once

// What can be fuzzed. A target reads the bytes and uses what comes out; it returns, or throws one
// of the reader's own errors. Everything else is a finding.

#include "host/znAligned.h"

#include <span>
#include <string_view>

struct FuzzTarget
{
    const char* name;
    void (*run)(std::span<const u8> bytes);
};

/// One row per reader; new readers are added in targets.cpp and in CMakeLists.txt.
std::span<const FuzzTarget> fuzzTargets();
