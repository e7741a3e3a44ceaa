#pragma once

#include "../HeadlessContext.h"

#include <GL/glcorearb.h>

namespace Orvane { namespace ZelKit {

/// A context of one window-system interface.
class ContextBackend
{
public:
    using Options = HeadlessContext::Options;

    virtual ~ContextBackend() = default;

    /// Null, with a reason, if there is no such context. Qt keeps the context and its surface; see HeadlessContext::create().
    static std::unique_ptr<ContextBackend> createGlx(const Options &options, QString *error);
    /// The same without a display and without Qt.
    static std::unique_ptr<ContextBackend> createEgl(const Options &options, QString *error);

    /// Whether contexts of GLX are possible: by the application object or, without one, by a display that can be opened.
    static bool canUseGlx();
    /// HeadlessContext::choosePlatform(), without the format of windows.
    static void choosePlatform(HeadlessContext::Purpose purpose);

    /// The message about a driver that lacks the version or profile.
    static QString describeMissing(const Options &options);

    virtual bool makeCurrent() = 0;
    virtual void doneCurrent() = 0;
    virtual bool isCurrent() const = 0;

    /// Of the current context, independent of the library's table.
    virtual PFNGLGETINTEGERVPROC integerQuery() const = 0;

    virtual QOpenGLContext *qtContext() { return nullptr; }
};

}} // namespace Orvane::ZelKit
