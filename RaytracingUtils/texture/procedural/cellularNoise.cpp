#include "texture/procedural/cellularNoise.h"

znCellularHit nearestCell(const znRTVector3fPacket& p)
{
    using F = znFloatType<2>;
    const F x = floor(p.x), y = floor(p.y), z = floor(p.z);
    const znCell home{toInt(x), toInt(y), toInt(z)};
    const znRTVector3fPacket inside(p.x - x, p.y - y, p.z - z);
    const znIntType<2> columns[3] = {jenkinsMix(home.x - znIntType<2>(1)), jenkinsMix(home.x),
                                     jenkinsMix(home.x + znIntType<2>(1))};

    // A point nearer than 1 lies in one of the 27 cubes around.
    F least(4.0f);
    znIntType<2> id(0);
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j) {
            const znIntType<2> column = jenkinsMix(columns[i + 1] + home.y + znIntType<2>(j));
            for (int k = -1; k <= 1; ++k) {
                const znIntType<2> hash = jenkinsMix(column + home.z + znIntType<2>(k));
                // Three numbers of eleven and ten bits: where in its cube the point is.
                const auto place = [&](int shift, int mask) {
                    return toFloat((hash >> shift) & znIntType<2>(mask)) * (1.0f / float(mask + 1));
                };
                const znRTVector3fPacket to(place(0, 2047) + (float(i) - inside.x),
                                            place(11, 2047) + (float(j) - inside.y),
                                            place(22, 1023) + (float(k) - inside.z));
                const F squareDistance = to.getSquareLength();
                const F isNearer = squareDistance < least;
                least = minimum(squareDistance, least);
                id = select(asInt(isNearer), hash, id);
            }
        }
    // The bits of the place are no numbers of their own: the identity is mixed once more.
    return {minimum(squareRoot(least), 1.0f), nextHash(id)};
}
