#pragma once

// SIGHUP and SIGUSR1: write what is done so far and go on. The loop that renders asks after each
// sample.

class WriteSignals
{
public:
    /// Signals that were ignored stay ignored (nohup).
    static void install();
    /// Whether a signal arrived since the last call.
    static bool take();
    /// For tests and for applications with a button.
    static void request();
};
