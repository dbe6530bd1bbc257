#pragma once

// How selected objects stand out: a tint over their surface, and the edges of their primitives in
// the colour of the selection, a given number of pixels wide at any distance. Hidden edges show
// through what is in front where the settings want that.
//
// It is laid over finished colours, so that an object appears selected without anything being
// prepared for it.

/// Whether an object of the scene is marked; changes between frames. Without one the overlay costs
/// a packet one test.
extern bool s_hasSelection;
