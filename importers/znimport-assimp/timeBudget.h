#pragma once

// How long an import may take for the bytes it has opened. A damaged file of a few hundred bytes
// can keep the import library busy for ever; a large one is given its time.

#include "io/Limits.h"

/// Ends the program with one error line once it has taken more processor time than ten seconds and
/// one more per 100 kB opened: some fifty times what sound files take. Does nothing when the user
/// set a limit; that one is in force already.
void limitTime(const io::Limits& limits);

/// Adds the time of a file.
/// @param size  bytes
void addTimeFor(u64 size);
