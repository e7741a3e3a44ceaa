#pragma once

#include "ShadersExport.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace Orvane { namespace ZelShaders {

/// The functions of GLSL files by name: where each is declared, defined and called.
///
/// A scan of the text, not a compiler: it ignores conditions of the preprocessor and does not distinguish overloads.
///
/// \snippet diagnosis.cpp FunctionIndex
///
/// Units:   lines count from 1.
/// Context: none; any thread.
/// Errors:  files that do not open are left out.
class ZELSHADERS_EXPORT FunctionIndex
{
public:
    /// The files that addShaderFromFile() finds for this process: those of the library, `GLSL/src` of the installation
    /// and `:/GLSL/src`.
    static const FunctionIndex &library();

    /// Adds a file under its path.
    void addFile(const QString &path);
    /// Adds all files of a folder; names are sorted.
    void addFolder(const QString &path);
    /// Adds a text under the name \a file.
    void addText(const QString &file, const QString &text);

    /// The files that define a function, in the order in which they were added.
    QStringList filesDefining(const QString &function) const;

    struct Place
    {
        QString function;
        int line; ///< of the name
    };

    /// The functions of one text.
    struct Functions
    {
        QVector<Place> defined;  ///< with a body
        QVector<Place> declared; ///< prototypes
        QVector<Place> called;   ///< every name before a parenthesis inside a body
    };

    static Functions scan(const QString &text);

private:
    QHash<QString, QStringList> _files; ///< by function
};

/// The advice for a function that no stage defines: "link FILE: " and the call that links the file of the library that has
/// it. Empty if none has it. \a stage is a GL stage; 0 if it is unknown. Of several files the advice names the one of the
/// header \a declaredIn, such as ZelUtilities.glslc for ZelUtilities.glslh.
ZELSHADERS_EXPORT QString linkAdvice(const QString &function, unsigned int stage,
                                     const QString &declaredIn = QString(),
                                     const FunctionIndex &index = FunctionIndex::library());

/// The GL name of a stage, such as "GL_VERTEX_SHADER"; "stage" for another value.
ZELSHADERS_EXPORT QString stageName(unsigned int stage);

}} // namespace Orvane::ZelShaders
