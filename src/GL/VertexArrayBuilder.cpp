#include "VertexArrayBuilder.h"

#include "Reporting.h"

#include <limits>

namespace Orvane { namespace Zel {

VertexArrayBuilderStorage::VertexArrayBuilderStorage() = default;

void VertexArrayBuilderStorage::setSpec(unsigned componentCount, unsigned vertexCount)
{
    ZEL_ASSERT(0 == this->_componentCount, "Component Count already set to %d. Try to reset to %d",
               _componentCount, componentCount);
    ZEL_ASSERT_RETURN(0 != componentCount, , "Component Count may not be 0.");
    _componentCount = componentCount;

    // The count is only a hint: one that no vector can hold must not make the reservation fail.
    constexpr quint64 kMaxBytes = std::numeric_limits<int>::max() / 2;
    const quint64 floatCount = quint64(componentCount) * vertexCount;
    if (floatCount > static_cast<quint64>(_data.capacity()) && floatCount <= kMaxBytes / sizeof(float)) {
        _data.reserve(static_cast<int>(floatCount));
    }
}

// Required: the pushes report a missing or smaller spec, and store the data anyway; see
// VertexArrayBuilderTest.WrongPushesSpecsAndCountsAreReportedAndTaken.
void VertexArrayBuilderStorage::pushData(float x)
{
    ZEL_ASSERT(0 != this->_componentCount, "Component Count must be setup before data is pushed");
    // Required: "sdata", in this message only; see VertexArrayBuilderTest.WrongPushesSpecsAndCountsAreReportedAndTaken.
    ZEL_ASSERT(1 <= this->_componentCount, "Component Count is not large enough for the sdata being pushed");
    _data << x;
}

void VertexArrayBuilderStorage::pushData(float x, float y)
{
    ZEL_ASSERT(0 != this->_componentCount, "Component Count must be setup before data is pushed");
    ZEL_ASSERT(2 <= this->_componentCount, "Component Count is not large enough for the data being pushed");
    _data << x << y;
}

void VertexArrayBuilderStorage::pushData(float x, float y, float z)
{
    ZEL_ASSERT(0 != this->_componentCount, "Component Count must be setup before data is pushed");
    ZEL_ASSERT(3 <= this->_componentCount, "Component Count is not large enough for the data being pushed");
    _data << x << y << z;
}

void VertexArrayBuilderStorage::pushData(float x, float y, float z, float w)
{
    ZEL_ASSERT(0 != this->_componentCount, "Component Count must be setup before data is pushed");
    ZEL_ASSERT(4 <= this->_componentCount, "Component Count is not large enough for the data being pushed");
    _data << x << y << z << w;
}

unsigned VertexArrayBuilderStorage::getComponentCount() const
{
    return _componentCount;
}

unsigned VertexArrayBuilderStorage::getSize() const
{
    // Returns early, unlike the pushes: the division below needs the count.
    ZEL_ASSERT_RETURN(0 != this->_componentCount, 0, "Component Count must be setup before size is obtained");
    ZEL_ASSERT(0 == (this->_data.size() % this->_componentCount),
               "Component Count and array Size do not match.");
    return static_cast<unsigned>(_data.size()) / _componentCount;
}

const float *VertexArrayBuilderStorage::getData() const
{
    return _data.constData();
}

void VertexArrayBuilder::setVertexSpec(unsigned componentCount, unsigned vertexCount)
{
    _vertex.setSpec(componentCount, vertexCount);
}

void VertexArrayBuilder::setColorSpec(unsigned componentCount, unsigned vertexCount)
{
    _color.setSpec(componentCount, vertexCount);
}

void VertexArrayBuilder::setTexCoordSpec(unsigned componentCount, unsigned vertexCount)
{
    _texCoord.setSpec(componentCount, vertexCount);
}

void VertexArrayBuilder::setNormalSpec(unsigned componentCount, unsigned vertexCount)
{
    _normal.setSpec(componentCount, vertexCount);
}

void VertexArrayBuilder::setVertexAttribSpec(unsigned index, unsigned componentCount, unsigned vertexCount)
{
    _vertexAttribs[index].setSpec(componentCount, vertexCount);
}

void VertexArrayBuilder::glVertex2f(float x, float y)
{
    _vertex.pushData(x, y);
}

void VertexArrayBuilder::glVertex3f(float x, float y, float z)
{
    _vertex.pushData(x, y, z);
}

void VertexArrayBuilder::glColor3f(float red, float green, float blue)
{
    _color.pushData(red, green, blue);
}

void VertexArrayBuilder::glColor4f(float red, float green, float blue, float alpha)
{
    _color.pushData(red, green, blue, alpha);
}

void VertexArrayBuilder::glTexCoord1f(float s)
{
    _texCoord.pushData(s);
}

void VertexArrayBuilder::glTexCoord2f(float s, float t)
{
    _texCoord.pushData(s, t);
}

void VertexArrayBuilder::glNormal3f(float x, float y, float z)
{
    _normal.pushData(x, y, z);
}

// Required: the names, which the macro of the loader gives to hosts that call glVertexAttrib2f() on a builder.
void VertexArrayBuilder::_ptrc_glVertexAttrib2f(unsigned index, float x, float y)
{
    _vertexAttribs[index].pushData(x, y);
}

void VertexArrayBuilder::_ptrc_glVertexAttrib3f(unsigned index, float x, float y, float z)
{
    _vertexAttribs[index].pushData(x, y, z);
}

unsigned VertexArrayBuilder::getVertexCount() const
{
    // The positions decide. Generic attributes are not compared, since their indices have no fixed meaning; see
    // VertexArrayBuilderTest.WrongPushesSpecsAndCountsAreReportedAndTaken.
    const unsigned count = _vertex.getSize();
    ZEL_ASSERT(this->_color.getComponentCount() == 0 || count == this->_color.getSize(),
               "Color count must match vertex count");
    ZEL_ASSERT(this->_texCoord.getComponentCount() == 0 || count == this->_texCoord.getSize(),
               "TexCoord count must match vertex count");
    ZEL_ASSERT(this->_normal.getComponentCount() == 0 || count == this->_normal.getSize(),
               "Normal count must match vertex count");
    return count;
}

const float *VertexArrayBuilder::getVertexData() const
{
    return _vertex.getData();
}

const float *VertexArrayBuilder::getColorData() const
{
    return _color.getData();
}

const float *VertexArrayBuilder::getTexCoordData() const
{
    return _texCoord.getData();
}

const float *VertexArrayBuilder::getNormalData() const
{
    return _normal.getData();
}

const float *VertexArrayBuilder::getVertexAttribData(unsigned index) const
{
    // A query makes no stream, unlike a push: null means that the index is unused.
    const auto attrib = _vertexAttribs.constFind(index);
    return attrib == _vertexAttribs.constEnd() ? nullptr : attrib->getData();
}

const VertexArrayBuilderStorage &VertexArrayBuilder::getVertexStorage() const
{
    return _vertex;
}

const VertexArrayBuilderStorage &VertexArrayBuilder::getColorStorage() const
{
    return _color;
}

const VertexArrayBuilderStorage &VertexArrayBuilder::getTexCoordStorage() const
{
    return _texCoord;
}

const VertexArrayBuilderStorage &VertexArrayBuilder::getNormalStorage() const
{
    return _normal;
}

VertexArrayBuilderStorage VertexArrayBuilder::getVertexAttribStorage(unsigned index) const
{
    return _vertexAttribs.value(index);
}

}} // namespace Orvane::Zel
