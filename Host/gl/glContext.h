#pragma once

// Is there an OpenGL to talk to?

/// A context of desktop OpenGL is current on this thread. Loads no library of the window system:
/// a program that made a context has it in memory already.
bool hasCurrentGLContext();
