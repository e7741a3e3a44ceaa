#pragma once

#include "TextureLoader2DHelper.h"
#include "TextureRecogniser.h"

#include <QtCore/QString>

#include <memory>

namespace Orvane { namespace Zel {

class HDRHeader;
class Memory;

/// Recognises Radiance pictures by "#?RADIANCE" in the first line.
class ZELGL_EXPORT HDRRecogniser : public TextureRecogniser
{
public:
    TextureLoader *recognise(Memory *memory, const QString &name) const override;
};

/// A Radiance picture, decoded into a texture of half floats: flat lines, and both
/// forms of run-length coding.
///
/// Units:   texel values as in the file: the exposure is read and not applied, and
///          XYZ data stay XYZ. The first axis of the file is the height and the
///          second the width, whatever their letters; the sign of the first alone
///          decides about the order of rows. Values above 65504, the largest half
///          float, become infinite.
/// Context: load() needs a current one.
/// Errors:  a line whose width field is wrong stays black, as do all lines after it,
///          and each of them is reported. A file too short for these lines is
///          reported once and fails, as do all data that end early. A run beyond
///          the end of its line is reported and ends the process.
/// Source:  Greg Ward, "Real Pixels", Graphics Gems II, 1991, and the file format
///          of the Radiance Synthetic Imaging System.
class ZELGL_EXPORT HDRReader : public TextureLoader2DHelper
{
    Q_DISABLE_COPY(HDRReader)

public:
    /// Owns \a memory. \a name is for messages.
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
