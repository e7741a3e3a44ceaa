#pragma once

#include "../GLLoader.h"

#include <QtCore/QtGlobal>

namespace Orvane { namespace Zel {

class Texture;

/// The entry points of GL_ARB_bindless_texture or of GL_NV_bindless_texture, whose types are the same.
///
/// Units:   handles of GL; 0 means that there is none.
/// Context: call lookUp() and all others with the same context current.
/// Errors:  without a look-up every texture has the handle 0, and nothing calls GL.
/// Source:  GL_ARB_bindless_texture, GL_NV_bindless_texture.
/// Private to the library; a part of BindlessTextureManager and SlotHandles.
class BindlessFunctions
{
public:
    enum Vendor { eARB, eNV };

    /// The context must have the extension of \a vendor.
    void lookUp(Vendor vendor);

    /// Returns the handle of a texture, whose state can then never change. Returns 0 for an incomplete texture, which is a GL
    /// error.
    quint64 handleOf(const Texture &texture) const;
    bool isResident(quint64 handle) const;
    // These two make their call only if the residency changes, since GL reports an error otherwise.
    void makeResident(quint64 handle) const;
    void makeNonResident(quint64 handle) const;

private:
    PFNGLGETTEXTUREHANDLEARBPROC _getTextureHandle = nullptr;
    PFNGLMAKETEXTUREHANDLERESIDENTARBPROC _makeTextureHandleResident = nullptr;
    PFNGLMAKETEXTUREHANDLENONRESIDENTARBPROC _makeTextureHandleNonResident = nullptr;
    PFNGLUNIFORMHANDLEUI64VARBPROC _uniformHandleui64v = nullptr; ///< required: looked up, though unused
    PFNGLISTEXTUREHANDLERESIDENTARBPROC _isTextureHandleResident = nullptr;
};

}} // namespace Orvane::Zel
