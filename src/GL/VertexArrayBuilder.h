#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// One stream of floats, a fixed number of them per vertex.
///
/// \snippet buffers.cpp VertexArrayBuilderStorage
///
/// Units:   counts of components and of vertices.
/// Context: none is needed.
/// Errors:  a wrong order of calls is reported; the value is taken all the same.
/// Source:  none.
class ZELGL_EXPORT VertexArrayBuilderStorage
{
public:
    VertexArrayBuilderStorage();

    /// Sets the stream up, once. \a vertexCount reserves memory and limits nothing.
    void setSpec(unsigned componentCount, unsigned vertexCount);

    /// Appends exactly these values; a short push pads nothing.
    void pushData(float x);
    void pushData(float x, float y);
    void pushData(float x, float y, float z);
    void pushData(float x, float y, float z, float w);

    /// Floats per vertex; 0 while not set up.
    unsigned getComponentCount() const;
    /// Vertices.
    unsigned getSize() const;
    const float *getData() const;

private:
    unsigned _componentCount = 0;
    QVector<float> _data;
};

/// Collects vertex data in the manner of immediate mode, one float stream per
/// attribute, and hands out the finished arrays.
///
/// The streams are independent: a push latches and repeats nothing, so push one
/// value of every stream for each vertex.
///
/// \snippet buffers.cpp VertexArrayBuilder
///
/// Units:   as pushed.
/// Context: none is needed: in spite of the names of its operations no GL call is
///          made.
/// Errors:  streams that are used without set...Spec(), or with more components than
///          they have, are reported.
/// Source:  the vertex calls of OpenGL 1.1, after which the operations are named.
class ZELGL_EXPORT VertexArrayBuilder
{
public:
    void setVertexSpec(unsigned componentCount, unsigned vertexCount);
    void setColorSpec(unsigned componentCount, unsigned vertexCount);
    void setTexCoordSpec(unsigned componentCount, unsigned vertexCount);
    void setNormalSpec(unsigned componentCount, unsigned vertexCount);
    void setVertexAttribSpec(unsigned index, unsigned componentCount, unsigned vertexCount);

    void glVertex2f(float x, float y);
    void glVertex3f(float x, float y, float z);
    void glColor3f(float red, float green, float blue);
    void glColor4f(float red, float green, float blue, float alpha);
    void glTexCoord1f(float s);
    void glTexCoord2f(float s, float t);
    void glNormal3f(float x, float y, float z);
    // Next to GLLoader.h, whose macros lend the prefix, these are called glVertexAttrib2f() and glVertexAttrib3f().
    void _ptrc_glVertexAttrib2f(unsigned index, float x, float y);
    void _ptrc_glVertexAttrib3f(unsigned index, float x, float y, float z);

    /// The vertices pushed. Colours, texture coordinates and normals, where set up,
    /// must be as many; the generic attributes are not looked at.
    unsigned getVertexCount() const;

    const float *getVertexData() const;
    const float *getColorData() const;
    const float *getTexCoordData() const;
    const float *getNormalData() const;
    /// Null for an unknown index.
    const float *getVertexAttribData(unsigned index) const;

    const VertexArrayBuilderStorage &getVertexStorage() const;
    const VertexArrayBuilderStorage &getColorStorage() const;
    const VertexArrayBuilderStorage &getTexCoordStorage() const;
    const VertexArrayBuilderStorage &getNormalStorage() const;
    /// A copy; an empty stream for an unknown index.
    VertexArrayBuilderStorage getVertexAttribStorage(unsigned index) const;

private:
    VertexArrayBuilderStorage _vertex;
    VertexArrayBuilderStorage _color;
    VertexArrayBuilderStorage _texCoord;
    VertexArrayBuilderStorage _normal;
    QHash<unsigned, VertexArrayBuilderStorage> _vertexAttribs; ///< by attribute index
};

}} // namespace Orvane::Zel
