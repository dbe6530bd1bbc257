#include "brdf/analytic/znRTMatrixWardBRDF.h"

#include "brdf/analytic/phongWidth.h"
#include "brdf/znRTBxDFAttributes.h"
#include "core/rayTypes.h"

/// A pair of directions with the Gaussian of the slope half way between them.
template <int PerLane>
struct znRTMatrixWardBRDF<PerLane>::Gauss
{
    Gauss(const znRTMatrixWardBRDF& lobe, const znRTVector3fPacket& wo,
          const znRTVector3fPacket& wi, const znRTDifferentialGeometry& dg)
    {
        const znFloatType<2> zero(0.0f);
        norm = lobe.invPiAB;
        znFloatType<2> m00(lobe.inverse00), m01(lobe.inverse01), m11(lobe.inverse11);
        if constexpr (PerLane) {
            if (dg.parameters) {
                const auto lanes = znRTFacetSlopesLanes::fetch<1>(lobe.slopes, dg);
                const znFloatType<2> invX = reciprocalOrZero(lanes.alphaX);
                const znFloatType<2> invY = reciprocalOrZero(lanes.alphaY);
                const znFloatType<2> x2 = square(invX), y2 = square(invY);
                const znFloatType<2> c = lanes.cosRotation, s = lanes.sinRotation;
                norm = invX * invY * lobeMath::invPi;
                m00 = x2 * square(c) + y2 * square(s);
                m01 = (y2 - x2) * c * s;
                m11 = x2 * square(s) + y2 * square(c);
            }
        }
        const znRTVector3fPacket sum = wo + wi;
        invZ = reciprocalOrZero(lobeMath::positive(sum.z));
        const znFloatType<2> x = sum.x * invZ, y = sum.y * invZ;
        squareSecant = square(x) + square(y) + 1.0f;
        gauss = exp(-((m00 * x + m01 * y) * x + (m01 * x + m11 * y) * y)) & (wo.z > zero) &
                (wi.z > zero);
    }

    /// Half of the norm, |s|^2 / z^4, and the Jacobian (1 + wi.z / wo.z) wo.z, which is z: so
    /// written it has no 0 / 0 at grazing views.
    znFloatType<2> pdf() const { return norm * 0.5f * gauss * squareSecant * invZ & isBright(); }
    znFloatType<2> value() const { return norm * gauss * squareSecant * invZ * invZ & isBright(); }

    /// Where the Gaussian has faded, the powers of 1 / z may be infinite.
    znFloatType<2> isBright() const { return gauss > znFloatType<2>(0.0f); }

    znFloatType<2> norm, gauss, invZ;
    znFloatType<2> squareSecant; ///< |s|^2 / z^2
};

template <int PerLane>
znRTMatrixWardBRDF<PerLane>::znRTMatrixWardBRDF()
    : znRTBRDF(s_typeId, lobeType::surfaceSide | lobeType::glossy, rayType::glossyReflection)
{
}

template <int PerLane>
void znRTMatrixWardBRDF<PerLane>::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes);
    if (!record || !slopes.set(record->roughnessX, record->roughnessY, 0.0f))
        return;
    const float a00 = slopes.alphaX * slopes.alphaX, a11 = slopes.alphaY * slopes.alphaY;
    // The root of the determinant, not of the product of both slopes: only so the density
    // integrates to 1.
    const float determinant = a00 * a11;
    invPiAB = lobeMath::invPi / std::sqrt(determinant);
    inverse00 = a11 / determinant;
    inverse01 = 0.0f;
    inverse11 = a00 / determinant;
}

template <int PerLane>
void znRTMatrixWardBRDF<PerLane>::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                                         const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                                         znFloatType<2>& mask) const
{
    constexpr float ln2 = std::numbers::ln2_v<float>;
    const znFloatType<2> one(1.0f);
    const auto lanes = znRTFacetSlopesLanes::fetch<PerLane>(slopes, dg);
    znFloatType<2> sine, cosine;
    sincos(u.y * lobeMath::twoPi, sine, cosine);
    const znFloatType<2> unit = reciprocalSquareRoot(square(sine) + square(cosine));
    const znFloatType<2> x = lanes.alphaX * cosine * unit, y = lanes.alphaY * sine * unit;

    // tan^2 = -ln(1 - u) r2 along the drawn azimuth: the slopes' ellipse has the radius sqrt(r2).
    const znFloatType<2> r2 = square(x) + square(y);
    const znFloatType<2> tan2 = log2(one - u.x) * r2 * -ln2;
    const znFloatType<2> scale = squareRoot(lobeMath::positive(tan2) * reciprocalOrZero(r2));
    const znRTVector3fPacket h =
        lanes.turn(znRTVector3fPacket(x * scale, y * scale, one).getNormalized());
    lobeSampling::reflectAbout(wo, h, wi, mask);
}

template <int PerLane>
znFloatType<2> znRTMatrixWardBRDF<PerLane>::pdf(const znRTVector3fPacket& wo,
                                                const znRTVector3fPacket& wi,
                                                const znRTDifferentialGeometry& dg) const
{
    return Gauss(*this, wo, wi, dg).pdf();
}

template <int PerLane>
znRTColorPacket znRTMatrixWardBRDF<PerLane>::evaluate(const znRTVector3fPacket& wo,
                                                      const znRTVector3fPacket& wi,
                                                      const znRTDifferentialGeometry& dg,
                                                      znFloatType<2>& pdfOut) const
{
    const Gauss gauss(*this, wo, wi, dg);
    pdfOut = gauss.pdf();
    return grey(gauss.value(), 1.0f, pdfOut);
}

template <int PerLane>
void znRTMatrixWardBRDF<PerLane>::prepareParameterLanes(const znRTDifferentialGeometry& dg,
                                                        const znRTRoughnessTextures& textures,
                                                        const znFloatType<2>& mask,
                                                        znRTLobeParameters& block) const
{
    const znFloatType<2> slope = evaluateRoughnessTexture(textures, dg, mask);
    block.setSlopes(slope, slope, mask);
    finishParameterLanes(block);
}

template <int PerLane>
void znRTMatrixWardBRDF<PerLane>::prepareParameterLanes2(const znRTDifferentialGeometry& dg,
                                                         const znRTRoughnessTextures& textures,
                                                         const znFloatType<2>& mask,
                                                         znRTLobeParameters& block) const
{
    block.setSlopes(evaluateRoughnessTexture(textures, dg, mask),
                    evaluateRoughnessTexture2(textures, dg, mask), mask);
    finishParameterLanes(block);
}

template <int PerLane>
znFloatType<2> znRTMatrixWardBRDF<PerLane>::getBlendWeight(const znFloatType<2>&) const
{
    return 0.4f;
}

template <int PerLane>
znRTColorPacket znRTMatrixWardBRDF<PerLane>::rho(const znRTDifferentialGeometry& dg,
                                                 const znRTVector2fPacket& u,
                                                 const znFloatType<2>& lanes) const
{
    if constexpr (PerLane)
        return reflectanceOfLanes(dg, colorFactor);
    return znRTBRDF::rho(dg, u, lanes);
}

template class znRTMatrixWardBRDF<0>;
template class znRTMatrixWardBRDF<1>;
