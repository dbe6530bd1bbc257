#pragma once

// The one door in: every reader gets its bytes here.
// Only regular files are opened, without blocking; their size is checked before a byte is read.
// Files that the user named may be anywhere; what a scene refers to goes through SceneFolder.

#include "io/Limits.h"

#include <span>
#include <string>
#include <vector>

namespace io {

/// A file or a block of memory, read at any position. Movable, not copyable; use by one thread.
class InputFile
{
public:
    /// Opens a file that the user named on the command line or in a dialog.
    /// @throws InputError: not there, not allowed, no regular file, above limits.fileSize
    static InputFile open(const std::string& path, const Limits& limits = {});

    /// Reads bytes that are already in memory (embedded images, tests); they are not copied.
    /// @param name  used in messages
    static InputFile fromMemory(std::span<const u8> bytes, const std::string& name,
                                const Limits& limits = {});

    /// Takes over an open descriptor after the same checks as open().
    static InputFile fromDescriptor(int descriptor, const std::string& name,
                                    const Limits& limits = {});

    InputFile(InputFile&& other) noexcept;
    InputFile& operator=(InputFile&& other) noexcept;
    ~InputFile();

    const std::string& getName() const { return m_name; }
    const Limits& getLimits() const { return m_limits; }
    u64 getSize() const { return m_size; }
    u64 getPosition() const { return m_position; }
    /// Any position is accepted; reading behind the end gives nothing.
    void seek(u64 position) { m_position = position; }

    /// @return bytes read, less than size only at the end of the file
    /// @throws InputError with the system's reason
    std::size_t read(void* target, std::size_t size);
    /// @throws InputError when the file ends before
    void readExactly(void* target, std::size_t size);
    /// The whole file, from its first byte; the position does not move.
    std::vector<u8> readAll();

    /// Throws InputError for this file.
    [[noreturn]] void fail(std::string_view cause) const;

private:
    InputFile() = default;
    void refill();

    std::string m_name;
    Limits m_limits;
    int m_descriptor = -1;
    u64 m_size = 0;
    u64 m_position = 0;
    const u8* m_memory = nullptr; ///< set instead of the descriptor
    std::vector<u8> m_buffer;     ///< bytes of the file from m_bufferStart on
    u64 m_bufferStart = 0;
};

} // namespace io
