#pragma once

// 4 x 4 matrix of floats for column vectors: p' = M p, the translation stands in the last column.

#include <array>

/// Element access is m[column][row], so the 16 floats lie column by column.
struct znMatrix4x4
{
    std::array<std::array<float, 4>, 4> columns{};

    std::array<float, 4>& operator[](int column) { return columns[column]; }
    const std::array<float, 4>& operator[](int column) const { return columns[column]; }
    bool operator==(const znMatrix4x4&) const = default;

    static znMatrix4x4 identity();
    bool isIdentity() const { return *this == identity(); }
    znMatrix4x4 transposed() const;
    /// @return the inverse, computed in double precision; the zero matrix when there is none
    znMatrix4x4 inverted() const;
    float determinant3x3() const;
};

inline znMatrix4x4 znMatrix4x4::identity()
{
    znMatrix4x4 m;
    for (int i = 0; i < 4; ++i)
        m[i][i] = 1.0f;
    return m;
}

inline znMatrix4x4 znMatrix4x4::transposed() const
{
    znMatrix4x4 m;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            m[r][c] = columns[c][r];
    return m;
}

inline float znMatrix4x4::determinant3x3() const
{
    const auto& m = columns;
    return m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
           m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2]) +
           m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
}

inline znMatrix4x4 operator*(const znMatrix4x4& a, const znMatrix4x4& b)
{
    znMatrix4x4 m;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            for (int k = 0; k < 4; ++k)
                m[c][r] += a[k][r] * b[c][k];
    return m;
}

inline znMatrix4x4 znMatrix4x4::inverted() const
{
    // Cofactors from the 2 x 2 minors of the upper and the lower two rows.
    const auto at = [this](int r, int c) { return double(columns[c][r]); };
    const auto minor = [&](int r0, int r1, int c0, int c1) {
        return at(r0, c0) * at(r1, c1) - at(r0, c1) * at(r1, c0);
    };
    const double s0 = minor(0, 1, 0, 1), s1 = minor(0, 1, 0, 2), s2 = minor(0, 1, 0, 3);
    const double s3 = minor(0, 1, 1, 2), s4 = minor(0, 1, 1, 3), s5 = minor(0, 1, 2, 3);
    const double c5 = minor(2, 3, 2, 3), c4 = minor(2, 3, 1, 3), c3 = minor(2, 3, 1, 2);
    const double c2 = minor(2, 3, 0, 3), c1 = minor(2, 3, 0, 2), c0 = minor(2, 3, 0, 1);
    const double determinant = s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    znMatrix4x4 m;
    if (determinant == 0.0 || determinant != determinant)
        return m;
    const double d = 1.0 / determinant;
    const double rows[4][4] = {
        {at(1, 1) * c5 - at(1, 2) * c4 + at(1, 3) * c3, -at(0, 1) * c5 + at(0, 2) * c4 - at(0, 3) * c3,
         at(3, 1) * s5 - at(3, 2) * s4 + at(3, 3) * s3, -at(2, 1) * s5 + at(2, 2) * s4 - at(2, 3) * s3},
        {-at(1, 0) * c5 + at(1, 2) * c2 - at(1, 3) * c1, at(0, 0) * c5 - at(0, 2) * c2 + at(0, 3) * c1,
         -at(3, 0) * s5 + at(3, 2) * s2 - at(3, 3) * s1, at(2, 0) * s5 - at(2, 2) * s2 + at(2, 3) * s1},
        {at(1, 0) * c4 - at(1, 1) * c2 + at(1, 3) * c0, -at(0, 0) * c4 + at(0, 1) * c2 - at(0, 3) * c0,
         at(3, 0) * s4 - at(3, 1) * s2 + at(3, 3) * s0, -at(2, 0) * s4 + at(2, 1) * s2 - at(2, 3) * s0},
        {-at(1, 0) * c3 + at(1, 1) * c1 - at(1, 2) * c0, at(0, 0) * c3 - at(0, 1) * c1 + at(0, 2) * c0,
         -at(3, 0) * s3 + at(3, 1) * s1 - at(3, 2) * s0, at(2, 0) * s3 - at(2, 1) * s1 + at(2, 2) * s0}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m[c][r] = float(rows[r][c] * d);
    return m;
}
