#pragma once

// The temporary files of writers at work, known to signal handlers: a process that a signal ends
// takes them with it.

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
void removeTemporaries() noexcept;

} // namespace io
