#include "brdf/znRTBRDF.h"

#include "brdf/analytic/znRTLambertBRDF.h"
#include "brdf/analytic/znRTPassThroughBTDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTSpecularBRDF.h"
#include "brdf/lobeCases.h"
#include "brdf/znRTFresnelOP.h"
#include "brdf/znRTRoughnessTextures.h"
#include "support/lanes.h"

#include <cstring>
#include <thread>

namespace {

/// A lobe that answers with constants and counts who asked.
class Probe : public znRTBRDF
{
public:
    static inline const znRTTypeId s_typeId{"Probe"};

    explicit Probe(unsigned typeFlags) : znRTBRDF(s_typeId, typeFlags, 0) {}

    void setup(const znRTBxDFAttributes&, unsigned count) override { setSampleCount(count); }
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x * 2.0f; }

    using znRTBRDF::evaluate;
    using znRTBRDF::pdf;
    using znRTBRDF::sample;
    void sample(const znRTVector2fPacket&, const znRTVector3fPacket& wo,
                const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                znFloatType<2>& mask) const override
    {
        ++samples;
        EXPECT_EQ(moveMask(mask), 0);
        wi = wo;
        mask = expandLanes(0b0011);
    }
    znFloatType<2> pdf(const znRTVector3fPacket&, const znRTVector3fPacket&,
                       const znRTDifferentialGeometry&) const override
    {
        ++densities;
        return 0.25f;
    }
    znRTColorPacket evaluate(const znRTVector3fPacket&, const znRTVector3fPacket&,
                             const znRTDifferentialGeometry&, znFloatType<2>& pdfOut) const override
    {
        ++evaluations;
        pdfOut = 0.25f;
        return znRTColorPacket(0.5f);
    }

    mutable int samples = 0, densities = 0, evaluations = 0;
};

/// The base class as it is, with what has to be there.
class Bare : public znRTBRDF
{
public:
    static inline const znRTTypeId s_typeId{"Bare"};

    Bare() : znRTBRDF(s_typeId, 1, 0) {}
    void setup(const znRTBxDFAttributes&, unsigned) override {}
    znFloatType<2> convertExponent(const znFloatType<2>& x) const override { return x; }
};

/// Texels that stand still.
class ConstantTextures : public znRTRoughnessTextures
{
public:
    znFloatType<2> getGlossiness(const znRTDifferentialGeometry&,
                                 const znFloatType<2>&) const override
    {
        return {0.0f, 0.25f, 0.5f, 1.0f};
    }
    znFloatType<2> getAnisotropy(const znRTDifferentialGeometry&,
                                 const znFloatType<2>&) const override
    {
        return {1.0f, 0.5f, 0.25f, 0.0f};
    }
};

const znRTDifferentialGeometry dg{};
const znRTVector3fPacket up(0.0f, 0.0f, 1.0f);

} // namespace

// Users hold the interface by its table of virtual functions, after the destructor's two entries. A
// pointer to a virtual member is the offset of its entry plus 1 (Itanium C++ ABI, 2.3).
TEST(LobeInterface, KeepsTheOrderOfItsOperations)
{
    const auto slotOf = [](auto member) {
        std::ptrdiff_t offset = 0;
        static_assert(sizeof(member) >= sizeof(offset));
        std::memcpy(&offset, &member, sizeof(offset));
        return (offset - 1) / std::ptrdiff_t(sizeof(void*));
    };
    using B = znRTBRDF;
    using F = const znFloatType<2>&;
    using V = const znRTVector3fPacket&;
    using U = const znRTVector2fPacket&;
    using D = const znRTDifferentialGeometry&;
    using R = znFloatType<2>;
    using Color = znRTColorPacket;
    const std::ptrdiff_t lobe[] = {
        slotOf(&B::getFresnel),
        slotOf(&B::setPhotonData),
        slotOf(&B::setup),
        slotOf(static_cast<R (B::*)(unsigned, U, V, D, znRTVector3fPacket&) const>(&B::sample)),
        slotOf(static_cast<R (B::*)(U, V, D, znRTVector3fPacket&) const>(&B::sample)),
        slotOf(static_cast<void (B::*)(U, V, D, znRTVector3fPacket&, R&) const>(&B::sample)),
        slotOf(static_cast<R (B::*)(unsigned, V, V, D) const>(&B::pdf)),
        slotOf(static_cast<R (B::*)(V, V, D) const>(&B::pdf)),
        slotOf(static_cast<Color (B::*)(unsigned, V, V, D, R&) const>(&B::evaluate)),
        slotOf(static_cast<Color (B::*)(unsigned, V, V, D) const>(&B::evaluate)),
        slotOf(static_cast<Color (B::*)(V, V, D, R&) const>(&B::evaluate)),
        slotOf(static_cast<Color (B::*)(V, V, D) const>(&B::evaluate)),
        slotOf(&B::evaluateSplit),
        slotOf(&B::getReflectionWeight),
        slotOf(&B::getTransmissionWeightA),
        slotOf(&B::getTransmissionWeightB),
        slotOf(&B::convertExponent),
        slotOf(&B::setSampleCount),
        slotOf(&B::getSamplePower),
        slotOf(&B::lerpParameter),
        slotOf(&B::evaluateRoughnessTexture),
        slotOf(&B::evaluateRoughnessTexture2),
        slotOf(&B::prepareParameterLanes),
        slotOf(&B::prepareParameterLanes2),
        slotOf(&B::finishParameterLanes),
        slotOf(&B::getBlendWeight),
        slotOf(&B::rho)};
    std::ptrdiff_t expected = 2;
    for (const std::ptrdiff_t slot : lobe)
        EXPECT_EQ(slot, expected++);

    using T = znRTFresnelOP;
    const std::ptrdiff_t fresnel[] = {slotOf(&T::setRefraction),
                                      slotOf(&T::setReflectance),
                                      slotOf(&T::getApproximateReflectance),
                                      slotOf(&T::getTableIndex),
                                      slotOf(&T::setFromTable),
                                      slotOf(&T::schlick),
                                      slotOf(&T::schlickColor),
                                      slotOf(&T::evaluateColor),
                                      slotOf(&T::dielectricExact),
                                      slotOf(static_cast<R (T::*)(F) const>(&T::dielectric)),
                                      slotOf(static_cast<R (T::*)(F, F) const>(&T::dielectric)),
                                      slotOf(&T::dielectricColor),
                                      slotOf(&T::conductor),
                                      slotOf(&T::conductorColor),
                                      slotOf(&T::setReflectanceColor)};
    expected = 2;
    for (const std::ptrdiff_t slot : fresnel)
        EXPECT_EQ(slot, expected++);
}

TEST(LobeInterface, GivesNothingByItself)
{
    const Bare bare;
    znRTVector3fPacket wi;
    znFloatType<2> pdf;
    EXPECT_EQ(moveMask(bare.sample({0.5f, 0.5f}, up, dg, wi)), 0);
    EXPECT_LANES_EQ(wi.z, 1, 1, 1, 1);
    EXPECT_LANES_EQ(bare.pdf(up, up, dg), 0, 0, 0, 0);
    EXPECT_LANES_EQ(bare.evaluate(up, up, dg, pdf).r, 0, 0, 0, 0);
    EXPECT_LANES_EQ(pdf, 0, 0, 0, 0);
    EXPECT_EQ(bare.getFresnel(), nullptr);
    EXPECT_LANES_EQ(bare.getBlendWeight(0.3f), 0.5f, 0.5f, 0.5f, 0.5f);
    EXPECT_FALSE(bare.isDelta());
    EXPECT_EQ(bare.getSamplePower(), 1.0f);
    // Weights of a blend stay as they were.
    znFloatType<2> weight(0.75f);
    bare.getTransmissionWeightA(1.0f, weight);
    bare.getTransmissionWeightB(1.0f, weight);
    EXPECT_LANES_EQ(weight, 0.75f, 0.75f, 0.75f, 0.75f);
}

TEST(LobeInterface, ForwardsItsShortFormsToTheLongOnes)
{
    const Probe probe(lobeType::glossy);
    znRTVector3fPacket wi;
    znFloatType<2> pdf;
    EXPECT_EQ(moveMask(probe.sample({0.5f, 0.5f}, up, dg, wi)), 3);
    EXPECT_EQ(moveMask(probe.sample(2, {0.5f, 0.5f}, up, dg, wi)), 3);
    EXPECT_EQ(probe.samples, 2);
    EXPECT_EQ(probe.pdf(2, up, up, dg)[0], 0.25f);
    EXPECT_EQ(probe.densities, 1);
    EXPECT_EQ(probe.evaluate(2, up, up, dg, pdf).g[0], 0.5f);
    EXPECT_EQ(probe.evaluate(2, up, up, dg).g[0], 0.5f);
    EXPECT_EQ(probe.evaluate(up, up, dg).g[0], 0.5f);
    EXPECT_EQ(probe.evaluations, 3);
}

TEST(LobeInterface, DoesNotAskALobeThatIsNotMeant)
{
    const Probe glossy(34);
    znFloatType<2> pdf(1.0f);
    znRTVector3fPacket wi;
    for (const unsigned flags : {0u, 1u, 4u, 8u, 16u, 32u, 33u, 64u, 128u}) {
        EXPECT_LANES_EQ(glossy.evaluate(flags, up, up, dg, pdf).r, 0, 0, 0, 0);
        EXPECT_LANES_EQ(pdf, 0, 0, 0, 0);
        EXPECT_LANES_EQ(glossy.pdf(flags, up, up, dg), 0, 0, 0, 0);
        EXPECT_EQ(moveMask(glossy.sample(flags, {0.5f, 0.5f}, up, dg, wi)), 0);
    }
    EXPECT_EQ(glossy.evaluations + glossy.densities + glossy.samples, 0);
}

TEST(LobeInterface, SplitsItsValueByItsType)
{
    znRTColorPacket diffuse, glossy;
    znFloatType<2> pdf;
    Probe(33).evaluateSplit(up, up, dg, diffuse, glossy, pdf);
    EXPECT_EQ(diffuse.r[0], 0.5f);
    EXPECT_EQ(glossy.r[0], 0.0f);
    EXPECT_EQ(pdf[0], 0.25f);
    Probe(34).evaluateSplit(up, up, dg, diffuse, glossy, pdf);
    EXPECT_EQ(diffuse.r[0], 0.0f);
    EXPECT_EQ(glossy.r[0], 0.5f);
    EXPECT_EQ(pdf[0], 0.25f);
    Probe(36).evaluateSplit(up, up, dg, diffuse, glossy, pdf);
    EXPECT_EQ(diffuse.r[0] + glossy.r[0] + pdf[0], 0.0f);
    const Probe both(35);
    both.evaluateSplit(up, up, dg, diffuse, glossy, pdf);
    EXPECT_EQ(diffuse.r[0], 0.5f);
    EXPECT_EQ(glossy.r[0], 0.5f);
    EXPECT_EQ(pdf[0], 0.5f);
    EXPECT_EQ(both.evaluations, 2);
}

TEST(LobeInterface, SaysWhetherItHasADiffusePart)
{
    EXPECT_EQ(Probe(33).getReflectionWeight()[2], 1.0f);
    EXPECT_EQ(Probe(34).getReflectionWeight()[2], 0.0f);
}

TEST(LobeInterface, TakesFewSamplesAsOne)
{
    Probe probe(1);
    for (const unsigned count : {0u, 1u, 3u}) {
        probe.setSampleCount(count);
        EXPECT_EQ(probe.getSampleCount(), 1u);
    }
    for (const unsigned count : {4u, 5u, 100u}) {
        probe.setSampleCount(count);
        EXPECT_EQ(probe.getSampleCount(), count);
    }
}

TEST(LobeInterface, KeepsWhatItsOwnerSets)
{
    Probe probe(1);
    int photons = 0;
    probe.setPhotonData(&photons);
    EXPECT_EQ(probe.getPhotonData(), &photons);
    probe.setType(34, 0xC0);
    EXPECT_EQ(probe.getTypeFlags(), 34u);
    EXPECT_EQ(probe.getOutRayMask(), 0xC0u);
    probe.setColorFactor(znRTColor(0.25f, 0.5f, 0.75f));
    const znRTColorPacket rho = probe.rho(dg, {0.5f, 0.5f}, znFloatType<2>::allLanes());
    EXPECT_LANES_EQ(rho.r, 0.25f, 0.25f, 0.25f, 0.25f);
    EXPECT_LANES_EQ(rho.b, 0.75f, 0.75f, 0.75f, 0.75f);
    EXPECT_LANES_EQ(probe.lerpParameter(2.0f, 4.0f, {0.0f, 0.25f, 0.5f, 1.0f}), 2, 2.5f, 3, 4);
}

// The lobes of a plain material by their names' groups and ray classes.
TEST(LobeTypes, AreTheGroupsThatMaterialsFileThemUnder)
{
    const auto expectType = [](const znRTBRDF& lobe, unsigned flags, unsigned rays, bool isDelta) {
        EXPECT_EQ(lobe.getTypeFlags(), flags) << lobe.getTypeId().getName();
        EXPECT_EQ(lobe.getOutRayMask(), rays) << lobe.getTypeId().getName();
        EXPECT_EQ(lobe.isDelta(), isDelta) << lobe.getTypeId().getName();
    };
    expectType(znRTLambertBRDF(), 33, 48, false);
    expectType(znRTPhongBRDF<0>(), 34, 192, false);
    expectType(znRTPhongBRDF<1>(), 34, 192, false);
    expectType(znRTPassThroughBTDF(), 36, 768, true);
    expectType(znRTSpecularBRDF(), 36, 768, true);
    expectType(*lobeCase("translucencyWide").lobe(), 42, 3264, false);
    expectType(*lobeCase("subsurface").lobe(), 161, 48, false);
    expectType(*lobeCase("blend").lobe(), 35, 240, false);
    EXPECT_FALSE(znRTPhongBRDF<0>().isOfType(znRTPhongBRDF<1>::s_typeId));
}

// Texel 0 stands for the minimum, 1 for the maximum; the probe's own unit is twice that.
TEST(RoughnessTextures, FillTheLanesOfTheMaskWithExponents)
{
    ConstantTextures textures;
    textures.minimum = 1.0f;
    textures.maximum = 9.0f;
    const Probe probe(34);
    znRTLobeParameters block{};
    block.clear();
    block.exponent = 7.0f;
    probe.prepareParameterLanes(dg, textures, expandLanes(0b1110), block);
    EXPECT_EQ(moveMask(block.mask), 0b1110);
    EXPECT_LANES_EQ(block.exponent, 7, 6, 10, 18);
    EXPECT_LANES_EQ(block.exponentV, 0, 6, 10, 18);
    probe.prepareParameterLanes2(dg, textures, expandLanes(0b1111), block);
    EXPECT_LANES_EQ(block.exponent, 2, 6, 10, 18);
    EXPECT_LANES_EQ(block.exponentV, 18, 10, 6, 2);
}

// Ranges hold the root of the exponent: (3 + (5 - 3) t)^3.
TEST(RoughnessTextures, GoThroughThePowerOfTheLobe)
{
    ConstantTextures textures;
    textures.minimum = 3.0f;
    textures.maximum = 5.0f;
    znRTPhongBRDF<1> lobe;
    lobe.setSamplePower(3.0f);
    const znFloatType<2> e =
        lobe.evaluateRoughnessTexture(textures, dg, znFloatType<2>::allLanes());
    EXPECT_LANES_NEAR(e, 27.0f, 42.875f, 64.0f, 125.0f, 1e-3f);
}

// Render threads share the lobes; nothing they call may leave a trace.
TEST(Lobes, AnswerManyThreadsAlike)
{
    for (const LobeCase& c : lobeCases()) {
        const LobeSetting setting(c);
        const auto run = [&] {
            reference::Uniform uniform(11);
            double sum = 0.0;
            for (int i = 0; i < 200; ++i) {
                const znRTVector3fPacket wo = lanesOf(viewer(c, 80.0 * uniform()));
                const znFloatType<2> u(uniform()), v(uniform());
                znRTVector3fPacket wi;
                setting.lobe->sample({u, v}, wo, setting.dg, wi);
                znFloatType<2> pdf;
                sum += setting.lobe->evaluate(wo, wi, setting.dg, pdf).r[0] + pdf[0];
            }
            return sum;
        };
        const double alone = run();
        std::vector<double> sums(8);
        std::vector<std::thread> threads;
        for (double& sum : sums)
            threads.emplace_back([&run, &sum] { sum = run(); });
        for (std::thread& thread : threads)
            thread.join();
        for (const double sum : sums)
            EXPECT_EQ(sum, alone) << c.name;
    }
}
