#include "ShaderProgram.h"

#include "GLContextTracker.h"
#include "GLUtilities.h"
#include "Shader.h"
#include "private/ProgramFunctions.h"
#include "private/ProgramOutputs.h"
#include "private/ProgramQueries.h"
#include "private/ShaderText.h"
#include "private/UniformValues.h"

#include <ZelCore/Resources.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QMap>
#include <QtCore/QMutexLocker>
#include <QtCore/QThread>

#include <atomic>

// GL numbers the sampler types in five ranges, one for each version that added some. Between them are other types; see
// SamplerTypeTest.FortyTypesAreSamplers.
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

// Atomic: threads with a context each link at the same time.
std::atomic<quint64> lastLinkNumber{0};

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

QString md5Hex(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

} // namespace

ShaderProgram::ShaderProgram(QObject *parent)
    : QObject(parent)
    , _parallelShaderCompile(hasGLExtension("GL_ARB_parallel_shader_compile"))
{
    // Here, and not at the first use: both need the current context, and report each missing function once; see
    // ShaderProgramOwnProcessTest.MissingOnesAreReportedAndUnused.
    lookUpProgramBinary();
    lookUpProgramResources();
}

ShaderProgram::~ShaderProgram()
{
    clear();
}

bool ShaderProgram::compile()
{
    // Required: the GL program is not deleted; see
    // ShaderProgramTest.AProgramIsLinkedOnceUntilItIsClearedOrCompiledAgain.
    _programID = kShaderProgramNotLinked;
    _linkNumber = 0;
    preprocess();
    for (Shader *shader : qAsConst(_shaders)) {
        if (!shader->compile()) {
            _log = shader->log();
            return false;
        }
    }
    return true;
}

// The link has two halves, so that a host can start many links before it waits for the first; see
// ShaderProgramTest.AProgramIsLinkedOnceUntilItIsClearedOrCompiledAgain.
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
    // Both before glLinkProgram(): GL applies them at the next link only.
    nameFragmentOutputs(_programID, _fragDataLocations, _fragDataIndexs);
    nameTransformFeedbackVaryings(_programID, _transformFeedbackVaryings, _transformFeedbackBufferMode);
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
    // 1. Query whether the driver has finished.
    // 2. After five seconds leave the wait to linkPost(): a driver that never reports an end would block the host here.
    // 3. Log once in a second that the link is still going on.
    // 4. Yield the processor to the compiler threads of the driver.
    for (;;) {
        GLint completed = 1; // stays 1 when the driver rejects the query
        glGetProgramiv(_programID, GL_COMPLETION_STATUS_ARB, &completed);
        if (completed == 1) {
            return true;
        }
        if (sinceStart.elapsed() >= 5000) {
            ZEL_BARE_DEBUG("%p TIMEOUT 0x%02X", static_cast<void *>(this),
                           static_cast<unsigned int>(completed));
            return true; // linkPost() waits without a limit
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
    // The log and the sources precede the deletion, after which GL has neither; see
    // ShaderProgramTest.AFailureReportsTheLogAndLeavesTheStages.
    warnLineByLine(QStringLiteral("Failed to link GL shader\n =======Log=========\n") + _log);
    dump();
    deleteProgram();
    return false;
}

bool ShaderProgram::link()
{
    return linkPre() && linkPost();
}

// Reads the result of the link only. glValidateProgram() depends on the state of the moment, which is not that of a draw.
bool ShaderProgram::validate()
{
    if (!isLinked()) {
        return false;
    }
    if (programParameter(_programID, GL_LINK_STATUS) != 0) {
        return true;
    }
    _log = driverLog(_programID, glGetProgramiv, glGetProgramInfoLog);
    // Required: no line break between the first two parts; see
    // ShaderProgramTest.AFailureReportsTheLogAndLeavesTheStages.
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
    // Any program unbinds any other, since GL has one current program; see
    // ShaderProgramTest.EachContextKnowsItsBoundProgramUntilAnyProgramIsUnbound.
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
    // The program owns its stages: they have no QObject parent.
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
    // Files of the host have precedence over installed ones, and these over the built-in tree, so that a shader can be changed
    // without a build; see ShaderProgramTest.StagesComeFromTheWorkingFolderBeforeTheBuiltInTreeAndAreDumped.
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
    // The hint takes effect at the next link. A driver that needs it reports a length of 0 until then.
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
    // The stages have no stable order: a program with the same texts must have the same hash.
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
    renewLinkNumber();
    if (!isLinked()) {
        return;
    }
    const GLint count = programParameter(_programID, GL_ACTIVE_ATTRIBUTES);
    // Built-in attributes have no location. A core profile provides some of them; the others belong to the removed fixed
    // pipeline: see ShaderProgramTest.AnIllegalBuiltInAttributeIsReportedAndTheProgramIsLinked.
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
    // Every draw sets it, so that it has a member of its own and costs no search.
    _uniformLocationNameID = getUniformLocation(QStringLiteral("u_DrawID"));
}

void ShaderProgram::cacheUniformBlockIndices()
{
    _uniformBlockBindingIndices = BlockTable();
    _storageBlockBindingIndices = BlockTable();
    renewLinkNumber();
    if (!isLinked()) {
        return;
    }
    for (const QString &name : uniformBlockNames(_programID)) {
        _uniformBlockBindingIndices.append(name);
    }
    for (const QString &name : storageBlockNames(_programID)) {
        _storageBlockBindingIndices.append(name);
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
    // Unknown names are stored too, at -1: a host that sets a uniform which the compiler removed costs one query; see
    // ShaderProgramTest.AttributesAndUniformsAreKnownByName.
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

void ShaderProgram::BlockTable::append(const QString &name)
{
    indices.insert(name, static_cast<unsigned int>(bindings.size()));
    // 0 is what GL assigns to each block at the link.
    bindings.push_back(0);
}

inline bool ShaderProgram::BlockTable::store(unsigned int index, unsigned int binding)
{
    // Reports a change, so that GL is called and reports the unknown index.
    if (index >= bindings.size()) {
        return true;
    }
    const bool changes = bindings[index] != binding;
    bindings[index] = binding;
    return changes;
}

/// Returns end() when the program has no such block.
inline std::vector<unsigned int>::const_iterator ShaderProgram::BlockTable::find(unsigned int index) const
{
    return index < bindings.size() ? bindings.begin() + static_cast<std::ptrdiff_t>(index) : bindings.end();
}

inline std::vector<unsigned int>::const_iterator ShaderProgram::BlockTable::end() const
{
    return bindings.end();
}

unsigned int ShaderProgram::getUniformBlockIndex(const QString &name) const
{
    return _uniformBlockBindingIndices.indices.value(name, GL_INVALID_INDEX);
}

unsigned int ShaderProgram::getStorageBlockIndex(const QString &name) const
{
    return _storageBlockBindingIndices.indices.value(name, GL_INVALID_INDEX);
}

// Required: an unknown block is logged, and GL is called anyway; see
// ShaderProgramTest.ABlockBindingReachesGLWhenItChangesOrHasNoBlock.
void ShaderProgram::setUniformBlockBinding(unsigned int index, unsigned int binding)
{
    const auto itFind = this->_uniformBlockBindingIndices.find(index);
    ZEL_ASSERT(itFind != this->_uniformBlockBindingIndices.end(),
               "Trying to set uniformBlockIndex %u on shader %u. Does not exist.", index, _programID);
    if (_uniformBlockBindingIndices.store(index, binding)) {
        glUniformBlockBinding(_programID, index, binding);
    }
}

// Uniform and storage blocks have indices and binding points of their own: the same number means two blocks; see
// ShaderProgramTest.ABlockBindingReachesGLWhenItChangesOrHasNoBlock.
void ShaderProgram::setStorageBlockBinding(unsigned int index, unsigned int binding)
{
    const auto itFind = this->_storageBlockBindingIndices.find(index);
    ZEL_ASSERT(itFind != this->_storageBlockBindingIndices.end(),
               "Trying to set storageBlockIndex %u on shader %u. Does not exist.", index, _programID);
    if (shaderStorageBlockBindingFunction != nullptr && _storageBlockBindingIndices.store(index, binding)) {
        shaderStorageBlockBindingFunction(_programID, index, binding);
    }
}

unsigned int ShaderProgram::getUniformBlockBinding(unsigned int index)
{
    const auto itFind = this->_uniformBlockBindingIndices.find(index);
    ZEL_ASSERT(itFind != this->_uniformBlockBindingIndices.end(),
               "Trying to get uniformBlockIndex %u on shader %u. Does not exist.", index, _programID);
    return itFind != _uniformBlockBindingIndices.end() ? *itFind : 0;
}

unsigned int ShaderProgram::getStorageBlockBinding(unsigned int index)
{
    const auto itFind = this->_storageBlockBindingIndices.find(index);
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
    return setUniformTuples(location, values, tupleSize);
}

bool ShaderProgram::setUniform(int location, const QVector<int> &values, int tupleSize)
{
    return setUniformTuples(location, values, tupleSize);
}

bool ShaderProgram::setUniform(int location, const QVector<unsigned int> &values, int tupleSize)
{
    return setUniformTuples(location, values, tupleSize);
}

bool ShaderProgram::setUniform(int location, const QVariant &value)
{
    if (!setUniformValue(location, value)) {
        ZEL_LOG_CRITICAL("ZelShaderProgram::setUniform is not implemented for type : %s", value.typeName());
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
    // The types are checked by the other overload, which logs an unknown one. An unknown name is no error: compilers remove
    // unused uniforms. See ShaderProgramUniformTest.AVariantSetsTheUniformByTheTypeThatItHolds.
    return location >= 0 && setUniform(location, value);
}

bool ShaderProgram::attachShaders()
{
    for (Shader *shader : qAsConst(_shaders)) {
        if (!shader->compile()) {
            _log = shader->log();
            return false;
        }
        // A failed stage keeps its log here, so that the host finds it where it finds the log of a failed link; see
        // ShaderProgramTest.AFailureReportsTheLogAndLeavesTheStages.
        glAttachShader(_programID, shader->shaderID());
    }
    return true;
}

// Everything that GL is asked once for each link, because a query by name in a draw waits for threaded drivers.
void ShaderProgram::cacheNames()
{
    cacheVertexAttributes();
    cacheUniformLocations();
    cacheUniformBlockIndices();
}

// The functions that fill the tables call it, and not cacheNames(): a host that overrides linkPost() calls them directly. What
// is remembered of attributes or blocks under the old number is then not used for the new tables.
void ShaderProgram::renewLinkNumber()
{
    _linkNumber = isLinked() ? lastLinkNumber.fetch_add(1, std::memory_order_relaxed) + 1 : 0;
}

void ShaderProgram::deleteProgram()
{
    glDeleteProgram(_programID);
    _programID = kShaderProgramNotLinked;
    _linkNumber = 0;
}

bool shaderProgramIdGreaterThan(const Shader *a, const Shader *b)
{
    return a->shaderID() > b->shaderID();
}

}} // namespace Orvane::Zel
