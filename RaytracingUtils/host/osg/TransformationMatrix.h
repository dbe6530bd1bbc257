#pragma once

// 4 x 4 transformation for column vectors: p' = M p, the translation stands in the last column.

#include "host/osg/Vector.h"
#include "host/znMatrix4x4.h"

#include <array>

namespace osg {

/// Element access is m[column][row]. Starts as the identity.
template <class T>
class TransformationMatrix
{
public:
    using Column = std::array<T, 4>;

    TransformationMatrix();
    template <class U>
    explicit TransformationMatrix(const TransformationMatrix<U>& other)
    {
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                columns[c][r] = T(other[c][r]);
    }
    explicit TransformationMatrix(const znMatrix4x4& other);
    explicit operator znMatrix4x4() const;

    Column& operator[](int column) { return columns[column]; }
    const Column& operator[](int column) const { return columns[column]; }
    const T* getValues() const { return columns[0].data(); }
    bool operator==(const TransformationMatrix&) const = default;

    static TransformationMatrix identity() { return {}; }
    void setIdentity() { *this = {}; }
    bool isIdentity() const { return *this == TransformationMatrix(); }

    /// this = this * right: right acts first on a point.
    void mult(const TransformationMatrix& right);
    /// this = left * this.
    void multLeft(const TransformationMatrix& left);
    /// @return false, and the matrix is left alone, when there is no inverse
    bool invert();
    bool inverse(TransformationMatrix& result) const;
    void transpose();
    T determinant3x3() const;

    /// M = translation * rotation * scale.
    /// @param rotation  unit quaternion (x, y, z, w)
    void setTransform(const Vector<T, 3>& translation,
                      const Vector<T, 4>& rotation = {T(0), T(0), T(0), T(1)},
                      const Vector<T, 3>& scale = {T(1), T(1), T(1)});
    void setTranslate(const Vector<T, 3>& translation);
    Vector<T, 3> getTranslation() const { return {columns[3][0], columns[3][1], columns[3][2]}; }

    /// M p with the translation, without a division by w.
    Point<T, 3> multMatrixPnt(const Point<T, 3>& p) const;
    void multMatrixPnt(const Point<T, 3>& p, Point<T, 3>& out) const { out = multMatrixPnt(p); }
    /// M p divided by its w; w = 0 is logged and gives the zero point.
    Point<T, 3> multFullMatrixPnt(const Point<T, 3>& p) const;
    void multFullMatrixPnt(const Point<T, 3>& p, Point<T, 3>& out) const
    {
        out = multFullMatrixPnt(p);
    }
    /// The upper 3 x 3 part alone.
    Vector<T, 3> multMatrixVec(const Vector<T, 3>& v) const;
    void multMatrixVec(const Vector<T, 3>& v, Vector<T, 3>& out) const { out = multMatrixVec(v); }
    Vector<T, 4> multMatrixVec4(const Vector<T, 4>& v) const;

    friend TransformationMatrix operator*(TransformationMatrix a, const TransformationMatrix& b)
    {
        a.mult(b);
        return a;
    }

private:
    std::array<Column, 4> columns{};
};

extern template class TransformationMatrix<float>;
extern template class TransformationMatrix<double>;
using Matrix = TransformationMatrix<float>;
using Matrix4d = TransformationMatrix<double>;

} // namespace osg
