#include "host/znSceneplateDrawable.h"

#include "host/osg/Image.h"

znSceneplateDrawable::znSceneplateDrawable(const osg::Sceneplate& plate)
    : front(plate.getFront()), depth(plate.getOrder()),
      kind(plate.getKind() == image ? image : solid), color(plate.getColor()),
      picture(plate.getImage()), gamma(plate.getGamma()), opacity(plate.getOpacity()),
      keepAspect(plate.getKeepAspect()), visible(plate.getVisible()),
      selectionMask(plate.getSelectionMask())
{
    for (int i = 0; i < 4; ++i) {
        corners[i] = plate.getCorner(i);
        texCoords[i] = plate.getTexCoord(i);
    }
    if (picture && picture->isValid())
        imageAspect = float(picture->getWidth()) / float(picture->getHeight());
}

void znSceneplateDrawable::setViewport(int width, int height, float newOffsetX, float newOffsetY,
                                       float newPixelAspect)
{
    viewportWidth = width;
    viewportHeight = height;
    offsetX = newOffsetX;
    offsetY = newOffsetY;
    pixelAspect = newPixelAspect;
}

std::array<znRTTriangle2D, 2> znSceneplateDrawable::getTriangles() const
{
    std::array<znRTTriangle2D, 2> halves;
    halves[0].setTriangle(corners[0], corners[1], corners[2]);
    halves[1].setTriangle(corners[0], corners[2], corners[3]);
    return halves;
}
