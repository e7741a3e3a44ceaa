#pragma once

#include "../GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

class Texture;

/// The functions of GL_ARB_bindless_texture, or those of GL_NV_bindless_texture,
/// which are of the same types.
///
/// Units:   handles are GL's; 0 is none.
/// Context: look up and use with one and the same context current.
/// Errors:  without a look-up every texture has the handle 0, for which nothing is called.
/// Source:  GL_ARB_bindless_texture, GL_NV_bindless_texture.
/// Private to the library.
class BindlessFunctions
{
public:
    enum Vendor { eARB, eNV };

    /// The extension of that vendor must be there.
    void lookUp(Vendor vendor);

    /// Freezes the texture's state for good; 0 for an incomplete texture, which is an error of GL.
    quint64 handleOf(const Texture &texture) const;
    bool isResident(quint64 handle) const;
    /// A call only where it changes something.
    void makeResident(quint64 handle) const;
    void makeNonResident(quint64 handle) const;

private:
    PFNGLGETTEXTUREHANDLEARBPROC _getTextureHandle = nullptr;
    PFNGLMAKETEXTUREHANDLERESIDENTARBPROC _makeTextureHandleResident = nullptr;
    PFNGLMAKETEXTUREHANDLENONRESIDENTARBPROC _makeTextureHandleNonResident = nullptr;
    PFNGLUNIFORMHANDLEUI64VARBPROC _uniformHandleui64v = nullptr; ///< looked up, and called by nobody
    PFNGLISTEXTUREHANDLERESIDENTARBPROC _isTextureHandleResident = nullptr;
};

}} // namespace Orvane::Zel
