#pragma once

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// What the caller of a load wants of the image. A default record takes the image of
/// the file, except that 2D images of KTX are flipped: see keepOrientation.
///
/// \snippet images.cpp TextureFileInfo
///
/// Units: colours from 0 to 1; anisotropy as a ratio.
struct TextureFileInfo
{
    /// Colours are mapped from 0..1 to lowValue..highValue; the pair 0 and 1 means no remap.
    float lowValue = 0.0f;
    float highValue = 1.0f;
    /// Whether images that QImage reads are remapped; KTX, HDR and ASTC ignore it.
    bool remapRange = true;
    /// The image holds sRGB-encoded colour.
    bool srgb = false;
    /// True loads a KTX image exactly as the file has it. False: after the upload it is
    /// remapped, and flipped vertically into an uncompressed copy. Images that no such
    /// pass can copy keep the orientation and the values of the file; which these are,
    /// WritableCopyOfTexture() says. Other readers ignore the flag.
    bool keepOrientation = false;
    /// Maximum anisotropy; 0 or less means none.
    qint32 anisotropy = 0;
    /// Bits per channel; no reader uses it.
    qint32 channelDepth = 8;
};

}} // namespace Orvane::Zel
