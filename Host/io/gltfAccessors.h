#pragma once

// Arrays of a glTF file, checked and brought to floats or whole numbers.

#include "io/gltfDocument.h"

namespace io {

struct GltfArray
{
    u32 components = 1; ///< numbers per element
    std::vector<float> values;
    u32 size() const { return u32(values.size() / components); }
    const float* operator[](std::size_t i) const { return values.data() + i * components; }
};

/// Any accessor as floats. Normalised integers become [0, 1] or [-1, 1], others keep their value;
/// sparse entries are applied.
/// @throws GltfFault with the accessor's number
GltfArray readFloats(GltfDocument& document, u64 accessor);
/// As above, with the number of components that the caller needs.
GltfArray readFloats(GltfDocument& document, u64 accessor, u32 components);

/// An accessor of unsigned integers: indices, joint numbers.
/// @param components  numbers per element that the accessor must have
std::vector<u32> readUnsigned(GltfDocument& document, u64 accessor, u32 components);

} // namespace io
