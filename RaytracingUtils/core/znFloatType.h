#pragma once

// Four floats in one SSE register, one per lane of a packet of rays. The template argument is the
// base-2 logarithm of the lane count; 2 is the one width there is.
//
// Comparisons return lane masks: all ones where true, all zeros where false. A value ANDed with a
// false lane is +0. Minimum and maximum are the SSE instructions: the second operand wins where
// either is NaN.

#include <emmintrin.h>

template <int N>
struct znFloatType;

template <>
struct alignas(16) znFloatType<2>
{
    static constexpr int laneCount = 4;

    __m128 v;

    znFloatType() = default;
    znFloatType(float value) : v(_mm_set1_ps(value)) {}
    znFloatType(float l0, float l1, float l2, float l3) : v(_mm_setr_ps(l0, l1, l2, l3)) {}
    znFloatType(__m128 value) : v(value) {}

    float operator[](int lane) const { return v[lane]; }
    void set(int lane, float value) { v[lane] = value; }

    /// @param p  four floats at a multiple of 16 bytes
    static znFloatType load(const float* p) { return _mm_load_ps(p); }
    static znFloatType loadUnaligned(const float* p) { return _mm_loadu_ps(p); }
    void store(float* p) const { _mm_store_ps(p, v); }
    void storeUnaligned(float* p) const { _mm_storeu_ps(p, v); }

    static znFloatType allLanes() { return _mm_castsi128_ps(_mm_set1_epi32(-1)); }
    static znFloatType noLanes() { return _mm_setzero_ps(); }

    friend znFloatType operator+(znFloatType a, znFloatType b) { return _mm_add_ps(a.v, b.v); }
    friend znFloatType operator-(znFloatType a, znFloatType b) { return _mm_sub_ps(a.v, b.v); }
    friend znFloatType operator*(znFloatType a, znFloatType b) { return _mm_mul_ps(a.v, b.v); }
    friend znFloatType operator/(znFloatType a, znFloatType b) { return _mm_div_ps(a.v, b.v); }
    znFloatType operator-() const { return _mm_xor_ps(v, _mm_set1_ps(-0.0f)); }
    znFloatType& operator+=(znFloatType b) { return *this = *this + b; }
    znFloatType& operator-=(znFloatType b) { return *this = *this - b; }
    znFloatType& operator*=(znFloatType b) { return *this = *this * b; }
    znFloatType& operator/=(znFloatType b) { return *this = *this / b; }

    friend znFloatType operator<(znFloatType a, znFloatType b) { return _mm_cmplt_ps(a.v, b.v); }
    friend znFloatType operator<=(znFloatType a, znFloatType b) { return _mm_cmple_ps(a.v, b.v); }
    friend znFloatType operator>(znFloatType a, znFloatType b) { return _mm_cmpgt_ps(a.v, b.v); }
    friend znFloatType operator>=(znFloatType a, znFloatType b) { return _mm_cmpge_ps(a.v, b.v); }
    friend znFloatType operator==(znFloatType a, znFloatType b) { return _mm_cmpeq_ps(a.v, b.v); }
    friend znFloatType operator!=(znFloatType a, znFloatType b) { return _mm_cmpneq_ps(a.v, b.v); }

    friend znFloatType operator&(znFloatType a, znFloatType b) { return _mm_and_ps(a.v, b.v); }
    friend znFloatType operator|(znFloatType a, znFloatType b) { return _mm_or_ps(a.v, b.v); }
    friend znFloatType operator^(znFloatType a, znFloatType b) { return _mm_xor_ps(a.v, b.v); }
    znFloatType operator~() const { return *this ^ allLanes(); }
    znFloatType& operator&=(znFloatType b) { return *this = *this & b; }
    znFloatType& operator|=(znFloatType b) { return *this = *this | b; }
    znFloatType& operator^=(znFloatType b) { return *this = *this ^ b; }
};

/// ~mask & value
inline znFloatType<2> andNot(znFloatType<2> mask, znFloatType<2> value)
{
    return _mm_andnot_ps(mask.v, value.v);
}

inline znFloatType<2> minimum(znFloatType<2> a, znFloatType<2> b)
{
    return _mm_min_ps(a.v, b.v);
}

inline znFloatType<2> maximum(znFloatType<2> a, znFloatType<2> b)
{
    return _mm_max_ps(a.v, b.v);
}

/// a where the mask is true, b elsewhere
inline znFloatType<2> select(znFloatType<2> mask, znFloatType<2> a, znFloatType<2> b)
{
    return (mask & a) | andNot(mask, b);
}

/// The four sign bits, bit l for lane l; of a mask: its lanes as an integer, 15 = all.
inline int moveMask(znFloatType<2> mask)
{
    return _mm_movemask_ps(mask.v);
}

inline bool anyLane(znFloatType<2> mask)
{
    return moveMask(mask) != 0;
}

inline bool everyLane(znFloatType<2> mask)
{
    return moveMask(mask) == 15;
}

/// Correctly rounded; NaN below 0.
inline znFloatType<2> squareRoot(znFloatType<2> x)
{
    return _mm_sqrt_ps(x.v);
}
