#pragma once

// Progress of a render on standard output: one line that is drawn over on a terminal, plain lines
// on a pipe (a new one only when a percent has passed), or one JSON object a line.

#include <chrono>
#include <string>

class Progress
{
public:
    enum class Form { none, terminal, lines, json };

    /// The form that suits standard output.
    static Form suitable(bool quiet, bool json);

    explicit Progress(Form form) : form(form) {}
    ~Progress() { finish(); }

    /// @param fraction  of the work, 0..1
    void update(int samplesDone, int samplesPlanned, double fraction);
    /// Ends the terminal's line, so that what follows starts on a new one.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    Form form;
    Clock::time_point start = Clock::now();
    Clock::time_point lastDrawn{};
    int lastPercent = -1;
    bool isLineOpen = false;
};

/// "00:41", "1:02:03"
std::string clockText(double seconds);
