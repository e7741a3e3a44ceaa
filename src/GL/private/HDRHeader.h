#pragma once

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Parses the header of a Radiance picture from bytes in memory. It calls neither GL nor the log.
///
/// Errors: parse() returns false for a malformed header. It reads nothing outside of the bytes.
/// Source: the file format of the Radiance Synthetic Imaging System.
/// Private to the library; a part of HDRReader.
class HDRHeader
{
public:
    static constexpr quint64 kMagicSize = 11;
    static bool hasMagic(const unsigned char *bytes);

    bool parse(const unsigned char *begin, const unsigned char *end);

    /// The first byte after the header.
    const unsigned char *pixels() const { return _cursor; }
    /// The size of the second axis, whatever its letter.
    quint32 width() const { return _second.size; }
    quint32 height() const { return _first.size; }
    /// The first scanline is the top row of the picture.
    bool isTopDown() const { return _first.sign == '-'; }

private:
    enum PixelFormat { eUnknown, eRgbe, eXyze };

    struct Axis
    {
        char sign;
        char letter;
        quint32 size;
    };

    bool parseLines();
    bool parseFormat();
    bool parseExposure();
    bool parseResolution();
    bool skipLine();
    bool startsWith(const char *text) const;

    const unsigned char *_cursor = nullptr;
    const unsigned char *_end = nullptr;
    PixelFormat _pixelFormat = eUnknown;
    float _exposure = 1.0f;
    Axis _first = {'-', 'Y', 0};
    Axis _second = {'+', 'X', 0};
};

}} // namespace Orvane::Zel
