#pragma once

// The one door out: every writer puts its bytes here.
// They go into a temporary file beside the target, which takes the target's place only when all of
// them are safely on disk; until then, and after any error, the old file is untouched and nothing
// is left behind. A target that is no regular file (a pipe, /dev/full, /dev/stdout) is written
// straight through at the end.

#include "host/znAligned.h"
#include "io/OutputError.h"
#include "io/temporaryFiles.h"

#include <string>
#include <vector>

namespace io {

class OutputFile
{
public:
    enum class Existing {
        replace,
        refuse ///< an existing file is an error, in the constructor and at the end
    };

    /// Makes the temporary file and removes those that killed runs left beside the target.
    /// @throws OutputError with the system's reason
    explicit OutputFile(const std::string& path, Existing existing = Existing::replace);
    /// Removes the temporary file unless commit() was reached.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Says now what commit() would say later: missing or read-only folder, target is a folder,
    /// exists. Leaves no trace.
    /// @throws OutputError
    static void checkTarget(const std::string& path, Existing existing = Existing::replace);

    const std::string& getName() const { return m_name; }
    u64 getPosition() const { return m_position; }
    u64 getSize() const { return m_size; }
    /// Any position; a gap is filled with zeros.
    void seek(u64 position) { m_position = position; }

    /// @throws OutputError; later calls throw the same again
    void write(const void* data, std::size_t size);
    /// Reads back what was written (libtiff patches its directories).
    /// @return bytes read, less than size only at the end
    std::size_t read(void* target, std::size_t size);

    /// fsync, close, rename, fsync of the folder.
    /// @throws OutputError; the old file is then untouched
    void commit();

    /// Throws OutputError for this file.
    [[noreturn]] void fail(std::string_view cause);

private:
    void flush();
    void writeStraight();
    void discard() noexcept;
    [[noreturn]] void failWith(const char* what, int error);

    std::string m_name;      ///< as the user wrote it
    std::string m_target;    ///< links resolved
    std::string m_temporary; ///< empty: written straight, or done
    TemporaryEntry m_entry;  ///< of the temporary file
    Existing m_existing;
    int m_descriptor = -1;
    int m_lock = -1; ///< second descriptor of the same file; keeps the lock until the rename
    bool m_straight = false;
    u64 m_position = 0;
    u64 m_size = 0;
    std::vector<u8> m_buffer; ///< not yet written bytes from m_bufferStart on; straight: all bytes
    u64 m_bufferStart = 0;
    std::string m_error; ///< cause of the first failure
};

} // namespace io
