#pragma once

#include "TextureLoader.h"
#include "TextureRecogniser.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

namespace Orvane { namespace Zel {

class Memory;

/// Blocks the calling thread while the property "threadPauseRequested" of its QThread
/// is true. A host sets the property to keep a loading thread off the GPU. A load pauses
/// before the next level, never during an upload. Qt's dynamic properties are not
/// thread-safe: to set it from another thread, declare the property in a subclass of
/// QThread, with an atomic value.
ZELGL_EXPORT void checkInterruptionRequestAndSleep();

/// Recognises KTX 1.1 by its identifier.
///
/// \snippet images.cpp KTXRecogniser
class ZELGL_EXPORT KTXRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &name) const override;
};

/// Reads a KTX 1.1 file: a 1D, 2D, 3D or cube map image, compressed or not, with its
/// levels and metadata. GL reads the pixels directly from the mapping.
///
/// \snippet images.cpp KTXReader
///
/// Units:   sizes are texels of the base level.
/// Context: load() needs a current context, on any thread; see
///          checkInterruptionRequestAndSleep().
/// Errors:  load() logs a warning and returns null for arrays, for data that GL refuses
///          and for files that end early.
/// Source:  Khronos, "KTX File Format Specification", version 1.1.
///
/// load() generates the levels of a file that has none, with a warning. A metadata
/// text that has no end within the file is null. A header in the other byte order is
/// converted in place, so nothing else may use the memory.
class ZELGL_EXPORT KTXReader : public TextureLoader
{
    Q_DISABLE_COPY(KTXReader)

public:
    /// Takes ownership of \a memory. \a name is for messages.
    KTXReader(Memory *memory, const QString &name);
    ~KTXReader() override;

    bool valid() const override;

    bool isCompressed() const override;
    bool isArrayTexture() const override;
    bool isCubeMapTexture() const override;
    bool is1DTexture() const override;
    bool is2DTexture() const override;
    bool is3DTexture() const override;
    /// True also for a file without levels, since load() generates them.
    bool hasMipMaps() const override;

    unsigned int width() const override;
    unsigned int height() const override;
    unsigned int depth() const override;
    unsigned int arraySize() const override;
    unsigned int cubeFaces() const override;
    unsigned int mipmapLevels() const override;
    unsigned int numMetadataEntries() const override;

    QString key(unsigned int index) const override;
    /// Normally the empty text: see rawValue().
    QString value(unsigned int index) const override;
    const char *rawKey(unsigned int index) const override;
    /// Points to the first NUL of the entry, or to its last byte if it has none. In a
    /// well-formed entry that NUL ends the key, so the value is the empty text.
    const char *rawValue(unsigned int index) const override;

    Texture *load(const TextureFileInfo &info) override;

private:
    struct Level;
    struct Source;

    struct Entry
    {
        quint64 key;  ///< offset from _metadata
        quint32 size; ///< as stated in the file
    };

    enum Upload {
        eComplete, ///< all levels were uploaded
        eCutOff    ///< the data end before the last level, or no texture can have its size
    };

    ZELGL_NO_EXPORT quint32 field(int offset) const;
    ZELGL_NO_EXPORT void convertByteOrder();
    ZELGL_NO_EXPORT bool readMetadata();
    ZELGL_NO_EXPORT const char *textAt(quint64 offset) const;

    ZELGL_NO_EXPORT unsigned int target() const;
    ZELGL_NO_EXPORT unsigned int internalFormat(bool srgb) const;
    ZELGL_NO_EXPORT void setSampling(qint32 anisotropy) const;
    ZELGL_NO_EXPORT Upload uploadLevels(Texture &texture, bool srgb, Source &source) const;
    ZELGL_NO_EXPORT bool uploadLevel(const Level &level, Source &source) const;
    ZELGL_NO_EXPORT quint64 bytesRead(const Level &level) const;
    ZELGL_NO_EXPORT void uploadImage(unsigned int imageTarget, const Level &level,
                                     const unsigned char *data) const;
    ZELGL_NO_EXPORT bool finishUpload(Upload upload) const;

    std::unique_ptr<Memory> _memory;
    QString _name;
    bool _valid = true;
    unsigned char *_header = nullptr;         ///< the first 64 bytes; null when they cannot be mapped
    const unsigned char *_metadata = nullptr; ///< the key-value block and the rest of the file
    quint64 _metadataSize = 0;                ///< bytes from _metadata to the end of the file
    QVector<Entry> _entries;
};

}} // namespace Orvane::Zel
