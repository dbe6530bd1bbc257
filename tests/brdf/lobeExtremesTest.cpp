// Parameters at and beyond the ends of their ranges, as materials may hand them over.

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTBSSRDF.h"
#include "brdf/analytic/znRTCookTorranceBRDF.h"
#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTMatrixWardBRDF.h"
#include "brdf/analytic/znRTMinnaertBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTPhongBTDF.h"
#include "brdf/analytic/znRTSpecularBTDF.h"
#include "brdf/analytic/znRTSubstanceGGXBRDF.h"
#include "brdf/analytic/znRTTranslucencyBTDF.h"
#include "brdf/analytic/znRTVelvetyBRDF.h"
#include "brdf/lobeProbe.h"
#include "support/lanes.h"

using reference::Uniform;
using reference::Vector;

namespace {

using LobeList = std::vector<std::unique_ptr<znRTBRDF>>;

/// A fresh lobe of every class.
LobeList everyLobe()
{
    LobeList lobes;
    const auto add = [&]<class... Lobe>() { (lobes.push_back(std::make_unique<Lobe>()), ...); };
    add.operator()<znRTLambertBRDF, znRTDiffuseASBRDF, znRTPhongBRDF<0>, znRTPhongBRDF<1>,
                   znRTIsotropicASBRDF<0>, znRTIsotropicASBRDF<1>, znRTAnisotropicASBRDF<0>,
                   znRTAnisotropicASBRDF<1>, znRTCookTorranceBRDF<0>, znRTCookTorranceBRDF<1>,
                   znRTGGXBRDF<0>, znRTGGXBRDF<1>, znRTSubstanceGGXBRDF, znRTMatrixWardBRDF<0>,
                   znRTMatrixWardBRDF<1>, znRTMinnaertBRDF, znRTVelvetyBRDF, znRTDiffuseFresnelBRDF,
                   znRTTranslucencyBTDF, znRTBSSRDF, znRTSpecularBTDF, znRTPhongBTDF<0>,
                   znRTPhongBTDF2<1>>();
    return lobes;
}

bool isFinite(const znFloatType<2>& x)
{
    return everyLane(absolute(x) < znFloatType<2>(1e34f));
}

/// Draws and evaluates over the hemisphere; nothing may be negative, infinite or NaN.
void expectFinite(const znRTBRDF& lobe)
{
    LobeSetting points(lobeCase("subsurface")); // has an entry point for those who ask
    Uniform uniform(1);
    for (int i = 0; i < 400; ++i) {
        const double degrees = i < 40 ? 90.0 - 0.01 * i : 92.0 * uniform();
        const Vector above = Vector::polar(degrees * reference::pi / 180.0, 7.0 * uniform());
        const Vector wo = i % 2 ? above : Vector{above.x, above.y, -above.z};
        const znFloatType<2> u(uniform(), uniform(), 0.0f, 0.99999994f);
        const znFloatType<2> v(uniform(), 0.0f, 0.99999994f, uniform());
        znRTVector3fPacket wi;
        lobe.sample({u, v}, lanesOf(wo), points.dg, wi);
        znFloatType<2> pdf;
        const znRTColorPacket f = lobe.evaluate(lanesOf(wo), wi, points.dg, pdf);
        const znFloatType<2> deviation = absolute(wi.getSquareLength() - 1.0f);
        ASSERT_TRUE(everyLane(deviation < znFloatType<2>(1e-4f))) << wi.z[0] << " " << wo.z;
        ASSERT_TRUE(isFinite(pdf) && everyLane(pdf >= 0.0f)) << pdf[0] << " " << wo.z;
        ASSERT_TRUE(isFinite(f.r) && everyLane(f.r >= 0.0f)) << f.r[0] << " " << wo.z;
        ASSERT_TRUE(isFinite(f.b) && everyLane(f.b >= 0.0f)) << f.b[0] << " " << wo.z;
    }
}

constexpr float widest = 1e30f;
const float notANumber = std::nanf("");

} // namespace

TEST(LobeExtremes, StayFiniteBeforeAnySetup)
{
    for (const auto& lobe : everyLobe()) {
        SCOPED_TRACE(lobe->getTypeId().getName());
        expectFinite(*lobe);
    }
}

TEST(LobeExtremes, StayFiniteForAnyWidth)
{
    for (const float width : {-1.0f, 0.0f, 1e-12f, 1e-4f, 1.0f, 1e5f, widest, notANumber})
        for (const auto& lobe : everyLobe()) {
            SCOPED_TRACE(testing::Message() << lobe->getTypeId().getName() << " " << width);
            znRTBSDFAttributes record;
            record.setExponents(width, 10.0f);
            lobe->setup(record, 4);
            expectFinite(*lobe);
            record.setSlopes(width, 0.1f);
            record.diffuseRoughness = std::clamp(width, 0.0f, 1.5707964f);
            record.darkening = std::clamp(width, 1.0f, 40.0f);
            record.diffuseShare = width;
            record.anisotropyAngle = std::isnan(width) ? width : 1e4f;
            lobe->setup(record, 4);
            expectFinite(*lobe);
            znRTPhongBTDFAttributes rough;
            rough.exponent = width;
            rough.medium.extinction = width;
            lobe->setup(rough, 4);
            expectFinite(*lobe);
        }
}

TEST(LobeExtremes, StayFiniteForAnyFresnelTerm)
{
    for (unsigned table = 0; table <= 255; table += table < 22 ? 1 : 233)
        for (const float reflectance : {0.0f, 1.0f, 3.0f, notANumber})
            for (const auto& lobe : everyLobe()) {
                SCOPED_TRACE(testing::Message() << lobe->getTypeId().getName() << " " << table);
                znRTBSDFAttributes record;
                record.fresnelTable = table;
                record.reflectance = reflectance;
                record.useSchlick = table % 2;
                lobe->setup(record, 4);
                expectFinite(*lobe);
            }
}

TEST(LobeExtremes, StayFiniteForAnyIndices)
{
    for (const float inside : {0.0f, 1e-3f, 1.0f, 100.0f, 1e10f, notANumber})
        for (const float outside : {0.0f, 1.0f, 100.0f, notANumber})
            for (const auto& lobe : everyLobe()) {
                SCOPED_TRACE(testing::Message() << lobe->getTypeId().getName() << " " << inside);
                znRTPhongBTDFAttributes rough;
                rough.indices.indexA = inside;
                rough.indices.indexB = outside;
                lobe->setup(rough, 4);
                expectFinite(*lobe);
                znRTSpecularBTDFAttributes smooth;
                smooth.indices = rough.indices;
                lobe->setup(smooth, 4);
                expectFinite(*lobe);
            }
}

TEST(LobeExtremes, StayFiniteForAnyMetallicSurface)
{
    for (const float roughness : {0.0f, 1.0f, notANumber})
        for (const float anisotropy : {0.0f, 1.0f, 2.0f, notANumber}) {
            znRTSubstanceAttributes record;
            record.roughness = roughness;
            record.anisotropyLevel = anisotropy;
            record.metallic = anisotropy;
            record.specularLevel = roughness;
            record.baseColor.y = anisotropy;
            znRTSubstanceGGXBRDF glossy;
            glossy.setup(record, 4);
            expectFinite(glossy);
            znRTDiffuseFresnelBRDF diffuse;
            diffuse.setup(record, 4);
            expectFinite(diffuse);
        }
}
