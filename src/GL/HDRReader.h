#pragma once

#include "TextureLoader2DHelper.h"
#include "TextureRecogniser.h"

#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace Zel {

class HDRHeader;
class Memory;

/// Recognises Radiance pictures, whose first line is "#?RADIANCE".
///
/// \snippet images.cpp HDRRecogniser
class ZELGL_EXPORT HDRRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &name) const override;
};

/// Decodes a Radiance picture into a texture of half floats. It reads flat scanlines and both forms of run-length coding.
///
/// \snippet images.cpp HDRReader
///
/// Units:   texels have the values of the file: the exposure is parsed but not applied, and XYZ data stay XYZ. The first axis
///          of the file is the height and the second the width, whatever their letters; only the sign of the first axis
///          decides the order of rows. Values above 65504, the largest half float, become infinite.
/// Context: load() needs a current one.
/// Errors:  a scanline with a wrong width field stays black, and so do all that follow; each of them logs a warning. A file
///          that is too short for them logs one warning and fails. Data that end early fail. A run that goes beyond the end of
///          its scanline logs a warning and aborts the process.
/// Source:  Greg Ward, "Real Pixels", Graphics Gems II, 1991, and the file format of the Radiance Synthetic Imaging System.
class ZELGL_EXPORT HDRReader : public TextureLoader2DHelper
{
    Q_DISABLE_COPY(HDRReader)

public:
    /// Takes ownership of \a memory. Messages contain \a name.
    HDRReader(Memory *memory, const QString &name);
    ~HDRReader() override;

    bool valid() const override;
    unsigned int width() const override;
    unsigned int height() const override;

    Texture *load(const TextureFileInfo &info) override;

private:
    std::unique_ptr<Memory> _memory;
    QString _name;
    bool _valid = false;
    std::unique_ptr<HDRHeader> _header;
    const unsigned char *_end = nullptr; ///< of the view of the whole file
};

}} // namespace Orvane::Zel
