#include "cycles.h"

#include "io/imageReader.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// Runs a program and returns what it wrote to standard output.
std::string run(std::vector<std::string> words)
{
    std::array<int, 2> pipes{};
    if (pipe2(pipes.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe to " + words[0]);
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipes[1], STDOUT_FILENO);
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDERR_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(pipes[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(pipes[0], buffer, sizeof buffer)) > 0;)
        text.append(buffer, std::size_t(n));
    close(pipes[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(words[0] + (WIFEXITED(status) && WEXITSTATUS(status) == 127
                                                 ? " is not installed"
                                                 : " failed"));
    return text;
}

} // namespace

CyclesFrame renderWithCycles(const CyclesJob& job)
{
    std::remove(job.picture.c_str());
    const std::string text =
        run({"blender", "-b", "--factory-startup", "-noaudio", "-P", job.script, "--", "render",
             job.scene, std::to_string(job.samples), std::to_string(job.seed),
             std::to_string(job.threads), job.picture, job.mesh, job.environment,
             std::to_string(job.width) + "x" + std::to_string(job.height)});
    const std::string key = "PEER_CPU_SECONDS ";
    const std::size_t place = text.find(key);
    if (place == std::string::npos)
        throw std::runtime_error(job.script + " rendered nothing of " + job.scene);
    return {io::readImage(job.picture), std::atof(text.c_str() + place + key.size())};
}
