#include "brdf/lobeCases.h"

#include "brdf/analytic/znRTAnisotropicASBRDF.h"
#include "brdf/analytic/znRTBSSRDF.h"
#include "brdf/analytic/znRTCookTorranceBRDF.h"
#include "brdf/analytic/znRTDiffuseASBRDF.h"
#include "brdf/analytic/znRTDiffuseFresnelBRDF.h"
#include "brdf/analytic/znRTIsotropicASBRDF.h"
#include "brdf/analytic/znRTMatrixWardBRDF.h"
#include "brdf/analytic/znRTMinnaertBRDF.h"
#include "brdf/analytic/znRTPBRDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "brdf/analytic/znRTSubstanceGGXBRDF.h"
#include "brdf/analytic/znRTTranslucencyBTDF.h"
#include "brdf/analytic/znRTVelvetyBRDF.h"
#include "brdf/fresnelSetting.h"
#include "brdf/opticalConstants.h"
#include "host/znRTTextureSampler.h"

#include <gtest/gtest.h>

using reference::Slopes;
using reference::Vector;

namespace {

constexpr unsigned copper = 6;

znRTBSDFAttributes exponents(float u, float v)
{
    znRTBSDFAttributes record;
    record.setExponents(u, v);
    return record;
}

/// A perfect mirror as Fresnel term, so that the rest of the lobe is seen alone.
znRTBSDFAttributes white(znRTBSDFAttributes record)
{
    record.useSchlick = true;
    record.reflectance = 1.0f;
    return record;
}

znRTBSDFAttributes slopes(float x, float y, float degrees = 0.0f)
{
    znRTBSDFAttributes record;
    record.setSlopes(x, y);
    record.anisotropyAngle = degrees;
    return white(record);
}

/// Ward lobes read slopes as they are.
znRTBSDFAttributes plainSlopes(float x, float y)
{
    znRTBSDFAttributes record;
    record.roughnessX = x;
    record.roughnessY = y;
    return record;
}

template <class Lobe, class Record>
std::function<std::shared_ptr<znRTBRDF>()> make(const Record& record)
{
    return [record] {
        const auto lobe = std::make_shared<Lobe>();
        lobe->setup(record, 4);
        return lobe;
    };
}

std::function<double(const Vector&, const Vector&)> constant(double value)
{
    return [value](const Vector& wo, const Vector& wi) {
        return reference::reflects(wo, wi) ? value : 0.0;
    };
}

std::function<double(const Vector&, const Vector&)> power(double eU, double eV)
{
    return
        [=](const Vector& wo, const Vector& wi) { return reference::powerValue(wo, wi, eU, eV); };
}

std::function<double(const Vector&, const Vector&)> powerDensity(double eU, double eV)
{
    return
        [=](const Vector& wo, const Vector& wi) { return reference::powerDensity(wo, wi, eU, eV); };
}

template <class Base>
struct Fresneled
{
    Base base;
    double operator()(const Vector& wo, const Vector& wi) const
    {
        return reference::reflects(wo, wi)
                   ? base(wo, wi) * reflectance(reference::half(wo, wi).dot(wo))
                   : 0.0;
    }
    std::function<double(double)> reflectance;
};

template <class Base>
std::function<double(const Vector&, const Vector&)> times(Base base,
                                                          std::function<double(double)> reflectance)
{
    return Fresneled<Base>{base, reflectance};
}

znRTBSDFAttributes metal(znRTBSDFAttributes record, unsigned table)
{
    record.fresnelTable = table;
    return record;
}

double copperReflectance(double cosTheta)
{
    const znOpticalConstants& m = getOpticalConstants(copper);
    return reference::conductor(cosTheta, m.n[0], m.k[0]);
}

LobeCase diffuseLayered(const std::string& name, bool conserving, float reflectance, float share)
{
    znRTBSDFAttributes record;
    record.reflectance = reflectance;
    record.diffuseShare = share;
    LobeCase c;
    c.name = name;
    c.lobe = [record, conserving] {
        const FresnelSetting setting(conserving);
        const auto lobe = std::make_shared<znRTDiffuseASBRDF>();
        lobe->setup(record, 4);
        return lobe;
    };
    c.value = [=](const Vector& wo, const Vector& wi) {
        return conserving ? reference::shirleyDiffuse(wo, wi, reflectance, share)
                          : reference::ashikhminDiffuse(wo, wi, reflectance);
    };
    c.density = reference::cosineDensity;
    c.maxWeight = 1.25;
    return c;
}

LobeCase ggx(const std::string& name, float x, float y, float degrees = 0.0f)
{
    const Slopes s{x, y, degrees * reference::pi / 180.0};
    LobeCase c;
    c.name = name;
    c.lobe = make<znRTGGXBRDF<0>>(slopes(x, y, degrees));
    c.value = [s](const Vector& wo, const Vector& wi) { return reference::ggx(wo, wi, s); };
    c.density = [s](const Vector& wo, const Vector& wi) {
        return reference::ggxDensity(wo, wi, s);
    };
    return c;
}

LobeCase ward(const std::string& name, float x, float y)
{
    const Slopes s{x, y};
    LobeCase c;
    c.name = name;
    c.lobe = make<znRTMatrixWardBRDF<0>>(plainSlopes(x, y));
    c.value = [s](const Vector& wo, const Vector& wi) { return reference::ward(wo, wi, s); };
    c.density = [s](const Vector& wo, const Vector& wi) {
        return reference::wardDensity(wo, wi, s);
    };
    c.maxWeight = 2.01;
    return c;
}

LobeCase minnaert(const std::string& name, float k, double maxAlbedo)
{
    znRTBSDFAttributes record;
    record.darkening = k;
    LobeCase c;
    c.name = name;
    c.lobe = make<znRTMinnaertBRDF>(record);
    c.value = [k](const Vector& wo, const Vector& wi) {
        return reference::reflects(wo, wi)
                   ? std::min(10.0, std::pow(wi.z * wo.z, double(k) - 1.0)) / reference::pi
                   : 0.0;
    };
    c.density = reference::cosineDensity;
    c.maxWeight = 10.01;
    c.maxAlbedo = maxAlbedo;
    return c;
}

LobeCase diffuseFresnel(const std::string& name, float roughness)
{
    znRTBSDFAttributes record;
    record.setSlopes(roughness * roughness, roughness * roughness);
    LobeCase c;
    c.name = name;
    c.lobe = make<znRTDiffuseFresnelBRDF>(record);
    c.value = [roughness](const Vector& wo, const Vector& wi) {
        return reference::renormalizedDisney(wo, wi, roughness);
    };
    c.density = reference::cosineDensity;
    // Along the rim and back: (0.5 + 2)^2 / 1.51 for the roughest.
    c.maxWeight = 4.2;
    return c;
}

LobeCase translucency(const std::string& name, float e, double maxWeight)
{
    znRTPhongBTDFAttributes record;
    record.exponent = e;
    LobeCase c;
    c.name = name;
    c.lobe = make<znRTTranslucencyBTDF>(record);
    c.value = [e](const Vector& wo, const Vector& wi) {
        return reference::spread(wo, wi, e) * (e + 2.0) / (2.0 * reference::pi) /
               std::max(wi.z, -wo.z);
    };
    c.density = [e](const Vector& wo, const Vector& wi) {
        return reference::spread(wo, wi, e) * (e + 1.0) / (2.0 * reference::pi);
    };
    c.isTransmission = true;
    c.maxWeight = maxWeight;
    return c;
}

/// The same lobe in form 1, whose own parameters would show.
template <class Lobe, class Record>
LobeCase formOne(LobeCase c, const Record& strangeRecord, std::function<void(LobeBlock&)> block)
{
    c.name += "PerLane";
    c.lobe = make<Lobe>(strangeRecord);
    c.block = std::move(block);
    return c;
}

std::function<void(LobeBlock&)> blockOfExponents(float u, float v)
{
    return [=](LobeBlock& b) { b[0].setExponents(u, v, znFloatType<2>::allLanes()); };
}

std::function<void(LobeBlock&)> blockOfSlopes(float x, float y, float degrees = 0.0f)
{
    return [=](LobeBlock& b) {
        b[0].setSlopes(x, y, znFloatType<2>::allLanes());
        const float radians = degrees * float(reference::pi) / 180.0f;
        b[0].setTurn(std::cos(radians), std::sin(-radians), znFloatType<2>::allLanes());
    };
}

/// Two lobes and their blend in one place.
struct Blended
{
    znRTDiffuseASBRDF diffuse;
    znRTIsotropicASBRDF<0> glossy;
    znRTFresnelBlendBRDF blend{diffuse, glossy};
};

constexpr float blendF0 = 0.3f, blendExponent = 20.0f;
constexpr double blendWeights[2] = {0.6, 0.4};

LobeCase blendOfDiffuseAndGlossy()
{
    LobeCase c;
    c.name = "blend";
    c.lobe = [] {
        const FresnelSetting classic(false);
        const auto owner = std::make_shared<Blended>();
        znRTBSDFAttributes record = exponents(blendExponent, blendExponent);
        record.useSchlick = true;
        record.reflectance = blendF0;
        owner->blend.setup(record, 4);
        owner->blend.setMix(float(blendWeights[0]), float(blendWeights[1]));
        return std::shared_ptr<znRTBRDF>(owner, &owner->blend);
    };
    const auto glossy = times(power(blendExponent, blendExponent),
                              [](double c) { return reference::schlick(c, blendF0); });
    c.value = [glossy](const Vector& wo, const Vector& wi) {
        return reference::ashikhminDiffuse(wo, wi, blendF0) + glossy(wo, wi);
    };
    c.density = [](const Vector& wo, const Vector& wi) {
        const double b = reference::schlick(wo.z, blendF0) * 0.75 + 0.2;
        const double w1 = blendWeights[0] * (1.0 - b), w2 = blendWeights[1] * b;
        return (w1 * reference::cosineDensity(wo, wi) +
                w2 * reference::powerDensity(wo, wi, blendExponent, blendExponent)) /
               (w1 + w2);
    };
    c.maxWeight = 4.0;
    return c;
}

LobeCase substance()
{
    znRTSubstanceAttributes record;
    record.baseColor = {0.9f, 0.5f, 0.2f};
    record.metallic = 0.75f;
    record.roughness = 0.6f;
    record.anisotropyLevel = 0.5f;
    record.anisotropyAngle = 0.125f;
    const double aspect = std::sqrt(1.0 - 0.9 * 0.5), alpha = 0.6 * 0.6;
    const Slopes s{alpha / aspect, alpha * aspect, reference::pi / 4.0};
    const double f0 = 0.25 * 0.04 + 0.75 * 0.9;
    LobeCase c;
    c.name = "substanceGGX";
    c.lobe = make<znRTSubstanceGGXBRDF>(record);
    c.value = times([s](const Vector& wo, const Vector& wi) { return reference::ggx(wo, wi, s); },
                    [f0](double cosTheta) { return reference::schlick(cosTheta, f0); });
    c.density = [s](const Vector& wo, const Vector& wi) {
        return reference::ggxDensity(wo, wi, s);
    };
    return c;
}

/// A table of a function that is linear in all three coordinates, which interpolation keeps.
LobeCase tableOfCosines()
{
    struct Tabulated
    {
        znRTSampler3D volume;
        znRTPBRDF lobe;
    };
    const auto linear = [](double cosI, double cosO, double cosPhi) {
        return 0.3 + 0.2 * (cosI + cosO) + 0.1 * cosPhi;
    };
    constexpr int n = 5;
    LobeCase c;
    c.name = "table";
    c.lobe = [linear] {
        const auto owner = std::make_shared<Tabulated>();
        std::vector<float> texels;
        for (int z = 0; z < n; ++z)
            for (int y = 0; y < n; ++y)
                for (int x = 0; x < n; ++x) {
                    const double at = 1.0 / (n - 1);
                    const float value = float(linear(x * at, y * at, 2.0 * z * at - 1.0));
                    texels.insert(texels.end(), {value, 0.5f * value, 0.0f, 1.0f});
                }
        owner->volume.setTexels(znRTTextureSampler::typeRGBAFloat, n, n, n, texels.data());
        znRTPBRDFAttributes record;
        record.table = &owner->volume;
        record.mode = 0;
        // The first and last texels' centres are the ends of the range.
        constexpr float range = float(n - 1) / n, half = 0.5f / n;
        const float scale[3] = {range, range, 0.5f * range};
        const float offset[3] = {half, half, 0.5f};
        std::copy_n(scale, 3, record.scale);
        std::copy_n(offset, 3, record.offset);
        owner->lobe.setup(record, 4);
        return std::shared_ptr<znRTBRDF>(owner, &owner->lobe);
    };
    c.value = [linear](const Vector& wo, const Vector& wi) {
        const double cosPhi = std::cos(std::atan2(wi.y, wi.x) - std::atan2(wo.y, wo.x));
        return reference::reflects(wo, wi) ? linear(wi.z, wo.z, cosPhi) / reference::pi : 0.0;
    };
    c.density = reference::cosineDensity;
    c.maxWeight = 0.81;
    return c;
}

LobeCase subsurface()
{
    // Two points half a mean free path apart.
    constexpr double sigma = 2.0, albedo = 0.9, eta = 1.3, distance = 0.25;
    znRTPhongBTDFAttributes record;
    record.indices.indexA = float(eta);
    record.medium.extinction = float(sigma);
    record.medium.scatterAlbedo = float(albedo);
    LobeCase c;
    c.name = "subsurface";
    c.lobe = make<znRTBSSRDF>(record);
    c.block = [](LobeBlock& b) {
        b[0].entryMask = znFloatType<2>::allLanes();
        b[0].entryPoint = znRTVector3fPacket(0.0f, float(distance), 0.0f);
    };
    c.value = [](const Vector& wo, const Vector& wi) {
        // Jensen et al. 2001, eq. 4 and 5.
        const double fdr = -1.4399 / (eta * eta) + 0.7099 / eta + 0.6681 + 0.0636 * eta;
        const double a = (1.0 + fdr) / (1.0 - fdr);
        const double zr = 1.0 / sigma, zv = zr * (1.0 + 4.0 / 3.0 * a);
        const double str = sigma * std::sqrt(3.0 * (1.0 - albedo));
        const auto source = [&](double z) {
            const double d = std::hypot(z, distance);
            return z * (1.0 + str * d) * std::exp(-str * d) / (d * d * d);
        };
        const double dipole = albedo / (4.0 * reference::pi) * (source(zr) + source(zv));
        const double r0 = std::pow((1.0 - eta) / (1.0 + eta), 2.0);
        return reference::reflects(wo, wi)
                   ? dipole / reference::pi * (1.0 - reference::schlick(wo.z, r0)) *
                         (1.0 - reference::schlick(wi.z, r0))
                   : 0.0;
    };
    c.density = reference::cosineDensity;
    return c;
}

std::vector<LobeCase> makeCases()
{
    std::vector<LobeCase> cases;
    znRTBSDFAttributes facets;
    facets.diffuseRoughness = 0.5f;
    cases.push_back({.name = "lambert",
                     .lobe = make<znRTLambertBRDF>(znRTBSDFAttributes()),
                     .value = constant(1.0 / reference::pi),
                     .density = reference::cosineDensity,
                     .maxWeight = 1.001});
    cases.push_back({.name = "orenNayar",
                     .lobe = make<znRTLambertBRDF>(facets),
                     .value = [](const Vector& wo,
                                 const Vector& wi) { return reference::orenNayar(wo, wi, 0.5); },
                     .density = reference::cosineDensity,
                     // Backlit facets at the rim: A + B tan(88 degrees).
                     .maxWeight = 10.3});
    cases.push_back(diffuseLayered("diffuseASClassic", false, 0.04f, 1.0f));
    cases.push_back(diffuseLayered("diffuseASConserving", true, 0.2f, 0.5f));

    for (const float e : {1.0f, 20.0f, 500.0f})
        cases.push_back({.name = "phong" + std::to_string(int(e)),
                         .lobe = make<znRTPhongBRDF<0>>(exponents(e, e)),
                         .value = power(e, e),
                         .density = powerDensity(e, e),
                         .maxWeight = 1.51});
    cases.push_back({.name = "isotropicASCopper",
                     .lobe = make<znRTIsotropicASBRDF<0>>(metal(exponents(20.0f, 20.0f), copper)),
                     .value = times(power(20.0, 20.0), copperReflectance),
                     .density = powerDensity(20.0, 20.0),
                     .maxWeight = 1.1});
    cases.push_back({.name = "anisotropicAS",
                     .lobe = make<znRTAnisotropicASBRDF<0>>(white(exponents(10.0f, 200.0f))),
                     .value = power(10.0, 200.0),
                     .density = powerDensity(10.0, 200.0),
                     .maxWeight = 1.1});
    cases.push_back({.name = "anisotropicASEqual",
                     .lobe = make<znRTAnisotropicASBRDF<0>>(white(exponents(20.0f, 20.0f))),
                     .value = power(20.0, 20.0),
                     .density = powerDensity(20.0, 20.0),
                     .maxWeight = 1.1});
    cases.push_back({.name = "cookTorrance",
                     .lobe = make<znRTCookTorranceBRDF<0>>(white(exponents(20.0f, 20.0f))),
                     .value =
                         [](const Vector& wo, const Vector& wi) {
                             return reference::cookTorrance(wo, wi, std::sqrt(2.0 / 22.0));
                         },
                     .density = powerDensity(20.0, 20.0),
                     .maxWeight = 2.5});
    cases.push_back(ggx("ggxSmooth", 0.1f, 0.1f));
    cases.push_back(ggx("ggxRough", 0.3f, 0.3f));
    cases.push_back(ggx("ggxTurned", 0.15f, 0.5f, 30.0f));
    cases.push_back(substance());
    cases.push_back(ward("ward", 0.2f, 0.2f));
    cases.push_back(ward("wardTwoAxes", 0.1f, 0.3f));
    cases.push_back(minnaert("minnaertDark", 1.5f, 1.01));
    // Below 1 the lobe makes light, by design; the ceiling of 10 bounds it.
    cases.push_back(minnaert("minnaertBright", 0.5f, 7.0));
    LobeCase velvety;
    velvety.name = "velvety";
    velvety.lobe = make<znRTVelvetyBRDF>(exponents(4.0f, 4.0f));
    velvety.value = [](const Vector& wo, const Vector& wi) {
        const double sine = std::sin(std::acos(std::clamp(wo.z, -1.0, 1.0)));
        return reference::reflects(wo, wi) ? std::pow(sine, 4.0) / reference::pi : 0.0;
    };
    velvety.density = reference::cosineDensity;
    velvety.maxWeight = 1.001;
    velvety.isReciprocal = false; // follows the viewer alone
    cases.push_back(velvety);
    cases.push_back(diffuseFresnel("diffuseFresnelSmooth", 0.05f));
    cases.push_back(diffuseFresnel("diffuseFresnelRough", 1.0f));
    cases.push_back(blendOfDiffuseAndGlossy());
    cases.push_back(translucency("translucencyWide", 1.0f, 1.51));
    cases.push_back(translucency("translucencyNarrow", 20.0f, 1.1));
    cases.push_back(tableOfCosines());
    cases.push_back(subsurface());

    const auto find = [&](const std::string& name) {
        return *std::find_if(cases.begin(), cases.end(),
                             [&](const LobeCase& c) { return c.name == name; });
    };
    const znRTBSDFAttributes strange = white(exponents(3.0f, 7.0f));
    cases.push_back(formOne<znRTPhongBRDF<1>>(find("phong20"), strange, blockOfExponents(20, 20)));
    cases.push_back(formOne<znRTIsotropicASBRDF<1>>(
        find("isotropicASCopper"), metal(exponents(3.0f, 3.0f), copper), blockOfExponents(20, 20)));
    cases.push_back(formOne<znRTAnisotropicASBRDF<1>>(find("anisotropicAS"), strange,
                                                      blockOfExponents(10, 200)));
    cases.push_back(
        formOne<znRTCookTorranceBRDF<1>>(find("cookTorrance"), strange, blockOfExponents(20, 20)));
    cases.push_back(formOne<znRTGGXBRDF<1>>(find("ggxTurned"), slopes(0.9f, 0.8f, 10.0f),
                                            blockOfSlopes(0.15f, 0.5f, 30.0f)));
    cases.push_back(formOne<znRTMatrixWardBRDF<1>>(find("wardTwoAxes"), plainSlopes(0.9f, 0.8f),
                                                   blockOfSlopes(0.1f, 0.3f)));
    cases.push_back(formOne<znRTDiffuseFresnelBRDF>(find("diffuseFresnelRough"), slopes(0.1f, 0.1f),
                                                    blockOfSlopes(1.0f, 1.0f)));
    LobeCase layered = formOne<znRTDiffuseASBRDF>(
        find("diffuseASClassic"), znRTBSDFAttributes(), [](LobeBlock& b) {
            b[0].setReflectance(znRTColorPacket(0.04f), znFloatType<2>::allLanes());
        });
    layered.lobe = [] {
        const FresnelSetting classic(false);
        const auto lobe = std::make_shared<znRTDiffuseASBRDF>();
        znRTBSDFAttributes record;
        record.reflectance = 0.7f;
        lobe->setup(record, 4);
        return lobe;
    };
    cases.push_back(layered);
    return cases;
}

} // namespace

LobeSetting::LobeSetting(const LobeCase& c) : lobe(c.lobe())
{
    for (znRTLobeParameters& record : block)
        record.clear();
    dg.frontFacing = znFloatType<2>::allLanes();
    if (c.block) {
        c.block(block);
        dg.parameters = block.data();
    }
}

const std::vector<LobeCase>& lobeCases()
{
    static const std::vector<LobeCase> cases = makeCases();
    return cases;
}

const LobeCase& lobeCase(const std::string& name)
{
    for (const LobeCase& c : lobeCases())
        if (c.name == name)
            return c;
    throw std::invalid_argument(name);
}

const std::vector<std::pair<std::string, std::string>>& lobeForms()
{
    static const std::vector<std::pair<std::string, std::string>> forms = [] {
        std::vector<std::pair<std::string, std::string>> found;
        const std::string suffix = "PerLane";
        for (const LobeCase& c : lobeCases())
            if (c.name.ends_with(suffix))
                found.emplace_back(c.name.substr(0, c.name.size() - suffix.size()), c.name);
        return found;
    }();
    return forms;
}

// A row that is lost would leave its lobe untested without a word.
TEST(LobeCases, CoverEveryLobeWithADensityInEachForm)
{
    EXPECT_EQ(lobeCases().size(), 35u);
    EXPECT_EQ(lobeForms().size(), 8u);
}
