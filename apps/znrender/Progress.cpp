#include "Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

std::string clockText(double seconds)
{
    const long total = long(std::max(0.0, seconds) + 0.5);
    const long hours = total / 3600, minutes = total / 60 % 60, rest = total % 60;
    return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, rest)
                     : fmt::format("{:02}:{:02}", minutes, rest);
}

Progress::Form Progress::suitable(bool quiet, bool json)
{
    if (json)
        return Form::json;
    if (quiet)
        return Form::none;
    return isatty(STDOUT_FILENO) ? Form::terminal : Form::lines;
}

void Progress::update(int samplesDone, int samplesPlanned, double fraction)
{
    const Clock::time_point now = Clock::now();
    const double elapsed = std::chrono::duration<double>(now - start).count();
    const double left = fraction > 0.0 ? elapsed * (1.0 - fraction) / fraction : 0.0;
    const int percent = int(fraction * 100.0);

    switch (form) {
    case Form::none:
        return;
    case Form::terminal: {
        // Redrawing is slow on remote terminals; ten times a second is smooth enough.
        if (now - lastDrawn < std::chrono::milliseconds(100) && fraction < 1.0)
            return;
        lastDrawn = now;
        constexpr int width = 30;
        const int filled = int(fraction * width);
        fmt::print("\r[{}{}] {:3}%  sample {}/{}  {} elapsed  {} left ", std::string(filled, '#'),
                   std::string(width - filled, '.'), percent, samplesDone, samplesPlanned,
                   clockText(elapsed), clockText(left));
        isLineOpen = true;
        break;
    }
    case Form::lines:
        if (percent == lastPercent)
            return;
        fmt::print("ALF_PROGRESS {}%\n{}%  sample {}/{}  {} left\n", percent, percent, samplesDone,
                   samplesPlanned, clockText(left));
        break;
    case Form::json:
        if (percent == lastPercent)
            return;
        fmt::print("{{\"progress\": {:.4f}, \"sample\": {}, \"samples\": {}, \"elapsed\": {:.2f}, "
                   "\"left\": {:.2f}}}\n",
                   fraction, samplesDone, samplesPlanned, elapsed, left);
        break;
    }
    lastPercent = percent;
    std::fflush(stdout);
}

void Progress::finish()
{
    if (isLineOpen)
        fmt::print("\n");
    isLineOpen = false;
    std::fflush(stdout);
}
