#pragma once

// The temporary files of writers at work, known to signal handlers: a process that a signal ends
// takes them with it.

#include <csignal>
#include <string>

namespace io {

/// One file on the list, for as long as the object lives or until reset.
class TemporaryEntry
{
public:
    TemporaryEntry() = default;
    ~TemporaryEntry() { reset(); }
    TemporaryEntry(const TemporaryEntry&) = delete;
    TemporaryEntry& operator=(const TemporaryEntry&) = delete;

    /// The list has room for a few dozen files; those beyond it, and paths of more than 4095 bytes,
    /// are left to the next writer of the same target.
    void set(const std::string& path);
    void reset() noexcept;

private:
    int slot = -1;
};

/// Removes all files on the list. May be called by a signal handler that ends the process.
/// Waits for files that other threads are creating; none is created after it.
void removeTemporaries() noexcept;

/// Held from before a temporary file is created until its entry is set, so that a handler that
/// removes all of them either finds it or comes first.
class TemporaryCreation
{
public:
    /// Does not return once the process is ending.
    TemporaryCreation() noexcept;
    ~TemporaryCreation();
    TemporaryCreation(const TemporaryCreation&) = delete;
    TemporaryCreation& operator=(const TemporaryCreation&) = delete;

private:
    sigset_t oldSignals; ///< of the thread
};

} // namespace io
