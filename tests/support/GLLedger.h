#pragma once

#include <QtCore/QStringList>

#include <memory>

/// While it exists, tracks the GL names that pass through the library's table, by kind and name space: those that were
/// generated and not deleted, and deletions of names that do not exist.
class GLLedger
{
public:
    enum Kind { eBuffer, eVertexArray, eTexture, eFramebuffer, eShader, eProgram, eKindCount };

    /// Needs initializeGLFunctions(), which fills the table.
    GLLedger();
    ~GLLedger();

    int alive(Kind kind) const;
    int alive() const;

    /// A line for every kind with existing names, and for every deletion of a name that did not exist.
    QStringList faults() const;

private:
    struct Books;

    std::unique_ptr<Books> _books;
};
