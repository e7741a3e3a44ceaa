#include "ShaderProgram.h"

#include "GLContextTracker.h"
#include "GLUtilities.h"
#include "Shader.h"
#include "private/EntryPoint.h"
#include "private/ShaderText.h"

#include <ZelCore/Resources.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QMutexLocker>
#include <QtCore/QThread>
#include <QtCore/QVarLengthArray>
#include <QtGui/QColor>
#include <QtGui/QGenericMatrix>
#include <QtGui/QMatrix4x4>
#include <QtGui/QVector2D>
#include <QtGui/QVector3D>
#include <QtGui/QVector4D>

#include <algorithm>
#include <cstring>
#include <iterator>

bool isSamplerType(unsigned int type)
{
    return (type >= GL_SAMPLER_1D && type <= GL_SAMPLER_2D_RECT_SHADOW)
           || (type >= GL_SAMPLER_1D_ARRAY && type <= GL_SAMPLER_CUBE_SHADOW)
           || (type >= GL_INT_SAMPLER_1D && type <= GL_UNSIGNED_INT_SAMPLER_BUFFER)
           || (type >= GL_SAMPLER_CUBE_MAP_ARRAY && type <= GL_UNSIGNED_INT_SAMPLER_CUBE_MAP_ARRAY)
           || (type >= GL_SAMPLER_2D_MULTISAMPLE && type <= GL_UNSIGNED_INT_SAMPLER_2D_MULTISAMPLE_ARRAY);
}

namespace Orvane { namespace Zel {

QHash<void *, ShaderProgram *> gCurrentlyBoundShaderPrograms;
QMutex gCurrentlyBoundShaderProgramsMutex;

namespace {

// Entry points beyond the table, one set for the process, looked up by the first
// constructor whose context has them.
EntryPoint<PFNGLGETPROGRAMBINARYPROC> getProgramBinaryFunction;
EntryPoint<PFNGLPROGRAMBINARYPROC> programBinaryFunction;
EntryPoint<PFNGLPROGRAMPARAMETERIPROC> programParameteriFunction;
EntryPoint<PFNGLGETPROGRAMINTERFACEIVPROC> getProgramInterfaceivFunction;
EntryPoint<PFNGLGETPROGRAMRESOURCENAMEPROC> getProgramResourceNameFunction;
EntryPoint<PFNGLGETPROGRAMRESOURCEINDEXPROC> getProgramResourceIndexFunction;
EntryPoint<PFNGLSHADERSTORAGEBLOCKBINDINGPROC> shaderStorageBlockBindingFunction;

constexpr int kBlockNameBytes = 1024;

/// The end where there is no such block.
std::vector<unsigned int>::iterator findIn(std::vector<unsigned int> &bindings, unsigned int index)
{
    return index < bindings.size() ? bindings.begin() + static_cast<std::ptrdiff_t>(index) : bindings.end();
}

void lookUpProgramBinary()
{
    if (getProgramBinaryFunction != nullptr) {
        return;
    }
    if (hasGLExtension("GL_ARB_get_program_binary")) {
        getProgramBinaryFunction.lookUp("glGetProgramBinary", false);
        programBinaryFunction.lookUp("glProgramBinary", false);
        programParameteriFunction.lookUp("glProgramParameteri", false);
    } else if (hasGLExtension("GL_OES_get_program_binary")) {
        // Without glProgramParameteri these two stay unused: this extension never reports support.
        getProgramBinaryFunction.lookUp("glGetProgramBinaryOES", false);
        programBinaryFunction.lookUp("glProgramBinaryOES", false);
    }
}

void lookUpProgramResources()
{
    if (getProgramInterfaceivFunction != nullptr || getProgramResourceNameFunction != nullptr
        || getProgramResourceIndexFunction != nullptr || shaderStorageBlockBindingFunction != nullptr) {
        return;
    }
    if (openGlVersionSupported(4, 3) || hasGLExtension("GL_ARB_shader_storage_buffer_object")) {
        getProgramInterfaceivFunction.lookUp("glGetProgramInterfaceiv", false);
        getProgramResourceNameFunction.lookUp("glGetProgramResourceName", false);
        getProgramResourceIndexFunction.lookUp("glGetProgramResourceIndex", false);
        shaderStorageBlockBindingFunction.lookUp("glShaderStorageBlockBinding", false);
    }
}

GLint programParameter(GLuint program, GLenum parameter)
{
    GLint value = 0;
    glGetProgramiv(program, parameter, &value);
    return value;
}

QString stageAbbreviation(int type)
{
    switch (type) {
    case GL_VERTEX_SHADER:
        return QStringLiteral("VS");
    case GL_FRAGMENT_SHADER:
        return QStringLiteral("FS");
    case GL_GEOMETRY_SHADER:
        return QStringLiteral("GS");
    case GL_TESS_EVALUATION_SHADER:
        return QStringLiteral("TES");
    case GL_TESS_CONTROL_SHADER:
        return QStringLiteral("TCS");
    default:
        return QString();
    }
}

/// The source as the driver has it; sources go to GL as Latin-1.
QString driverSource(GLuint shader)
{
    GLint length = 0;
    glGetShaderiv(shader, GL_SHADER_SOURCE_LENGTH, &length);
    QByteArray source(length, '\0');
    glGetShaderSource(shader, length, nullptr, source.data());
    return QString::fromLatin1(source.constData());
}

QString md5Hex(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

/// Room for the names of a kind, of which the longest with its zero byte is known: never less than \a usual bytes.
QByteArray nameBuffer(GLint longest, int usual)
{
    return QByteArray(std::max(longest, usual), '\0');
}

bool isBuiltInAttribute(const char *name)
{
    return std::strncmp(name, "gl_", 3) == 0;
}

/// Built-in attributes that GL feeds by itself.
bool isAllowedBuiltIn(const char *name)
{
    // Fourteen characters, so that the name without its suffix passes too.
    return std::strncmp(name, "gl_BaseInstanceARB", 14) == 0 || std::strcmp(name, "gl_InstanceID") == 0
           || std::strcmp(name, "gl_VertexID") == 0;
}

template <typename Component> using TupleCall = void(APIENTRY *)(GLint, GLsizei, const Component *);

/// Sends a list as vectors; \a calls has the GL call of each tuple size.
template <typename Component>
bool setTuples(int location, const QVector<Component> &values, int tupleSize,
               const TupleCall<Component> (&calls)[4])
{
    if (location < 0) {
        return false;
    }
    if (tupleSize < 1 || tupleSize > 4) {
        return true;
    }
    if (tupleSize == 1) {
        calls[0](location, values.size(), values.constData());
        return true;
    }
    // The count is the size of the list, not the number of tuples, on purpose. GL
    // may then read past the list: the copy has all that the count speaks of.
    QVarLengthArray<Component, 1024> padded(values.size() * tupleSize);
    std::fill(std::copy(values.cbegin(), values.cend(), padded.begin()), padded.end(), Component(0));
    calls[tupleSize - 1](location, values.size(), padded.constData());
    return true;
}

/// What sets a uniform from a variant of a type that Qt knows by name only.
struct NamedTypeSetter
{
    const char *typeName;
    void (*set)(int location, const QVariant &value);
};

// value<T>() reads the exact type, converts any other, and else gives what the type starts with.
const NamedTypeSetter kNamedTypeSetters[] = {
    {"QMatrix3x3",
     [](int location, const QVariant &value) {
         glUniformMatrix3fv(location, 1, GL_FALSE, value.value<QMatrix3x3>().constData());
     }},
    {"QMatrix4x2",
     [](int location, const QVariant &value) {
         glUniformMatrix4x2fv(location, 1, GL_FALSE, value.value<QMatrix4x2>().constData());
     }},
    {"QMatrix2x2",
     [](int location, const QVariant &value) {
         glUniformMatrix2fv(location, 1, GL_FALSE, value.value<QMatrix2x2>().constData());
     }},
    {"Orvane::Zel::RangedFloat",
     [](int location, const QVariant &value) { glUniform1f(location, value.value<RangedFloat>().value); }},
    {"Orvane::Zel::RangedDouble",
     [](int location, const QVariant &value) {
         glUniform1f(location, static_cast<float>(value.value<RangedDouble>().value));
     }},
};

void setUniformByTypeName(int location, const QVariant &value)
{
    const auto setter = std::find_if(
        std::begin(kNamedTypeSetters), std::end(kNamedTypeSetters),
        [&value](const NamedTypeSetter &row) { return qstrcmp(value.typeName(), row.typeName) == 0; });
    if (setter == std::end(kNamedTypeSetters)) {
        ZEL_LOG_CRITICAL("ZelShaderProgram::setUniform is not implemented for type : %s", value.typeName());
        return;
    }
    setter->set(location, value);
}

} // namespace

ShaderProgram::ShaderProgram(QObject *parent)
    : QObject(parent)
    , _parallelShaderCompile(hasGLExtension("GL_ARB_parallel_shader_compile"))
{
    lookUpProgramBinary();
    lookUpProgramResources();
}

ShaderProgram::~ShaderProgram()
{
    clear();
}

bool ShaderProgram::compile()
{
    _programID = kShaderProgramNotLinked; // forgotten, not deleted, on purpose
    preprocess();
    for (Shader *shader : qAsConst(_shaders)) {
        if (!shader->compile()) {
            _log = shader->log();
            return false;
        }
    }
    return true;
}

bool ShaderProgram::linkPre()
{
    if (isLinked()) {
        return true;
    }
    ZEL_ASSERT_RETURN(nullptr != glCreateProgram, false, kNotInitialized);
    _programID = glCreateProgram();
    if (!attachShaders()) {
        deleteProgram();
        return false;
    }
    applyFragDataLocations();
    applyTransformFeedbackVaryings();
    glLinkProgram(_programID);
    return true;
}

bool ShaderProgram::linkPreWait()
{
    if (!_parallelShaderCompile) {
        return true;
    }
    QElapsedTimer sinceStart;
    QElapsedTimer sinceReport;
    sinceStart.start();
    sinceReport.start();
    for (;;) {
        GLint completed = 1; // stays where the driver does not answer
        glGetProgramiv(_programID, GL_COMPLETION_STATUS_ARB, &completed);
        if (completed == 1) {
            return true;
        }
        if (sinceStart.elapsed() >= 5000) {
            ZEL_BARE_DEBUG("%p TIMEOUT 0x%02X", static_cast<void *>(this),
                           static_cast<unsigned int>(completed));
            return true; // linkPost() will block for as long as it takes
        }
        if (sinceReport.elapsed() >= 1000) {
            ZEL_BARE_DEBUG("%p Sleep 0x%02X", static_cast<void *>(this),
                           static_cast<unsigned int>(completed));
            sinceReport.restart();
        }
        QThread::yieldCurrentThread();
    }
}

bool ShaderProgram::linkPost()
{
    if (programParameter(_programID, GL_LINK_STATUS) != 0) {
        cacheNames();
        clearSource();
        return true;
    }
    _log = driverLog(_programID, glGetProgramiv, glGetProgramInfoLog);
    warnLineByLine(QStringLiteral("Failed to link GL shader\n =======Log=========\n") + _log);
    dump();
    deleteProgram();
    return false;
}

bool ShaderProgram::link()
{
    return linkPre() && linkPost();
}

bool ShaderProgram::validate()
{
    if (!isLinked()) {
        return false;
    }
    if (programParameter(_programID, GL_LINK_STATUS) != 0) {
        return true;
    }
    _log = driverLog(_programID, glGetProgramiv, glGetProgramInfoLog);
    // The first two pieces stand on one line, as they are.
    warnLineByLine(QStringLiteral("Failed to validate GL shader========= Log =========\n") + _log);
    return false;
}

bool ShaderProgram::bind()
{
    if (!isLinked()) {
        ZEL_LOG_WARNING("Shader program is not linked");
        return false;
    }
    glUseProgram(_programID);
    void *const context = GLContextTracker::currentContext();
    const QMutexLocker locker(&gCurrentlyBoundShaderProgramsMutex);
    gCurrentlyBoundShaderPrograms[context] = this;
    return true;
}

bool ShaderProgram::unbind()
{
    glUseProgram(0);
    void *const context = GLContextTracker::currentContext();
    const QMutexLocker locker(&gCurrentlyBoundShaderProgramsMutex);
    gCurrentlyBoundShaderPrograms.remove(context);
    return true;
}

ShaderProgram *ShaderProgram::currentShaderProgram()
{
    void *const context = GLContextTracker::currentContext();
    const QMutexLocker locker(&gCurrentlyBoundShaderProgramsMutex);
    return gCurrentlyBoundShaderPrograms.value(context, nullptr);
}

void ShaderProgram::clear()
{
    if (isLinked()) {
        deleteProgram();
    }
    _preprocessed = false;
    qDeleteAll(_shaders);
    _shaders.clear();
}

void ShaderProgram::setMacroProcessor(GLSLMacroProcessor *processor)
{
    _macroProcessor = processor;
}

GLSLMacroProcessor *ShaderProgram::getMacroProcessor() const
{
    return _macroProcessor;
}

void ShaderProgram::addShader(int type, const QString &source, const QString &dumpPath)
{
    _preprocessed = false;
    auto *shader = new Shader(static_cast<unsigned int>(type), source, _macroProcessor, nullptr);
    _shaders.insert(type, shader);
    if (!dumpPath.isEmpty()) {
        shader->dumpSourceCode(dumpPath);
    }
}

void ShaderProgram::addShaderFromFile(int type, const QString &fileName)
{
    const QDir folders[] = {QDir(QString()), // the working directory
                            QDir(resourcesPath() + QStringLiteral("/GLSL/src")),
                            QDir(QStringLiteral(":/GLSL/src"))};
    for (const QDir &folder : folders) {
        QString source;
        if (folder.exists() && readShaderText(folder.filePath(fileName), source)) {
            addShader(type, source, QString());
            return;
        }
    }
    ZEL_LOG_WARNING("Couldn't find shader source file '%s'", fileName.toUtf8().constData());
}

void ShaderProgram::preprocess()
{
    _preprocessed = true;
}

void ShaderProgram::clearSource()
{
    for (Shader *shader : qAsConst(_shaders)) {
        shader->clearSource();
    }
}

void ShaderProgram::setTransformFeedbackVaryings(const QStringList &names, unsigned int bufferMode)
{
    _transformFeedbackVaryings = names;
    _transformFeedbackBufferMode = bufferMode;
}

void ShaderProgram::setFragDataLocations(const QStringList &names)
{
    _fragDataLocations = names;
}

void ShaderProgram::setFragDataIndexs(const QList<QStringList> &names)
{
    _fragDataIndexs = names;
}

bool ShaderProgram::isLinked() const
{
    return _programID != kShaderProgramNotLinked;
}

unsigned int ShaderProgram::shaderProgramID() const
{
    return _programID;
}

QString ShaderProgram::log() const
{
    return _log;
}

bool ShaderProgram::isProgramBinariesSupported() const
{
    return getProgramBinaryFunction != nullptr && programBinaryFunction != nullptr
           && programParameteriFunction != nullptr;
}

bool ShaderProgram::getProgramBinary(QByteArray &data, unsigned int &format) const
{
    if (!isProgramBinariesSupported()) {
        return false;
    }
    programParameteriFunction(_programID, GL_PROGRAM_BINARY_RETRIEVABLE_HINT, 1);
    const GLint length = programParameter(_programID, GL_PROGRAM_BINARY_LENGTH);
    if (length < 1) {
        return false;
    }
    data.resize(length);
    getProgramBinaryFunction(_programID, length, nullptr, &format, data.data());
    return true;
}

bool ShaderProgram::loadProgramFromRawData(const QByteArray &data, unsigned int format)
{
    if (!isProgramBinariesSupported()) {
        return false;
    }
    _programID = glCreateProgram();
    programBinaryFunction(_programID, format, data.constData(), data.size());
    if (programParameter(_programID, GL_LINK_STATUS) == 0) {
        deleteProgram();
        return false;
    }
    cacheNames();
    return true;
}

QString ShaderProgram::constructShaderHash()
{
    preprocess();
    QStringList hashes;
    for (const Shader *shader : qAsConst(_shaders)) {
        hashes.append(md5Hex(shader->sourceCode()));
    }
    hashes.sort();
    return md5Hex(hashes.join(QString()));
}

void ShaderProgram::dump()
{
    QString text = QStringLiteral("Program %1\n").arg(_programID);
    for (const Shader *shader : qAsConst(_shaders)) {
        GLint type = 0;
        glGetShaderiv(shader->shaderID(), GL_SHADER_TYPE, &type);
        text += QStringLiteral("Shader 0x%1 %2\n").arg(type, 0, 16).arg(shader->shaderID());
        text += numberedLines(driverSource(shader->shaderID()));
    }
    warnLineByLine(text);
}

void ShaderProgram::dumpShaderSources(const QString &pathTemplate) const
{
    for (auto shader = _shaders.cbegin(); shader != _shaders.cend(); ++shader) {
        shader.value()->dumpSourceCode(pathTemplate.arg(stageAbbreviation(shader.key())));
    }
}

void ShaderProgram::cacheVertexAttributes()
{
    _vertexAttributes.clear();
    if (!isLinked()) {
        return;
    }
    const GLint count = programParameter(_programID, GL_ACTIVE_ATTRIBUTES);
    QByteArray buffer = nameBuffer(programParameter(_programID, GL_ACTIVE_ATTRIBUTE_MAX_LENGTH), 200);
    char *const name = buffer.data();
    for (GLint i = 0; i < count; ++i) {
        GLint size = 0;
        GLenum type = 0;
        glGetActiveAttrib(_programID, static_cast<GLuint>(i), buffer.size(), nullptr, &size, &type, name);
        const GLint location = glGetAttribLocation(_programID, name);
        if (!isBuiltInAttribute(name)) {
            if (location >= 0) {
                _vertexAttributes.insert(QString::fromLatin1(name), location);
            }
        } else if (!isAllowedBuiltIn(name)) {
            ZEL_ASSERT(false, "[ !! ] Shader Contains GL attribute '%s'. This is illigal", name);
        }
    }
}

void ShaderProgram::cacheUniformLocations()
{
    _uniformLocationNameID = getUniformLocation(QStringLiteral("u_DrawID"));
}

void ShaderProgram::cacheUniformBlockIndices()
{
    _uniformBlockIndices.clear();
    _uniformBlockBindingIndices.clear();
    _storageBlockIndices.clear();
    _storageBlockBindingIndices.clear();
    if (!isLinked()) {
        return;
    }
    const GLint uniformBlocks = programParameter(_programID, GL_ACTIVE_UNIFORM_BLOCKS);
    QByteArray name =
        nameBuffer(programParameter(_programID, GL_ACTIVE_UNIFORM_BLOCK_MAX_NAME_LENGTH), kBlockNameBytes);
    for (GLuint i = 0; i < static_cast<GLuint>(uniformBlocks); ++i) {
        glGetActiveUniformBlockName(_programID, i, name.size(), nullptr, name.data());
        _uniformBlockIndices.insert(QString::fromLatin1(name.constData()), i);
        _uniformBlockBindingIndices.push_back(0);
    }
    if (getProgramInterfaceivFunction == nullptr || getProgramResourceNameFunction == nullptr
        || getProgramResourceIndexFunction == nullptr) {
        return;
    }
    GLint storageBlocks = 0;
    GLint longest = 0;
    getProgramInterfaceivFunction(_programID, GL_SHADER_STORAGE_BLOCK, GL_ACTIVE_RESOURCES, &storageBlocks);
    getProgramInterfaceivFunction(_programID, GL_SHADER_STORAGE_BLOCK, GL_MAX_NAME_LENGTH, &longest);
    name = nameBuffer(longest, kBlockNameBytes);
    for (GLuint i = 0; i < static_cast<GLuint>(storageBlocks); ++i) {
        getProgramResourceNameFunction(_programID, GL_SHADER_STORAGE_BLOCK, i, name.size(), nullptr,
                                       name.data());
        _storageBlockIndices.insert(QString::fromLatin1(name.constData()), i);
        _storageBlockBindingIndices.push_back(0);
    }
}

int ShaderProgram::getVertexAttributeLocation(const QString &name) const
{
    return _vertexAttributes.value(name, -1);
}

const QHash<QString, int> &ShaderProgram::getVertexAttributeNameLocationMap() const
{
    return _vertexAttributes;
}

QStringList ShaderProgram::getVertexAttributeNames() const
{
    return _vertexAttributes.keys();
}

int ShaderProgram::getUniformLocation(const QString &name) const
{
    const auto itFind = _uniformLocations.constFind(name);
    if (itFind != _uniformLocations.constEnd()) {
        return *itFind;
    }
    return *_uniformLocations.insert(name, glGetUniformLocation(_programID, name.toLatin1().constData()));
}

bool ShaderProgram::hasUniform(const QString &name) const
{
    return getUniformLocation(name) >= 0;
}

int ShaderProgram::getUniformLocationNameID() const
{
    return _uniformLocationNameID;
}

unsigned int ShaderProgram::getUniformBlockIndex(const QString &name) const
{
    return _uniformBlockIndices.value(name, GL_INVALID_INDEX);
}

unsigned int ShaderProgram::getStorageBlockIndex(const QString &name) const
{
    return _storageBlockIndices.value(name, GL_INVALID_INDEX);
}

// A binding without a block is logged and handed to GL all the same.
void ShaderProgram::setUniformBlockBinding(unsigned int index, unsigned int binding)
{
    const auto itFind = findIn(this->_uniformBlockBindingIndices, index);
    ZEL_ASSERT(itFind != this->_uniformBlockBindingIndices.end(),
               "Trying to set uniformBlockIndex %u on shader %u. Does not exist.", index, _programID);
    const bool exists = itFind != _uniformBlockBindingIndices.end();
    if (exists && *itFind == binding) {
        return;
    }
    glUniformBlockBinding(_programID, index, binding);
    if (exists) {
        *itFind = binding;
    }
}

void ShaderProgram::setStorageBlockBinding(unsigned int index, unsigned int binding)
{
    const auto itFind = findIn(this->_storageBlockBindingIndices, index);
    ZEL_ASSERT(itFind != this->_storageBlockBindingIndices.end(),
               "Trying to set storageBlockIndex %u on shader %u. Does not exist.", index, _programID);
    const bool exists = itFind != _storageBlockBindingIndices.end();
    if ((exists && *itFind == binding) || shaderStorageBlockBindingFunction == nullptr) {
        return;
    }
    shaderStorageBlockBindingFunction(_programID, index, binding);
    if (exists) {
        *itFind = binding;
    }
}

unsigned int ShaderProgram::getUniformBlockBinding(unsigned int index)
{
    const auto itFind = findIn(this->_uniformBlockBindingIndices, index);
    ZEL_ASSERT(itFind != this->_uniformBlockBindingIndices.end(),
               "Trying to get uniformBlockIndex %u on shader %u. Does not exist.", index, _programID);
    return itFind != _uniformBlockBindingIndices.end() ? *itFind : 0;
}

unsigned int ShaderProgram::getStorageBlockBinding(unsigned int index)
{
    const auto itFind = findIn(this->_storageBlockBindingIndices, index);
    ZEL_ASSERT(itFind != this->_storageBlockBindingIndices.end(),
               "Trying to get storageBlockIndex %u on shader %u. Does not exist.", index, _programID);
    return itFind != _storageBlockBindingIndices.end() ? *itFind : 0;
}

unsigned int ShaderProgram::getTypeBlockIndex(unsigned int type, const QString &name) const
{
    return type == GL_SHADER_STORAGE_BUFFER ? getStorageBlockIndex(name) : getUniformBlockIndex(name);
}

void ShaderProgram::setTypeBlockBinding(unsigned int type, unsigned int index, unsigned int binding)
{
    if (type == GL_SHADER_STORAGE_BUFFER) {
        setStorageBlockBinding(index, binding);
    } else {
        setUniformBlockBinding(index, binding);
    }
}

unsigned int ShaderProgram::getTypeBlockBinding(unsigned int type, unsigned int index)
{
    return type == GL_SHADER_STORAGE_BUFFER ? getStorageBlockBinding(index) : getUniformBlockBinding(index);
}

void ShaderProgram::summaryUniforms()
{
    QMap<GLenum, int> sizes; // by type, array elements counted
    const GLint count = programParameter(_programID, GL_ACTIVE_UNIFORMS);
    for (GLint i = 0; i < count; ++i) {
        char name[1024] = "";
        GLint size = 0;
        GLenum type = 0;
        glGetActiveUniform(_programID, static_cast<GLuint>(i), sizeof name, nullptr, &size, &type, name);
        sizes[type] += size;
    }
    int samplers = 0;
    for (auto row = sizes.cbegin(); row != sizes.cend(); ++row) {
        ZEL_LOG_DEBUG("%p Type 0x%04X : %d", static_cast<void *>(this), row.key(), row.value());
        if (isSamplerType(row.key())) {
            samplers += row.value();
        }
    }
    ZEL_LOG_DEBUG("%p Texture Samplers %d", static_cast<void *>(this), samplers);
}

bool ShaderProgram::setUniform(int location, int value)
{
    glUniform1i(location, value);
    return true;
}

bool ShaderProgram::setUniform(int location, unsigned int value)
{
    glUniform1ui(location, value);
    return true;
}

bool ShaderProgram::setUniform(int location, const QVector<float> &values)
{
    return setUniform(location, values, 1);
}

bool ShaderProgram::setUniform(int location, const QVector<float> &values, int tupleSize)
{
    return setTuples<float>(location, values, tupleSize,
                            {glUniform1fv, glUniform2fv, glUniform3fv, glUniform4fv});
}

bool ShaderProgram::setUniform(int location, const QVector<int> &values, int tupleSize)
{
    return setTuples<int>(location, values, tupleSize,
                          {glUniform1iv, glUniform2iv, glUniform3iv, glUniform4iv});
}

bool ShaderProgram::setUniform(int location, const QVector<unsigned int> &values, int tupleSize)
{
    return setTuples<unsigned int>(location, values, tupleSize,
                                   {glUniform1uiv, glUniform2uiv, glUniform3uiv, glUniform4uiv});
}

bool ShaderProgram::setUniform(int location, const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::QImage: // reads as 0
        glUniform1i(location, value.toInt());
        break;
    case QMetaType::UInt:
        glUniform1ui(location, value.toUInt());
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        glUniform1f(location, value.toFloat());
        break;
    case QMetaType::QColor: {
        const auto color = value.value<QColor>();
        glUniform4f(location, static_cast<float>(color.redF()), static_cast<float>(color.greenF()),
                    static_cast<float>(color.blueF()), static_cast<float>(color.alphaF()));
        break;
    }
    case QMetaType::QVector2D: {
        const auto vector = value.value<QVector2D>();
        glUniform2f(location, vector.x(), vector.y());
        break;
    }
    case QMetaType::QVector3D: {
        const auto vector = value.value<QVector3D>();
        glUniform3f(location, vector.x(), vector.y(), vector.z());
        break;
    }
    case QMetaType::QVector4D: {
        const auto vector = value.value<QVector4D>();
        glUniform4f(location, vector.x(), vector.y(), vector.z(), vector.w());
        break;
    }
    case QMetaType::QMatrix4x4:
        glUniformMatrix4fv(location, 1, GL_FALSE, value.value<QMatrix4x4>().constData());
        break;
    default:
        setUniformByTypeName(location, value);
        break;
    }
    return true; // for an unknown type too
}

bool ShaderProgram::setUniform(const QString &name, const QVector<float> &values)
{
    return setUniform(getUniformLocation(name), values);
}

bool ShaderProgram::setUniform(const QString &name, const QVector<float> &values, int tupleSize)
{
    return setUniform(getUniformLocation(name), values, tupleSize);
}

bool ShaderProgram::setUniform(const QString &name, const QVector<int> &values, int tupleSize)
{
    return setUniform(getUniformLocation(name), values, tupleSize);
}

bool ShaderProgram::setUniform(const QString &name, const QVector<unsigned int> &values, int tupleSize)
{
    return setUniform(getUniformLocation(name), values, tupleSize);
}

bool ShaderProgram::setUniform(const QString &name, const QVariant &value)
{
    const int location = getUniformLocation(name);
    return location >= 0 && setUniform(location, value);
}

bool ShaderProgram::attachShaders()
{
    for (Shader *shader : qAsConst(_shaders)) {
        if (!shader->compile()) {
            _log = shader->log();
            return false;
        }
        glAttachShader(_programID, shader->shaderID());
    }
    return true;
}

void ShaderProgram::applyFragDataLocations()
{
    EntryPoint<PFNGLBINDFRAGDATALOCATIONINDEXEDPROC> bindFragDataLocationIndexed;
    if (!_fragDataIndexs.isEmpty()) {
        bindFragDataLocationIndexed.lookUp("glBindFragDataLocationIndexed", false);
    }
    for (int i = 0; i < _fragDataLocations.size(); ++i) {
        const auto colorNumber = static_cast<GLuint>(i);
        if (i == 0 && !_fragDataIndexs.isEmpty()) { // only colour 0 can have a second source
            if (bindFragDataLocationIndexed != nullptr) {
                const QStringList &names = _fragDataIndexs.first();
                for (int j = 0; j < names.size(); ++j) {
                    bindFragDataLocationIndexed(_programID, colorNumber, static_cast<GLuint>(j),
                                                names.at(j).toLatin1().constData());
                }
                continue;
            }
            ZEL_BARE_DEBUG(
                "Trying to setup glBindFragDataLocationIndexed( %d, %d, , ). Func pointer is NULL, "
                "falling back to glBindFragDataLocation()\n",
                static_cast<int>(_programID), i);
        }
        glBindFragDataLocation(_programID, colorNumber, _fragDataLocations.at(i).toLatin1().constData());
    }
}

void ShaderProgram::applyTransformFeedbackVaryings()
{
    if (_transformFeedbackVaryings.isEmpty()) {
        return;
    }
    EntryPoint<PFNGLTRANSFORMFEEDBACKVARYINGSPROC> transformFeedbackVaryings;
    transformFeedbackVaryings.lookUp("glTransformFeedbackVaryings", false);
    if (transformFeedbackVaryings == nullptr) {
        return;
    }
    QList<QByteArray> names;
    QVector<const GLchar *> pointers;
    for (const QString &name : qAsConst(_transformFeedbackVaryings)) {
        names.append(name.toLatin1());
        pointers.append(names.last().constData());
    }
    transformFeedbackVaryings(_programID, pointers.size(), pointers.constData(),
                              _transformFeedbackBufferMode);
}

void ShaderProgram::cacheNames()
{
    cacheVertexAttributes();
    cacheUniformLocations();
    cacheUniformBlockIndices();
}

void ShaderProgram::deleteProgram()
{
    glDeleteProgram(_programID);
    _programID = kShaderProgramNotLinked;
}

bool shaderProgramIdGreaterThan(const Shader *a, const Shader *b)
{
    return a->shaderID() > b->shaderID();
}

}} // namespace Orvane::Zel
