#pragma once

#include "../GLLoader.h"
#include "NameTable.h"
#include "NumberSet.h"

#include <QtCore/QMutex>
#include <QtCore/QSet>
#include <QtCore/QString>

#include <optional>
#include <vector>

namespace Orvane { namespace Zel {

/// Outside of ContextState: clang lets no member be an optional of a class inside it that has initial values.
struct TextureUnits
{
    int maxTextureImageUnits = 0;
    NameTable textureToUnitMaps; ///< messages of Texture contain this name
    NumberSet freeTextureUnits;
};

/// The binding points of one kind, uniform or storage.
struct BindingPoints
{
    unsigned int target = 0;
    int maxBindings = 0;
    NameTable _boundUniformBufferObjectCounts; ///< messages of UniformBufferObject contain this name
    NumberSet availableBindings;
    int batchFirst = -1; ///< the points changed in a batch; both -1 outside a batch
    int batchLast = -1;
    std::vector<unsigned int> bufferIDs; ///< by binding point; 0: none
    PFNGLBINDBUFFERSBASEPROC glBindBuffersBase = nullptr;
};

/// What the library remembers of one GL context: texture units, binding points, extensions.
///
/// Each part is empty until the class that uses it first needs it, and that class fills it.
///
/// The current program is not a part: gCurrentlyBoundShaderPrograms is public, and a host may change it under its mutex at any
/// time, so a copy here could be wrong.
///
/// Context: a record belongs to the identity that GLContextTracker returns, and only the thread in which the context is
///          current uses it. Records are never removed: a new context at the address of an old one inherits its record.
/// Errors:  none.
/// Private to the library; owners of the parts are Texture, UniformBufferObject and GLUtilities.
class ContextState
{
public:
    /// The record of the current context, or of no context. The first call for an identity makes the record; the reference
    /// stays valid.
    static ContextState &current();

    /// Null if current() was never called for the current context. Takes no lock: no other thread may call current() for the
    /// first time in its context meanwhile.
    static ContextState *currentIfKnown();

    /// The key of current(): a QOpenGLContext, a GLXContext, or null.
    static void *currentIdentity();

    /// currentIdentity() without the shortcut of ContextHold.
    static void *queryIdentity();

    /// Guards the table of records and, since threads without a context share one record, every record's \c extensions.
    static QMutex mutex;

    explicit ContextState(void *context)
        : identity(context)
    {
    }

    void *const identity;
    std::optional<TextureUnits> textureUnits;
    std::optional<BindingPoints> uniformPoints;
    std::optional<BindingPoints> storagePoints;
    std::optional<QSet<QString>> extensions;
};

}} // namespace Orvane::Zel
