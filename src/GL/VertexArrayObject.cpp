#include "VertexArrayObject.h"

#include "BufferObject.h"
#include "GLUtilities.h"
#include "ShaderProgram.h"
#include "private/EntryPoint.h"
#include "private/GLValues.h"
#include "private/Hints.h"
#include "private/LinkNumber.h"

namespace Orvane { namespace Zel {

namespace {

// GL_BYTE to GL_UNSIGNED_INT are consecutive numbers, with no other type between them.
bool isIntegerType(unsigned int type)
{
    return GL_BYTE <= type && type <= GL_UNSIGNED_INT;
}

bool isWholeVertices(int valueCount, int valuesPerVertex)
{
    // Not the macro: its condition would divide by 0. The text is the same.
    if (valuesPerVertex < 1) {
        ZEL_LOG_CRITICAL("[ !! ] Assertion '0 == (valueCount \\%% valuesPerVertex)' failed: "
                         "Data size (%d) must be a multi of the values per vertex (%d)",
                         valueCount, valuesPerVertex);
        return false;
    }
    ZEL_ASSERT_RETURN(0 == (valueCount % valuesPerVertex), false,
                      "Data size (%d) must be a multi of the values per vertex (%d)", valueCount,
                      valuesPerVertex);
    return true;
}

bool hasBuffer(const QString &name, const QSharedPointer<BufferObject> &bufferObj)
{
    ZEL_ASSERT_RETURN(!bufferObj.isNull(), false, "Attribute '%s' has a NULL BO", qUtf8Printable(name));
    return true;
}

bool bindForUpload(BufferObject &bufferObject)
{
    if (bufferObject.bind()) {
        return true;
    }
    ZEL_LOG_CRITICAL("[ !! ] Failed to bind BO");
    return false;
}

} // namespace

void VertexArrayObject::AttributeData::setVertex(int valuesPerVertex, unsigned int type)
{
    _valuesPerVertex = valuesPerVertex;
    _type = type;
    _normalized = false;
}

void VertexArrayObject::AttributeData::setBO(QSharedPointer<BufferObject> bo)
{
    _bo = bo;
}

std::atomic<int> VertexArrayObject::_numAlive{0};

int VertexArrayObject::NumAlive()
{
    return _numAlive.load(std::memory_order_relaxed);
}

bool VertexArrayObject::isTypeSupported(unsigned int type)
{
    switch (type) {
    case GL_UNSIGNED_BYTE:
    case GL_UNSIGNED_SHORT:
    case GL_INT:
    case GL_UNSIGNED_INT:
    case GL_FLOAT:
    case GL_HALF_FLOAT:
        return true;
    default:
        // Required: GL_BYTE and GL_SHORT are not supported; see
        // VertexArrayObjectTest.IntegersStayIntegersUnlessNormalizedAndSomeTypesAreNotSupported.
        return false;
    }
}

VertexArrayObject::VertexArrayObject(QObject *parent)
    : QObject(parent)
{
    ZEL_ASSERT(nullptr != glGetIntegerv, kNotInitialized);
    // Without the table of entry points the object still counts and can be destroyed, but has no slots.
    if (glGetIntegerv != nullptr) {
        _enabledAttributeNames.resize(integerFromGL(GL_MAX_VERTEX_ATTRIBS));
    }
    _numAlive.fetch_add(1, std::memory_order_relaxed);
}

VertexArrayObject::~VertexArrayObject()
{
    // First, so that the checks below report what it could not delete: a bound object keeps its name. See
    // VertexArrayObjectTest.TheNameComesWithTheFirstBindAndStaysWhereABoundObjectIsDeleted.
    destroy();
    ZEL_ASSERT(false == this->_vaoBound, "Vertex Array Object is bound during class destructor");
    ZEL_ASSERT(0u == this->_vao, "Vertex Array Object needs to be destroied before class destructor");
    _numAlive.fetch_sub(1, std::memory_order_relaxed);
}

bool VertexArrayObject::create()
{
    ZEL_ASSERT_RETURN(0u == this->_vao, false, "Vertex Array Object is not NULL on create");
    ZEL_ASSERT_RETURN(false == this->_vaoBound, false, "Vertex Array Object is already bound on create");
    ZEL_ASSERT_RETURN(nullptr != glGenVertexArrays, false, kNotInitialized);
    glGenVertexArrays(1, &_vao);
    return true;
}

bool VertexArrayObject::destroy()
{
    ZEL_ASSERT_RETURN(false == this->_vaoBound, false, "Vertex Array Object is already bound on destroy");
    if (_vao == 0) {
        return true;
    }
    glDeleteVertexArrays(1, &_vao);
    _vao = 0;
    return true;
}

bool VertexArrayObject::bind()
{
    if (_vao == 0) {
        create();
    }
    ZEL_ASSERT_RETURN(0u != this->_vao, false, "Vertex Array Object is NULL on bind");
    ZEL_ASSERT_RETURN(false == this->_vaoBound, false, "Vertex Array Object is already bound on bind");
    glBindVertexArray(_vao);
    _vaoBound = true;
    return true;
}

bool VertexArrayObject::unbind()
{
    ZEL_ASSERT_RETURN(0u != this->_vao, false, "Vertex Array Object is NULL on unbind");
    ZEL_ASSERT_RETURN(true == this->_vaoBound, false, "Vertex Array Object is not bound on unbind");
    _vaoBound = false;
    glBindVertexArray(0);
    return true;
}

bool VertexArrayObject::rebind(VertexArrayObject *vertexArrayObjectBound, bool &didBind)
{
    didBind = false;
    if (vertexArrayObjectBound == this) {
        return true;
    }
    if (vertexArrayObjectBound == nullptr) {
        didBind = true;
        return bind();
    }
    if (Q_UNLIKELY(_vao == 0)) {
        create();
    }
    ZEL_ASSERT_RETURN(0u != this->_vao, false, "Vertex Array Object is NULL on rebind");
    ZEL_ASSERT_RETURN(false == this->_vaoBound, false, "Vertex Array Object is already bound on rebind");
    ZEL_ASSERT_RETURN(0u != vertexArrayObjectBound->_vao, false, "Vertex Array Object is NULL on rebind");
    ZEL_ASSERT_RETURN(true == vertexArrayObjectBound->_vaoBound, false,
                      "Vertex Array Object is not already bound on rebind");
    vertexArrayObjectBound->_vaoBound = false;
    _vaoBound = true;
    // The GL call comes last, so that nothing must be saved across it: variant baseinstance of draw_zel.
    if (_vao != vertexArrayObjectBound->_vao) {
        didBind = true;
        glBindVertexArray(_vao);
    }
    return true;
}

bool VertexArrayObject::isBound() const
{
    ZEL_ASSERT_RETURN(0u != this->_vao, false, "Vertex Array Object is NULL on isBound");
    return _vaoBound;
}

void VertexArrayObject::registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                                   unsigned int type)
{
    registerBO(name, bo, valuesPerVertex, type, false, 0, 0);
}

void VertexArrayObject::registerBO(const QString &name, QSharedPointer<BufferObject> bo, int valuesPerVertex,
                                   unsigned int type, bool normalized, unsigned int stride,
                                   unsigned int offset)
{
    ZEL_ASSERT(true == isTypeSupported(type), "Unsupported type 0x%X", type);
    AttributeData attribute;
    attribute.setVertex(valuesPerVertex, type);
    attribute.setBO(bo);
    attribute._normalized = normalized;
    attribute._stride = stride;
    attribute._offset = offset;
    // An unsupported type is stored too: GL may accept it, and the message has named it.
    _attributesData.insert(name, attribute);
    dirtyAttributeName(name);
}

// A slot still points to the replaced buffer until it is specified again; see
// VertexArrayObjectTest.ArraysAreSpecifiedOnceAndOnlyWhereTheNameChanged.
void VertexArrayObject::dirtyAttributeName(const QString &name)
{
    for (int slot = 0; slot < _enabledAttributeNames.size(); ++slot) {
        if (_enabledAttributeNames.at(slot) == name) {
            setEnabledName(slot, QString());
        }
    }
}

bool VertexArrayObject::upload(const QString &name, QSharedPointer<BufferObject> bufferObj,
                               int valuesPerVertex, unsigned int type)
{
    ZEL_ASSERT_RETURN(!bufferObj.isNull(), false, "Must Supply a valid BO pointer");
    registerBO(name, bufferObj, valuesPerVertex, type);
    return true;
}

bool VertexArrayObject::upload(const QString &name, QSharedPointer<BufferObject> bufferObj, const float *data,
                               int valueCount, int valuesPerVertex, unsigned int usage)
{
    ZEL_ASSERT_RETURN(NULL != bufferObj, false, "Must Supply a valid BO pointer");
    // The sizes are checked before the bind, so that a refused call changes no GL state; see
    // VertexArrayObjectTest.OnlyWholeVerticesReachTheBufferOfAName.
    if (!isWholeVertices(valueCount, valuesPerVertex) || !bindForUpload(*bufferObj)) {
        return false;
    }
    bufferObj->upload(data, valueCount, usage);
    bufferObj->unbind();
    registerBO(name, bufferObj, valuesPerVertex, GL_FLOAT);
    return true;
}

bool VertexArrayObject::upload(const QString &name, QSharedPointer<BufferObject> bufferObj,
                               const QVector<float> &data, int valuesPerVertex, unsigned int usage)
{
    return upload(name, bufferObj, data.constData(), data.size(), valuesPerVertex, usage);
}

bool VertexArrayObject::subUpload(const QString &attrName, const float *data, int valueCount,
                                  int valuesPerVertex, int offset)
{
    ZEL_ASSERT_RETURN(_attributesData.contains(attrName), false, "Must Supply an existing BO attribute name");
    ZEL_ASSERT_RETURN(_attributesData[attrName]._valuesPerVertex == valuesPerVertex, false,
                      "Values per vertex must match (Current %d != New %d)",
                      _attributesData[attrName]._valuesPerVertex, valuesPerVertex);
    const QSharedPointer<BufferObject> bufferObj = bo(attrName);
    if (!isWholeVertices(valueCount, valuesPerVertex) || !hasBuffer(attrName, bufferObj)
        || !bindForUpload(*bufferObj)) {
        return false;
    }
    // Required: the result reports the bind only. BufferObject logs a refused upload.
    bufferObj->subUpload(data, valueCount, offset);
    bufferObj->unbind();
    return true;
}

bool VertexArrayObject::subUpload(const QString &name, const QVector<float> &data, int valuesPerVertex,
                                  int offset)
{
    return subUpload(name, data.constData(), data.size(), valuesPerVertex, offset);
}

QSharedPointer<BufferObject> VertexArrayObject::bo(const QString &name)
{
    return _attributesData.value(name)._bo;
}

void *VertexArrayObject::mapBO(const QString &name)
{
    const QSharedPointer<BufferObject> bufferObj = bo(name);
    if (!_attributesData.contains(name) || !hasBuffer(name, bufferObj)) {
        return nullptr;
    }
    bufferObj->bind();
    void *contents = bufferObj->map(GL_WRITE_ONLY);
    bufferObj->unbind(); // the buffer stays mapped
    return contents;
}

void VertexArrayObject::unmapBO(const QString &name)
{
    const QSharedPointer<BufferObject> bufferObj = bo(name);
    if (!_attributesData.contains(name) || !hasBuffer(name, bufferObj)) {
        return;
    }
    bufferObj->bind();
    glUnmapBuffer(bufferObj->target());
    bufferObj->unbind();
}

bool VertexArrayObject::enableArray(const QString &name, int attributeIndex)
{
    ZEL_ASSERT_RETURN(0 <= attributeIndex, false, "Attribute Index is NULL on enable array");
    ZEL_ASSERT_RETURN(0u != this->_vao, false, "Vertex Array Object is NULL on enable array");
    ZEL_ASSERT_RETURN(true == this->_vaoBound, false, "Vertex Array Object is not bound on enable array");
    ZEL_ASSERT_RETURN(attributeIndex < _enabledAttributeNames.size(), false,
                      "Attribute Index %d is not below GL_MAX_VERTEX_ATTRIBS %d", attributeIndex,
                      _enabledAttributeNames.size());
    // The vertex array of GL stores the slots, so that a connected one needs no call in later frames.
    if (_enabledAttributeNames.at(attributeIndex) == name) {
        return true;
    }
    const auto attribute = _attributesData.constFind(name);
    if (attribute == _attributesData.constEnd()) {
        // The name is removed, so that each later call clears the slot again: its generic value is state of the context, and
        // other vertex arrays may change it.
        setEnabledName(attributeIndex, QString());
        disableArray(unsigned(attributeIndex));
        return true;
    }
    if (!hasBuffer(name, attribute->_bo)) {
        return false;
    }
    specifyArray(*attribute, unsigned(attributeIndex));
    setEnabledName(attributeIndex, name);
    return true;
}

bool VertexArrayObject::enableShaderProgramArrays(const ShaderProgram *program)
{
    if (program == nullptr) {
        return true;
    }
    return (_vaoBound && _enabledLink == linkNumberOf(*program)) || enableArraysOf(*program);
}

// Inlined, the loop costs each draw of the variant sceneshared of draw_zel 13 instructions.
ZELGL_COLD_PATH bool VertexArrayObject::enableArraysOf(const ShaderProgram &program)
{
    const QHash<QString, int> &locations = program.getVertexAttributeNameLocationMap();
    for (auto location = locations.cbegin(), end = locations.cend(); location != end; ++location) {
        if (!enableArray(location.key(), location.value())) {
            return false;
        }
    }
    if (holdsNames(locations) && linkNumberOf(program) != 0) {
        _enabledLink = linkNumberOf(program);
    }
    return true;
}

unsigned int VertexArrayObject::getVAO() const
{
    return _vao;
}

GLContextTracker *VertexArrayObject::getContextTracker()
{
    return _contextTracker;
}

quint64 VertexArrayObject::memoryEstimateCPU() const
{
    // Fixed estimates of the object and of a map entry, so that a total does not depend on the compiler.
    quint64 bytes = 56 + 48 * quint64(_attributesData.size());
    for (auto attribute = _attributesData.cbegin(); attribute != _attributesData.cend(); ++attribute) {
        bytes += quint64(attribute.key().size());
        bytes += attribute->_bo.isNull() ? 0 : attribute->_bo->memoryEstimateCPU();
    }
    return bytes;
}

quint64 VertexArrayObject::memoryEstimateGPU() const
{
    quint64 bytes = 0;
    for (const AttributeData &attribute : _attributesData) {
        bytes += attribute._bo.isNull() ? 0 : attribute._bo->memoryEstimateGPU();
    }
    return bytes;
}

void VertexArrayObject::setEnabledName(int attributeIndex, const QString &name)
{
    _enabledAttributeNames[attributeIndex] = name;
    _enabledLink = kNoLink;
}

// False if the geometry lacks an attribute: such a slot must be cleared again by each enableShaderProgramArrays(); see
// VertexArrayObjectTest.AMissingAttributeIsDisabledAndZeroedByTheSizeOfItsSlot.
bool VertexArrayObject::holdsNames(const QHash<QString, int> &locations) const
{
    for (auto location = locations.cbegin(), end = locations.cend(); location != end; ++location) {
        if (_enabledAttributeNames.at(location.value()) != location.key()) {
            return false;
        }
    }
    return true;
}

void VertexArrayObject::specifyArray(const AttributeData &attribute, unsigned int attributeIndex) const
{
    const GLsizei stride = GLsizei(attribute._stride);
    const void *offset = bufferOffset(attribute._offset);
    glEnableVertexAttribArray(attributeIndex);
    // glVertexAttribPointer() records the buffer that is bound to GL_ARRAY_BUFFER; later binds do not change it.
    attribute._bo->bind();
    // The shader receives integers as integers, unless the caller asked for normalization.
    if (isIntegerType(attribute._type) && !attribute._normalized) {
        glVertexAttribIPointer(attributeIndex, attribute._valuesPerVertex, attribute._type, stride, offset);
    } else {
        glVertexAttribPointer(attributeIndex, attribute._valuesPerVertex, attribute._type,
                              attribute._normalized, stride, offset);
    }
    attribute._bo->unbind();
}

// A program that reads the missing attribute reads zeros.
void VertexArrayObject::disableArray(unsigned int attributeIndex) const
{
    glDisableVertexAttribArray(attributeIndex);
    GLint size = 0;
    glGetVertexAttribiv(attributeIndex, GL_VERTEX_ATTRIB_ARRAY_SIZE, &size);
    // Required: the cases are one below the component count, and a size of 4, which a slot has before it is specified,
    // makes no call; see VertexArrayObjectTest.AMissingAttributeIsDisabledAndZeroedByTheSizeOfItsSlot.
    switch (size) {
    case 0:
        glVertexAttrib1f(attributeIndex, 0.0f);
        break;
    case 1:
        glVertexAttrib2f(attributeIndex, 0.0f, 0.0f);
        break;
    case 2:
        glVertexAttrib3f(attributeIndex, 0.0f, 0.0f, 0.0f);
        break;
    case 3:
        glVertexAttrib4f(attributeIndex, 0.0f, 0.0f, 0.0f, 0.0f);
        break;
    default:
        break;
    }
}

}} // namespace Orvane::Zel
