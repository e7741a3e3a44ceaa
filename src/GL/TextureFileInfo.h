#pragma once

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

/// Options of a load. The defaults load the image as it is in the file, except that
/// 2D images of KTX files are flipped: see keepOrientation.
///
/// \snippet images.cpp TextureFileInfo
///
/// Units: colours are from 0 to 1; anisotropy is a ratio.
struct TextureFileInfo
{
    /// Colours are mapped from 0..1 to lowValue..highValue; the pair 0 and 1 means no remap.
    float lowValue = 0.0f;
    float highValue = 1.0f;
    /// Whether images that QImage reads are remapped; KTX, HDR and ASTC ignore it.
    bool remapRange = true;
    /// The image holds sRGB-encoded colour.
    bool srgb = false;
    /// True loads a KTX image exactly as it is in the file. False remaps the colours and
    /// flips the image vertically after the upload, into an uncompressed copy. Images for
    /// which WritableCopyOfTexture() returns null keep the orientation and the values of
    /// the file. Other readers ignore the flag.
    bool keepOrientation = false;
    /// Maximum anisotropy; 0 or less means none.
    qint32 anisotropy = 0;
    /// Bits per channel; no reader uses it.
    qint32 channelDepth = 8;
};

}} // namespace Orvane::Zel
