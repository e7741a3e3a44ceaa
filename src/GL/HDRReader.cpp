#include "HDRReader.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "TextureProcessing.h"
#include "private/HDRScanlines.h"
#include "private/TextureUpload.h"

#include <ZelCore/Memory.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace Orvane { namespace Zel {

namespace {

constexpr char kMagic[] = "#?RADIANCE\n";
constexpr quint64 kMagicSize = sizeof(kMagic) - 1;
constexpr char kFormatKey[] = "FORMAT=";
constexpr char kExposureKey[] = "EXPOSURE=";
constexpr char kRgbe[] = "32-bit_rle_rgbe\n";
constexpr char kXyze[] = "32-bit_rle_xyze\n";

bool hasMagic(const unsigned char *bytes)
{
    return std::memcmp(bytes, kMagic, kMagicSize) == 0;
}

/// A copy for sscanf(), which reads until it finds a NUL.
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

struct FreeRows
{
    void operator()(float *rows) const { std::free(rows); }
};

using Rows = std::unique_ptr<float[], FreeRows>;

/// Uninitialised; null when there is no memory. Large pictures ask the kernel for large
/// pages: with small ones the first touch of the memory costs more than decoding.
Rows allocateRows(std::size_t floats)
{
    constexpr std::size_t largePage = std::size_t(2) << 20;
    const std::size_t size = std::max(floats * sizeof(float), sizeof(float));
    if (size < 2 * largePage) {
        return Rows(static_cast<float *>(std::malloc(size)));
    }
    const std::size_t rounded = (size + largePage - 1) / largePage * largePage;
    void *memory = std::aligned_alloc(largePage, rounded);
    if (memory != nullptr) {
        madvise(memory, rounded, MADV_HUGEPAGE); // a hint; a kernel may refuse it
    }
    return Rows(static_cast<float *>(memory));
}

bool isSign(char character)
{
    return character == '+' || character == '-';
}

bool isAxis(char character)
{
    return character == 'X' || character == 'Y';
}

} // namespace

/// What became of the scanlines.
struct HDRReader::Decoded
{
    Rows rows; ///< from the bottom up; null when the data end early
    bool hasOverlongRun;
    HDRScanlines::Run overlongRun;
};

TextureLoader *HDRRecogniser::recognise(Memory *memory, const QString &name) const
{
    const unsigned char *magic = memory->map(0, kMagicSize);
    if (magic == nullptr) {
        return nullptr;
    }
    const bool recognised = hasMagic(magic);
    memory->unmap(magic);
    return recognised ? new HDRReader(memory, name) : nullptr;
}

HDRReader::HDRReader(Memory *memory, const QString &name)
    : _memory(memory)
    , _name(name)
    , _cursor(memory->map(0, memory->size()))
{
    _end = _cursor + (_cursor != nullptr ? memory->size() : 0);
    _valid = parse();
}

HDRReader::~HDRReader() = default;

bool HDRReader::valid() const
{
    return _valid;
}

unsigned int HDRReader::width() const
{
    return _second.size;
}

unsigned int HDRReader::height() const
{
    return _first.size;
}

Texture *HDRReader::load(const TextureFileInfo &info)
{
    Texture *texture = nullptr;
    if (_valid && fitsTexture()) {
        const Decoded decoded = decode();
        if (decoded.hasOverlongRun) {
            endProcess(decoded.overlongRun.start, decoded.overlongRun.end);
        }
        if (decoded.rows != nullptr) {
            texture = upload(decoded.rows.get());
        }
    }
    if (texture == nullptr) {
        ZEL_BARE_WARNING("Texture %s failed to load.", qPrintable(_name));
        return nullptr;
    }
    if (info.srgb) {
        SrgbToLinear(texture);
    }
    RemapColorRange(texture, info.lowValue, info.highValue);
    return texture;
}

bool HDRReader::parse()
{
    if (_end - _cursor <= static_cast<std::ptrdiff_t>(kMagicSize) || !hasMagic(_cursor)) {
        return false;
    }
    _cursor += kMagicSize;
    return parseHeaderLines() && parseResolution();
}

bool HDRReader::parseHeaderLines()
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

bool HDRReader::parseFormat()
{
    _cursor += std::strlen(kFormatKey);
    _pixelFormat = startsWith(kRgbe) ? eRgbe : startsWith(kXyze) ? eXyze : eUnknown;
    if (_pixelFormat == eUnknown) {
        return false;
    }
    _cursor += std::strlen(kRgbe); // both names have this length
    return true;
}

bool HDRReader::parseExposure()
{
    _cursor += std::strlen(kExposureKey);
    float exposure = 1.0f;
    if (std::sscanf(BoundedText(_cursor, _end).text, "%f", &exposure) != 1) {
        return false;
    }
    _exposure *= exposure; // kept, and never applied
    return skipLine();
}

bool HDRReader::parseResolution()
{
    const int read = std::sscanf(BoundedText(_cursor, _end).text, "%c%c %u %c%c %u", &_first.sign,
                                 &_first.letter, &_first.size, &_second.sign, &_second.letter, &_second.size);
    return read == 6 && isSign(_first.sign) && isSign(_second.sign) && isAxis(_first.letter)
           && isAxis(_second.letter) && _first.letter != _second.letter && skipLine();
}

/// To behind the next newline, or onto a NUL before it. False at the end of the view.
bool HDRReader::skipLine()
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

bool HDRReader::startsWith(const char *text) const
{
    const std::size_t size = std::strlen(text);
    return static_cast<std::size_t>(_end - _cursor) >= size && std::memcmp(_cursor, text, size) == 0;
}

/// Asked before memory is taken for sizes that no texture can have.
bool HDRReader::fitsTexture() const
{
    return std::max(width(), height()) <= longestTextureSide();
}

HDRReader::Decoded HDRReader::decode() const
{
    const std::size_t rowSize = std::size_t(3) * width();
    Decoded failed = {nullptr, false, {0, 0}};
    Rows rows = allocateRows(rowSize * height());
    HDRScanlines scanlines(_cursor, _end, width());
    if (rows == nullptr || !scanlines.ready()) {
        return failed;
    }
    for (quint32 y = 0; y < height(); ++y) {
        // The letters of the axes and the second sign make no difference.
        float *row = rows.get() + rowSize * (_first.sign == '-' ? height() - 1 - y : y);
        switch (scanlines.decode(row)) {
        case HDRScanlines::eDecoded:
            break;
        case HDRScanlines::eBadWidth: // the next row reads the same place again, and reports as well
            ZEL_LOG_WARNING("HDR format error: bad scanline width");
            if (!scanlines.canHold(height() - y)) {
                return failed; // the file is too short in any case: no report for each of the lines
            }
            std::fill_n(row, rowSize, 0.0f);
            break;
        case HDRScanlines::eOverlongRun:
            failed.hasOverlongRun = true;
            failed.overlongRun = scanlines.overlongRun();
            return failed;
        case HDRScanlines::eTruncated:
            return failed;
        }
    }
    return {std::move(rows), false, {0, 0}};
}

/// What happens on a run beyond the end of its line. This is settled.
void HDRReader::endProcess(unsigned int runStart, unsigned int runEnd) const
{
    ZEL_BARE_WARNING("Bad scanline: RLE run starting at %u ends at %u, but width is only %u", runStart,
                     runEnd, width());
    std::abort();
}

/// Null when GL refuses.
Texture *HDRReader::upload(const float *rows) const
{
    const auto w = static_cast<GLsizei>(width());
    const auto h = static_cast<GLsizei>(height());
    auto *texture = new Texture(GL_TEXTURE_2D, GL_RGB16F, w, h, 1, nullptr);
    bool uploaded = false;
    if (texture->bind()) { // else the calls would go to another texture
        const UnpackAlignment alignment(4);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 100); // no level but the base exists
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16F, w, h, 0, GL_RGB, GL_FLOAT, rows);
        uploaded = glGetError() == GL_NO_ERROR;
        texture->unbind();
    }
    if (!uploaded) {
        delete texture;
        return nullptr;
    }
    return texture;
}

}} // namespace Orvane::Zel
