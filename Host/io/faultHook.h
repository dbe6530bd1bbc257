#pragma once

// Failing system calls for tests. A build with ZN_FAULT_HOOK (set by CMake when tests are built)
// counts the calls that the doors make and lets one of them fail:
//   ZN_FAIL=write:17:ENOSPC   the 17th write fails; open openat2 read write fsync close rename
//   ZN_FAIL=write:3+:EIO      the third and all later ones
//   ZN_FAIL=write:2:SHORT     the second writes one byte less than asked
//   ZN_FAIL=rename:1:KILL     the process dies by SIGKILL before the call
// Without the macro the functions are empty and cost nothing.

#include <cstddef>

namespace io {

#ifdef ZN_FAULT_HOOK
/// Counts one call.
/// @return error number with which it must fail, 0 to go on
int injectedFault(const char* call);
/// Counts one write.
/// @param size  lowered by a SHORT fault
int injectedFault(const char* call, std::size_t& size);
/// Replaces what the environment said and starts to count anew; null: no fault.
void setFault(const char* fault);
#else
inline int injectedFault(const char*)
{
    return 0;
}
inline int injectedFault(const char*, std::size_t&)
{
    return 0;
}
inline void setFault(const char*) {}
#endif

} // namespace io
