#include "accel/build/exactSearch.h"

#include <algorithm>

namespace {
constexpr float s_infinity = std::numeric_limits<float>::infinity();

/// One field of three keys, one per axis, as a vector over the axes.
/// @tparam Field  0 center, 2 high
template <int Field>
znFloatType<2> gather(const __m128* keys)
{
    const __m128 xy =
        Field < 2 ? _mm_unpacklo_ps(keys[0], keys[1]) : _mm_unpackhi_ps(keys[0], keys[1]);
    return _mm_shuffle_ps(xy, keys[2], _MM_SHUFFLE(Field, Field, 1, 0));
}
} // namespace

znRTExactNodes::znRTExactNodes(const znRTBuildReference* references, u32 count) : size(count)
{
    for (u32 i = 0; i < count; ++i) {
        items[i] = references[i];
        order[i] = u8(i);
    }
    for (int axis = 0; axis < 3; ++axis)
        sort(axis, count);
}

void znRTExactNodes::sort(int axis, u32 count)
{
    // By rank: with so few elements, counting the smaller ones four at a time beats moving them.
    alignas(16) float centers[s_maxCount];
    for (u32 i = 0; i < count; ++i) {
        const float center = (items[i].low[axis] + items[i].high[axis]) * 0.5f;
        // NaN, from an inverted box, is left of no candidate: it goes last.
        centers[i] = center == center ? center : s_infinity;
    }
    const u32 padded = (count + 3) & ~3u;
    for (u32 i = count; i < padded; ++i)
        centers[i] = s_infinity;

    u8 taken[s_maxCount] = {};
    for (u32 i = 0; i < count; ++i) {
        const znFloatType<2> center(centers[i]);
        znIntType<2> smaller = 0;
        for (u32 j = 0; j < padded; j += 4)
            smaller -= asInt(znFloatType<2>::load(centers + j) < center);
        const u32 rank = u32(smaller[0]) + u32(smaller[1]) + u32(smaller[2]) + u32(smaller[3]);
        const u32 place = rank + taken[rank]++;
        sorted[axis][place] = {centers[i], items[i].low[axis], items[i].high[axis], i};
    }
}

znRTSplit znRTExactNodes::findSplit(u32 begin, u32 end, const znRTBuildBox& box) const
{
    const u32 n = end - begin;
    const znFloatType<2> extents = box.high - box.low;
    const znRTHalfSurface surface(extents);
    const znFloatType<2> wide = ~(znFloatType<2>(s_degenerateExtent) > extents);
    const znFloatType<2> infinity(s_infinity), quarter(0.25f);

    znFloatType<2> rightLows[s_maxCount];
    znFloatType<2> rightLow(s_infinity);
    for (u32 i = end - 1; i > begin; --i) {
        const znFloatType<2> low(sorted[0][i].low, sorted[1][i].low, sorted[2][i].low, 0.0f);
        rightLows[i - 1] = rightLow = minimum(rightLow, low);
    }

    znFloatType<2> costs[s_maxCount];
    znFloatType<2> best(s_infinity), bestPlace(0.0f), tied = znFloatType<2>::noLanes();
    znFloatType<2> leftHigh(-s_infinity);
    __m128 next[3];
    for (int axis = 0; axis < 3; ++axis)
        next[axis] = _mm_load_ps(&sorted[axis][begin].center);
    for (u32 i = begin; i + 1 < end; ++i) {
        const znFloatType<2> high = gather<2>(next);
        const znFloatType<2> center = gather<0>(next);
        for (int axis = 0; axis < 3; ++axis)
            next[axis] = _mm_load_ps(&sorted[axis][i + 1].center);
        const znFloatType<2> nextCenter = gather<0>(next);

        leftHigh = maximum(high, leftHigh);
        const u32 left = i + 1 - begin, right = n - left;
        znFloatType<2> cost = surface.of(leftHigh - box.low) * znFloatType<2>(float(left)) +
                              surface.of(box.high - rightLows[i]) * znFloatType<2>(float(right));
        if ((left & 3) == 0 || (right & 3) == 0)
            cost *= quarter;
        // Candidates at one place share the cost of the last of them. A cost that is not a number
        // loses against the infinity behind it.
        cost = minimum(cost, infinity);
        cost = select(wide & (center < nextCenter), cost, infinity);
        costs[i] = cost;
        const znFloatType<2> isBetter = cost < best;
        tied = andNot(isBetter, tied) | (cost == best);
        best = minimum(cost, best);
        bestPlace = select(isBetter, znFloatType<2>(float(i)), bestPlace);
    }

    znRTSplit split;
    for (int axis = 0; axis < 3; ++axis) {
        if (!(best[axis] < split.cost))
            continue;
        const bool isTied = (moveMask(tied) >> axis) & 1;
        const float position = isTied ? findFirstInOrder(axis, begin, end, costs, best[axis])
                                      : sorted[axis][u32(bestPlace[axis])].center;
        split.improve(best[axis], position, axis);
    }
    return split;
}

/// Of candidates with one cost, the one whose primitive comes first in the present order.
float znRTExactNodes::findFirstInOrder(int axis, u32 begin, u32 end, const znFloatType<2>* costs,
                                       float cost) const
{
    u8 places[s_maxCount];
    for (u32 i = begin; i < end; ++i)
        places[order[i]] = u8(i);
    u32 first = s_maxCount;
    float position = 0.0f;
    const auto take = [&](const Key& key) {
        if (places[key.id] < first) {
            first = places[key.id];
            position = key.center;
        }
    };
    for (u32 i = begin; i + 1 < end; ++i) {
        if (costs[i][axis] != cost)
            continue;
        for (u32 j = i + 1; j-- > begin && sorted[axis][j].center == sorted[axis][i].center;)
            take(sorted[axis][j]);
    }
    return position;
}

u32 znRTExactNodes::partition(u32 begin, u32 end, const znRTSplit& split, znRTBuildBox& left,
                              znRTBuildBox& right)
{
    u32 middle = begin;
    if (split.found) {
        for (u32 i = begin; i < end; ++i) {
            const u8 id = order[i];
            const znRTBuildReference& item = items[id];
            const int axis = split.axis;
            const bool goesLeft = split.position >= (item.low[axis] + item.high[axis]) * 0.5f;
            isLeft[id] = goesLeft;
            const znFloatType<2> mask = asFloat(znIntType<2>(-int(goesLeft)));
            left.growIf(mask, item.getLow(), item.getHigh());
            right.growIf(~mask, item.getLow(), item.getHigh());
            // What stays on the right is exchanged with itself, which saves the branch.
            const u32 other = goesLeft ? middle : i;
            order[i] = order[other];
            order[other] = id;
            middle += goesLeft;
        }
    }
    if (middle == begin || middle == end) {
        left = right = {};
        middle = begin + (end - begin) / 2;
        for (u32 i = begin; i < end; ++i) {
            isLeft[order[i]] = i < middle;
            (i < middle ? left : right).grow(items[order[i]]);
        }
    }
    for (int axis = 0; axis < 3; ++axis)
        keepSorted(axis, begin, end, middle);
    return middle;
}

/// Splits a sorted list into the sorted lists of both sides.
void znRTExactNodes::keepSorted(int axis, u32 begin, u32 end, u32 split)
{
    Key rights[s_maxCount];
    Key* const list = sorted[axis];
    u32 l = begin, r = 0;
    for (u32 i = begin; i < end; ++i) {
        const Key key = list[i];
        const u32 toLeft = isLeft[key.id];
        list[l] = key;
        rights[r] = key;
        l += toLeft;
        r += 1 - toLeft;
    }
    std::copy(rights, rights + r, list + split);
}

void znRTExactNodes::store(znRTBuildReference* references) const
{
    for (u32 i = 0; i < size; ++i)
        references[i] = items[order[i]];
}
