#pragma once

// A matrix applied to packets. Matrices are for column vectors (translation in the last column)
// and given either as floats, as doubles, or with one matrix per lane.

#include "core/znMatrix4x4Packet.h"
#include "core/znRTVector4fPacket.h"

class znRTVectorMath
{
public:
    /// A point: rotation, scale and translation, no division by w.
    template <class Matrix>
    static znRTVector3fPacket transformAsLocation(const znRTVector3fPacket& v, const Matrix& m)
    {
        const znRTVector3fPacket d = transformAsDirection(v, m);
        return {d.x + at(m, 3, 0), d.y + at(m, 3, 1), d.z + at(m, 3, 2)};
    }
    /// Two points in one pass; outputs may be the inputs.
    static void transformAsLocation(const znRTVector3fPacket& a, const znRTVector3fPacket& b,
                                    const znMatrix4x4& m, znRTVector3fPacket& outA,
                                    znRTVector3fPacket& outB)
    {
        const znMatrix4x4Packet lanes(m);
        outA = transformAsLocation(a, lanes);
        outB = transformAsLocation(b, lanes);
    }
    /// Three points in one pass; outputs may be the inputs.
    static void transformAsLocation(const znRTVector3fPacket& a, const znRTVector3fPacket& b,
                                    const znRTVector3fPacket& c, const znMatrix4x4& m,
                                    znRTVector3fPacket& outA, znRTVector3fPacket& outB,
                                    znRTVector3fPacket& outC)
    {
        const znMatrix4x4Packet lanes(m);
        outA = transformAsLocation(a, lanes);
        outB = transformAsLocation(b, lanes);
        outC = transformAsLocation(c, lanes);
    }

    /// A direction: the upper 3 x 3 part alone.
    template <class Matrix>
    static znRTVector3fPacket transformAsDirection(const znRTVector3fPacket& v, const Matrix& m)
    {
        return {v.x * at(m, 0, 0) + v.y * at(m, 1, 0) + v.z * at(m, 2, 0),
                v.x * at(m, 0, 1) + v.y * at(m, 1, 1) + v.z * at(m, 2, 1),
                v.x * at(m, 0, 2) + v.y * at(m, 1, 2) + v.z * at(m, 2, 2)};
    }

    /// A normal: the transpose of the 3 x 3 part.
    /// @param m  the inverse of the matrix that points are transformed with
    template <class Matrix>
    static znRTVector3fPacket transformAsNormal(const znRTVector3fPacket& v, const Matrix& m)
    {
        return {v.x * at(m, 0, 0) + v.y * at(m, 0, 1) + v.z * at(m, 0, 2),
                v.x * at(m, 1, 0) + v.y * at(m, 1, 1) + v.z * at(m, 1, 2),
                v.x * at(m, 2, 0) + v.y * at(m, 2, 1) + v.z * at(m, 2, 2)};
    }

    /// A point with w = 1 through the whole matrix.
    template <class Matrix>
    static znRTVector4fPacket transformFull(const znRTVector3fPacket& v, const Matrix& m)
    {
        const znFloatType<2> w =
            v.x * at(m, 0, 3) + v.y * at(m, 1, 3) + v.z * at(m, 2, 3) + at(m, 3, 3);
        return {transformAsLocation(v, m), w};
    }

    /// Three points in place.
    static void transformTriangle(znRTVector3fPacket& a, znRTVector3fPacket& b,
                                  znRTVector3fPacket& c, const znMatrix4x4& m)
    {
        transformAsLocation(a, b, c, m, a, b, c);
    }

    /// Red, green and blue through the upper 3 x 3 part, for changes of colour space; alpha stays.
    template <class Color>
    static Color transformColor(const Color& color, const znMatrix4x4& m)
    {
        Color result = color;
        result.r = color.r * at(m, 0, 0) + color.g * at(m, 1, 0) + color.b * at(m, 2, 0);
        result.g = color.r * at(m, 0, 1) + color.g * at(m, 1, 1) + color.b * at(m, 2, 1);
        result.b = color.r * at(m, 0, 2) + color.g * at(m, 1, 2) + color.b * at(m, 2, 2);
        return result;
    }

private:
    /// Element of row r and column c, in all lanes.
    static znFloatType<2> at(const znMatrix4x4& m, int c, int r) { return m[c][r]; }
    static const znFloatType<2>& at(const znMatrix4x4Packet& m, int c, int r) { return m[c][r]; }
    template <class Matrix>
    static znFloatType<2> at(const Matrix& m, int c, int r)
    {
        return znFloatType<2>(float(m[c][r]));
    }
};
