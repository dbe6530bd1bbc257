#pragma once

// Lights that cannot shine as they are set up. Rendering goes on without what is wrong.

#include <string_view>

class znRTLightBase;

/// One line with the light's name, the first time that a light has a problem.
/// @param problem  what is wrong and what becomes of it
void tellOfLightProblem(const znRTLightBase& light, std::string_view problem);
