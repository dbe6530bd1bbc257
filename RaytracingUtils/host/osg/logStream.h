#pragma once

// The scene graph's own text output, for faults of its data. Standard output unless replaced.

#include <iosfwd>

namespace osg {

std::ostream& logStream();
/// @param stream  null restores standard output
/// @return the stream in force before
std::ostream* setLogStream(std::ostream* stream);

} // namespace osg
