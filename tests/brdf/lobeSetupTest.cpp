// What lobes take over from records, and when they rebuild what derives from it.

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTMatrixWardBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/lobeProbe.h"
#include "support/lanes.h"

using namespace lobeProbe;

namespace {

/// Opens the cache of a lobe, to see whether setup touches it.
struct OpenLambert : znRTLambertBRDF
{
    using znRTLambertBRDF::termA;
};
struct OpenPhong : znRTPhongBRDF<0>
{
    using znRTPhongBRDF<0>::width;
};
struct OpenDiffuseAS : znRTDiffuseASBRDF
{
    using znRTDiffuseASBRDF::layeredWeight;
};
struct OpenAnisotropic : znRTAnisotropicASBRDF<0>
{
    using znRTAnisotropicASBRDF<0>::pdfNorm;
};
struct OpenWard : znRTMatrixWardBRDF<0>
{
    using znRTMatrixWardBRDF<0>::invPiAB;
};

/// A marker in the cache outlives a setup with the same record, and not one with another.
template <class Lobe, class Record>
void expectWorkOnlyForChanges(float& (*cache)(Lobe&), const Record& record, const Record& other)
{
    Lobe lobe;
    lobe.setup(record, 4);
    const float derived = cache(lobe);
    cache(lobe) = -5.0f;
    lobe.setup(record, 4);
    EXPECT_EQ(cache(lobe), -5.0f);
    lobe.setup(other, 4);
    EXPECT_NE(cache(lobe), -5.0f);
    lobe.setup(record, 4);
    EXPECT_EQ(cache(lobe), derived);
}

} // namespace

TEST(LobeSetup, DoesNothingForTheParametersItHas)
{
    znRTBSDFAttributes facets, other;
    facets.diffuseRoughness = 0.3f;
    facets.reflectance = 0.3f;
    expectWorkOnlyForChanges<OpenLambert>([](OpenLambert& l) -> float& { return l.termA; }, facets,
                                          other);
    expectWorkOnlyForChanges<OpenPhong>([](OpenPhong& l) -> float& { return l.width.evalNorm; },
                                        exponents(20, 20), exponents(30, 30));
    expectWorkOnlyForChanges<OpenDiffuseAS>(
        [](OpenDiffuseAS& l) -> float& { return l.layeredWeight; }, facets, other);
    expectWorkOnlyForChanges<OpenAnisotropic>(
        [](OpenAnisotropic& l) -> float& { return l.pdfNorm; }, exponents(20, 30),
        exponents(30, 20 + 10.5f));
    expectWorkOnlyForChanges<OpenWard>([](OpenWard& l) -> float& { return l.invPiAB; },
                                       slopes(0.5f, 0.5f), slopes(0.6f, 0.5f));
}

// Even an exponent of 0, which a zeroed cache would take for its own.
TEST(LobeSetup, BuildsAllCachesTheFirstTime)
{
    znRTPhongBRDF<0> lobe;
    lobe.setup(exponents(0.0f, 0.0f), 4);
    EXPECT_NEAR(lobe.getWidth().evalNorm, 1.0f / reference::pi, 1e-6);
    EXPECT_NEAR(lobe.getWidth().pdfNorm, 0.5f / reference::pi, 1e-6);
    EXPECT_EQ(lobe.getWidth().invExponentPlusOne, 1.0f);
    lobe.setup(exponents(1e9f, 0.0f), 4);
    EXPECT_EQ(lobe.getWidth().exponent, 1e5f);
}

TEST(LobeSetup, LeavesALobeAloneForARecordOfAnotherClass)
{
    const znRTSpecularBTDFAttributes strange;
    for (const LobeCase& c : lobeCases()) {
        if (c.name == "orenNayar")
            continue; // it becomes smooth, see below
        const LobeSetting setting(c);
        const znRTVector3fPacket wo = lanesOf(viewer(c, 40.0));
        znRTVector3fPacket wi;
        setting.lobe->sample({0.3f, 0.4f}, wo, setting.dg, wi);
        const float before = setting.lobe->evaluate(wo, wi, setting.dg).r[0];
        setting.lobe->setup(strange, 4);
        EXPECT_EQ(setting.lobe->evaluate(wo, wi, setting.dg).r[0], before) << c.name;
        EXPECT_GT(before, 0.0f) << c.name;
    }
}
