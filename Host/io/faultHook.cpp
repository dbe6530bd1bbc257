#include "io/faultHook.h"

#ifdef ZN_FAULT_HOOK

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

namespace io {
namespace {

constexpr int killed = -1, shortened = -2;

struct Fault
{
    std::string call;
    unsigned long number = 0;
    bool andLater = false;
    int effect = 0; ///< error number, killed or shortened
    unsigned long count = 0;
};

std::mutex s_mutex;
bool s_isRead = false;
Fault s_fault;

int effectOf(const std::string& name)
{
    const std::pair<const char*, int> known[] = {
        {"ENOSPC", ENOSPC}, {"EIO", EIO},       {"EDQUOT", EDQUOT}, {"EFBIG", EFBIG},
        {"EINTR", EINTR},   {"EROFS", EROFS},   {"EACCES", EACCES}, {"ENOSYS", ENOSYS},
        {"EPERM", EPERM},   {"EMFILE", EMFILE}, {"KILL", killed},   {"SHORT", shortened}};
    for (const auto& [text, effect] : known)
        if (name == text)
            return effect;
    return 0;
}

/// CALL:NUMBER[+]:EFFECT
Fault parse(const std::string& text)
{
    Fault fault;
    const std::size_t first = text.find(':'), second = text.find(':', first + 1);
    if (first == text.npos || second == text.npos)
        return fault;
    fault.call = text.substr(0, first);
    char* end = nullptr;
    fault.number = std::strtoul(text.c_str() + first + 1, &end, 10);
    fault.andLater = *end == '+';
    fault.effect = effectOf(text.substr(second + 1));
    return fault;
}

int countCall(const char* call)
{
    const std::lock_guard lock(s_mutex);
    if (!s_isRead) {
        const char* const text = secure_getenv("ZN_FAIL");
        s_fault = parse(text ? text : "");
        s_isRead = true;
    }
    if (s_fault.call != call)
        return 0;
    const unsigned long count = ++s_fault.count;
    const bool isHit = s_fault.andLater ? count >= s_fault.number : count == s_fault.number;
    if (isHit && s_fault.effect == killed)
        std::raise(SIGKILL);
    return isHit ? s_fault.effect : 0;
}

} // namespace

int injectedFault(const char* call)
{
    const int effect = countCall(call);
    return effect > 0 ? effect : 0;
}

int injectedFault(const char* call, std::size_t& size)
{
    const int effect = countCall(call);
    if (effect == shortened && size > 1)
        --size;
    return effect > 0 ? effect : 0;
}

void setFault(const char* fault)
{
    const std::lock_guard lock(s_mutex);
    s_fault = parse(fault ? fault : "");
    s_isRead = true;
}

} // namespace io

#endif
