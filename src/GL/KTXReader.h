#pragma once

#include "TextureLoader.h"
#include "TextureRecogniser.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

namespace Orvane { namespace Zel {

class Memory;

/// Holds the calling thread while the property "threadPauseRequested" of its
/// QThread is true. A host sets it to keep a loading thread off the GPU; a load is
/// held before the next level, never within an upload. Qt does not guard dynamic
/// properties: a host that sets it from another thread declares it in a subclass
/// of QThread, with an atomic value.
ZELGL_EXPORT void checkInterruptionRequestAndSleep();

/// Recognises KTX 1.1 by its identifier.
///
/// \snippet images.cpp KTXRecogniser
class ZELGL_EXPORT KTXRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &name) const override;
};

/// An image in the KTX 1.1 container: 1D, 2D, 3D or cube map, compressed or not,
/// with its levels and its metadata. The pixels go to GL as they lie in the mapping.
///
/// \snippet images.cpp KTXReader
///
/// Units:   texels of the base level.
/// Context: load() needs a current one; it may run on any thread that has one, see
///          checkInterruptionRequestAndSleep().
/// Errors:  load() refuses arrays, and data that GL refuses or that end early.
/// Source:  Khronos, "KTX File Format Specification", version 1.1.
///
/// A file without levels has them generated, which is told as a warning. Texts of
/// metadata that do not end within the file are null. Headers of the other byte
/// order are rewritten in place, so the memory must be this reader's alone.
class ZELGL_EXPORT KTXReader : public TextureLoader
{
    Q_DISABLE_COPY(KTXReader)

public:
    /// Owns \a memory. \a name is for messages.
    KTXReader(Memory *memory, const QString &name);
    ~KTXReader() override;

    bool valid() const override;

    bool isCompressed() const override;
    bool isArrayTexture() const override;
    bool isCubeMapTexture() const override;
    bool is1DTexture() const override;
    bool is2DTexture() const override;
    bool is3DTexture() const override;
    /// True also without levels in the file, since load() makes them.
    bool hasMipMaps() const override;

    unsigned int width() const override;
    unsigned int height() const override;
    unsigned int depth() const override;
    unsigned int arraySize() const override;
    unsigned int cubeFaces() const override;
    unsigned int mipmapLevels() const override;
    unsigned int numMetadataEntries() const override;

    QString key(unsigned int index) const override;
    /// The empty text, as a rule: see rawValue().
    QString value(unsigned int index) const override;
    const char *rawKey(unsigned int index) const override;
    /// The first NUL of an entry, or its last byte: in a sound entry, the end of the
    /// key.
    const char *rawValue(unsigned int index) const override;

    Texture *load(const TextureFileInfo &info) override;

private:
    struct Level;
    struct Source;

    struct Entry
    {
        quint64 key;  ///< offset from _metadata
        quint32 size; ///< as the file says
    };

    enum Upload {
        eComplete, ///< all levels were given to GL
        eCutOff    ///< the data end before the levels do, or no texture has their size
    };

    quint32 field(int offset) const;
    void convertByteOrder();
    bool readMetadata();
    const char *textAt(quint64 offset) const;

    unsigned int target() const;
    unsigned int internalFormat(bool srgb) const;
    void setSampling(qint32 anisotropy) const;
    Upload uploadLevels(Texture &texture, bool srgb, Source &source) const;
    bool uploadLevel(const Level &level, Source &source) const;
    quint64 bytesRead(const Level &level) const;
    void uploadImage(unsigned int imageTarget, const Level &level, const unsigned char *data) const;
    bool finishUpload(Upload upload) const;

    std::unique_ptr<Memory> _memory;
    QString _name;
    bool _valid = true;
    unsigned char *_header = nullptr;         ///< the first 64 bytes; null when they cannot be mapped
    const unsigned char *_metadata = nullptr; ///< the key-value block, and all behind it
    quint64 _metadataSize = 0;                ///< bytes that can be read there
    QVector<Entry> _entries;
};

}} // namespace Orvane::Zel
