#include "HDRHeader.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace Orvane { namespace Zel {

namespace {

constexpr char kMagic[] = "#?RADIANCE\n";
constexpr char kFormatKey[] = "FORMAT=";
constexpr char kExposureKey[] = "EXPOSURE=";
constexpr char kRgbe[] = "32-bit_rle_rgbe\n";
constexpr char kXyze[] = "32-bit_rle_xyze\n";
static_assert(sizeof(kMagic) - 1 == HDRHeader::kMagicSize, "readers map as many bytes");

/// A copy for sscanf(), which reads up to a NUL: the mapped file may end without one.
struct BoundedText
{
    BoundedText(const unsigned char *begin, const unsigned char *end)
    {
        const auto size = std::min<std::size_t>(sizeof(text) - 1, static_cast<std::size_t>(end - begin));
        std::memcpy(text, begin, size);
        text[size] = '\0';
    }

    char text[256];
};

bool isSign(char character)
{
    return character == '+' || character == '-';
}

bool isAxis(char character)
{
    return character == 'X' || character == 'Y';
}

} // namespace

bool HDRHeader::hasMagic(const unsigned char *bytes)
{
    return std::memcmp(bytes, kMagic, kMagicSize) == 0;
}

bool HDRHeader::parse(const unsigned char *begin, const unsigned char *end)
{
    _cursor = begin;
    _end = end;
    if (_end - _cursor <= static_cast<std::ptrdiff_t>(kMagicSize) || !hasMagic(_cursor)) {
        return false;
    }
    _cursor += kMagicSize;
    return parseLines() && parseResolution();
}

bool HDRHeader::parseLines()
{
    while (_cursor != _end && *_cursor != '\0') {
        if (*_cursor == '\n') { // an empty line ends the header
            ++_cursor;
            return true;
        }
        const bool parsed = startsWith(kFormatKey)     ? parseFormat()
                            : startsWith(kExposureKey) ? parseExposure()
                                                       : skipLine();
        if (!parsed) {
            return false;
        }
    }
    return false;
}

bool HDRHeader::parseFormat()
{
    _cursor += std::strlen(kFormatKey);
    // Required: both formats decode alike, without a conversion from XYZ to RGB.
    _pixelFormat = startsWith(kRgbe) ? eRgbe : startsWith(kXyze) ? eXyze : eUnknown;
    if (_pixelFormat == eUnknown) {
        return false;
    }
    _cursor += std::strlen(kRgbe); // both names have this length
    return true;
}

bool HDRHeader::parseExposure()
{
    _cursor += std::strlen(kExposureKey);
    float exposure = 1.0f;
    if (std::sscanf(BoundedText(_cursor, _end).text, "%f", &exposure) != 1) {
        return false;
    }
    _exposure *= exposure; // required: never applied to the texels
    return skipLine();
}

bool HDRHeader::parseResolution()
{
    // Required: the letters are checked here and used nowhere else.
    const int read = std::sscanf(BoundedText(_cursor, _end).text, "%c%c %u %c%c %u", &_first.sign,
                                 &_first.letter, &_first.size, &_second.sign, &_second.letter, &_second.size);
    return read == 6 && isSign(_first.sign) && isSign(_second.sign) && isAxis(_first.letter)
           && isAxis(_second.letter) && _first.letter != _second.letter && skipLine();
}

/// Moves to the byte after the next newline, or to a NUL before it. Returns false if there is neither.
bool HDRHeader::skipLine()
{
    _cursor = std::find_if(_cursor, _end, [](unsigned char byte) { return byte == '\n' || byte == '\0'; });
    if (_cursor == _end) {
        return false;
    }
    if (*_cursor == '\n') {
        ++_cursor;
    }
    return true;
}

bool HDRHeader::startsWith(const char *text) const
{
    const std::size_t size = std::strlen(text);
    return static_cast<std::size_t>(_end - _cursor) >= size && std::memcmp(_cursor, text, size) == 0;
}

}} // namespace Orvane::Zel
