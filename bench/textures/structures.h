#pragma once

/// What a normal costs by the structure of its surface, beside that of a clean one: a line of JSON
/// each, nanoseconds a packet of four.
/// @return false when a normal is not unit
bool measureStructures(int repeats);
