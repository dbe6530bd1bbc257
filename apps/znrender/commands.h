#pragma once

// The verbs of znrender, one function each. They throw what goes wrong and return an exit code.

#include "Options.h"

constexpr int exitDone = 0;
constexpr int exitError = 1;
constexpr int exitUsage = 2;
constexpr int exitPartial = 3; ///< stopped early; the picture of what was done is written

int runRender(const Options& options);
int runInfo(const Options& options);
int runList(const Options& options);
int runConvert(const Options& options);
int runSchema(const Options& options);
int runDebugPixel(const Options& options);
