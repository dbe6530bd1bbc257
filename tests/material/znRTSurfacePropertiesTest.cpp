#include "material/znRTSurfaceProperties.h"

#include "brdf/analytic/znRTLambertBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTSpecularBRDF.h"
#include "brdf/znRTBxDFAttributes.h"
#include "material/znRTDirectionalImportance.h"
#include "support/lanes.h"

#include <cstring>
#include <map>
#include <numbers>
#include <random>

namespace {

const znFloatType<2> all = expandLanes(15);

znRTColorPacket color(float r, float g, float b)
{
    return znRTColorPacket(znRTColor(r, g, b, 1.0f));
}

class SurfaceProperties : public testing::Test
{
protected:
    SurfaceProperties()
    {
        znRTBSDFAttributes attributes;
        attributes.setExponents(20.0f, 20.0f);
        phong.setup(attributes, 1);
        lambert.setup(attributes, 1);
        // What reset leaves alone must not matter.
        std::memset(static_cast<void*>(surface.groups), 0x5a, sizeof(surface.groups));
        surface.reset();
        dg.shadingNormal = dg.geometricNormal =
            znRTVector3fPacket(0.3f, -0.2f, 0.9f).getNormalized();
        dg.parameters = nullptr;
        frame.set(dg.shadingNormal);
        wo = frame.toWorld(znRTVector3fPacket(0.5f, 0.1f, 0.8f).getNormalized());
    }

    struct Sample
    {
        znRTVector3fPacket wi;
        znRTColorPacket reflectance;
        znFloatType<2> pdf, valid;
        znIntType<2> group, rayMask;
    };
    Sample sample(unsigned flags, znFloatType<2> uChoice, const znRTVector2fPacket& u,
                  znFloatType<2> mask = expandLanes(15)) const
    {
        Sample s;
        s.wi = surface.sampleBRDF(flags, uChoice, u, wo, dg, mask, s.reflectance, s.pdf, s.valid,
                                  s.group, s.rayMask);
        return s;
    }
    znRTVector2fPacket randomPair()
    {
        const float a = number(engine), b = number(engine), c = number(engine), d = number(engine);
        const float e = number(engine), f = number(engine), g = number(engine), h = number(engine);
        return {{a, b, c, d}, {e, f, g, h}};
    }
    znFloatType<2> randomChoice() { return randomPair().x; }

    /// Light that a lobe reflects from everywhere toward the viewer, by the midpoint rule.
    double albedo(const znRTBRDF& lobe) const
    {
        constexpr int rows = 400, columns = 400;
        const znRTVector3fPacket local = frame.toLocal(wo);
        double sum = 0.0;
        for (int i = 0; i < rows; ++i) {
            const double z = (i + 0.5) / rows, r = std::sqrt(1.0 - z * z);
            for (int j = 0; j < columns; j += 4) {
                float x[4], y[4];
                for (int k = 0; k < 4; ++k) {
                    const double phi = 2.0 * std::numbers::pi * (j + k + 0.5) / columns;
                    x[k] = float(r * std::cos(phi));
                    y[k] = float(r * std::sin(phi));
                }
                const znRTVector3fPacket wi({x[0], x[1], x[2], x[3]}, {y[0], y[1], y[2], y[3]},
                                            znFloatType<2>(float(z)));
                znFloatType<2> pdf;
                const znRTColorPacket value = lobe.evaluate(local, wi, dg, pdf);
                for (int k = 0; k < 4; ++k)
                    sum += double(value.r[k]) * z;
            }
        }
        return sum * 2.0 * std::numbers::pi / (double(rows) * columns);
    }

    znRTLambertBRDF lambert;
    znRTPhongBRDF<0> phong;
    znRTSpecularBRDF mirror;
    znRTSurfaceProperties surface;
    znRTDifferentialGeometry dg{};
    znRTONB frame;
    znRTVector3fPacket wo;
    std::mt19937 engine{11};
    std::uniform_real_distribution<float> number{0.0f, 0.9999f};
};

} // namespace

TEST_F(SurfaceProperties, SortLobesIntoGroupsByTheirType)
{
    const std::pair<unsigned, int> types[] = {{33, 0}, {34, 1}, {36, 2},  {42, 3}, {12, 3},
                                              {16, 4}, {48, 4}, {161, 5}, {64, -1}};
    for (const auto& [type, group] : types)
        EXPECT_EQ(znRTSurfaceProperties::getGroup(type), group) << type;
    // The classes of rays that each group scatters, as the words of ray types have them.
    const int classes[] = {0x33, 0xC3, 0x300, 0x3000, 0x30000, 0x33};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(znRTSurfaceProperties::BxDFTypeSelector[i][1], i);
        EXPECT_EQ(znRTSurfaceProperties::getGroup(
                      unsigned(znRTSurfaceProperties::BxDFTypeSelector[i][0])),
                  i);
        EXPECT_EQ(znRTSurfaceProperties::BxDFOutRayType[i], classes[i]);
    }
}

TEST_F(SurfaceProperties, TakeNothingFromAnEmptyRecord)
{
    const Sample s = sample(0xff, 0.5f, {0.5f, 0.5f});
    EXPECT_EQ(moveMask(s.valid), 0);
    EXPECT_LANES_EQ(s.pdf, 0, 0, 0, 0);
    EXPECT_LANES_EQ(s.reflectance.g, 0, 0, 0, 0);
    EXPECT_INT_LANES(s.group, -1, -1, -1, -1);
    EXPECT_EQ(s.wi.getLane(2), dg.shadingNormal.getLane(2));
}

// Two materials shade two lanes each: neither touches what the other one entered.
TEST_F(SurfaceProperties, KeepMaterialsInLanesOfTheirOwnApart)
{
    znRTONB other;
    other.set(znRTVector3fPacket(0.6f, 0.0f, 0.8f));
    const znFloatType<2> first = expandLanes(3), second = expandLanes(12);
    surface.addComponent(lambert, color(0.5f, 0.25f, 0.0f), frame, first, 1.0f, 0.5f, 0.75f);
    surface.addComponent(lambert, color(0.1f, 0.2f, 0.4f), other, second, 0.5f, 0.25f, 0.125f);
    surface.addComponent(phong, color(1.0f, 1.0f, 1.0f), other, second);
    const znRTSurfaceProperties::Group& diffuse = surface.groups[0];
    EXPECT_EQ(diffuse.count, 2u);
    EXPECT_EQ(surface.groups[1].count, 1u);
    EXPECT_EQ(moveMask(diffuse.slots[0].mask), 3);
    EXPECT_EQ(moveMask(diffuse.slots[1].mask), 12);
    EXPECT_EQ(moveMask(diffuse.onbMask), 15);
    EXPECT_EQ(moveMask(surface.activeMask), 15);
    EXPECT_EQ(diffuse.onb.n.getLane(0), frame.n.getLane(0));
    EXPECT_EQ(diffuse.onb.n.getLane(3), other.n.getLane(3));
    EXPECT_LANES_EQ(diffuse.roughness, 0.5f, 0.5f, 0.25f, 0.25f);
    EXPECT_LANES_EQ(diffuse.slots[0].rho, 0.75f, 0.75f, 0.0f, 0.0f);
    EXPECT_LANES_EQ(diffuse.slots[1].rho, 0.0f, 0.0f, 0.125f, 0.125f);
    // Luminance of the colours times rho times weight.
    const float a = (0.2125f * 0.5f + 0.7154f * 0.25f) * 0.75f;
    const float b = (0.2125f * 0.1f + 0.7154f * 0.2f + 0.0721f * 0.4f) * 0.5f * 0.125f;
    EXPECT_LANES_NEAR(surface.selection[0], a, a, b, b, 1e-6f);
    EXPECT_LANES_NEAR(surface.selection[1], 0, 0, 1, 1, 1e-6f);

    const Sample s = sample(lobeType::diffuse, 0.3f, {0.4f, 0.6f});
    EXPECT_EQ(moveMask(s.valid), 15);
    for (int lane = 0; lane < 4; ++lane) {
        const znRTVector3f n = (lane < 2 ? frame : other).n.getLane(lane);
        EXPECT_GT(dot(s.wi.getLane(lane), n), 0.0f) << lane;
    }
    surface.updateColor(0, 1, color(1.0f, 0.0f, 0.0f), expandLanes(4));
    EXPECT_LANES_EQ(diffuse.slots[1].color.g, 0.0f, 0.0f, 0.0f, 0.2f);
    EXPECT_LANES_NEAR(surface.selection[0], a, a, 0.2125f * 0.0625f, b, 1e-6f);
    surface.setColor(0, 0, color(1.0f, 1.0f, 1.0f));
    EXPECT_LANES_NEAR(surface.selection[0], 0.75f, 0.75f, 0.2125f * 0.0625f, b, 1e-6f);
    surface.updateONB(0, frame, expandLanes(8));
    EXPECT_EQ(diffuse.onb.n.getLane(3), frame.n.getLane(3));
    EXPECT_EQ(diffuse.onb.n.getLane(2), other.n.getLane(2));
}

// A stack of layers enters one lobe twice: by mask, as any other value.
TEST_F(SurfaceProperties, EnterALobeThatIsThereByMask)
{
    surface.addComponent(lambert, color(0.5f, 0.5f, 0.5f), frame, expandLanes(7), 1.0f, 1.0f, 0.5f);
    surface.updateComponent(0, 0, lambert, color(0.25f, 0.25f, 0.25f), expandLanes(12), 0.5f, 1.0f,
                            {1.0f, 1.0f, 0.0f, 1.0f});
    const znRTSurfaceProperties::Slot& slot = surface.groups[0].slots[0];
    EXPECT_EQ(surface.groups[0].count, 1u);
    EXPECT_EQ(moveMask(slot.mask), 15);
    EXPECT_EQ(moveMask(slot.deltaMask), 4);
    EXPECT_EQ(moveMask(surface.groups[0].sampleMask), 4);
    EXPECT_LANES_EQ(slot.color.g, 0.5f, 0.5f, 0.25f, 0.25f);
    EXPECT_LANES_EQ(slot.weight, 1.0f, 1.0f, 0.5f, 0.5f);
    EXPECT_LANES_NEAR(surface.selection[0], 0.25f, 0.25f, 0.125f, 0.125f, 1e-6f);

    // A slot has one lobe: another one takes all of it.
    znRTLambertBRDF other;
    surface.updateComponent(0, 0, other, color(1.0f, 1.0f, 1.0f), expandLanes(1), 1.0f, 1.0f, 1.0f);
    EXPECT_EQ(slot.lobe, &other);
    EXPECT_EQ(moveMask(slot.mask), 1);
    EXPECT_EQ(moveMask(surface.groups[0].sampleMask), 0);
    EXPECT_LANES_NEAR(surface.selection[0], 1, 0, 0, 0, 1e-6f);
}

// Each lobe of a group has a share of its own: a change of one colour leaves the others' light.
TEST_F(SurfaceProperties, ChooseByTheShareOfEachLobeAfterAChangeOfColour)
{
    surface.addComponent(lambert, color(1.0f, 1.0f, 1.0f), frame, all, 1.0f, 1.0f, 0.125f);
    surface.updateComponent(0, 1, lambert, color(0.5f, 0.5f, 0.5f), all, 1.0f, 1.0f, 1.0f);
    surface.setColor(0, 0, color(0.0f, 0.0f, 0.0f));
    EXPECT_LANES_NEAR(surface.selection[0], 0.5f, 0.5f, 0.5f, 0.5f, 1e-6f);
    surface.setColor(0, 1, color(0.0f, 0.0f, 0.0f));
    EXPECT_LANES_NEAR(surface.selection[0], 0, 0, 0, 0, 1e-6f);
}

TEST_F(SurfaceProperties, ReplaceAGroupByItsFirstLobe)
{
    surface.addComponent(lambert, color(1, 1, 1), frame, all);
    surface.addComponent(lambert, color(1, 1, 1), frame, all);
    surface.setComponent(0, 0, lambert, color(0.5f, 0.5f, 0.5f), frame, expandLanes(1), 1.0f, 1.0f,
                         1.0f, 1.0f);
    EXPECT_EQ(surface.groups[0].count, 1u);
    EXPECT_EQ(moveMask(surface.groups[0].slots[0].mask), 1);
    EXPECT_EQ(moveMask(surface.groups[0].onbMask), 1);
    EXPECT_LANES_NEAR(surface.selection[0], 0.5f, 0, 0, 0, 1e-6f);
}

TEST_F(SurfaceProperties, IgnoreSlotsThatAreNotThere)
{
    for (int i = 0; i < 6; ++i)
        surface.addComponent(lambert, color(0.1f, 0.1f, 0.1f), frame, all);
    EXPECT_EQ(surface.groups[0].count, 4u);
    surface.updateComponent(0, 4, lambert, color(1, 1, 1), all, 1.0f, 1.0f, 1.0f);
    surface.updateComponent(6, 0, lambert, color(1, 1, 1), all, 1.0f, 1.0f, 1.0f);
    surface.updateColor(1, 0, color(9, 9, 9), all);
    EXPECT_LANES_NEAR(surface.selection[0], 0.4f, 0.4f, 0.4f, 0.4f, 1e-6f);
    // A slot beyond the next one leaves empty slots in between.
    surface.setComponent(1, 2, phong, color(1, 1, 1), frame, all, 1.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_EQ(surface.groups[1].count, 3u);
    EXPECT_EQ(moveMask(surface.groups[1].slots[1].mask), 0);
    EXPECT_EQ(moveMask(sample(lobeType::glossy, 0.5f, {0.3f, 0.3f}).valid), 15);
}

TEST_F(SurfaceProperties, MarkLanesWithoutDensity)
{
    surface.setComponent(2, 0, mirror, color(1, 1, 1), frame, expandLanes(7), 1.0f, 0.0f, 1.0f,
                         {0.0f, 1.0f, 0.0f, 0.0f});
    EXPECT_EQ(moveMask(surface.groups[2].sampleMask), 5);
    surface.addComponent(mirror, color(1, 1, 1), frame, expandLanes(8));
    EXPECT_EQ(moveMask(surface.groups[2].sampleMask), 13);
}

TEST_F(SurfaceProperties, StoreValuesByMask)
{
    znFloatType<2> f(1.0f);
    znIntType<2> i(1, 2, 3, 4);
    znRTVector2fPacket v2(1.0f, 2.0f);
    znRTVector3fPacket v3(1.0f, 2.0f, 3.0f);
    const znFloatType<2> mask = expandLanes(6);
    znRTSurfaceProperties::updateFloat(f, 7.0f, mask);
    znRTSurfaceProperties::updateInt(i, znIntType<2>(-9), mask);
    znRTSurfaceProperties::updateVec2f(v2, {8.0f, 9.0f}, mask);
    znRTSurfaceProperties::updateVec3f(v3, znRTVector3fPacket(8.0f, 9.0f, 10.0f), mask);
    EXPECT_LANES_EQ(f, 1, 7, 7, 1);
    EXPECT_INT_LANES(i, 1, -9, -9, 4);
    EXPECT_LANES_EQ(v2.y, 2, 9, 9, 2);
    EXPECT_LANES_EQ(v3.z, 3, 10, 10, 3);
}

TEST_F(SurfaceProperties, HandOutEmptyParametersUntilTheNextReset)
{
    znRTLobeParameters& block = surface.useParameters(1);
    EXPECT_EQ(moveMask(block.mask), 0);
    EXPECT_EQ(&block, surface.getParameters() + 1);
    block.setExponents(5.0f, expandLanes(3));
    EXPECT_EQ(moveMask(surface.useParameters(1).mask), 3) << "a second material adds to it";
    surface.reset();
    EXPECT_EQ(moveMask(surface.getParameters()[1].mask), 0);
}

// Light from everywhere: the mean of reflectance over density is what the lobes reflect together,
// by quadrature of their values.
TEST_F(SurfaceProperties, ReflectWhatTheirLobesReflect)
{
    surface.addComponent(lambert, color(0.5f, 0.25f, 0.0f), frame, all, 1.0f, 1.0f, 0.4f);
    surface.addComponent(lambert, color(0.0f, 0.25f, 0.5f), frame, expandLanes(3), 0.5f);
    surface.addComponent(phong, color(0.3f, 0.3f, 0.3f), frame, expandLanes(7), 0.8f, 0.05f, 0.9f);
    const double diffuse = albedo(lambert), glossy = albedo(phong);
    ASSERT_NEAR(diffuse, 1.0, 1e-4);

    constexpr int n = 100000;
    double sum[4][3] = {};
    for (int i = 0; i < n; ++i) {
        const Sample s = sample(lobeType::diffuse | lobeType::glossy, randomChoice(), randomPair());
        for (int lane = 0; lane < 4; ++lane)
            for (int channel = 0; channel < 3; ++channel)
                if (s.pdf[lane] > 0.0f)
                    sum[lane][channel] += double(s.reflectance[channel][lane]) / s.pdf[lane];
    }
    for (int lane = 0; lane < 4; ++lane) {
        const double second = lane < 2 ? 0.5 : 0.0, phongShare = lane < 3 ? 0.8 * 0.3 : 0.0;
        const double expected[3] = {0.5 * diffuse + phongShare * glossy,
                                    0.25 * (1 + second) * diffuse + phongShare * glossy,
                                    0.5 * second * diffuse + phongShare * glossy};
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(sum[lane][channel] / n, expected[channel], 4e-3)
                << "lane " << lane << ", channel " << channel;
    }
}

// Groups are chosen as often as their share of the light says, and only by the flags.
TEST_F(SurfaceProperties, ChooseGroupsByTheirLight)
{
    surface.addComponent(lambert, color(0.6f, 0.6f, 0.6f), frame, all);
    surface.addComponent(phong, color(0.2f, 0.2f, 0.2f), frame, all);
    surface.addComponent(mirror, color(0.2f, 0.2f, 0.2f), frame, expandLanes(7));
    int counts[4][6] = {};
    constexpr int n = 1000;
    for (int i = 0; i < n; ++i) {
        const Sample s = sample(0xff, (float(i) + 0.5f) / n, {0.1f, 0.1f});
        for (int lane = 0; lane < 4; ++lane)
            ++counts[lane][s.group[lane]];
    }
    for (int lane = 0; lane < 4; ++lane) {
        EXPECT_NEAR(counts[lane][0], lane < 3 ? 600 : 750, 1);
        EXPECT_NEAR(counts[lane][1], lane < 3 ? 200 : 250, 1);
    }
    EXPECT_INT_LANES(sample(lobeType::glossy, 0.01f, {0.1f, 0.1f}).group, 1, 1, 1, 1);
    EXPECT_INT_LANES(sample(lobeType::glossy, 0.999f, {0.1f, 0.1f}).rayMask, 0xC0, 0xC0, 0xC0,
                     0xC0);
    EXPECT_INT_LANES(sample(lobeType::specular, 0.5f, {0.1f, 0.1f}).group, 2, 2, 2, -1);
    // The bit of the surface side selects nothing by itself.
    EXPECT_EQ(moveMask(sample(lobeType::surfaceSide, 0.5f, {0.1f, 0.1f}).valid), 0);
    surface.setSamplingFlags(lobeType::glossy);
    surface.updateSamplingFlags(lobeType::diffuse, expandLanes(1));
    EXPECT_INT_LANES(sample(0xff, 0.1f, {0.1f, 0.1f}).group, 0, 1, 1, 1);
}

// Within its group each lobe is chosen as often as any other. One pair of numbers gives each lobe
// a direction of its own.
TEST_F(SurfaceProperties, ChooseTheLobesOfAGroupEvenly)
{
    znRTPhongBRDF<0> broad;
    znRTBSDFAttributes attributes;
    attributes.setExponents(2.0f, 2.0f);
    broad.setup(attributes, 1);
    surface.addComponent(lambert, color(0.5f, 0.5f, 0.5f), frame, all);
    surface.addComponent(phong, color(0.25f, 0.25f, 0.25f), frame, all);
    surface.addComponent(broad, color(0.25f, 0.25f, 0.25f), frame, all);
    std::map<std::pair<int, float>, int> counts;
    constexpr int n = 1000;
    for (int i = 0; i < n; ++i) {
        const Sample s = sample(0xff, (float(i) + 0.5f) / n, {0.9f, 0.1f});
        ++counts[{s.group[0], s.wi.x[0]}];
    }
    ASSERT_EQ(counts.size(), 3u);
    for (const auto& [lobe, count] : counts)
        EXPECT_NEAR(count, lobe.first == 0 ? 500 : 250, 1);
}

// A mirror has no density: its colour comes out whole, however seldom it is chosen.
TEST_F(SurfaceProperties, LetMirrorsAnswerForTheirOwnDirection)
{
    surface.addComponent(lambert, color(0.5f, 0.5f, 0.5f), frame, all);
    surface.addComponent(mirror, color(0.25f, 0.5f, 1.0f), frame, all);
    const Sample s = sample(lobeType::diffuse | lobeType::specular, 0.999f, {0.3f, 0.6f});
    ASSERT_EQ(moveMask(s.valid), 15);
    EXPECT_INT_LANES(s.group, 2, 2, 2, 2);
    EXPECT_INT_LANES(s.rayMask, 0x300, 0x300, 0x300, 0x300);
    const znRTVector3fPacket expected = frame.n * (2.0f * dot(wo, frame.n)) - wo;
    EXPECT_LANES_NEAR(dot(s.wi, expected), 1, 1, 1, 1, 1e-5f);
    // Chosen with probability p, weighing 1 / p.
    const float light = 0.2125f * 0.25f + 0.7154f * 0.5f + 0.0721f;
    const float p = light / (0.5f + light);
    const znRTColorPacket weight = s.reflectance / s.pdf;
    EXPECT_LANES_NEAR(weight.r * p, 0.25f, 0.25f, 0.25f, 0.25f, 1e-4f);
    EXPECT_LANES_NEAR(weight.b * p, 1, 1, 1, 1, 1e-4f);
}

TEST_F(SurfaceProperties, SampleNothingOfWhatIsBlackOrMaskedOff)
{
    surface.addComponent(lambert, {{0.0f, 0.5f, 0.5f, 0.5f}, {0.0f, 0.5f, 0.5f, 0.5f}, 0.0f, 1.0f},
                         frame, expandLanes(13));
    const Sample s = sample(0xff, 0.5f, {0.5f, 0.5f}, expandLanes(7));
    EXPECT_EQ(moveMask(s.valid), 4);
    EXPECT_LANES_EQ(s.reflectance.a * 0.0f, 0, 0, 0, 0);
    EXPECT_INT_LANES(s.group, -1, -1, 0, -1);
}

// Directions of the record are used for requests that name no reflection; both reflecting groups
// answer for them, and a mirror does not.
TEST_F(SurfaceProperties, FollowDirectionalImportance)
{
    struct Upward : znRTDirectionalImportance
    {
        znFloatType<2> importanceSample(const znRTVector2fPacket&, const znRTONB&,
                                        const znFloatType<2>&,
                                        znRTVector3fPacket& wi) const override
        {
            wi = znRTVector3fPacket(0.6f, 0.0f, 0.8f);
            return {2.0f, 2.0f, 2.0f, 0.0f};
        }
    } record;
    surface.importance = &record;
    surface.addComponent(lambert, color(0.5f, 0.5f, 0.5f), frame, all);
    surface.addComponent(phong, color(1.0f, 1.0f, 1.0f), frame, all);
    surface.addComponent(mirror, color(1.0f, 1.0f, 1.0f), frame, all);
    const Sample s = sample(0, 0.5f, {0.5f, 0.5f});
    EXPECT_EQ(moveMask(s.valid), 7);
    EXPECT_LANES_EQ(s.pdf, 2, 2, 2, 0);
    znFloatType<2> pdf;
    const znRTColorPacket glossy =
        phong.evaluate(frame.toLocal(wo), znRTVector3fPacket(0.6f, 0.0f, 0.8f), dg, pdf);
    const float expected = 0.8f * (0.5f / std::numbers::pi_v<float> + glossy.g[0]);
    EXPECT_LANES_NEAR(s.reflectance.g, expected, expected, expected, 0.0f, 1e-5f);
    EXPECT_LANES_NEAR(dot(s.wi, frame.n), 0.8f, 0.8f, 0.8f, dot(s.wi, frame.n)[3], 1e-5f);
    // A request for reflection draws from the lobes.
    EXPECT_EQ(moveMask(sample(lobeType::diffuse, 0.5f, {0.5f, 0.5f}).valid), 15);
}

TEST_F(SurfaceProperties, EstimateTheLightOfBothReflectingGroups)
{
    surface.addComponent(lambert, color(0.5f, 0.25f, 0.125f), frame, expandLanes(3));
    surface.addComponent(lambert, color(0.25f, 0.25f, 0.25f), frame, expandLanes(6), 0.5f);
    surface.addComponent(mirror, color(1.0f, 1.0f, 1.0f), frame, all);
    znRTColorPacket colors[2];
    surface.evaluate_Rho(dg, expandLanes(7), colors);
    EXPECT_LANES_NEAR(colors[0].r, 0.5f, 0.625f, 0.125f, 0.0f, 1e-6f);
    EXPECT_LANES_NEAR(colors[1].r, 0, 0, 0, 0, 0.0f);
}
