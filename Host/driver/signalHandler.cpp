#include "driver/signalHandler.h"

#include <csignal>

void installSignalHandler(std::initializer_list<int> signals, void (*handler)(int))
{
    for (const int signal : signals) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }
}
