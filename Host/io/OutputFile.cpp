#include "io/OutputFile.h"

#include "io/faultHook.h"
#include "io/systemError.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace io {
namespace {

constexpr std::size_t bufferSize = 1024 * 1024;

// A name may have 255 bytes; the dot, the mark, 16 digits and the suffix take 26 of them.
constexpr std::size_t keptOfName = 220;
constexpr char mark[] = ".zn-", suffix[] = ".tmp";

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == path.npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string joined(const std::string& folder, const std::string& name)
{
    return folder == "/" ? "/" + name : folder + "/" + name;
}

/// What the names of a target's temporary files begin with.
std::string temporaryPrefix(const std::string& target)
{
    return std::string(".").append(nameOf(target), 0, keptOfName).append(mark);
}

std::string randomDigits()
{
    std::random_device device;
    const u64 value = u64(device()) << 32 | device();
    char text[17];
    std::snprintf(text, sizeof(text), "%016llx", static_cast<unsigned long long>(value));
    return text;
}

/// Follows links by hand, because the last one may lead to a file that is not there yet.
std::string withoutLinks(std::string path)
{
    for (int depth = 0; depth < 40; ++depth) {
        char text[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), text, sizeof(text));
        if (length < 0 || std::size_t(length) == sizeof(text))
            return path;
        const std::string link(text, std::size_t(length));
        path = link[0] == '/' ? link : joined(folderOf(path), link);
    }
    return path;
}

/// Names that stand for an open descriptor: replacing what it points to would not reach its reader.
bool isDescriptorName(const std::string& path)
{
    return path == "/dev/stdout" || path == "/dev/stderr" || path.rfind("/dev/fd/", 0) == 0 ||
           path.rfind("/proc/", 0) == 0;
}

/// Keeps SIGPIPE and SIGXFSZ from ending the process during a write; their errors (EPIPE, EFBIG)
/// are reported instead. Both signals are sent to the writing thread, so the mask of this thread
/// does it and the application's own handling stays.
class QuietSignals
{
public:
    QuietSignals()
    {
        sigemptyset(&m_set);
        sigaddset(&m_set, SIGPIPE);
        sigaddset(&m_set, SIGXFSZ);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) || sigismember(&pending, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &m_set, &m_old);
    }
    ~QuietSignals()
    {
        const timespec now{};
        while (!m_wasPending && sigtimedwait(&m_set, nullptr, &now) > 0)
            ;
        pthread_sigmask(SIG_SETMASK, &m_old, nullptr);
    }
    QuietSignals(const QuietSignals&) = delete;

private:
    sigset_t m_set, m_old;
    bool m_wasPending = false;
};

/// @return 0 or an error number
int writeAll(int descriptor, const u8* data, std::size_t size, off_t* position)
{
    const QuietSignals quiet;
    while (size > 0) {
        std::size_t part = size;
        ssize_t count = -1;
        if (const int fault = injectedFault("write", part))
            errno = fault;
        else
            count = position ? ::pwrite(descriptor, data, part, *position)
                             : ::write(descriptor, data, part);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return EIO;
        data += count;
        size -= std::size_t(count);
        if (position)
            *position += count;
    }
    return 0;
}

/// @return 0 or an error number
int syncOnce(int descriptor)
{
    if (const int fault = injectedFault("fsync"))
        return fault;
    return ::fsync(descriptor) == 0 ? 0 : errno;
}

int syncFile(int descriptor)
{
    int error = syncOnce(descriptor);
    while (error == EINTR)
        error = syncOnce(descriptor);
    // Some file systems cannot do it at all; their files are as safe as they get.
    return error == EINVAL || error == ENOTSUP ? 0 : error;
}

/// @return 0 or an error number. The descriptor is gone either way, also after EINTR.
int closeFile(int descriptor)
{
    const int error = ::close(descriptor) == 0 ? 0 : errno;
    const int fault = injectedFault("close");
    const int result = fault ? fault : error;
    return result == EINTR ? 0 : result;
}

/// @return 0 or an error number
int renameFile(const std::string& from, const std::string& to, OutputFile::Existing existing)
{
    if (const int fault = injectedFault("rename"))
        return fault;
    if (existing == OutputFile::Existing::replace)
        return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // A file system without that flag: a second name is refused as well when the target is there.
    if (::link(from.c_str(), to.c_str()) != 0)
        return errno;
    ::unlink(from.c_str());
    return 0;
}

/// Makes the new name last through a power cut. The file is in place already, so a file system
/// that cannot sync folders is no error.
void syncFolder(const std::string& folder)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
}

/// Removes temporary files of a target whose writers died. A living writer holds a lock on its
/// file, and locks end with the process.
void removeStale(const std::string& target)
{
    const std::string prefix = temporaryPrefix(target), folder = folderOf(target);
    DIR* const entries = ::opendir(folder.c_str());
    if (!entries)
        return;
    while (const dirent* entry = ::readdir(entries)) {
        const std::string name = entry->d_name;
        const std::size_t length = prefix.size() + 16 + sizeof(suffix) - 1;
        if (name.size() != length || name.rfind(prefix, 0) != 0 ||
            name.compare(length - sizeof(suffix) + 1, name.npos, suffix) != 0)
            continue;
        const std::string path = joined(folder, name);
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0)
            continue;
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
            ::unlink(path.c_str());
        ::close(descriptor);
    }
    ::closedir(entries);
}

/// @return descriptor of a new locked file, or -1 with errno
int createTemporary(const std::string& target, std::string& path)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        path = joined(folderOf(target), temporaryPrefix(target) + randomDigits() + suffix);
        int descriptor = -1;
        if (const int fault = injectedFault("open"))
            errno = fault;
        else
            descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && (errno == EEXIST || errno == EINTR))
            continue;
        if (descriptor < 0)
            return -1;
        ::flock(descriptor, LOCK_EX);
        // Another run may have taken the file for a stale one before the lock was on it.
        struct stat status
        {
        };
        if (::fstat(descriptor, &status) == 0 && status.st_nlink > 0)
            return descriptor;
        ::close(descriptor);
    }
    errno = EEXIST;
    return -1;
}

} // namespace

OutputFile::OutputFile(const std::string& path, Existing existing)
    : m_name(path), m_existing(existing)
{
    if (path.empty() || path.find('\0') != path.npos)
        throw OutputError(path.empty() ? "''" : path, "is no usable file name");
    m_target = isDescriptorName(path) ? path : withoutLinks(path);
    struct stat status
    {
    };
    const bool exists = ::stat(m_target.c_str(), &status) == 0;
    // A name that is too long, or a file where a folder should be, would show only at the rename.
    if (!exists && errno != ENOENT)
        failWith("cannot be written", errno);
    if (exists && S_ISDIR(status.st_mode))
        fail("is a folder");
    m_straight = isDescriptorName(m_target) || (exists && !S_ISREG(status.st_mode));
    if (m_straight) {
        m_descriptor = ::open(m_target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (m_descriptor < 0)
            failWith("cannot be opened for writing", errno);
        return;
    }
    if (exists && existing == Existing::refuse)
        fail("exists already (--overwrite replaces it)");
    if (nameOf(m_target).empty())
        fail("is a folder");

    removeStale(m_target);
    int error = 0;
    {
        const TemporaryCreation creation;
        m_descriptor = createTemporary(m_target, m_temporary);
        error = errno;
        if (m_descriptor >= 0)
            m_entry.set(m_temporary);
    }
    if (m_descriptor < 0) {
        m_temporary.clear();
        failWith("cannot be written", error);
    }
    // Closing one descriptor reports late errors; the lock goes only with the last.
    m_lock = ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
    if (exists)
        ::fchmod(m_descriptor, status.st_mode & 0777);
}

OutputFile::~OutputFile()
{
    discard();
}

void OutputFile::checkTarget(const std::string& path, Existing existing)
{
    struct stat status
    {
    };
    const bool exists = ::stat(path.c_str(), &status) == 0;
    const bool isStraight = exists && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
    if (!isStraight && !isDescriptorName(path))
        OutputFile(path, existing).discard();
    else if (::access(path.c_str(), W_OK) != 0)
        throw OutputError(path, "cannot be opened for writing: " + systemReason(errno));
}

void OutputFile::discard() noexcept
{
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
    m_entry.reset();
    m_temporary.clear();
    for (int* descriptor : {&m_descriptor, &m_lock}) {
        if (*descriptor >= 0)
            ::close(*descriptor);
        *descriptor = -1;
    }
}

void OutputFile::fail(std::string_view cause)
{
    discard();
    if (m_error.empty())
        m_error = cause;
    throw OutputError(m_name, m_error);
}

void OutputFile::failWith(const char* what, int error)
{
    fail(std::string(what) + ": " + systemReason(error));
}

void OutputFile::write(const void* data, std::size_t size)
{
    if (!m_error.empty() || m_descriptor < 0)
        fail("cannot be written any more");
    const u8* const bytes = static_cast<const u8*>(data);
    const u64 end = m_position + size;
    if (size == 0)
        return;
    const bool isAdjacent =
        m_position >= m_bufferStart && m_position <= m_bufferStart + m_buffer.size();
    if (!m_straight && (!isAdjacent || end - m_bufferStart > bufferSize)) {
        flush();
        m_bufferStart = m_position;
    }
    if (!m_straight && size >= bufferSize) {
        off_t position = off_t(m_position);
        if (const int error = writeAll(m_descriptor, bytes, size, &position))
            failWith("cannot be written", error);
        m_bufferStart = end;
    } else {
        const std::size_t at = std::size_t(m_position - m_bufferStart);
        if (at + size > m_buffer.size())
            m_buffer.resize(at + size);
        std::memcpy(m_buffer.data() + at, bytes, size);
    }
    m_position = end;
    m_size = std::max(m_size, end);
}

std::size_t OutputFile::read(void* target, std::size_t size)
{
    const u64 left = m_position < m_size ? m_size - m_position : 0;
    size = std::size_t(std::min<u64>(size, left));
    if (m_straight) {
        std::memcpy(target, m_buffer.data() + m_position, size);
    } else {
        flush();
        std::size_t done = 0;
        while (done < size) {
            const ssize_t count = ::pread(m_descriptor, static_cast<u8*>(target) + done,
                                          size - done, off_t(m_position + done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                failWith("cannot be read back", count < 0 ? errno : EIO);
            done += std::size_t(count);
        }
    }
    m_position += size;
    return size;
}

void OutputFile::flush()
{
    off_t position = off_t(m_bufferStart);
    if (const int error = writeAll(m_descriptor, m_buffer.data(), m_buffer.size(), &position))
        failWith("cannot be written", error);
    m_bufferStart += m_buffer.size();
    m_buffer.clear();
}

void OutputFile::writeStraight()
{
    if (const int error = writeAll(m_descriptor, m_buffer.data(), m_buffer.size(), nullptr))
        failWith("cannot be written", error);
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (const int error = closeFile(descriptor))
        failWith("cannot be written", error);
}

void OutputFile::commit()
{
    if (!m_error.empty() || m_descriptor < 0)
        fail("cannot be written any more");
    if (m_straight)
        return writeStraight();
    flush();
    if (const int error = syncFile(m_descriptor))
        failWith("cannot be written", error);
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (const int error = closeFile(descriptor))
        failWith("cannot be written", error);
    if (const int error = renameFile(m_temporary, m_target, m_existing)) {
        if (error == EEXIST)
            fail("exists already (--overwrite replaces it)");
        failWith("cannot be put in place", error);
    }
    m_temporary.clear();
    syncFolder(folderOf(m_target));
    discard();
}

} // namespace io
