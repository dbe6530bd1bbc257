#include "io/InputFile.h"

#include "io/InputError.h"
#include "io/faultHook.h"
#include "io/systemError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace io {
namespace {

constexpr std::size_t bufferSize = 64 * 1024;

/// Largest single read; the kernel takes no more than 2 GiB at once.
constexpr std::size_t largestRead = std::size_t(1) << 30;

const char* kindOf(mode_t mode)
{
    return S_ISDIR(mode)    ? "is a folder"
           : S_ISFIFO(mode) ? "is a pipe, not a regular file"
           : S_ISSOCK(mode) ? "is a socket, not a regular file"
                            : "is a device, not a regular file";
}

/// Reads until size bytes or the end of the file.
std::size_t readAt(int descriptor, const std::string& name, u8* target, std::size_t size, u64 from)
{
    std::size_t done = 0;
    while (done < size) {
        std::size_t part = std::min(size - done, largestRead);
        ssize_t count = -1;
        if (const int fault = injectedFault("read", part))
            errno = fault;
        else
            count = ::pread(descriptor, target + done, part, off_t(from + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw InputError(name, "cannot be read: " + systemReason(errno));
        if (count == 0)
            break;
        done += std::size_t(count);
    }
    return done;
}

} // namespace

InputFile InputFile::open(const std::string& path, const Limits& limits)
{
    if (path.empty())
        throw InputError("''", "no file name given");
    if (path.find('\0') != path.npos)
        throw InputError(path, "a zero byte in the name");
    int descriptor = -1;
    if (const int fault = injectedFault("open"))
        errno = fault;
    else
        // Without O_NONBLOCK a pipe without a writer would hang the caller for good.
        descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
        throw InputError(path, "cannot be opened: " + systemReason(errno));
    return fromDescriptor(descriptor, path, limits);
}

InputFile InputFile::fromDescriptor(int descriptor, const std::string& name, const Limits& limits)
{
    InputFile file;
    file.m_descriptor = descriptor;
    file.m_name = name;
    file.m_limits = limits;
    struct stat status
    {
    };
    if (::fstat(descriptor, &status) != 0)
        file.fail("cannot be opened: " + systemReason(errno));
    if (!S_ISREG(status.st_mode))
        file.fail(kindOf(status.st_mode));
    file.m_size = u64(status.st_size);
    limits.check(&Limits::fileSize, file.m_size, name, "file size:");
    return file;
}

InputFile InputFile::fromMemory(std::span<const u8> bytes, const std::string& name,
                                const Limits& limits)
{
    static const u8 s_nothing = 0;
    InputFile file;
    file.m_name = name;
    file.m_limits = limits;
    file.m_memory = bytes.empty() ? &s_nothing : bytes.data();
    file.m_size = bytes.size();
    limits.check(&Limits::fileSize, file.m_size, name, "file size:");
    return file;
}

InputFile::InputFile(InputFile&& other) noexcept
{
    *this = std::move(other);
}

InputFile& InputFile::operator=(InputFile&& other) noexcept
{
    std::swap(m_name, other.m_name);
    std::swap(m_limits, other.m_limits);
    std::swap(m_descriptor, other.m_descriptor);
    std::swap(m_size, other.m_size);
    std::swap(m_position, other.m_position);
    std::swap(m_memory, other.m_memory);
    std::swap(m_buffer, other.m_buffer);
    std::swap(m_bufferStart, other.m_bufferStart);
    return *this;
}

InputFile::~InputFile()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void InputFile::refill()
{
    m_buffer.resize(bufferSize);
    m_bufferStart = m_position;
    m_buffer.resize(readAt(m_descriptor, m_name, m_buffer.data(), bufferSize, m_position));
}

std::size_t InputFile::read(void* target, std::size_t size)
{
    u8* out = static_cast<u8*>(target);
    const u64 left = m_position < m_size ? m_size - m_position : 0;
    size = std::size_t(std::min<u64>(size, left));
    if (m_memory) {
        if (size > 0)
            std::memcpy(out, m_memory + m_position, size);
        m_position += size;
        return size;
    }
    std::size_t done = 0;
    while (done < size) {
        const bool isBuffered =
            m_position >= m_bufferStart && m_position < m_bufferStart + m_buffer.size();
        std::size_t count = 0;
        if (isBuffered) {
            const std::size_t at = std::size_t(m_position - m_bufferStart);
            count = std::min(size - done, m_buffer.size() - at);
            std::memcpy(out + done, m_buffer.data() + at, count);
        } else if (size - done >= bufferSize) {
            count = readAt(m_descriptor, m_name, out + done, size - done, m_position);
        } else {
            refill();
            if (!m_buffer.empty())
                continue;
        }
        if (count == 0)
            break; // the file became shorter since it was opened
        done += count;
        m_position += count;
    }
    return done;
}

void InputFile::readExactly(void* target, std::size_t size)
{
    if (read(target, size) != size)
        fail("ends too early");
}

std::vector<u8> InputFile::readAll()
{
    if (m_memory)
        return std::vector<u8>(m_memory, m_memory + m_size);
    std::vector<u8> bytes(m_size);
    if (readAt(m_descriptor, m_name, bytes.data(), bytes.size(), 0) != bytes.size())
        fail("became shorter while it was read");
    return bytes;
}

void InputFile::fail(std::string_view cause) const
{
    throw InputError(m_name, cause);
}

} // namespace io
