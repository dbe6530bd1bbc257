#include "host/osg/TransformationMatrix.h"

#include "host/osg/logStream.h"

#include <ostream>
#include <utility>

namespace osg {

template <class T>
TransformationMatrix<T>::TransformationMatrix()
{
    for (int i = 0; i < 4; ++i)
        columns[i][i] = T(1);
}

template <class T>
TransformationMatrix<T>::TransformationMatrix(const znMatrix4x4& other)
{
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            columns[c][r] = T(other[c][r]);
}

template <class T>
TransformationMatrix<T>::operator znMatrix4x4() const
{
    znMatrix4x4 m;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            m[c][r] = float(columns[c][r]);
    return m;
}

template <class T>
void TransformationMatrix<T>::mult(const TransformationMatrix& right)
{
    std::array<Column, 4> product{};
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            for (int k = 0; k < 4; ++k)
                product[c][r] += columns[k][r] * right[c][k];
    columns = product;
}

template <class T>
void TransformationMatrix<T>::multLeft(const TransformationMatrix& left)
{
    TransformationMatrix product = left;
    product.mult(*this);
    *this = product;
}

template <class T>
bool TransformationMatrix<T>::inverse(TransformationMatrix& result) const
{
    // Gauss-Jordan elimination in double precision with the greatest pivot of each column.
    double a[4][8] = {};
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c)
            a[r][c] = double(columns[c][r]);
        a[r][4 + r] = 1.0;
    }
    for (int c = 0; c < 4; ++c) {
        int pivot = c;
        for (int r = c + 1; r < 4; ++r)
            if (std::abs(a[r][c]) > std::abs(a[pivot][c]))
                pivot = r;
        if (!(std::abs(a[pivot][c]) > 0.0))
            return false;
        std::swap(a[c], a[pivot]);
        const double reciprocal = 1.0 / a[c][c];
        for (double& value : a[c])
            value *= reciprocal;
        for (int r = 0; r < 4; ++r) {
            if (r == c)
                continue;
            const double factor = a[r][c];
            for (int i = 0; i < 8; ++i)
                a[r][i] -= factor * a[c][i];
        }
    }
    for (const auto& row : a)
        for (const double value : row)
            if (!std::isfinite(value))
                return false;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            result[c][r] = T(a[r][4 + c]);
    return true;
}

template <class T>
bool TransformationMatrix<T>::invert()
{
    return inverse(*this);
}

template <class T>
void TransformationMatrix<T>::transpose()
{
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < c; ++r)
            std::swap(columns[c][r], columns[r][c]);
}

template <class T>
T TransformationMatrix<T>::determinant3x3() const
{
    const auto& m = columns;
    return m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
           m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2]) +
           m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
}

template <class T>
void TransformationMatrix<T>::setTransform(const Vector<T, 3>& t, const Vector<T, 4>& q,
                                           const Vector<T, 3>& s)
{
    const T x = q[0], y = q[1], z = q[2], w = q[3], two = T(2), one = T(1);
    columns[0] = {(one - two * (y * y + z * z)) * s[0], two * (x * y + z * w) * s[0],
                  two * (x * z - y * w) * s[0], T(0)};
    columns[1] = {two * (x * y - z * w) * s[1], (one - two * (x * x + z * z)) * s[1],
                  two * (y * z + x * w) * s[1], T(0)};
    columns[2] = {two * (x * z + y * w) * s[2], two * (y * z - x * w) * s[2],
                  (one - two * (x * x + y * y)) * s[2], T(0)};
    columns[3] = {t[0], t[1], t[2], one};
}

template <class T>
void TransformationMatrix<T>::setTranslate(const Vector<T, 3>& t)
{
    columns[3] = {t[0], t[1], t[2], columns[3][3]};
}

template <class T>
Vector<T, 3> TransformationMatrix<T>::multMatrixVec(const Vector<T, 3>& v) const
{
    Vector<T, 3> out;
    for (int r = 0; r < 3; ++r)
        out[r] = columns[0][r] * v[0] + columns[1][r] * v[1] + columns[2][r] * v[2];
    return out;
}

template <class T>
Point<T, 3> TransformationMatrix<T>::multMatrixPnt(const Point<T, 3>& p) const
{
    return Point<T, 3>(multMatrixVec(p) + getTranslation());
}

template <class T>
Vector<T, 4> TransformationMatrix<T>::multMatrixVec4(const Vector<T, 4>& v) const
{
    Vector<T, 4> out;
    for (int r = 0; r < 4; ++r)
        out[r] = columns[0][r] * v[0] + columns[1][r] * v[1] + columns[2][r] * v[2] +
                 columns[3][r] * v[3];
    return out;
}

template <class T>
Point<T, 3> TransformationMatrix<T>::multFullMatrixPnt(const Point<T, 3>& p) const
{
    const Vector<T, 4> h = multMatrixVec4({p[0], p[1], p[2], T(1)});
    if (h[3] == T(0)) {
        logStream() << "multFullMatrixPnt: w == 0.0f!" << std::endl;
        return {};
    }
    return {h[0] / h[3], h[1] / h[3], h[2] / h[3]};
}

template class TransformationMatrix<float>;
template class TransformationMatrix<double>;

} // namespace osg
