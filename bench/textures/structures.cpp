#include "structures.h"

#include "core/znRTRayPacket.h"
#include "texture/structures/brushStructures.h"
#include "texture/structures/carbonStructures.h"
#include "texture/structures/parallaxTextures.h"
#include "texture/structures/spaceStructures.h"
#include "texture/structures/znRTNoise2DStructures.h"
#include "texture/znRTCleanSurface.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iostream>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int packets = 1 << 13;

/// Hits all over a ball that is seen by pixels of a hundredth of a cell.
std::vector<znRTDifferentialGeometry> makeHits()
{
    std::mt19937 engine(1);
    std::normal_distribution<float> normal;
    const auto four = [&] {
        const float a = normal(engine), b = normal(engine), c = normal(engine);
        return znFloatType<2>(a, b, c, normal(engine));
    };
    std::vector<znRTDifferentialGeometry> hits(packets);
    for (znRTDifferentialGeometry& dg : hits) {
        const znFloatType<2> x = four(), y = four();
        dg.shadingNormal = dg.geometricNormal = znRTVector3fPacket(x, y, four()).getNormalized();
        dg.position = dg.shadingNormal * 3.0f;
        znRTONB onb;
        onb.set(dg.shadingNormal);
        dg.dPdu = onb.u;
        dg.dPdv = onb.v;
        dg.dPdx = onb.u * 0.01f;
        dg.dPdy = onb.v * 0.01f;
        dg.uv = {dg.position.x, dg.position.y};
        dg.dUVdx = {0.01f, 0.0f};
        dg.dUVdy = {0.0f, 0.01f};
        dg.frontFacing = znFloatType<2>::allLanes();
        dg.tangentMask = znFloatType<2>::noLanes();
        dg.parameters = nullptr;
    }
    return hits;
}

double seconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

} // namespace

bool measureStructures(int repeats)
{
    using std::make_unique;
    znRTSampler2D image;
    const std::vector<u8> texels(256 * 256, 128);
    image.setTexels(znRTTextureSampler::typeL8, 256, 256, 1, texels.data());
    image.createMipmaps();
    const znRTBrushed3DStructure::Brush brush;
    const auto heights = znRTBumpTexture::heights;

    std::vector<std::pair<const char*, std::unique_ptr<znRTSurfaceStructure>>> all;
    all.emplace_back("clean", make_unique<znRTCleanSurface>());
    all.emplace_back("bump", make_unique<znRTBumpTexture>(image, nullptr, heights, 0.1f));
    for (const int octaves : {1, 4}) {
        const char* const flat = octaves == 1 ? "coordinate noise 1" : "coordinate noise 4";
        const char* const solid = octaves == 1 ? "noise 1" : "noise 4";
        all.emplace_back(flat, make_unique<znRTNoise2DHeightStructure>(0.1f, 1.0f, float(octaves)));
        all.emplace_back(solid, make_unique<znRTSimplex3DStructure>(0.1f, 1.0f, float(octaves)));
    }
    all.emplace_back("sparkle", make_unique<znRTSparkle3DStructure>(0.2f, 10.0f));
    all.emplace_back("cellular sparkle", make_unique<znRTCellularSparkle3DStructure>(0.2f, 10.0f));
    all.emplace_back("strokes", make_unique<znRTBrushed3DStructure>(brush));
    all.emplace_back("circles", make_unique<znRTRadial3DStructure>(brush));
    all.emplace_back("carbon", make_unique<znRTCarbon3DStructure>(
                                   make_unique<znRTCarbon2x2Texture>(), 1.0f, 0.1f));

    // Those with depth shift their coordinates first.
    all.emplace_back("parallax", make_unique<znRTParallaxMappingTexture>(image, nullptr, heights,
                                                                         0.1f, false, 0.05f));
    all.emplace_back("parallax occlusion", make_unique<znRTParallaxOcclusionTexture>(
                                               image, nullptr, heights, 0.1f, false, 0.05f, 32));

    const std::vector<znRTDifferentialGeometry> hits = makeHits();
    const znFloatType<2> mask = znFloatType<2>::allLanes();
    bool isRight = true;
    for (const auto& [name, structure] : all) {
        std::vector<double> costs;
        double squares = 0.0;
        for (int i = 0; i < repeats; ++i) {
            znFloatType<2> sum(0.0f);
            const double start = seconds();
            for (const znRTDifferentialGeometry& hit : hits) {
                if (!structure->is(shiftsCoordinates)) {
                    sum += structure->getNormalAt(hit, mask).getSquareLength();
                    continue;
                }
                // About 45 degrees from the normal.
                znRTDifferentialGeometry dg = hit;
                const znRTRayDifferentialPacket ray(znRTRayPacket(
                    dg.position, (dg.dPdu * 0.7f - dg.shadingNormal).getNormalized()));
                structure->shiftCoordinates(ray, dg, mask);
                sum += structure->getNormalAt(dg, mask).getSquareLength();
            }
            costs.push_back((seconds() - start) * 1e9 / packets);
            squares = (double(sum[0]) + double(sum[1]) + double(sum[2]) + double(sum[3])) /
                      (4.0 * packets);
        }
        std::sort(costs.begin(), costs.end());
        const bool isUnit = std::abs(squares - 1.0) < 1e-3;
        isRight = isRight && isUnit;
        std::cout << nlohmann::json{{"structure", name},
                                    {"nanosecondsPerPacket", costs[costs.size() / 2]},
                                    {"spread", costs.back() - costs.front()},
                                    {"agrees", isUnit}}
                         .dump()
                  << std::endl;
    }
    return isRight;
}
