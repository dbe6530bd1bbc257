#include "io/SceneFolder.h"

#include "io/InputError.h"
#include "io/faultHook.h"
#include "io/systemError.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace io {
namespace {

constexpr int readFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
constexpr std::size_t longestReference = 4096;

int hexDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

/// Real path of something that is there; empty with errno if not.
std::string realPath(const std::string& path)
{
    char buffer[PATH_MAX];
    return ::realpath(path.c_str(), buffer) ? buffer : "";
}

bool isBelow(const std::string& path, const std::string& folder)
{
    if (folder == "/")
        return path.size() > 1 && path[0] == '/';
    return path.size() > folder.size() + 1 && path.compare(0, folder.size(), folder) == 0 &&
           path[folder.size()] == '/';
}

/// The part of a path behind a folder that it is below of.
std::string behind(const std::string& path, const std::string& folder)
{
    return path.substr(folder == "/" ? 1 : folder.size() + 1);
}

std::string joined(const std::string& folder, const std::string& name)
{
    return folder == "/" ? "/" + name : folder + "/" + name;
}

/// "http" of "http://host/x"; empty for plain paths, also for "C:\x" (one letter is a drive).
std::string schemeOf(const std::string& reference)
{
    std::size_t length = 0;
    while (length < reference.size() &&
           (std::isalnum(static_cast<unsigned char>(reference[length])) ||
            (length > 0 && std::string_view("+-.").find(reference[length]) != std::string::npos)))
        ++length;
    const bool isScheme = length > 1 && length < reference.size() && reference[length] == ':';
    return isScheme ? reference.substr(0, length) : "";
}

bool hasDrive(const std::string& name)
{
    return name.size() > 2 && std::isalpha(static_cast<unsigned char>(name[0])) && name[1] == ':' &&
           name[2] == '/';
}

std::string withSlashes(std::string name)
{
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

/// @return descriptor, or -1 with errno; ENOSYS where the kernel cannot do it
int openBeneath(int folder, const std::string& relative)
{
    if (const int fault = injectedFault("openat2")) {
        errno = fault;
        return -1;
    }
    struct open_how how
    {
    };
    how.flags = readFlags;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    // EAGAIN: something was renamed while the kernel walked over "..".
    for (int attempt = 0; attempt < 10; ++attempt) {
        const long result = ::syscall(SYS_openat2, folder, relative.c_str(), &how, sizeof(how));
        if (result >= 0 || errno != EAGAIN)
            return int(result);
    }
    return -1;
}

/// The same by comparing real paths, for kernels before 5.6 and sandboxes that forbid the call.
int openCompared(const std::string& folder, const std::string& relative)
{
    const std::string real = realPath(joined(folder, relative));
    if (real.empty())
        return -1;
    if (!isBelow(real, folder)) {
        errno = EXDEV;
        return -1;
    }
    const int descriptor = ::open(real.c_str(), readFlags | O_NOFOLLOW);
    if (descriptor < 0)
        return -1;
    // A folder of the path may have become a link since it was looked at.
    if (isBelow(realPath("/proc/self/fd/" + std::to_string(descriptor)), folder))
        return descriptor;
    ::close(descriptor);
    errno = EXDEV;
    return -1;
}

int openBelow(const std::string& folder, const std::string& relative)
{
    const int folderDescriptor = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folderDescriptor < 0)
        return -1;
    const int descriptor = openBeneath(folderDescriptor, relative);
    const int reason = errno;
    ::close(folderDescriptor);
    errno = reason;
    if (descriptor < 0 && (reason == ENOSYS || reason == EPERM))
        return openCompared(folder, relative);
    return descriptor;
}

} // namespace

/// One search over several spellings and folders: what was opened, or the most telling reason.
struct SceneFolder::Search
{
    int descriptor = -1;
    std::string path;
    int reason = ENOENT;

    bool take(int opened, const std::string& from)
    {
        if (opened >= 0) {
            descriptor = opened;
            path = from;
            return true;
        }
        if (errno != ENOENT && errno != ENOTDIR)
            reason = errno;
        return false;
    }
};

SceneFolder::SceneFolder(const std::string& sceneFile,
                         const std::vector<std::string>& includeFolders, const Limits& limits)
    : m_sceneFile(sceneFile), m_limits(limits)
{
    const std::string folder = std::filesystem::path(sceneFile).parent_path().string();
    addFolder(folder.empty() ? "." : folder);
    for (const std::string& include : includeFolders)
        addFolder(include);
}

void SceneFolder::addFolder(const std::string& path)
{
    const std::string real = realPath(path);
    struct stat status
    {
    };
    if (real.empty() || ::stat(real.c_str(), &status) != 0)
        throw InputError(path, "cannot be used as a folder: " + systemReason(errno));
    if (!S_ISDIR(status.st_mode))
        throw InputError(path, "is not a folder");
    m_folders.push_back(real);
}

void SceneFolder::refuse(const std::string& reference, std::string_view cause) const
{
    throw InputError(m_sceneFile,
                     "refers to '" + printable(reference) + "', " + std::string(cause));
}

void SceneFolder::refuseByName(const std::string& reference, Naming naming) const
{
    if (reference.empty())
        refuse(reference, "which is no name");
    if (reference.find('\0') != reference.npos)
        refuse(reference, "which has a zero byte in it");
    if (reference.size() > longestReference)
        refuse(reference, "which is longer than " + std::to_string(longestReference) + " bytes");
    const std::string scheme = schemeOf(reference);
    const bool isAddress = naming == Naming::uri || scheme == "file" || scheme == "data" ||
                           reference.find("://") != reference.npos;
    if (!scheme.empty() && isAddress)
        refuse(reference, "but '" + scheme +
                              ":' addresses are not followed; name a file below the scene's "
                              "folder, or below a folder allowed with -I DIR");
}

bool SceneFolder::openInside(const std::string& path, Search& search) const
{
    for (const std::string& folder : m_folders)
        if (isBelow(path, folder) && search.take(openBelow(folder, behind(path, folder)), path))
            return true;
    return false;
}

bool SceneFolder::find(const std::string& name, Search& search) const
{
    if (name.find('\0') != name.npos)
        return false;
    if (name[0] == '/') {
        if (openInside(name, search))
            return true;
        if (!realPath(name).empty() && search.reason == ENOENT)
            search.reason = EXDEV;
        return false;
    }
    for (const std::string& folder : m_folders)
        if (search.take(openBelow(folder, name), joined(folder, name)))
            return true;
    // A ".." or a link may lead from one allowed folder into another.
    const std::string plain = joined(m_folders.front(), name);
    const std::string real = realPath(plain);
    if (!real.empty())
        return openInside(real, search);
    return openInside(std::filesystem::path(plain).lexically_normal().string(), search);
}

InputFile SceneFolder::open(const std::string& reference, Naming naming) const
{
    refuseByName(reference, naming);
    const std::string decoded =
        naming == Naming::uri ? percentDecoded(reference) : withSlashes(reference);
    if (decoded.find('\0') != decoded.npos)
        refuse(reference, "which has a zero byte in it");

    Search search;
    std::vector<std::string> spellings = {reference};
    if (decoded != reference)
        spellings.insert(spellings.begin() + (naming == Naming::uri ? 0 : 1), decoded);
    if (naming == Naming::uri && withSlashes(decoded) != decoded)
        spellings.push_back(withSlashes(decoded));
    if (naming == Naming::path && (decoded[0] == '/' || hasDrive(decoded)))
        spellings.push_back(decoded.substr(decoded.rfind('/') + 1));
    for (const std::string& spelling : spellings)
        if (!spelling.empty() && find(spelling, search))
            return InputFile::fromDescriptor(search.descriptor, search.path, m_limits);

    if (search.reason == EXDEV)
        refuse(reference,
               "which lies outside of the scene's folder (allow its folder with -I DIR)");
    if (search.reason == ENOENT)
        refuse(reference, "which is not there (other folders are searched with -I DIR)");
    refuse(reference, "which cannot be opened: " + systemReason(search.reason));
}

bool SceneFolder::exists(const std::string& reference, Naming naming) const
{
    try {
        open(reference, naming);
        return true;
    } catch (const InputError&) {
        return false;
    }
}

std::string percentDecoded(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
        result += low >= 0 ? char(high * 16 + low) : text[i];
        i += low >= 0 ? 2 : 0;
    }
    return result;
}

} // namespace io
