#include "ProgramKey.h"

#include <ZelGL/GLLoader.h>
#include <ZelGL/GLVersions.h>
#include <ZelGL/Shader.h>
#include <ZelGL/ShaderProgram.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QVector>

#include <algorithm>
#include <utility>

namespace Orvane { namespace ZelShaders {

namespace {

using Zel::ShaderProgram;

// What a host sets before the link has no getters, and GL reports it only after a link. The key needs all of it: without it,
// a host that changes the outputs of a program would get the old ones. An explicit instantiation may name private members, so
// that neither the headers nor the exports of libZelGL change.
struct LinkInputs
{
    QMultiHash<int, Zel::Shader *> ShaderProgram::*stages;
    QStringList ShaderProgram::*feedbackVaryings;
    unsigned int ShaderProgram::*feedbackMode;
    QStringList ShaderProgram::*fragDataLocations;
    QList<QStringList> ShaderProgram::*fragDataIndexs;
};

LinkInputs linkInputs();

template <auto... members> struct Access
{
    friend LinkInputs linkInputs() { return {members...}; }
};

template struct Access<&ShaderProgram::_shaders, &ShaderProgram::_transformFeedbackVaryings,
                       &ShaderProgram::_transformFeedbackBufferMode, &ShaderProgram::_fragDataLocations,
                       &ShaderProgram::_fragDataIndexs>;

// The extensions too: their names are defined in the shaders, and a setting can hide some from a driver of the same version.
QByteArrayList driverTexts()
{
    QByteArrayList texts;
    for (const GLenum name : {GL_VENDOR, GL_RENDERER, GL_VERSION, GL_SHADING_LANGUAGE_VERSION}) {
        texts.append(reinterpret_cast<const char *>(glGetString(name)));
    }
    for (const GLenum name : {GL_CONTEXT_PROFILE_MASK, GL_CONTEXT_FLAGS}) {
        GLint value = 0;
        glGetIntegerv(name, &value);
        texts.append(QByteArray::number(value));
    }
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    for (GLint i = 0; i < count; ++i) {
        texts.append(reinterpret_cast<const char *>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i))));
    }
    return texts;
}

} // namespace

QByteArray programKey(const ShaderProgram &program)
{
    const LinkInputs inputs = linkInputs();
    const QMultiHash<int, Zel::Shader *> &shaders = program.*inputs.stages;
    QVector<std::pair<int, QByteArray>> stages; // the texts as the driver gets them
    for (auto shader = shaders.cbegin(); shader != shaders.cend(); ++shader) {
        stages.append({shader.key(), shader.value()->sourceCode().toLatin1()});
        if (stages.last().second.isEmpty()) {
            return QByteArray();
        }
    }
    if (stages.isEmpty()) {
        return QByteArray();
    }
    // The order of a hash differs between processes.
    std::sort(stages.begin(), stages.end());
    // The stream writes the length before each text, so that different parts never have the same bytes.
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << Zel::GLVersions::getVersion() << driverTexts();
    for (const auto &stage : stages) {
        stream << stage.first << stage.second;
    }
    stream << program.*inputs.feedbackVaryings << program.*inputs.feedbackMode
           << program.*inputs.fragDataLocations << program.*inputs.fragDataIndexs;
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

}} // namespace Orvane::ZelShaders
