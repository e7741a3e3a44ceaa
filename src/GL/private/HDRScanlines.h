#pragma once

#include <QtCore/QtGlobal>

#include <memory>

namespace Orvane { namespace Zel {

/// Decodes the scanlines of a Radiance picture, one after the other, from bytes in
/// memory. A room of HDRReader; it touches neither GL nor the log.
///
/// Units:  texels; three floats a texel, red first.
/// Errors: as outcomes. After eBadWidth the next line starts at the same place;
///         after the others there is no next line. Nothing outside of the bytes
///         and of the row is touched.
/// Source: the file format of the Radiance Synthetic Imaging System.
class HDRScanlines
{
    Q_DISABLE_COPY(HDRScanlines)

public:
    enum Outcome {
        eDecoded,
        eBadWidth,    ///< the width field of the line names another; the row is untouched
        eOverlongRun, ///< a run ends beyond the line; see overlongRun()
        eTruncated    ///< the bytes end within the line
    };

    /// Both in texels of the line.
    struct Run
    {
        unsigned int start;
        unsigned int end;
    };

    HDRScanlines(const unsigned char *begin, const unsigned char *end, quint32 width);

    /// Whether there was memory for a line.
    bool ready() const { return _planes != nullptr; }

    /// Decodes the next line into \a row, of three floats a texel.
    Outcome decode(float *row);

    Run overlongRun() const { return _overlongRun; }

    /// Whether the rest of the bytes is long enough for as many lines, each of one texel at least.
    bool canHold(quint64 lines) const;

private:
    bool startsWith(unsigned char first, unsigned char second) const;
    bool isMarker() const;
    quint64 remaining() const { return static_cast<quint64>(_end - _cursor); }

    Outcome decodeFlat(float *row);
    Outcome decodeOldRuns(float *row);
    Outcome decodePlanes(float *row);
    Outcome decodePlane(unsigned char *plane);

    const unsigned char *_cursor;
    const unsigned char *_end;
    const quint32 _width;
    const quint64 _planeSize;                 ///< the width, and room for what wide copies write behind it
    std::unique_ptr<unsigned char[]> _planes; ///< one line: red, green, blue, exponent
    Run _overlongRun = {0, 0};
};

}} // namespace Orvane::Zel
