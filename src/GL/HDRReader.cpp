#include "HDRReader.h"

#include "GLUtilities.h"
#include "Texture.h"
#include "TextureProcessing.h"
#include "private/HDRHeader.h"
#include "private/HDRScanlines.h"
#include "private/TextureUpload.h"
#include "private/UnpackState.h"

#include <ZelCore/Memory.h>

#include <algorithm>
#include <cstdlib>

#include <sys/mman.h>

namespace Orvane { namespace Zel {

namespace {

struct FreeRows
{
    void operator()(float *rows) const { std::free(rows); }
};

using Rows = std::unique_ptr<float[], FreeRows>;

/// Returns uninitialised memory, or null if there is none. Large pictures request large pages from the kernel: with small
/// pages, the first access to the memory takes longer than decoding.
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
        madvise(memory, rounded, MADV_HUGEPAGE); // a hint, which a kernel may ignore
    }
    return Rows(static_cast<float *>(memory));
}

/// Required reaction to a run that goes beyond its scanline; see HDRReaderTest.ARunBeyondItsLineEndsTheProcess.
[[noreturn]] void endProcess(const HDRScanlines::Run &run, unsigned int width)
{
    ZEL_BARE_WARNING("Bad scanline: RLE run starting at %u ends at %u, but width is only %u", run.start,
                     run.end, width);
    std::abort();
}

/// Returns null on a GL error.
Texture *upload(const float *rows, unsigned int width, unsigned int height)
{
    const auto w = static_cast<GLsizei>(width);
    const auto h = static_cast<GLsizei>(height);
    auto *texture = new Texture(GL_TEXTURE_2D, GL_RGB16F, w, h, 1, nullptr);
    bool uploaded = false;
    if (texture->bind()) { // otherwise the calls would change another texture
        clearPendingGLErrors();
        const UnpackState unpackState(4);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
        // Required, though only the base level exists.
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 100);
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

/// The result of all scanlines. The process ends only after decode() has freed its memory.
struct Decoded
{
    Rows rows; ///< from the bottom up; null when the data end early
    bool hasOverlongRun;
    HDRScanlines::Run overlongRun;
};

Decoded decode(const HDRHeader &header, const unsigned char *end)
{
    const std::size_t rowSize = std::size_t(3) * header.width();
    Decoded failed = {nullptr, false, {0, 0}};
    Rows rows = allocateRows(rowSize * header.height());
    HDRScanlines scanlines(header.pixels(), end, header.width());
    if (rows == nullptr || !scanlines.ready()) {
        return failed;
    }
    for (quint32 y = 0; y < header.height(); ++y) {
        // Required: neither the letters nor the second sign count; see
        // HDRReaderTest.RowsGoUpFromTheBottomByTheFirstSignAlone.
        float *row = rows.get() + rowSize * (header.isTopDown() ? header.height() - 1 - y : y);
        switch (scanlines.decode(row)) {
        case HDRScanlines::eDecoded:
            break;
        case HDRScanlines::eBadWidth: // the next row starts at the same byte, and logs the same
            ZEL_LOG_WARNING("HDR format error: bad scanline width");
            if (!scanlines.canHold(header.height() - y)) {
                return failed; // the rest cannot be decoded: one warning instead of one for each row
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

/// Returns null for a picture that cannot be decoded and on a GL error.
Texture *loadPixels(const HDRHeader &header, const unsigned char *end)
{
    if (std::max(header.width(), header.height()) > longestTextureSide()) {
        return nullptr; // no texture can have the size: no memory is allocated for it
    }
    const Decoded decoded = decode(header, end);
    if (decoded.hasOverlongRun) {
        endProcess(decoded.overlongRun, header.width());
    }
    return decoded.rows != nullptr ? upload(decoded.rows.get(), header.width(), header.height()) : nullptr;
}

} // namespace

TextureLoader *HDRRecogniser::recognise(Memory *memory, const QString &name) const
{
    const unsigned char *magic = memory->map(0, HDRHeader::kMagicSize);
    if (magic == nullptr) {
        return nullptr;
    }
    const bool recognised = HDRHeader::hasMagic(magic);
    memory->unmap(magic);
    return recognised ? new HDRReader(memory, name) : nullptr;
}

HDRReader::HDRReader(Memory *memory, const QString &name)
    : _memory(memory)
    , _name(name)
    , _header(new HDRHeader)
{
    const unsigned char *view = memory->map(0, memory->size());
    _end = view + (view != nullptr ? memory->size() : 0);
    _valid = _header->parse(view, _end);
}

HDRReader::~HDRReader() = default;

bool HDRReader::valid() const
{
    return _valid;
}

unsigned int HDRReader::width() const
{
    return _header->width();
}

unsigned int HDRReader::height() const
{
    return _header->height();
}

Texture *HDRReader::load(const TextureFileInfo &info)
{
    Texture *texture = _valid ? loadPixels(*_header, _end) : nullptr;
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

}} // namespace Orvane::Zel
