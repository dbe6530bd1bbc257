// Entry points that libFuzzer calls.

#include "host/znLog.h"
#include "io/InputError.h"
#include "targets.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
const FuzzTarget* s_target = nullptr;
}

/// Takes --target=NAME out of the arguments.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments)
{
    const std::string_view option = "--target=";
    int kept = 0;
    for (int i = 0; i < *count; ++i) {
        char* const argument = (*arguments)[i];
        if (std::string_view(argument).substr(0, option.size()) != option) {
            (*arguments)[kept++] = argument;
            continue;
        }
        for (const FuzzTarget& target : fuzzTargets())
            if (std::strcmp(target.name, argument + option.size()) == 0)
                s_target = &target;
    }
    *count = kept;
    if (!s_target) {
        std::fprintf(stderr, "choose one by --target=NAME:");
        for (const FuzzTarget& target : fuzzTargets())
            std::fprintf(stderr, " %s", target.name);
        std::fprintf(stderr, "\n");
        std::exit(2);
    }
    znLog::setSink([](znLog::Level, const char*) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    try {
        s_target->run({data, size});
    } catch (const io::InputError&) {
        // A refusal with a reason is what a damaged file should get.
    }
    return 0;
}
