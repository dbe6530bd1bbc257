// How many places of a texture are read in a second: by storage type and filter, for neighbouring
// places and for random ones, beside a plain loop over single places in the same run. One thread.
// One line of JSON per case; rates are millions of places a second, the median of the repeats.
//
//   textures [REPEATS]
//   textures frame [REPEATS]       whole frames instead, see texturedFrames.h
//   textures structures [REPEATS]  normals by structures alone, see structures.h

#include "texturedFrames.h"

#include "structures.h"

#include "texture/znRTTextureFunctions.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>
#include <random>
#include <vector>

namespace {

using F = znRTTextureFunctions;
using Sampler = znRTTextureSampler;

constexpr int size = 1024;       ///< of the image
constexpr int packets = 1 << 16; ///< of four places
constexpr double meanTolerance = 1e-3;

/// Noise over the whole image.
void fill(znRTSampler2D& sampler, int pixelType)
{
    std::mt19937 engine(1);
    std::vector<u8> texels(std::size_t(size) * size * Sampler::getTexelSize(pixelType));
    if (pixelType == Sampler::typeRGBAFloat) {
        std::uniform_real_distribution<float> value(0.0f, 1.0f);
        for (std::size_t i = 0; i < texels.size(); i += sizeof(float)) {
            const float v = value(engine);
            std::memcpy(texels.data() + i, &v, sizeof v);
        }
    } else if (pixelType == Sampler::typeRGBAHalf) {
        std::uniform_int_distribution<int> value(0x3000, 0x3bff); // 1/8 to 1
        for (std::size_t i = 0; i < texels.size(); i += sizeof(u16)) {
            const u16 v = u16(value(engine));
            std::memcpy(texels.data() + i, &v, sizeof v);
        }
    } else {
        std::uniform_int_distribution<int> value(0, 255);
        for (u8& texel : texels)
            texel = u8(value(engine));
    }
    sampler.setTexels(pixelType, size, size, 1, texels.data());
    sampler.createMipmaps();
}

using Places = std::vector<znRTVector2fPacket>;

/// Neighbours, a pixel and a third apart, row by row.
Places neighbours()
{
    Places places;
    for (int i = 0; i < packets; ++i) {
        const float x = float(4 * i % size), y = float(4 * i / size);
        const float step = 1.33f / size;
        places.push_back({{x * step, (x + 1) * step, (x + 2) * step, (x + 3) * step}, y * step});
    }
    return places;
}

Places anywhere()
{
    std::mt19937 engine(2);
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    const auto four = [&] {
        return znFloatType<2>(value(engine), value(engine), value(engine), value(engine));
    };
    Places places;
    for (int i = 0; i < packets; ++i) {
        const znFloatType<2> s = four();
        places.push_back({s, four()});
    }
    return places;
}

/// Bilinear at one place, in plain words.
znRTVector4f readPlainly(const znRTSampler2D& sampler, float s, float t)
{
    const float x = (s - std::floor(s)) * float(size) - 0.5f;
    const float y = (t - std::floor(t)) * float(size) - 0.5f;
    const int left = int(std::floor(x)), low = int(std::floor(y));
    const float across = x - float(left), up = y - float(low);
    const auto texel = [&](int i, int j) {
        return sampler.getTexel(0, 0, (i + size) % size, (j + size) % size);
    };
    const auto mixed = [](const znRTVector4f& a, const znRTVector4f& b, float w) {
        return a * (1.0f - w) + b * w;
    };
    return mixed(mixed(texel(left, low), texel(left + 1, low), across),
                 mixed(texel(left, low + 1), texel(left + 1, low + 1), across), up);
}

struct Rate
{
    double median = 0.0, spread = 0.0; ///< millions a second
    double mean = 0.0;                 ///< of green over all places
};

/// Of this thread, in seconds: other work on the machine matters little.
double processorTime()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

/// @param run  reads all places once and returns the sum of green
Rate measure(int repeats, const std::function<double()>& run)
{
    Rate rate;
    std::vector<double> rates;
    for (int i = 0; i < repeats; ++i) {
        const double start = processorTime();
        rate.mean = run() / (4.0 * packets);
        rates.push_back(4e-6 * packets / (processorTime() - start));
    }
    std::sort(rates.begin(), rates.end());
    rate.median = rates[rates.size() / 2];
    rate.spread = rates.back() - rates.front();
    return rate;
}

double sumOf(const znFloatType<2>& x)
{
    return double(x[0]) + double(x[1]) + double(x[2]) + double(x[3]);
}

using Lookup = znRTColorPacket (*)(const znRTSampler2D&, const znRTVector2fPacket&,
                                   const znTextureFootprint&);

struct Filter
{
    const char* name;
    Lookup lookup;
    bool followsDirection;
    float wide, narrow; ///< axes of the footprint, texels
};

const znFloatType<2> everyLaneOn = znFloatType<2>::allLanes();

const Filter filters[] = {
    {"nearest",
     [](const znRTSampler2D& s, const znRTVector2fPacket& uv, const znTextureFootprint&) {
         return F::texture2DNearest(s, uv, everyLaneOn);
     },
     false, 1.0f, 1.0f},
    {"bilinear",
     [](const znRTSampler2D& s, const znRTVector2fPacket& uv, const znTextureFootprint&) {
         return F::texture2D(s, uv, everyLaneOn);
     },
     false, 1.0f, 1.0f},
    {"trilinear",
     [](const znRTSampler2D& s, const znRTVector2fPacket& uv, const znTextureFootprint& f) {
         return F::texture2D(s, uv, f, everyLaneOn);
     },
     false, 1.33f, 1.33f},
    {"directional",
     [](const znRTSampler2D& s, const znRTVector2fPacket& uv, const znTextureFootprint& f) {
         return F::texture2D(s, uv, f, everyLaneOn);
     },
     true, 5.32f, 1.33f}};

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "frame") == 0) {
        const int repeats = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
        std::cout << measureTexturedFrames(repeats).dump() << '\n';
        return 0;
    }
    if (argc > 1 && std::strcmp(argv[1], "structures") == 0)
        return measureStructures(argc > 2 ? std::max(1, std::atoi(argv[2])) : 9) ? 0 : 1;
    const int repeats = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    bool agrees = true;
    const std::pair<int, const char*> types[] = {{Sampler::typeRGBA8, "rgba8"},
                                                 {Sampler::typeRGBAHalf, "rgbaHalf"},
                                                 {Sampler::typeRGBAFloat, "rgbaFloat"}};
    const std::pair<Places, const char*> orders[] = {{neighbours(), "neighbours"},
                                                     {anywhere(), "random"}};
    for (const auto& [type, typeName] : types) {
        znRTSampler2D sampler;
        fill(sampler, type);
        for (const auto& [places, orderName] : orders) {
            const Rate plain = measure(std::max(1, repeats / 3), [&, &at = places] {
                double sum = 0.0;
                for (const znRTVector2fPacket& uv : at)
                    for (int lane = 0; lane < 4; ++lane)
                        sum += double(readPlainly(sampler, uv.x[lane], uv.y[lane]).y);
                return sum;
            });
            for (const Filter& filter : filters) {
                F::s_useHighQualityTextureFiltering = filter.followsDirection;
                const znTextureFootprint footprint{
                    {znFloatType<2>(filter.wide / size), znFloatType<2>(0.0f)},
                    {znFloatType<2>(0.0f), znFloatType<2>(filter.narrow / size)}};
                const Rate rate = measure(repeats, [&, &at = places] {
                    znFloatType<2> sum(0.0f);
                    double total = 0.0;
                    for (std::size_t i = 0; i < at.size(); ++i) {
                        sum += filter.lookup(sampler, at[i], footprint).g;
                        if (i % 256 == 255) {
                            total += sumOf(sum);
                            sum = 0.0f;
                        }
                    }
                    return total;
                });
                // All filters keep the mean of noise; a faster wrong answer is no result.
                const bool isRight = std::abs(rate.mean - plain.mean) < 5.0 * meanTolerance;
                agrees = agrees && isRight;
                std::cout << nlohmann::json{{"type", typeName},
                                            {"places", orderName},
                                            {"filter", filter.name},
                                            {"millionsPerSecond", rate.median},
                                            {"spread", rate.spread},
                                            {"plainBilinear", plain.median},
                                            {"ratio", rate.median / plain.median},
                                            {"agrees", isRight}}
                                 .dump()
                          << std::endl;
            }
        }
    }
    agrees = measureStructures(repeats) && agrees;
    return agrees ? EXIT_SUCCESS : EXIT_FAILURE;
}
