#include "texture/procedural/znRTProceduralWeave.h"

#include "core/pixelHash.h"
#include "texture/procedural/cellHash.h"

#include <numeric>

const znRTTypeId znRTProceduralCottonDenimWeave::id("znRTProceduralCottonDenimWeave");
const znRTTypeId znRTProceduralTwillWeave::id("znRTProceduralTwillWeave");
const znRTTypeId znRTProceduralSatinWeave::id("znRTProceduralSatinWeave");
const znRTTypeId znRTProceduralSilkWeave::id("znRTProceduralSilkWeave");

namespace {

using F = znFloatType<2>;
using I = znIntType<2>;

/// Runs longer than this count as that long.
constexpr int longestRun = 32;

/// Crossings from a place on to where the yarn on top dives, that of the place not counted.
/// @param step  -1 or 1
F runFrom(const znRTProceduralWeave& weave, const znWeaveCell& cell, int step, const F& mask)
{
    F count(0.0f), runs = mask;
    const I across = asInt(cell.warpIsUp);
    I column = cell.column, row = cell.row;
    for (int i = 0; i < longestRun && anyLane(runs); ++i) {
        column += andNot(across, I(step));
        row += across & I(step);
        runs &= ~(weave.isWarpUp(column, row) ^ cell.warpIsUp);
        count += runs & F(1.0f);
    }
    return count;
}

} // namespace

znIntType<2> znRTProceduralWeave::tileOf(const znIntType<2>& index) const
{
    I tile(0);
    for (int lane = 0; lane < 4; ++lane) {
        const int i = index[lane], n = parameters.period;
        tile.set(lane, i / n - (i % n < 0));
    }
    return tile;
}

znWeaveCell znRTProceduralWeave::getPatternCell(const znRTVector2fPacket& uv,
                                                const znFloatType<2>& mask) const
{
    const F yarns{float(parameters.period)};
    const znRTVector2fPacket place = uv * yarns;
    const F x = floor(place.x), y = floor(place.y);
    znWeaveCell cell;
    cell.column = toInt(x);
    cell.row = toInt(y);
    cell.tileX = tileOf(cell.column);
    cell.tileY = tileOf(cell.row);
    cell.tileColumn = cell.column - cell.tileX * I(parameters.period);
    cell.tileRow = cell.row - cell.tileY * I(parameters.period);
    cell.inside = {(place.x - x) & mask, (place.y - y) & mask};
    cell.warpIsUp = isWarpUp(cell.column, cell.row) & mask;
    return cell;
}

znWeaveStrand znRTProceduralWeave::getStrandFrame(const znRTVector2fPacket& uv,
                                                  const znFloatType<2>& mask) const
{
    znWeaveStrand strand;
    strand.cell = getPatternCell(uv, mask);
    const znWeaveCell& cell = strand.cell;
    const F before = runFrom(*this, cell, -1, mask), after = runFrom(*this, cell, 1, mask);
    strand.length = before + after + 1.0f;
    strand.along =
        (before + select(cell.warpIsUp, cell.inside.y, cell.inside.x)) / strand.length & mask;
    strand.across = select(cell.warpIsUp, cell.inside.x, cell.inside.y) & mask;
    return strand;
}

znFloatType<2> znRTProceduralWeave::getYarnBrightness(const znWeaveCell& cell) const
{
    const I isWarp = asInt(cell.warpIsUp);
    const I yarn = select(isWarp, cell.column, cell.row);
    const F number = unitNumber(jenkinsMix(jenkinsMix(yarn) ^ isWarp));
    return F(1.0f) + (number + number - 1.0f) * parameters.yarnVariation;
}

znWeaveYarn znRTProceduralWeave::getYarn(const znFloatType<2>& u, const znFloatType<2>& t,
                                         const znFloatType<2>& psi) const
{
    const F one(1.0f), s = clamp(u + u - 1.0f, -1.0f, 1.0f);
    const F arcSine = atan2(s, squareRoot(one - s * s));
    const F off = t + t - 1.0f;
    return {psi * (arcSine * 0.63661975f), exp(-(off * off))};
}

znFloatType<2> znRTProceduralCottonDenimWeave::isWarpUp(const znIntType<2>& column,
                                                        const znIntType<2>& row) const
{
    return asFloat(withinTile(column + row) != I(0));
}

znFloatType<2> znRTProceduralTwillWeave::isWarpUp(const znIntType<2>& column,
                                                  const znIntType<2>& row) const
{
    return asFloat(withinTile(column + row) < I((parameters.period + 1) / 2));
}

znRTProceduralSatinWeave::znRTProceduralSatinWeave(const znWeaveParameters& newParameters)
    : znRTProceduralWeave(id, newParameters), move(1)
{
    for (int step = 2; step < newParameters.period; ++step)
        if (std::gcd(step, newParameters.period) == 1) {
            move = step;
            break;
        }
}

znFloatType<2> znRTProceduralSatinWeave::isWarpUp(const znIntType<2>& column,
                                                  const znIntType<2>& row) const
{
    return asFloat(withinTile(column + row * I(move)) != I(0));
}

znFloatType<2> znRTProceduralSilkWeave::isWarpUp(const znIntType<2>& column,
                                                 const znIntType<2>& row) const
{
    return asFloat(((column + row) & I(1)) == I(0));
}
