#include "HDRScanlines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <new>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Orvane { namespace Zel {

namespace {

constexpr quint64 kTexelBytes = 4;
constexpr quint64 kChunk = 16;                           ///< bytes of one copy
constexpr quint64 kMaxOperationBytes = 1 + 128 + kChunk; ///< the most that one code reads, with whole chunks

/// Returns 2^(e - 136) for each exponent byte e: 128 is the bias of the exponent, and 8 more make integers of the mantissas,
/// which are fractions of 256. An exponent of 0 means black. All values and their products with a byte are exact in single
/// precision, denormal ones too; see HDRReaderTest.EveryExponentScalesExactly.
std::array<float, 256> makeScales()
{
    std::array<float, 256> scales = {};
    for (int e = 1; e < 256; ++e) {
        scales[static_cast<std::size_t>(e)] = static_cast<float>(std::ldexp(1.0, e - 136));
    }
    return scales;
}

const std::array<float, 256> kScales = makeScales();

inline void convertTexel(unsigned char r, unsigned char g, unsigned char b, unsigned char e, float *out)
{
    const float scale = kScales[e];
    out[0] = static_cast<float>(r) * scale;
    out[1] = static_cast<float>(g) * scale;
    out[2] = static_cast<float>(b) * scale;
}

#ifdef __SSE2__

/// Converts a texel of four words, of which it ignores the last. Writes four floats: the fourth is one too many.
inline void storeTexel(__m128i words, unsigned char e, float *out)
{
    _mm_storeu_ps(out, _mm_mul_ps(_mm_cvtepi32_ps(words), _mm_set1_ps(kScales[e])));
}

/// Converts four texels of four bytes, of which it ignores the last. Writes one float too many after the twelve.
inline void storeFourTexels(__m128i texels, const unsigned char *e, std::size_t eStride, float *out)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(texels, zero);
    const __m128i high = _mm_unpackhi_epi8(texels, zero);
    storeTexel(_mm_unpacklo_epi16(low, zero), e[0], out);
    storeTexel(_mm_unpackhi_epi16(low, zero), e[eStride], out + 3);
    storeTexel(_mm_unpacklo_epi16(high, zero), e[2 * eStride], out + 6);
    storeTexel(_mm_unpackhi_epi16(high, zero), e[3 * eStride], out + 9);
}

inline __m128i loadFourBytes(const unsigned char *bytes)
{
    int value;
    std::memcpy(&value, bytes, sizeof(value));
    return _mm_cvtsi32_si128(value);
}

#endif

void convertFlat(const unsigned char *texels, quint32 width, float *row)
{
    quint32 x = 0;
#ifdef __SSE2__
    // The float too many is in the next texel, so one texel must be left for the loop below.
    for (; x + 4 < width; x += 4, texels += 4 * kTexelBytes, row += 12) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i *>(texels));
        storeFourTexels(four, texels + 3, kTexelBytes, row);
    }
#endif
    for (; x < width; ++x, texels += kTexelBytes, row += 3) {
        convertTexel(texels[0], texels[1], texels[2], texels[3], row);
    }
}

void convertPlanes(const unsigned char *planes, quint64 planeSize, quint32 width, float *row)
{
    const unsigned char *r = planes;
    const unsigned char *g = r + planeSize;
    const unsigned char *b = g + planeSize;
    const unsigned char *e = b + planeSize;
    quint32 x = 0;
#ifdef __SSE2__
    for (; x + 4 < width; x += 4, row += 12) {
        const __m128i rg = _mm_unpacklo_epi8(loadFourBytes(r + x), loadFourBytes(g + x));
        const __m128i b0 = _mm_unpacklo_epi8(loadFourBytes(b + x), _mm_setzero_si128());
        storeFourTexels(_mm_unpacklo_epi16(rg, b0), e + x, 1, row);
    }
#endif
    for (; x < width; ++x, row += 3) {
        convertTexel(r[x], g[x], b[x], e[x], row);
    }
}

/// Copies in chunks, which is faster than a copy of variable length. Reads and writes up to a chunk more than \a count.
inline void copyInChunks(unsigned char *to, const unsigned char *from, quint64 count)
{
    for (quint64 i = 0; i < count; i += kChunk) {
        std::memcpy(to + i, from + i, kChunk);
    }
}

/// Fills in chunks. Writes up to a chunk more than \a count.
inline void fillInChunks(unsigned char *to, unsigned char value, quint64 count)
{
    for (quint64 i = 0; i < count; i += kChunk) {
        std::memset(to + i, value, kChunk);
    }
}

} // namespace

HDRScanlines::HDRScanlines(const unsigned char *begin, const unsigned char *end, quint32 width)
    : _cursor(begin)
    , _end(end)
    , _width(width)
    , _planeSize(quint64(width) + kChunk)
    , _planes(new (std::nothrow) unsigned char[4 * _planeSize])
{
}

HDRScanlines::Outcome HDRScanlines::decode(float *row)
{
    if (isMarker()) {
        return decodeOldRuns(row);
    }
    if (startsWith(2, 2)) {
        return decodePlanes(row);
    }
    return decodeFlat(row);
}

bool HDRScanlines::canHold(quint64 lines) const
{
    return remaining() >= lines * kTexelBytes; // the shortest form of a scanline is one texel
}

bool HDRScanlines::startsWith(unsigned char first, unsigned char second) const
{
    return remaining() >= 2 && _cursor[0] == first && _cursor[1] == second;
}

bool HDRScanlines::isMarker() const
{
    return remaining() >= 3 && startsWith(1, 1) && _cursor[2] == 1;
}

HDRScanlines::Outcome HDRScanlines::decodeFlat(float *row)
{
    const quint64 size = _width * kTexelBytes;
    if (remaining() < size) {
        return eTruncated;
    }
    convertFlat(_cursor, _width, row);
    _cursor += size;
    return eDecoded;
}

HDRScanlines::Outcome HDRScanlines::decodeOldRuns(float *row)
{
    quint64 x = 0;
    while (x < _width) {
        // 1. The count: required is that the first group of a record counts as a marker, whatever its first three bytes are.
        //    Each further marker adds the next higher byte.
        if (remaining() < kTexelBytes) {
            return eTruncated;
        }
        quint64 count = _cursor[3];
        _cursor += kTexelBytes;
        for (unsigned int shift = 8; isMarker(); shift += 8) {
            if (remaining() < kTexelBytes) {
                return eTruncated;
            }
            if (shift < 32) { // more bytes than any width has
                count += quint64(_cursor[3]) << shift;
            }
            _cursor += kTexelBytes;
        }
        if (remaining() < kTexelBytes) {
            return eTruncated;
        }
        // 2. The texel, as often as that, but not beyond the end of the scanline.
        float texel[3];
        convertTexel(_cursor[0], _cursor[1], _cursor[2], _cursor[3], texel);
        _cursor += kTexelBytes;
        for (const quint64 end = std::min<quint64>(x + count, _width); x < end; ++x) {
            std::memcpy(row + 3 * x, texel, sizeof(texel));
        }
    }
    return eDecoded;
}

HDRScanlines::Outcome HDRScanlines::decodePlanes(float *row)
{
    if (remaining() < 4) {
        return eTruncated;
    }
    const quint32 width = quint32(_cursor[2]) << 8 | _cursor[3];
    if (width != _width) {
        return eBadWidth;
    }
    _cursor += 4;
    for (quint64 plane = 0; plane < 4; ++plane) {
        const Outcome outcome = decodePlane(_planes.get() + plane * _planeSize);
        if (outcome != eDecoded) {
            return outcome;
        }
    }
    convertPlanes(_planes.get(), _planeSize, _width, row);
    return eDecoded;
}

HDRScanlines::Outcome HDRScanlines::decodePlane(unsigned char *plane)
{
    // Local copies: after each write of a byte, the compiler would have to reload the members, which the byte may alias.
    const unsigned char *cursor = _cursor;
    const unsigned char *const end = _end;
    const quint64 width = _width;
    quint64 x = 0;
    while (x < width) {
        const quint64 available = static_cast<quint64>(end - cursor);
        if (available == 0) {
            return eTruncated;
        }
        // 1. A code, which is the length of what follows: above 128 a run of one byte, otherwise bytes as they are.
        const quint64 code = *cursor;
        if (code > 128) {
            // 2. A run must fit into the scanline.
            const quint64 count = code - 128;
            if (width < x + count) {
                _overlongRun = {static_cast<unsigned int>(x), static_cast<unsigned int>(x + count)};
                return eOverlongRun;
            }
            if (available < 2) {
                return eTruncated;
            }
            fillInChunks(plane + x, cursor[1], count);
            cursor += 2;
            x += count;
        } else {
            // 3. Bytes are cut at the end of the scanline.
            const quint64 count = std::min(code, width - x);
            if (available >= kMaxOperationBytes) {
                copyInChunks(plane + x, cursor + 1, count);
            } else if (available - 1 < count) {
                return eTruncated;
            } else {
                std::memcpy(plane + x, cursor + 1, count);
            }
            cursor += std::min(1 + code, available); // also past the bytes that do not fit into the scanline
            x += count;
        }
    }
    _cursor = cursor;
    return eDecoded;
}

}} // namespace Orvane::Zel
