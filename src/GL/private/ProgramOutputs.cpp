#include "ProgramOutputs.h"

#include "../Reporting.h"
#include "EntryPoint.h"

namespace Orvane { namespace Zel {

void nameFragmentOutputs(GLuint program, const QStringList &names, const QList<QStringList> &indexedNames)
{
    // Looked up only for programs that need it: a driver that lacks it is reported, and few programs have two sources.
    EntryPoint<PFNGLBINDFRAGDATALOCATIONINDEXEDPROC> bindFragDataLocationIndexed;
    if (!indexedNames.isEmpty()) {
        bindFragDataLocationIndexed.lookUp("glBindFragDataLocationIndexed", false);
    }
    for (int i = 0; i < names.size(); ++i) {
        const auto colorNumber = static_cast<GLuint>(i);
        if (i == 0 && !indexedNames.isEmpty()) { // only colour 0 can have a second source
            if (bindFragDataLocationIndexed != nullptr) {
                const QStringList &sources = indexedNames.first();
                for (int j = 0; j < sources.size(); ++j) {
                    bindFragDataLocationIndexed(program, colorNumber, static_cast<GLuint>(j),
                                                sources.at(j).toLatin1().constData());
                }
                continue;
            }
            ZEL_BARE_DEBUG(
                "Trying to setup glBindFragDataLocationIndexed( %d, %d, , ). Func pointer is NULL, "
                "falling back to glBindFragDataLocation()\n",
                static_cast<int>(program), i);
        }
        glBindFragDataLocation(program, colorNumber, names.at(i).toLatin1().constData());
    }
}

void nameTransformFeedbackVaryings(GLuint program, const QStringList &names, unsigned int bufferMode)
{
    if (names.isEmpty()) {
        return;
    }
    EntryPoint<PFNGLTRANSFORMFEEDBACKVARYINGSPROC> transformFeedbackVaryings;
    transformFeedbackVaryings.lookUp("glTransformFeedbackVaryings", false);
    if (transformFeedbackVaryings == nullptr) {
        return;
    }
    QList<QByteArray> latin1Names;
    // The list keeps the converted names alive until the call; the vector has the pointers into them, as GL takes them.
    QVector<const GLchar *> pointers;
    for (const QString &name : names) {
        latin1Names.append(name.toLatin1());
        pointers.append(latin1Names.last().constData());
    }
    transformFeedbackVaryings(program, pointers.size(), pointers.constData(), bufferMode);
}

}} // namespace Orvane::Zel
