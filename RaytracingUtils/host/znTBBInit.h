#pragma once

// How many workers the ray tracer may use.

class znTBBInit
{
public:
    static znTBBInit& the();

    /// Logical cores that the process may run on, limited by setLimit; at least 1.
    int getNumAvailableLimitedLogicalCores() const;
    /// @param threads  upper bound for all parallel work; 0 lifts it. More threads than cores are
    ///                 granted to those who ask. Also sets the stack size of workers (32 MiB: shading
    ///                 recurses through materials with large aligned arrays).
    void setLimit(int threads);
    int getLimit() const { return limit; }

private:
    znTBBInit();
    int limit = 0;
};
