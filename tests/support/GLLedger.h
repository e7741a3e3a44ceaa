#pragma once

#include <QtCore/QStringList>

#include <memory>

/// Keeps account of the GL names that pass through the library's table while it lives: what was made and not
/// yet deleted, per kind and per name space, and deletes of names that are not alive.
class GLLedger
{
public:
    enum Kind { eBuffer, eVertexArray, eTexture, eFramebuffer, eShader, eProgram, eKindCount };

    /// After initializeGLFunctions(), which fills the table.
    GLLedger();
    ~GLLedger();

    int alive(Kind kind) const;
    int alive() const;

    /// In words: every kind with living names, and every delete of a name that was not alive.
    QStringList faults() const;

private:
    struct Books;

    std::unique_ptr<Books> _books;
};
