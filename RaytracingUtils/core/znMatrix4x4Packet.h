#pragma once

// A 4 x 4 matrix per lane, for column vectors, as znMatrix4x4: columns[c][r].

#include "core/znRTVector4fPacket.h"
#include "host/znMatrix4x4.h"

struct znMatrix4x4Packet
{
    znFloatType<2> columns[4][4];

    znMatrix4x4Packet() = default;
    /// The same matrix in all lanes.
    explicit znMatrix4x4Packet(const znMatrix4x4& m)
    {
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                columns[c][r] = znFloatType<2>(m[c][r]);
    }

    void setLane(int lane, const znMatrix4x4& m)
    {
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                columns[c][r].set(lane, m[c][r]);
    }
    znMatrix4x4 getLane(int lane) const
    {
        znMatrix4x4 m;
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                m[c][r] = columns[c][r][lane];
        return m;
    }

    znFloatType<2>* operator[](int column) { return columns[column]; }
    const znFloatType<2>* operator[](int column) const { return columns[column]; }
};
