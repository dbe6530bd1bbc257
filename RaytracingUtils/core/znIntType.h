#pragma once

// Four 32-bit integers in one SSE register. Arithmetic wraps; comparisons are signed and return
// lane masks with the same bits as those of znFloatType.

#include "core/znFloatType.h"

#include <cstdint>

template <int N>
struct znIntType;

template <>
struct alignas(16) znIntType<2>
{
    static constexpr int laneCount = 4;

    __m128i v;

    znIntType() = default;
    znIntType(int value) : v(_mm_set1_epi32(value)) {}
    znIntType(int l0, int l1, int l2, int l3) : v(_mm_setr_epi32(l0, l1, l2, l3)) {}
    znIntType(__m128i value) : v(value) {}

    int operator[](int lane) const { return Lanes(v)[lane]; }
    void set(int lane, int value)
    {
        Lanes lanes = Lanes(v);
        lanes[lane] = value;
        v = __m128i(lanes);
    }

    static znIntType allLanes() { return _mm_set1_epi32(-1); }
    static znIntType noLanes() { return _mm_setzero_si128(); }

    friend znIntType operator+(znIntType a, znIntType b) { return _mm_add_epi32(a.v, b.v); }
    friend znIntType operator-(znIntType a, znIntType b) { return _mm_sub_epi32(a.v, b.v); }
    /// Low 32 bits per lane: two even-lane products, then their low halves interleaved.
    friend znIntType operator*(znIntType a, znIntType b)
    {
        const __m128i even = _mm_mul_epu32(a.v, b.v);
        const __m128i odd = _mm_mul_epu32(_mm_srli_si128(a.v, 4), _mm_srli_si128(b.v, 4));
        return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                  _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
    }
    znIntType operator-() const { return znIntType(0) - *this; }
    znIntType& operator+=(znIntType b) { return *this = *this + b; }
    znIntType& operator-=(znIntType b) { return *this = *this - b; }
    znIntType& operator*=(znIntType b) { return *this = *this * b; }

    znIntType operator<<(int bits) const { return _mm_slli_epi32(v, bits); }
    /// Logical: zeros come in from above (hashes rely on it); see shiftRightArithmetic.
    znIntType operator>>(int bits) const { return _mm_srli_epi32(v, bits); }

    friend znIntType operator==(znIntType a, znIntType b) { return _mm_cmpeq_epi32(a.v, b.v); }
    friend znIntType operator!=(znIntType a, znIntType b) { return ~(a == b); }
    friend znIntType operator<(znIntType a, znIntType b) { return _mm_cmplt_epi32(a.v, b.v); }
    friend znIntType operator>(znIntType a, znIntType b) { return _mm_cmpgt_epi32(a.v, b.v); }
    friend znIntType operator<=(znIntType a, znIntType b) { return ~(a > b); }
    friend znIntType operator>=(znIntType a, znIntType b) { return ~(a < b); }

    friend znIntType operator&(znIntType a, znIntType b) { return _mm_and_si128(a.v, b.v); }
    friend znIntType operator|(znIntType a, znIntType b) { return _mm_or_si128(a.v, b.v); }
    friend znIntType operator^(znIntType a, znIntType b) { return _mm_xor_si128(a.v, b.v); }
    znIntType operator~() const { return _mm_xor_si128(v, _mm_set1_epi32(-1)); }
    znIntType& operator&=(znIntType b) { return *this = *this & b; }
    znIntType& operator|=(znIntType b) { return *this = *this | b; }
    znIntType& operator^=(znIntType b) { return *this = *this ^ b; }

private:
    typedef std::int32_t Lanes __attribute__((vector_size(16)));
};

/// ~mask & value
inline znIntType<2> andNot(znIntType<2> mask, znIntType<2> value)
{
    return _mm_andnot_si128(mask.v, value.v);
}

inline znIntType<2> select(znIntType<2> mask, znIntType<2> a, znIntType<2> b)
{
    return (mask & a) | andNot(mask, b);
}

inline znIntType<2> shiftRightArithmetic(znIntType<2> a, int bits)
{
    return _mm_srai_epi32(a.v, bits);
}

inline int moveMask(znIntType<2> mask)
{
    return _mm_movemask_ps(_mm_castsi128_ps(mask.v));
}

inline bool anyLane(znIntType<2> mask)
{
    return moveMask(mask) != 0;
}

/// The same bits under the other type.
inline znFloatType<2> asFloat(znIntType<2> bits)
{
    return _mm_castsi128_ps(bits.v);
}

inline znIntType<2> asInt(znFloatType<2> bits)
{
    return _mm_castps_si128(bits.v);
}

/// Rounds toward zero; 0x80000000 where the value does not fit.
inline znIntType<2> toInt(znFloatType<2> x)
{
    return _mm_cvttps_epi32(x.v);
}

/// Exact up to 2^24.
inline znFloatType<2> toFloat(znIntType<2> i)
{
    return _mm_cvtepi32_ps(i.v);
}

inline znFloatType<2> select(znIntType<2> mask, znFloatType<2> a, znFloatType<2> b)
{
    return select(asFloat(mask), a, b);
}
