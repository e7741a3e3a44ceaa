#pragma once

#include "Bindable.h"
#include "RangedValues.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtCore/QVector>

#include <vector>

/// True for the GL types of sampler uniforms, multisample and integer samplers
/// included.
ZELGL_EXPORT bool isSamplerType(unsigned int type);

namespace Orvane { namespace Zel {

class GLSLMacroProcessor;
class Shader;
class ShaderProgram;

/// The bound program of each context, by the identity of GLContextTracker, and the
/// mutex of that table. A context without a bound program has no entry.
extern ZELGL_EXPORT QHash<void *, ShaderProgram *> gCurrentlyBoundShaderPrograms;
extern ZELGL_EXPORT QMutex gCurrentlyBoundShaderProgramsMutex;

/// A GLSL program: stages, a link in two steps, binary, names and uniforms.
///
/// Order of use: setMacroProcessor(); addShader() or addShaderFromFile() for
/// each stage; the set...() of outputs; link(); then for each use bind(), uniforms,
/// draw, unbind(). A host with many programs calls linkPre() on all, then
/// linkPreWait() and linkPost() on each, so that the driver works on them
/// in parallel. A stage that is added after the link has no effect until clear().
///
/// \snippet shaders.cpp ShaderProgram
///
/// Units:   locations, block indices and binding points are GL's. Unknown names give
///          -1 as a location and 0xFFFFFFFF as a block index.
/// Context: construct, link, bind, set and delete with the same context current;
///          unbind before deleting.
/// Errors:  a failed compile or link returns false, is logged line by line as
///          warnings, and keeps the stages. Unknown names are not logged:
///          shaders are assembled from optional parts.
/// Source:  OpenGL 3.2 core; ARB_parallel_shader_compile, ARB_get_program_binary,
///          ARB_program_interface_query and ARB_shader_storage_buffer_object
///          if the driver has them. Names go to GL as Latin-1.
class ZELGL_EXPORT ShaderProgram : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(ShaderProgram)

public:
    /// The GL name of a program that is not linked.
    static constexpr unsigned int kShaderProgramNotLinked = 0;

    explicit ShaderProgram(QObject *parent);
    /// Deletes the GL program and the stages. The table of bound programs does not
    /// change: unbind first.
    ~ShaderProgram() override;

    /// Compiles all stages. Optional: linkPre() compiles those that are not compiled yet.
    /// Forgets the GL program of an earlier link without deleting it.
    virtual bool compile();
    /// Compiles and attaches the stages and starts the link, without waiting for its
    /// result. Returns true at once when linked.
    virtual bool linkPre();
    /// With a driver that compiles in parallel, polls until it has finished, for five
    /// seconds at most. Always returns true.
    virtual bool linkPreWait();
    /// Waits for the result of the link. Success fills the tables of names and clears
    /// the sources of the stages; a failure is logged with all sources.
    virtual bool linkPost();
    /// linkPre() and linkPost().
    virtual bool link();
    /// Whether the last link succeeded. Does not call glValidateProgram().
    virtual bool validate();
    /// Allowed while this or another program is bound.
    bool bind() override;
    /// Unbinds the program of the context, even if it is another one. Always returns true.
    bool unbind() override;

    /// The program bound in the current context, or null.
    static ShaderProgram *currentShaderProgram();

    /// Deletes the GL program and the stages, to start over. The tables of names
    /// stay: for other sources make a new object.
    void clear();

    /// Borrowed; it must outlive the program. Applies to stages that are added later,
    /// because a stage processes its text when it is constructed.
    void setMacroProcessor(GLSLMacroProcessor *processor);
    GLSLMacroProcessor *getMacroProcessor() const;

    /// Adds a stage of the GL type; one type may have several. A \a dumpPath that is
    /// not empty names the file to which the processed text is written.
    void addShader(int type, const QString &source, const QString &dumpPath);
    /// Reads the stage from the first file found in the working directory, in
    /// `GLSL/src` of the installation's resources or in `:/GLSL/src`. A file that is
    /// not found logs a warning and adds no stage.
    void addShaderFromFile(int type, const QString &fileName);
    /// Marks the text as processed. It is processed already; the call has no other effect.
    void preprocess();
    /// Empties the sources of all stages.
    void clearSource();

    // Applied by linkPre().
    void setTransformFeedbackVaryings(const QStringList &names, unsigned int bufferMode);
    /// Fragment outputs, in the order of their colour numbers.
    void setFragDataLocations(const QStringList &names);
    /// The names of the two sources of a dual-source output; the first list is for colour 0.
    void setFragDataIndexs(const QList<QStringList> &names);

    bool isLinked() const;
    unsigned int shaderProgramID() const;
    /// The driver's log of the last failed compile, link or validate.
    QString log() const;

    // For a program cache. The host stores binary and format under the hash; the
    // library writes no file.

    bool isProgramBinariesSupported() const;
    bool getProgramBinary(QByteArray &data, unsigned int &format) const;
    /// Links from a stored binary, without stages. Returns false, without a message,
    /// if the driver refuses it.
    bool loadProgramFromRawData(const QByteArray &data, unsigned int format);
    /// A hash of the processed sources, independent of their order. Call it before a
    /// link clears the sources.
    QString constructShaderHash();

    /// Logs the sources as the driver has them, numbered, as warnings.
    void dump();
    /// Writes the processed source of each stage to \a pathTemplate with %1
    /// replaced by VS, FS, GS, TES or TCS.
    void dumpShaderSources(const QString &pathTemplate) const;

    // Filled by the link.
    void cacheVertexAttributes();
    void cacheUniformLocations();
    void cacheUniformBlockIndices();

    int getVertexAttributeLocation(const QString &name) const;
    const QHash<QString, int> &getVertexAttributeNameLocationMap() const;
    QStringList getVertexAttributeNames() const;
    /// Queries GL once for each name, unknown names included. The locations are kept
    /// for the life of the object, even when other sources are linked later.
    int getUniformLocation(const QString &name) const;
    bool hasUniform(const QString &name) const;
    /// The location of the draw ID, "u_DrawID".
    int getUniformLocationNameID() const;

    unsigned int getUniformBlockIndex(const QString &name) const;
    unsigned int getStorageBlockIndex(const QString &name) const;
    /// Calls GL only if the block has another binding point.
    void setUniformBlockBinding(unsigned int index, unsigned int binding);
    void setStorageBlockBinding(unsigned int index, unsigned int binding);
    unsigned int getUniformBlockBinding(unsigned int index);
    unsigned int getStorageBlockBinding(unsigned int index);
    // GL_SHADER_STORAGE_BUFFER selects the storage form, every other type the uniform form.
    unsigned int getTypeBlockIndex(unsigned int type, const QString &name) const;
    void setTypeBlockBinding(unsigned int type, unsigned int index, unsigned int binding);
    unsigned int getTypeBlockBinding(unsigned int type, unsigned int index);

    /// Logs the number of active uniforms by GL type, and of samplers.
    void summaryUniforms();

    // Uniforms; the program must be bound. In draw loops, keep the locations.

    /// Does not check the location: -1 is ignored by GL.
    bool setUniform(int location, int value);
    bool setUniform(int location, unsigned int value);
    /// Returns false for a negative location, without a GL call or a message.
    bool setUniform(int location, const QVector<float> &values);
    /// Sets an array of vectors with \a tupleSize components, 1 to 4. The count passed
    /// to GL is the size of the list, so a list of several values needs an array. GL
    /// sets as many elements as the array has; those beyond the list become zero.
    /// Another tuple size makes no call and returns true.
    bool setUniform(int location, const QVector<float> &values, int tupleSize);
    bool setUniform(int location, const QVector<int> &values, int tupleSize);
    bool setUniform(int location, const QVector<unsigned int> &values, int tupleSize);
    /// Sets the uniform by the type that the variant holds: numbers, bool, QColor, QVector2D to QVector4D,
    /// QMatrix4x4, QMatrix3x3, QMatrix4x2, QMatrix2x2, RangedFloat, RangedDouble.
    /// Another type logs a critical message and returns true.
    bool setUniform(int location, const QVariant &value);
    bool setUniform(const QString &name, const QVector<float> &values);
    bool setUniform(const QString &name, const QVector<float> &values, int tupleSize);
    bool setUniform(const QString &name, const QVector<int> &values, int tupleSize);
    bool setUniform(const QString &name, const QVector<unsigned int> &values, int tupleSize);
    bool setUniform(const QString &name, const QVariant &value);

private:
    friend quint64 linkNumberOf(const ShaderProgram &program); ///< private to the library

    /// The interface blocks of one kind, uniform or storage.
    struct BlockTable
    {
        ZELGL_NO_EXPORT void append(const QString &name);
        /// Returns false when the block has the binding point already; true also for an unknown block.
        ZELGL_NO_EXPORT bool store(unsigned int index, unsigned int binding);
        ZELGL_NO_EXPORT std::vector<unsigned int>::const_iterator find(unsigned int index) const;
        ZELGL_NO_EXPORT std::vector<unsigned int>::const_iterator end() const;

        QHash<QString, unsigned int> indices; ///< by name
        std::vector<unsigned int> bindings;   ///< the binding point, by block index
    };

    ZELGL_NO_EXPORT bool attachShaders();
    ZELGL_NO_EXPORT void cacheNames();
    ZELGL_NO_EXPORT void renewLinkNumber();
    ZELGL_NO_EXPORT void deleteProgram();

    unsigned int _programID = kShaderProgramNotLinked; ///< GL name
    QString _log;
    QMultiHash<int, Shader *> _shaders; ///< by GL stage; owned
    QStringList _transformFeedbackVaryings;
    unsigned int _transformFeedbackBufferMode = 0;
    QStringList _fragDataLocations;
    QList<QStringList> _fragDataIndexs;
    QHash<QString, int> _vertexAttributes;
    mutable QHash<QString, int> _uniformLocations; ///< never emptied
    int _uniformLocationNameID = -1;
    BlockTable _uniformBlockBindingIndices;
    BlockTable _storageBlockBindingIndices;
    GLSLMacroProcessor *_macroProcessor = nullptr; ///< borrowed
    bool _parallelShaderCompile = false;
    bool _preprocessed = false;
    quint64 _linkNumber = 0; ///< unique in the process; 0 when nothing is linked
};

/// Orders shaders by descending GL name.
ZELGL_EXPORT bool shaderProgramIdGreaterThan(const Shader *a, const Shader *b);

}} // namespace Orvane::Zel
