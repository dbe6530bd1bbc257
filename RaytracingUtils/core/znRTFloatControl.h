#pragma once

// Floating point control while rays are being worked on: denormals are read as zero and results
// that would be denormal are flushed to zero. A guard restores what was in force before on every
// way out, so a host thread comes back as it went in.

#include <xmmintrin.h>

class znRTFloatControl
{
public:
    /// Bits of the control word: flush to zero 0x8000, denormals are zero 0x0040.
    static constexpr unsigned s_bits = 0x8040;

    znRTFloatControl() : saved(_mm_getcsr()) { _mm_setcsr(saved | s_bits); }
    ~znRTFloatControl() { _mm_setcsr(saved); }
    znRTFloatControl(const znRTFloatControl&) = delete;
    znRTFloatControl& operator=(const znRTFloatControl&) = delete;

private:
    unsigned saved;
};
