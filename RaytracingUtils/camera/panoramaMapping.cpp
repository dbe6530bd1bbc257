#include "camera/panoramaMapping.h"

#include "camera/znRTEnvironmentLens.h"

#include <cmath>

namespace {

const float pi = 3.14159265f;

znFloatType<2> fraction(znFloatType<2> x)
{
    return x - floor(x);
}

znIntType<2> selectFace(znFloatType<2> mask, int face, znIntType<2> other)
{
    return select(asInt(mask), znIntType<2>(face), other);
}

/// Top and bottom, or side by side, or one eye alone.
void chooseEye(int layout, const znFloatType<2>& a, const znFloatType<2>& b,
               znRTPanoramaChoice& choice)
{
    const znFloatType<2> half(0.5f), two(2.0f);
    switch (layout) {
    case znRTEnvironmentLens::topAndBottom:
        choice.isRightEye = b >= half;
        choice.foldB = choice.isRightEye & half;
        choice.scaleB = two;
        break;
    case znRTEnvironmentLens::sideBySide:
        choice.isRightEye = a < half;
        choice.foldA = andNot(choice.isRightEye, half);
        choice.scaleA = two;
        break;
    case znRTEnvironmentLens::rightOnly:
        choice.isRightEye = znFloatType<2>::allLanes();
        break;
    default:
        break;
    }
}

/// Columns run over the image from the left, so against a.
void chooseVerticalFace(const znFloatType<2>& a, const znFloatType<2>& b,
                        znRTPanoramaChoice& choice)
{
    const znFloatType<2> column = a * 3.0f, row = b * 4.0f;
    const znFloatType<2> isMiddle =
        (column >= znFloatType<2>(1.0f)) & (column < znFloatType<2>(2.0f));
    const znFloatType<2> isSecondRow = (row >= znFloatType<2>(1.0f)) & (row < znFloatType<2>(2.0f));
    const znFloatType<2> isLeft = column >= znFloatType<2>(2.0f);

    choice.isOn = isMiddle | isSecondRow;
    znIntType<2> face = selectFace(isLeft, faceLeft, znIntType<2>(faceRight));
    znIntType<2> middle(faceBehind);
    middle = selectFace(row < znFloatType<2>(3.0f), faceDown, middle);
    middle = selectFace(row < znFloatType<2>(2.0f), faceAhead, middle);
    middle = selectFace(row < znFloatType<2>(1.0f), faceUp, middle);
    choice.face = select(asInt(isMiddle), middle, face);
}

void chooseHorizontalFace(const znFloatType<2>& a, const znFloatType<2>& b,
                          znRTPanoramaChoice& choice)
{
    const znFloatType<2> column = a * 4.0f, row = b * 3.0f;
    const znFloatType<2> isSecondColumn =
        (column >= znFloatType<2>(2.0f)) & (column < znFloatType<2>(3.0f));
    const znFloatType<2> isSecondRow = (row >= znFloatType<2>(1.0f)) & (row < znFloatType<2>(2.0f));

    choice.isOn = isSecondColumn | isSecondRow;
    znIntType<2> face(faceLeft);
    face = selectFace(column < znFloatType<2>(3.0f), faceAhead, face);
    face = selectFace(column < znFloatType<2>(2.0f), faceRight, face);
    face = selectFace(column < znFloatType<2>(1.0f), faceBehind, face);
    const znIntType<2> column2 =
        selectFace(row < znFloatType<2>(1.0f), faceUp, znIntType<2>(faceDown));
    choice.face = select(asInt(isSecondRow), face, column2);
}

/// @param s, t  -1..1 from the face's left to its right, and from its bottom up
/// @param turnsBack  the face behind hangs below the one that looks down, upside down
znRTVector3fPacket faceDirection(const znIntType<2>& face, const znFloatType<2>& s,
                                 const znFloatType<2>& t, bool turnsBack)
{
    const znFloatType<2> one(1.0f);
    const auto is = [&](int which) { return asFloat(face == znIntType<2>(which)); };
    znRTVector3fPacket d(one, s, t);
    d = select(is(faceLeft), znRTVector3fPacket(s, -one, t), d);
    d = select(is(faceRight), znRTVector3fPacket(-s, one, t), d);
    d = select(is(faceUp), znRTVector3fPacket(-t, s, one), d);
    d = select(is(faceDown), znRTVector3fPacket(t, s, -one), d);
    const znRTVector3fPacket behind =
        turnsBack ? znRTVector3fPacket(-one, s, -t) : znRTVector3fPacket(-one, -s, t);
    return select(is(faceBehind), behind, d);
}

/// Middle of a face's cell, in cells, along the axis of a or b.
znFloatType<2> cellMiddle(const znIntType<2>& face, const float (&middles)[6])
{
    znFloatType<2> middle(middles[0]);
    for (int i = 1; i < 6; ++i)
        middle = select(asFloat(face == znIntType<2>(i)), znFloatType<2>(middles[i]), middle);
    return middle;
}

znRTPanoramaRay mapCross(const znRTPanoramaChoice& choice, const znFloatType<2>& a,
                         const znFloatType<2>& b, bool isVertical)
{
    // By face: ahead, left, right, up, down, behind.
    static const float columnsVertical[6] = {1.5f, 2.5f, 0.5f, 1.5f, 1.5f, 1.5f};
    static const float rowsVertical[6] = {1.5f, 1.5f, 1.5f, 0.5f, 2.5f, 3.5f};
    static const float columnsHorizontal[6] = {2.5f, 3.5f, 1.5f, 2.5f, 2.5f, 0.5f};
    static const float rowsHorizontal[6] = {1.5f, 1.5f, 1.5f, 0.5f, 2.5f, 1.5f};
    const znFloatType<2> column =
        a * (isVertical ? 3.0f : 4.0f) -
        cellMiddle(choice.face, isVertical ? columnsVertical : columnsHorizontal);
    const znFloatType<2> row = b * (isVertical ? 4.0f : 3.0f) -
                               cellMiddle(choice.face, isVertical ? rowsVertical : rowsHorizontal);
    return {znRTVector3fPacket(0.0f, 0.0f, 0.0f),
            faceDirection(choice.face, column * -2.0f, row * -2.0f, isVertical).getNormalized()};
}

znRTPanoramaRay mapAngles(const znRTEnvironmentLens& lens, const znRTPanoramaChoice& choice,
                          const znFloatType<2>& a, const znFloatType<2>& b)
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    znFloatType<2> sinPhi, cosPhi;
    sincos(fraction(a - 0.25f) * (2.0f * pi), sinPhi, cosPhi);
    if (lens.lensType == znRTEnvironmentLens::cylindrical)
        return {znRTVector3fPacket(zero, zero, zero),
                znRTVector3fPacket(sinPhi, cosPhi, one - b * 2.0f).getNormalized()};

    znFloatType<2> sinTheta, cosTheta;
    sincos(clamp01(b) * pi, sinTheta, cosTheta);
    const znRTVector3fPacket direction(sinTheta * sinPhi, sinTheta * cosPhi, cosTheta);

    // To the left of the direction of view; the right eye is on the other side. The sign of the
    // offset says the same as the eye and is not needed.
    znFloatType<2> offset(std::fabs(lens.stereoOffset));
    if (lens.lensType == znRTEnvironmentLens::omniDirectionalStereo)
        offset *= clamp01(absolute(sinTheta) * lens.polarMerge);
    offset = offset ^ (choice.isRightEye & znFloatType<2>(-0.0f));
    return {znRTVector3fPacket(offset * cosPhi, -offset * sinPhi, zero), direction.getNormalized()};
}

} // namespace

znRTPanoramaChoice choosePanorama(const znRTEnvironmentLens& lens, const znFloatType<2>& a,
                                  const znFloatType<2>& b)
{
    const znFloatType<2> zero(0.0f), one(1.0f);
    znRTPanoramaChoice choice{znFloatType<2>::allLanes(),
                              lens.isLeftEye ? znFloatType<2>::noLanes()
                                             : znFloatType<2>::allLanes(),
                              zero,
                              zero,
                              one,
                              one,
                              znIntType<2>(faceAhead)};
    switch (lens.lensType) {
    case znRTEnvironmentLens::verticalCross:
        chooseVerticalFace(a, b, choice);
        break;
    case znRTEnvironmentLens::horizontalCross:
        chooseHorizontalFace(a, b, choice);
        break;
    case znRTEnvironmentLens::omniDirectionalStereo:
        choice.isRightEye = znFloatType<2>::noLanes();
        chooseEye(lens.stereoLayout, a, b, choice);
        break;
    default:
        break;
    }
    return choice;
}

znRTPanoramaRay mapPanorama(const znRTEnvironmentLens& lens, const znRTPanoramaChoice& choice,
                            const znFloatType<2>& a, const znFloatType<2>& b)
{
    const znFloatType<2> foldedA = (a - choice.foldA) * choice.scaleA;
    const znFloatType<2> foldedB = (b - choice.foldB) * choice.scaleB;
    if (lens.lensType == znRTEnvironmentLens::verticalCross ||
        lens.lensType == znRTEnvironmentLens::horizontalCross)
        return mapCross(choice, foldedA, foldedB,
                        lens.lensType == znRTEnvironmentLens::verticalCross);
    return mapAngles(lens, choice, foldedA, foldedB);
}
