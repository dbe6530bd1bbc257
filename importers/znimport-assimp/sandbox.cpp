#include "sandbox.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define ZN_LOOKS_FOR_LEAKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZN_LOOKS_FOR_LEAKS 1
#endif
#endif
#ifdef ZN_LOOKS_FOR_LEAKS
/// The search for leaks stops the program's threads from a process of its own, which the
/// confinement refuses: it would end every import with a failure.
extern "C" int __lsan_is_turned_off()
{
    return 1;
}
#endif

namespace {

// All rights of the first version of Landlock (Linux 5.13): what is not granted again is gone.
constexpr unsigned long long fileRights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;

void allowReading(int rules, const std::string& path, unsigned long long rights)
{
    const int place = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    if (place < 0)
        return;
    landlock_path_beneath_attr rule{};
    rule.allowed_access = rights;
    rule.parent_fd = place;
    ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    ::close(place);
}

void confineFiles(const std::vector<std::string>& folders, const std::string& file)
{
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = fileRights;
    const int rules =
        int(::syscall(SYS_landlock_create_ruleset, &attributes, sizeof(attributes), 0));
    if (rules < 0)
        return; // a kernel without Landlock
    for (const std::string& folder : folders)
        allowReading(rules, folder, LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR);
    allowReading(rules, file, LANDLOCK_ACCESS_FS_READ_FILE);
    ::syscall(SYS_landlock_restrict_self, rules, 0);
    ::close(rules);
}

constexpr sock_filter load(unsigned offset)
{
    return {BPF_LD | BPF_W | BPF_ABS, 0, 0, offset};
}
constexpr sock_filter answer(unsigned value)
{
    return {BPF_RET | BPF_K, 0, 0, value};
}
/// Goes on with the next instruction when equal, else leaves one out.
constexpr sock_filter whenEqual(unsigned value)
{
    return {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, value};
}

/// Refuses calls that start something or talk to something. New threads share the address space and
/// are allowed; clone3 passes its flags in memory, where no filter sees them, so the C library is
/// told that there is none and takes clone.
void confineCalls()
{
#ifdef __x86_64__
    constexpr unsigned refused = SECCOMP_RET_ERRNO | EPERM;
    constexpr unsigned callOffset = offsetof(seccomp_data, nr);
    constexpr unsigned flagsOffset = offsetof(seccomp_data, args);
    const sock_filter program[] = {
        load(offsetof(seccomp_data, arch)),
        {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, AUDIT_ARCH_X86_64},
        answer(SECCOMP_RET_KILL_PROCESS),
        load(callOffset),
        // The other numbering of calls on the same machine.
        {BPF_JMP | BPF_JGE | BPF_K, 0, 1, 0x40000000},
        answer(refused),
        whenEqual(SYS_execve),
        answer(refused),
        whenEqual(SYS_execveat),
        answer(refused),
        whenEqual(SYS_fork),
        answer(refused),
        whenEqual(SYS_vfork),
        answer(refused),
        whenEqual(SYS_socket),
        answer(refused),
        whenEqual(SYS_socketpair),
        answer(refused),
        whenEqual(SYS_connect),
        answer(refused),
        whenEqual(SYS_ptrace),
        answer(refused),
        whenEqual(SYS_io_uring_setup),
        answer(refused),
        whenEqual(SYS_clone3),
        answer(SECCOMP_RET_ERRNO | ENOSYS),
        {BPF_JMP | BPF_JEQ | BPF_K, 1, 0, SYS_clone},
        answer(SECCOMP_RET_ALLOW),
        load(flagsOffset),
        {BPF_JMP | BPF_JSET | BPF_K, 1, 0, CLONE_THREAD},
        answer(refused),
        answer(SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {sizeof(program) / sizeof(program[0]),
                               const_cast<sock_filter*>(program)};
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0);
#endif
}

bool canOpen(const char* path, int flags)
{
    const int descriptor = ::open(path, flags | O_CLOEXEC, 0600);
    if (descriptor >= 0)
        ::close(descriptor);
    return descriptor >= 0;
}

bool canConnect()
{
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor >= 0)
        ::close(descriptor);
    return descriptor >= 0;
}

bool canFork()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    if (child > 0)
        ::waitpid(child, nullptr, 0);
    return child > 0;
}

/// There is no such program; a confined process does not even learn that.
bool canExecute()
{
    char* const nothing[] = {nullptr};
    ::execve("/proc/self/exe/none", nothing, nothing);
    return errno != EPERM;
}

} // namespace

void confine(const std::vector<std::string>& folders, const std::string& file)
{
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    confineFiles(folders, file);
    confineCalls();
}

std::vector<std::string> openDoors()
{
    std::vector<std::string> doors;
    if (canOpen("/etc/passwd", O_RDONLY))
        doors.push_back("read");
    if (canOpen("/tmp/znimport-probe", O_WRONLY | O_CREAT | O_EXCL))
        doors.push_back("write");
    if (canConnect())
        doors.push_back("connect");
    if (canFork())
        doors.push_back("fork");
    if (canExecute())
        doors.push_back("execute");
    return doors;
}
