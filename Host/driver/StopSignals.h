#pragma once

// SIGINT and SIGTERM as flags that the frame driver reads. Before there is anything to finish, and
// when a user insists, a signal ends the process at once: nothing is harmed by that, since files
// take their places only when they are whole.

class StopSignals
{
public:
    /// How far the work is.
    enum class Stage {
        preparation, ///< both signals end the process
        firstSample, ///< SIGINT finishes the sample, SIGTERM ends the process
        samples      ///< both finish the sample in hand
    };

    /// The first signal stops the work as its stage says, a second SIGINT ends the process with
    /// exit code 1 and one line. Signals that were ignored stay ignored (nohup). Also ignores
    /// SIGPIPE and SIGXFSZ, so that a broken pipe or a file size limit arrives as an error of the
    /// write.
    static void install();
    static void setStage(Stage stage);

    /// Finish what is in hand, write it, stop.
    static bool isStopWanted();
    /// Give up the frame.
    static bool isAbortWanted();
    /// For tests and for applications with a stop button.
    static void request();
    static void reset();
};
