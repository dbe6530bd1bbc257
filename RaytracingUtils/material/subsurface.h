#pragma once

// Light that enters a body at other points and leaves it where it is seen: marble, wax, skin. Rays
// through the neighbourhood of a hit look for points where light enters, and what falls on them
// counts by the profile of znRTBSSRDF.
//
// Points are drawn as in A. King, C. Kulla, A. Conty, M. Fajardo, "BSSRDF Importance Sampling",
// SIGGRAPH Talks 2013: along the normal and along both tangents, with the density of all three, so
// that thin and strongly curved parts stay free of spots.

#include "brdf/analytic/znRTBSSRDF.h"
#include "material/surroundingLight.h"

class znRTBRDFMaterial;
struct znRTHitSurface;

/// Whether light arrives through the body and not through a thin sheet.
bool scattersBelow(const znRTLobeSet& lobes);

/// Light that leaves the body at hits. Bodies are what a node's object consists of, of one
/// material; their surface is closed, or else some of the light is missed. Without the colour of
/// the lobe, 0 outside the lanes of hit.mask.
/// @param surface  its lobe below the surface, the only one of backLobes
void evaluateSubsurface(const znRTLitHit& hit, const znRTBRDFMaterial& material,
                        const znRTHitSurface& surface, znRTColorPacket& direct,
                        znRTColorPacket& ibl, znRTColorPacket& indirect);
