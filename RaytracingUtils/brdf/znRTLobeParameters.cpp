#include "brdf/znRTLobeParameters.h"

void znRTLobeParameters::setExponents(znFloatType<2> eU, znFloatType<2> eV, znFloatType<2> lanes)
{
    const znFloatType<2> u = clamp(eU, 0.0f, lobeMath::maxExponent);
    const znFloatType<2> v = clamp(eV, 0.0f, lobeMath::maxExponent);
    const znFloatType<2> u1 = u + 1.0f, u2 = u + 2.0f, v1 = v + 1.0f, v2 = v + 2.0f;
    exponent = select(lanes, u, exponent);
    exponentV = select(lanes, v, exponentV);
    invExponentPlusOne = select(lanes, reciprocalOrZero(u1), invExponentPlusOne);
    pdfNorm = select(lanes, u1 * lobeMath::invTwoPi, pdfNorm);
    evalNorm = select(lanes, u2 * lobeMath::invTwoPi, evalNorm);
    pdfNorm2 = select(lanes, squareRoot(u1 * v1) * lobeMath::invTwoPi, pdfNorm2);
    evalNorm2 = select(lanes, squareRoot(u2 * v2) * lobeMath::invTwoPi, evalNorm2);
    level = select(lanes, lobeMath::environmentLevel(squareRoot(u * v)), level);
    mask |= lanes;
}

void znRTLobeParameters::setSlopes(znFloatType<2> aX, znFloatType<2> aY, znFloatType<2> lanes)
{
    const znFloatType<2> x = clamp(aX, lobeMath::minSlope, 1.0f);
    const znFloatType<2> y = clamp(aY, lobeMath::minSlope, 1.0f);
    alphaX = select(lanes, x, alphaX);
    alphaY = select(lanes, y, alphaY);
    setTurn(1.0f, 0.0f, lanes);
    diffuseRoughness =
        select(lanes, znFloatType<2>(0.5f) * (squareRoot(x) + squareRoot(y)), diffuseRoughness);
    slopeMask |= lanes;
}

void znRTLobeParameters::setRotation(znFloatType<2> radians, znFloatType<2> lanes)
{
    znFloatType<2> sine, cosine;
    sincos(-radians, sine, cosine);
    // The squares of the fast pair miss 1 by up to 4e-4, which would scale the slopes.
    const znFloatType<2> scale = reciprocalSquareRoot(sine * sine + cosine * cosine);
    setTurn(cosine * scale, sine * scale, lanes);
}

void znRTLobeParameters::setTurn(znFloatType<2> cosine, znFloatType<2> sine, znFloatType<2> lanes)
{
    cosRotation = select(lanes, cosine, cosRotation);
    sinRotation = select(lanes, sine, sinRotation);
}

void znRTLobeParameters::setReflectance(const znRTColorPacket& color, znFloatType<2> lanes)
{
    f0.maskedUpdate(color, lanes);
    const znFloatType<2> mean = (color.r + color.g + color.b) * (1.0f / 3.0f);
    reflectance = select(lanes, mean, reflectance);
    reflectanceMask |= lanes;
}

void znRTLobeParameters::maskedUpdate(const znRTLobeParameters& other, znFloatType<2> lanes)
{
    static_assert(sizeof(znRTLobeParameters) % sizeof(znFloatType<2>) == 0);
    // Packets through and through: one loop instead of a list that a new field could miss.
    auto* const target = reinterpret_cast<znFloatType<2>*>(this);
    const auto* const source = reinterpret_cast<const znFloatType<2>*>(&other);
    for (std::size_t i = 0; i < sizeof(znRTLobeParameters) / sizeof(znFloatType<2>); ++i)
        target[i] = select(lanes, source[i], target[i]);
}
