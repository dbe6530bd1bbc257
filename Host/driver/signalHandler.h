#pragma once

// Signals that a program answers by itself.

#include <initializer_list>

/// Lets a function that is safe in signal handlers answer; calls that a signal interrupts go on.
/// Signals that the parent process asked to ignore stay ignored.
void installSignalHandler(std::initializer_list<int> signals, void (*handler)(int));
