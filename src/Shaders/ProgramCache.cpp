#include "ProgramCache.h"

#include "private/BinaryFiles.h"
#include "private/ProgramKey.h"

#include <ZelGL/GLUtilities.h>
#include <ZelGL/ShaderProgram.h>

#include <QtCore/QStandardPaths>
#include <QtCore/QVector>

#include <typeinfo>

namespace Orvane { namespace ZelShaders {

namespace {

/// The formats of the current context; empty for a driver whose own cache is switched off.
QVector<GLint> binaryFormats()
{
    GLint count = 0;
    glGetIntegerv(GL_NUM_PROGRAM_BINARY_FORMATS, &count);
    QVector<GLint> formats(count);
    if (count > 0) {
        glGetIntegerv(GL_PROGRAM_BINARY_FORMATS, formats.data());
    }
    return formats;
}

// A format of another driver would be a GL error, although the program then links from source.
bool isKnownFormat(unsigned int format)
{
    return binaryFormats().contains(static_cast<GLint>(format));
}

} // namespace

ProgramCache::ProgramCache(const QString &folder, int maxBytes)
    : _folder(folder.isEmpty() ? defaultFolder() : folder)
    , _maxBytes(maxBytes)
{
}

QString ProgramCache::defaultFolder()
{
    const QString caches = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return caches.isEmpty() ? QString() : caches + QStringLiteral("/programs");
}

bool ProgramCache::link(Zel::ShaderProgram &program)
{
    // A derived class may set more before its link than the key has, or do more after it.
    if (program.isLinked() || typeid(program) != typeid(Zel::ShaderProgram) || !hasBinaries(program)) {
        return program.link();
    }
    const QByteArray key = programKey(program);
    if (key.isEmpty()) {
        return program.link();
    }
    const BinaryFiles files(_folder, _maxBytes);
    BinaryFiles::Binary binary;
    switch (files.read(key, binary)) {
    case BinaryFiles::eFound:
        if (isKnownFormat(binary.format) && program.loadProgramFromRawData(binary.data, binary.format)) {
            return true;
        }
        ZEL_LOG_WARNING("The driver refuses '%s': it is deleted and written again",
                        files.pathOf(key).toUtf8().constData());
        files.remove(key);
        break;
    case BinaryFiles::eUnusable:
        ZEL_LOG_WARNING("'%s' is damaged or of another program: it is deleted and written again",
                        files.pathOf(key).toUtf8().constData());
        files.remove(key);
        break;
    case BinaryFiles::eMissing:
        break;
    }
    return linkAndStore(program, key);
}

bool ProgramCache::hasBinaries(const Zel::ShaderProgram &program)
{
    // The functions belong to the process, the extension to the context.
    if (program.isProgramBinariesSupported() && hasGLExtension("GL_ARB_get_program_binary")
        && !binaryFormats().isEmpty()) {
        return true;
    }
    if (!_driverReported.exchange(true)) {
        ZEL_LOG_WARNING("The driver has no program binaries: update it, or switch on its own shader cache");
    }
    return false;
}

bool ProgramCache::linkAndStore(Zel::ShaderProgram &program, const QByteArray &key)
{
    if (!program.link()) {
        return false;
    }
    // Before the host sets a binding point: some drivers save those in the binary.
    BinaryFiles::Binary binary;
    if (!program.getProgramBinary(binary.data, binary.format)) {
        // This driver needs the hint, which the program now has, before a link.
        glLinkProgram(program.shaderProgramID());
        if (!program.linkPost()) {
            return false;
        }
        program.getProgramBinary(binary.data, binary.format);
    }
    if (!isKnownFormat(binary.format)) {
        return true; // the driver has no binary of this program
    }
    const QString error = BinaryFiles(_folder, _maxBytes).write(key, binary);
    if (!error.isEmpty() && !_folderReported.exchange(true)) {
        ZEL_LOG_WARNING("Programs are not kept in '%s': %s. Give ProgramCache a folder that can be written "
                        "to, or a higher limit",
                        _folder.toUtf8().constData(), error.toUtf8().constData());
    }
    return true;
}

}} // namespace Orvane::ZelShaders
