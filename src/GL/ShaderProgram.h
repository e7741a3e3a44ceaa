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

/// The program that is bound in each context, by the identity of
/// GLContextTracker, and the lock of that table. A context without a bound
/// program has no row.
extern ZELGL_EXPORT QHash<void *, ShaderProgram *> gCurrentlyBoundShaderPrograms;
extern ZELGL_EXPORT QMutex gCurrentlyBoundShaderProgramsMutex;

/// A linked GLSL program: its stages, its link in two halves, its bind, its
/// binary, its names and its uniforms.
///
/// Order of use: setMacroProcessor(); addShader() or addShaderFromFile() for
/// each stage; the set...() of outputs; link(); then per use bind(), uniforms,
/// draw, unbind(). A host with many programs calls linkPre() on all, then
/// linkPreWait() and linkPost() on each, so that the driver works on them
/// side by side. A stage added after linking counts only after clear().
///
/// \snippet shaders.cpp ShaderProgram
///
/// Units:   locations, block indices and binding points are GL's; -1 and
///          0xFFFFFFFF are the answers for unknown names.
/// Context: construct, link, bind, set and delete with one and the same context
///          current; unbind before deleting.
/// Errors:  a failed compile or link answers false, is logged line by line as
///          warnings, and leaves the stages in place. Unknown names are quiet:
///          shaders are assembled from optional parts.
/// Source:  OpenGL 3.2 core; ARB_parallel_shader_compile, ARB_get_program_binary,
///          ARB_program_interface_query and ARB_shader_storage_buffer_object
///          where the driver has them. Names go to GL as Latin-1.
class ZELGL_EXPORT ShaderProgram : public QObject, public Bindable
{
    Q_OBJECT
    Q_DISABLE_COPY(ShaderProgram)

public:
    /// The GL name of a program that is not linked.
    static constexpr unsigned int kShaderProgramNotLinked = 0;

    explicit ShaderProgram(QObject *parent);
    /// Deletes the GL program and the stages. The table of bound programs is not
    /// touched: unbind first.
    ~ShaderProgram() override;

    /// Compiles all stages, which linkPre() does too for those that are not yet.
    /// Forgets the GL program of an earlier link without deleting it.
    virtual bool compile();
    /// Compiles, attaches and starts the link, without awaiting its result. At
    /// once true when linked.
    virtual bool linkPre();
    /// Polls until the driver has finished, five seconds at most, where it can
    /// compile in parallel; always true.
    virtual bool linkPreWait();
    /// Reads the link's result and fills the tables of names, or logs the
    /// failure with all sources. Success clears the sources of the stages.
    virtual bool linkPost();
    /// linkPre() and linkPost().
    virtual bool link();
    /// Whether the last link was good; the driver's own validation is not run.
    virtual bool validate();
    /// Rebinding is allowed; nobody is asked who was bound before.
    bool bind() override;
    /// Clears the context's program, whichever it is; always true.
    bool unbind() override;

    /// The program bound in the current context, or null.
    static ShaderProgram *currentShaderProgram();

    /// Deletes the GL program and the stages, to start over. The tables of names
    /// stay: for other sources make a new object.
    void clear();

    /// Borrowed; it must outlive the program. Counts for stages added later,
    /// since a stage processes its text when it is made.
    void setMacroProcessor(GLSLMacroProcessor *processor);
    GLSLMacroProcessor *getMacroProcessor() const;

    /// Adds a stage of the GL type; several of one type stand side by side. With
    /// a \a dumpPath the processed text is written there.
    void addShader(int type, const QString &source, const QString &dumpPath);
    /// The same from a file, looked for in the working directory, in `GLSL/src`
    /// of the installation's resources and in `:/GLSL/src`. A file that is not
    /// found is a warning, and adds no stage.
    void addShaderFromFile(int type, const QString &fileName);
    /// Marks the text as processed, which it is from the start.
    void preprocess();
    /// Empties the sources of all stages.
    void clearSource();

    // Applied by linkPre().
    void setTransformFeedbackVaryings(const QStringList &names, unsigned int bufferMode);
    /// Fragment outputs, in the order of their colour numbers.
    void setFragDataLocations(const QStringList &names);
    /// The names of a dual-source output; the first list belongs to colour 0.
    void setFragDataIndexs(const QList<QStringList> &names);

    bool isLinked() const;
    unsigned int shaderProgramID() const;
    /// The driver's log of the last failed compile, link or validate.
    QString log() const;

    // The pieces of a program cache. The host stores binary and format under the
    // key; the library writes no file.

    bool isProgramBinariesSupported() const;
    bool getProgramBinary(QByteArray &data, unsigned int &format) const;
    /// Links from a stored binary, without stages. False, and quietly so, where
    /// the driver refuses it.
    bool loadProgramFromRawData(const QByteArray &data, unsigned int format);
    /// A hash of the processed sources, whatever their order. Ask before a link
    /// clears the sources.
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
    /// Asks GL once for each name, unknown ones included. The answers are kept
    /// for the life of the object, whatever is linked later.
    int getUniformLocation(const QString &name) const;
    bool hasUniform(const QString &name) const;
    /// The location of the draw ID, "u_DrawID".
    int getUniformLocationNameID() const;

    unsigned int getUniformBlockIndex(const QString &name) const;
    unsigned int getStorageBlockIndex(const QString &name) const;
    /// One GL call per change: a binding that the block has already is not set again.
    void setUniformBlockBinding(unsigned int index, unsigned int binding);
    void setStorageBlockBinding(unsigned int index, unsigned int binding);
    unsigned int getUniformBlockBinding(unsigned int index);
    unsigned int getStorageBlockBinding(unsigned int index);
    // GL_SHADER_STORAGE_BUFFER asks for the storage form, all else for the uniform form.
    unsigned int getTypeBlockIndex(unsigned int type, const QString &name) const;
    void setTypeBlockBinding(unsigned int type, unsigned int index, unsigned int binding);
    unsigned int getTypeBlockBinding(unsigned int type, unsigned int index);

    /// Logs the number of active uniforms by GL type, and of samplers.
    void summaryUniforms();

    // Uniforms; the program must be bound. Draw paths hold locations.

    /// For a location that is known to be good, or is -1, which GL ignores.
    bool setUniform(int location, int value);
    bool setUniform(int location, unsigned int value);
    /// False for a negative location, with no call and no log.
    bool setUniform(int location, const QVector<float> &values);
    /// The array of vectors of \a tupleSize components, 1 to 4. The count given
    /// to GL is the size of the list, so the uniform must be an array where that
    /// is above 1; GL takes as many elements as the array has, and those that
    /// the list does not reach become zero. Another size makes no call.
    bool setUniform(int location, const QVector<float> &values, int tupleSize);
    bool setUniform(int location, const QVector<int> &values, int tupleSize);
    bool setUniform(int location, const QVector<unsigned int> &values, int tupleSize);
    /// By the type held: numbers, bool, QColor, QVector2D to QVector4D,
    /// QMatrix4x4, QMatrix3x3, QMatrix4x2, QMatrix2x2, RangedFloat, RangedDouble.
    /// Another type is a critical line.
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
    ZELGL_NO_EXPORT void applyFragDataLocations();
    ZELGL_NO_EXPORT void applyTransformFeedbackVaryings();
    ZELGL_NO_EXPORT void cacheNames();
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

/// Orders shaders by falling GL name.
ZELGL_EXPORT bool shaderProgramIdGreaterThan(const Shader *a, const Shader *b);

}} // namespace Orvane::Zel
