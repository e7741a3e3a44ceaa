#pragma once

#include "Export.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

namespace Orvane { namespace Zel {

/// A stream of floats with a fixed number of components per vertex.
///
/// \snippet buffers.cpp VertexArrayBuilderStorage
///
/// Units:   counts are numbers of components or of vertices.
/// Context: needs none.
/// Errors:  a wrong order of calls logs a critical message; the value is stored
///          anyway.
class ZELGL_EXPORT VertexArrayBuilderStorage
{
public:
    VertexArrayBuilderStorage();

    /// Call it once, before the first push. \a vertexCount only reserves memory: more
    /// vertices may follow.
    void setSpec(unsigned componentCount, unsigned vertexCount);

    /// Appends exactly these values: missing components are not filled in.
    void pushData(float x);
    void pushData(float x, float y);
    void pushData(float x, float y, float z);
    void pushData(float x, float y, float z, float w);

    /// Floats per vertex; 0 before setSpec().
    unsigned getComponentCount() const;
    /// The number of vertices.
    unsigned getSize() const;
    const float *getData() const;

private:
    unsigned _componentCount = 0;
    QVector<float> _data;
};

/// Collects vertex data as in immediate mode, with one stream of floats per
/// attribute, and returns the finished arrays.
///
/// The streams are independent: no current value is kept or repeated, so push one
/// value into every stream for each vertex.
///
/// \snippet buffers.cpp VertexArrayBuilder
///
/// Units:   the caller's: values are not converted.
/// Context: needs none: despite their names the functions make no GL call.
/// Errors:  a push without set...Spec(), or with more components than it declared,
///          logs a critical message; the values are stored anyway.
/// Source:  the functions are named after the vertex calls of OpenGL 1.1.
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
    // GLLoader.h defines glVertexAttrib2f and glVertexAttrib3f as macros with this prefix, so a host that includes it calls these
    // functions by the names without the prefix.
    void _ptrc_glVertexAttrib2f(unsigned index, float x, float y);
    void _ptrc_glVertexAttrib3f(unsigned index, float x, float y, float z);

    /// The number of vertices. Logs a critical message if colours, texture coordinates
    /// or normals are set up and have another count. Does not check the generic
    /// attributes.
    unsigned getVertexCount() const;

    const float *getVertexData() const;
    const float *getColorData() const;
    const float *getTexCoordData() const;
    const float *getNormalData() const;
    /// Returns null for an unknown index.
    const float *getVertexAttribData(unsigned index) const;

    const VertexArrayBuilderStorage &getVertexStorage() const;
    const VertexArrayBuilderStorage &getColorStorage() const;
    const VertexArrayBuilderStorage &getTexCoordStorage() const;
    const VertexArrayBuilderStorage &getNormalStorage() const;
    /// Returns a copy; for an unknown index an empty stream.
    VertexArrayBuilderStorage getVertexAttribStorage(unsigned index) const;

private:
    VertexArrayBuilderStorage _vertex;
    VertexArrayBuilderStorage _color;
    VertexArrayBuilderStorage _texCoord;
    VertexArrayBuilderStorage _normal;
    QHash<unsigned, VertexArrayBuilderStorage> _vertexAttribs; ///< by attribute index
};

}} // namespace Orvane::Zel
