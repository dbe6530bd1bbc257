#include "host/osg/logStream.h"

#include <atomic>
#include <iostream>

namespace osg {

namespace {
std::atomic<std::ostream*> s_stream{nullptr};
}

std::ostream& logStream()
{
    std::ostream* const stream = s_stream.load();
    return stream ? *stream : std::cout;
}

std::ostream* setLogStream(std::ostream* stream)
{
    std::ostream* const before = s_stream.exchange(stream);
    return before ? before : &std::cout;
}

} // namespace osg
