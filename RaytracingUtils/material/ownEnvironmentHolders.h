#pragma once

// Materials that point to the light of an environment of their own, copies included, so that nobody
// is left with a light that goes. Safe on any thread.

class znRTInfiniteAreaLight;
class znRTMaterial;

namespace ownEnvironmentHolders {

void add(znRTMaterial& material);
void remove(znRTMaterial& material);
/// Lets all that point to a light forget it.
void forget(const znRTInfiniteAreaLight* light);

} // namespace ownEnvironmentHolders
