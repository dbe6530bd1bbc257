#pragma once

// The scene archive: a whole graph of field containers in one stream. `convert` writes it,
// importers hand it over through a pipe, ranks of a distributed render start from it.
//
//   bytes 0..7    "ZNSCENE\n"
//   8..11         version, 1
//   12..15        0
//   16..23        bytes of JSON
//   24..31        bytes of binary data
//   JSON          {"root": 0, "containers": [{"type": "Node", "fields": {"core": 1, ...}}, ...]}
//   binary data
//
// Numbers are little endian. Fields come by reflection; those at their default are left out. A
// container is referred to by its place in the list. Byte fields and lists of more than a few
// numbers stand in the binary part: {"blob": [offset, count]}. Links to containers that the root
// does not own, directly or not, become null.

#include "host/osg/FieldContainer.h"
#include "io/InputFile.h"

#include <functional>

namespace io {

/// Takes the next bytes of the stream.
using ByteSink = std::function<void(const void* data, std::size_t size)>;

/// @param root  a node, a scene or any other container; not null
void writeSceneArchive(const osg::FieldContainerPtr& root, const ByteSink& sink);
/// Writes the whole file or nothing.
/// @throws OutputError
void writeSceneArchive(const osg::FieldContainerPtr& root, const std::string& path);

/// Whether the file begins like an archive; the position stays.
bool isSceneArchive(InputFile& file);

/// Builds the graph. Values outside of their field's range and unknown fields are warned of and
/// leave the default; everything else that does not fit is an error, and nothing is built.
/// @throws InputError
osg::Ref<osg::FieldContainer> readSceneArchive(InputFile& file);

} // namespace io
