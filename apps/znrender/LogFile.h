#pragma once

// The log in a file as well: every message of every level with the time, whatever the terminal
// shows. A log that cannot be written any more costs one line, never the render.

#include "host/znLog.h"

#include <string>

class LogFile
{
public:
    /// Opens the file for adding to it and takes over the log's sink.
    /// @param shown  messages above this level go to the file only
    /// @throws std::runtime_error when the file cannot be opened
    LogFile(const std::string& path, znLog::Level shown);
    /// Gives the log back.
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// A line that the program says itself, with the level's place in front.
    void write(znLog::Level level, const std::string& text);

private:
    int descriptor = -1;
    std::string name;
    bool hasFailed = false;
};
