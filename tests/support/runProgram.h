#pragma once

// Runs a program of the build and keeps what it says.

#include <array>
#include <atomic>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace support {

struct ProgramResult
{
    int exitCode = -1; ///< 128 + signal when it was killed
    std::string out, error;

    bool wasKilled() const { return exitCode >= 128; }
    /// Lines on standard error.
    long errorLines() const
    {
        long lines = 0;
        for (char c : error)
            lines += c == '\n';
        return lines;
    }
};

/// @param program    name in the build's bin folder
/// Bytes that a running program has written to standard output so far.
using OutputCount = std::atomic<std::size_t>;

/// @param whileRuns  called once with the process id after the start
inline ProgramResult runProgram(const std::string& program, std::vector<std::string> arguments,
                                const std::function<void(int, const OutputCount&)>& whileRuns = {},
                                const std::string& folder = {})
{
    const std::string path = std::string(ZN_BINARY_DIR) + "/" + program;
    std::array<int, 2> out{}, error{};
    if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(error.data(), O_CLOEXEC) != 0)
        return {};

    const pid_t child = fork();
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(error[1], STDERR_FILENO);
        if (!folder.empty() && chdir(folder.c_str()) != 0)
            _exit(126);
        std::vector<char*> words{const_cast<char*>(path.c_str())};
        for (std::string& argument : arguments)
            words.push_back(argument.data());
        words.push_back(nullptr);
        execv(path.c_str(), words.data());
        _exit(127);
    }
    close(out[1]);
    close(error[1]);

    ProgramResult result;
    OutputCount outCount = 0, errorCount = 0;
    const auto drain = [](int descriptor, std::string& text, OutputCount& count) {
        char buffer[4096];
        for (ssize_t n; (n = read(descriptor, buffer, sizeof buffer)) > 0;) {
            text.append(buffer, std::size_t(n));
            count += std::size_t(n);
        }
        close(descriptor);
    };
    std::thread outReader(drain, out[0], std::ref(result.out), std::ref(outCount));
    std::thread errorReader(drain, error[0], std::ref(result.error), std::ref(errorCount));
    if (whileRuns)
        whileRuns(int(child), outCount);
    int status = 0;
    waitpid(child, &status, 0);
    outReader.join();
    errorReader.join();
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

} // namespace support
