#pragma once

#include <kenro/kenro_export.h>

namespace Kenro {

/// The ways loadRLE8() can decode its blocks of 64 stream bytes.
enum class Rle8Path {
    Portable, ///< chunks of 16 bytes, on any processor
    Avx2, ///< blocks in 32-byte registers, runs of 2 as single pixels (AVX2 and BMI)
    Avx512, ///< segments of 16 blocks sorted out in 64-byte registers (AVX-512 BW and VBMI2, BMI2)
};

/// The path loadRLE8() takes: the fastest one the processor has, unless set.
KENRO_EXPORT Rle8Path rle8Path();

/**
 * Makes loadRLE8() take \a path, so that tests cover each one. Returns false
 * and changes nothing when the processor cannot take it.
 */
KENRO_EXPORT bool setRle8Path(Rle8Path path);

} // namespace Kenro
