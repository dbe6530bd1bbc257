#pragma once

// Height texture of a displaced surface. Texels are three floats: R a lower and G an upper bound
// of the height around the texel, B the height itself, so that a march may skip where nothing can
// be hit.
//   level 0   R, G over the 3 x 3 neighbourhood under the wrap modes: every bilinear read of B is
//             within the bilinear read of R and G
//   level k   R, G over the covered texels of level k - 1 and their neighbours, B their mean
//   levelCount  the range of the whole texture in each texel
// Grey images give their value as height, colour images their red channel.

#include "host/znRTTextureSampler.h"

class znRTDisplacementSampler : public znRTSampler2D
{
public:
    /// Reads the image (after setGamma's curve) and builds all levels. Wrap modes must be set
    /// before; a change of wrapMode makes the next call build anew.
    bool prepareData() override;
    /// Builds all levels from heights in rows from t = 0, without an image.
    bool setHeights(int width, int height, const float* heights);
    /// Lowest and highest height of the texture; (0, 0) without data.
    znRTVector2f getRange() const;

private:
    bool build();
    void buildLevel0();
    void buildLevel(int level);

    std::vector<float> sourceHeights; ///< rows from t = 0; kept for another wrap mode
    int sourceWidth = 0;
    int builtWrapMode = -1;
};
