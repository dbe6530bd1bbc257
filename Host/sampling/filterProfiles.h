#pragma once

// One-dimensional profiles of the separable pixel filters over t = x / radius, 1 at t = 0.
// D. Mitchell, A. Netravali, "Reconstruction Filters in Computer Graphics", SIGGRAPH 1988;
// F. Harris, "On the Use of Windows for Harmonic Analysis", Proc. IEEE 66 (1978).

namespace filterProfiles {

using Profile = float (*)(float t);

/// 1 in (-1, 1]: half open, so that neighbouring pixels share no sample.
float box(float t);
float triangle(float t);
float gaussian(float t);
float mitchell(float t);
float lanczos(float t);
float blackmanHarris(float t);

} // namespace filterProfiles
