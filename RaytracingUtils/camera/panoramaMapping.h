#pragma once

// Where the rays of a panorama go. A mapping is taken in two steps, so that the neighbours of a ray
// follow the choice of the ray itself (which eye, which face of a cube) across the seams of the
// image.

#include "core/znRTVector3fPacket.h"

class znRTEnvironmentLens;

/// The choices of four places, one per lane.
struct znRTPanoramaChoice
{
    znFloatType<2> isOn;         ///< mask: the place shows something
    znFloatType<2> isRightEye;   ///< mask, for stereo
    znFloatType<2> foldA, foldB; ///< what is taken off a and b before they are scaled
    znFloatType<2> scaleA, scaleB;
    znIntType<2> face; ///< of a cube, see znRTPanoramaFace
};

enum znRTPanoramaFace : int { faceAhead, faceLeft, faceRight, faceUp, faceDown, faceBehind };

struct znRTPanoramaRay
{
    znRTVector3fPacket origin;    ///< from the camera, lens frame
    znRTVector3fPacket direction; ///< lens frame, unit
};

znRTPanoramaChoice choosePanorama(const znRTEnvironmentLens& lens, const znFloatType<2>& a,
                                  const znFloatType<2>& b);
znRTPanoramaRay mapPanorama(const znRTEnvironmentLens& lens, const znRTPanoramaChoice& choice,
                            const znFloatType<2>& a, const znFloatType<2>& b);
