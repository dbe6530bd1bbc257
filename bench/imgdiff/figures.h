#pragma once

// How far two pictures of one size are apart, in figures.

#include "Picture.h"

struct PlainDifference
{
    float largest = 0.0f; ///< of one channel of one pixel
    int x = 0, y = 0;     ///< where it is
    double rootMeanSquare = 0.0;
    std::size_t notFinite = 0; ///< values that are NaN or infinite in one picture alone; they count
                               ///< in neither of the others
};

/// Of values as they are stored.
PlainDifference plainDifference(const Picture& a, const Picture& b);

/// Structural similarity of what a display shows, the mean over all pixels: 1 = the same. Gaussian
/// window of 11 pixels, sigma 1.5, on sRGB-coded luminance. Z. Wang, A. Bovik, H. Sheikh,
/// E. Simoncelli, "Image Quality Assessment: From Error Visibility to Structural Similarity", IEEE
/// Transactions on Image Processing 13(4), 2004.
/// @param a  linear light, 0 to 1
double structuralSimilarity(const Picture& a, const Picture& b);

/// Perceived difference per pixel when the pictures alternate on a screen, 0 to 1. Displays of 67
/// pixels per degree. P. Andersson, J. Nilsson, T. Akenine-Moller, M. Oskarsson, K. Astrom,
/// M. Fairchild, "FLIP: A Difference Evaluator for Alternating Images", HPG 2020. Light above white
/// counts as white.
/// @param reference  linear light, 0 to 1
Plane perceivedDifference(const Picture& reference, const Picture& test);

/// Mean of a plane.
double meanOf(const Plane& plane);
