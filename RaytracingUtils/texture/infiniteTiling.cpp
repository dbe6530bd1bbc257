#include "texture/infiniteTiling.h"

#include "texture/procedural/cellHash.h"

#include <numbers>

namespace infiniteTiling {

namespace {

/// Rows of triangles in an image, and how far each row of corners is shifted against the last.
constexpr float rowsPerImage = 4.0f, cornersPerImage = 2.0f * std::numbers::sqrt3_v<float>;
constexpr float shiftPerRow = std::numbers::inv_sqrt3_v<float>;

/// Shares that count for nothing: transitions are narrow, and cost lookups where they are alone.
constexpr float leastShare = 0.2f;

/// One triangle's weights out of its shares. Smooth, so that no edge of a triangle shows.
void weigh(znFloatType<2> weight[3])
{
    znFloatType<2> sum(0.0f);
    for (int i = 0; i < 3; ++i) {
        const znFloatType<2> above = maximum(weight[i] - leastShare, 0.0f);
        weight[i] = above * above * above;
        sum += weight[i];
    }
    for (int i = 0; i < 3; ++i)
        weight[i] = weight[i] / sum;
}

znRTVector2fPacket shiftOf(const znIntType<2>& column, const znIntType<2>& row)
{
    const znIntType<2> hash = hashCell({column, row, znIntType<2>(0)});
    return {unitNumber(hash), unitNumber(nextHash(hash))};
}

} // namespace

Patches patchesAt(const znRTVector2fPacket& uv)
{
    // Rhombi of corners; each is two triangles, split along the diagonal between its sharp ends.
    const znFloatType<2> zero(0.0f), one(1.0f);
    const znFloatType<2> down = uv.y * rowsPerImage;
    const znFloatType<2> across = uv.x * cornersPerImage - uv.y * (cornersPerImage * shiftPerRow);
    const znFloatType<2> left = floor(across), low = floor(down);
    const znFloatType<2> x = across - left, y = down - low;
    const znFloatType<2> isUpper = x + y > one;
    const znIntType<2> column = toInt(left), row = toInt(low);
    const znIntType<2> nearest = asInt(isUpper) & znIntType<2>(1);

    Patches patches;
    patches.weight[0] = absolute(one - x - y);
    patches.weight[1] = select(isUpper, one - y, x);
    patches.weight[2] = select(isUpper, one - x, y);
    weigh(patches.weight);
    patches.shift[0] = shiftOf(column + nearest, row + nearest);
    patches.shift[1] = shiftOf(column + 1, row);
    patches.shift[2] = shiftOf(column, row + 1);
    // Coordinates without a value lie nowhere in particular.
    const znFloatType<2> isPlace = (x >= zero) & (x <= one) & (y >= zero) & (y <= one);
    for (int i = 0; i < 3; ++i)
        patches.weight[i] =
            select(isPlace, patches.weight[i], znFloatType<2>(i == 0 ? 1.0f : 0.0f));
    return patches;
}

} // namespace infiniteTiling
