#pragma once

#include <ZelCore/RawMemory.h>
#include <ZelGL/Texture.h>
#include <ZelGL/TextureLoader.h>

#include <QtCore/QByteArray>

#include <algorithm>
#include <memory>

/// A file in memory of exactly its size, so that a sanitizer detects reads beyond it, and the reader that a recogniser
/// creates for it.
template <typename Recogniser> class ReaderUnderTest
{
public:
    explicit ReaderUnderTest(const QByteArray &file, const QString &name = QStringLiteral("image"))
        : _bytes(new unsigned char[size_t(file.size())])
    {
        std::copy(file.begin(), file.end(), _bytes.get());
        auto memory = std::make_unique<Orvane::Zel::RawMemory>(_bytes.get(), size_t(file.size()));
        _reader.reset(Recogniser().recognise(memory.get(), name));
        if (_reader != nullptr) {
            memory.release(); // owned by the reader now
        }
    }

    /// Null if the file is not recognised.
    Orvane::Zel::TextureLoader *get() const { return _reader.get(); }

    Orvane::Zel::TextureLoader *operator->() const { return _reader.get(); }

    bool valid() const { return _reader != nullptr && _reader->valid(); }

    std::unique_ptr<Orvane::Zel::Texture> load(const Orvane::Zel::TextureFileInfo &info) const
    {
        return std::unique_ptr<Orvane::Zel::Texture>(_reader->load(info));
    }

private:
    std::unique_ptr<unsigned char[]> _bytes;
    std::unique_ptr<Orvane::Zel::TextureLoader> _reader;
};

/// Options of a load that keeps the row order of a KTX image.
inline Orvane::Zel::TextureFileInfo asInFile()
{
    Orvane::Zel::TextureFileInfo info;
    info.keepOrientation = true;
    return info;
}
