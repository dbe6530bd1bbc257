#pragma once

// SIGINT and SIGTERM as flags that the frame driver reads. Handlers set the flags and nothing else.

class StopSignals
{
public:
    /// SIGINT asks for an orderly end, a second one for an end at once; SIGTERM asks for an orderly
    /// end. Signals that were ignored stay ignored (nohup). Also ignores SIGPIPE and SIGXFSZ, so
    /// that a broken pipe or a file size limit arrives as an error of the write.
    static void install();

    /// Finish what is in hand, write it, stop.
    static bool isStopWanted();
    /// Give up the frame.
    static bool isAbortWanted();
    /// For tests and for applications with a stop button.
    static void request();
    static void reset();
};
