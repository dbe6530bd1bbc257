#pragma once

// Kinds of primitives and of trees, as intersectors are created with them.

/// What the leaves of a tree hold.
enum class GeometryType { triangles = 0, surfaceFragments = 1, lines = 2, points = 3 };

/// Which traverser an intersector gets: a tree over intersectors (shells), else one over
/// primitives.
enum class AcceleratorType { primitives = 0, intersectors = 4 };
