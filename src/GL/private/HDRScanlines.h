#pragma once

#include <QtCore/QtGlobal>

#include <memory>

namespace Orvane { namespace Zel {

/// Decodes the scanlines of a Radiance picture, one after the other, from bytes in memory. It calls neither GL nor the log.
///
/// Units:  texels; three floats for each, red first.
/// Errors: returned as outcomes. After eBadWidth, the next scanline starts at the same byte; after the other errors there is no
///         next scanline. Nothing outside of the bytes and of the row is accessed.
/// Source: the file format of the Radiance Synthetic Imaging System.
/// Private to the library; a part of HDRReader.
class HDRScanlines
{
    Q_DISABLE_COPY(HDRScanlines)

public:
    enum Outcome {
        eDecoded,
        eBadWidth,    ///< the width field has another value; the row is unchanged
        eOverlongRun, ///< a run goes beyond the scanline; see overlongRun()
        eTruncated    ///< the bytes end before the scanline does
    };

    /// Both are texels of the scanline; the end is not part of the run.
    struct Run
    {
        unsigned int start;
        unsigned int end;
    };

    HDRScanlines(const unsigned char *begin, const unsigned char *end, quint32 width);

    /// Returns false if there was no memory for a scanline.
    bool ready() const { return _planes != nullptr; }

    /// Decodes the next scanline into \a row, which has three floats for each texel.
    Outcome decode(float *row);

    Run overlongRun() const { return _overlongRun; }

    /// Returns whether the remaining bytes can contain as many scanlines, if each has one texel or more.
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
    const quint64 _planeSize; ///< the width and a chunk, since wide copies write beyond the width
    std::unique_ptr<unsigned char[]> _planes; ///< of one scanline: red, green, blue, exponent
    Run _overlongRun = {0, 0};
};

}} // namespace Orvane::Zel
