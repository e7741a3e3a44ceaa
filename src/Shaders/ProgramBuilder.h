#pragma once

#include "ShaderReport.h"

#include <memory>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
class TextureManager;
} // namespace Zel

namespace ZelShaders {

class ProgramCache;

/// Builds a program and reports a failure in a few lines of the host's own files.
///
/// While the program links, the builder holds back what the library logs in this thread. If it links, these messages follow;
/// if not, a report replaces the warnings that are the numbered listings of the stages. Each stage is expanded twice, once
/// for its map.
///
/// \snippet diagnosis.cpp ProgramBuilder
///
/// build() does everything for a program of two stages:
///
/// \snippet diagnosis.cpp build
///
/// Units:   none.
/// Context: that of the program.
/// Errors:  logs a report as warnings, a line each, and returns false. A text that includes itself without an end is
///          refused: the text processor would not return.
class ZELSHADERS_EXPORT ProgramBuilder
{
    Q_DISABLE_COPY(ProgramBuilder)

public:
    /// The program is borrowed. Set its macro processor first, and add its stages here.
    explicit ProgramBuilder(Zel::ShaderProgram &program);
    ~ProgramBuilder();

    /// Adds a stage; \a name names it in reports.
    bool addShader(int type, const QString &source, const QString &name);
    /// Adds a stage from the file that ShaderProgram::addShaderFromFile() finds. A file that is not found is logged as
    /// there, and returns false.
    bool addShaderFromFile(int type, const QString &fileName);
    /// Adds what the stages call and do not define, each to its stage: the accessors of the plans that `#instancedata` names, the
    /// file of \a manager for functions of "TextureManager.glslh", and files of the library. Call it after all other stages.
    /// link() reports what remains missing.
    void addLibrary(Zel::TextureManager *manager = nullptr);
    /// Borrowed; null, as at first, for none.
    void setCache(ProgramCache *cache) { _cache = cache; }
    /// ShaderProgram::link(), or ProgramCache::link() with a cache.
    bool link();
    /// The report of the last failure; empty if link() succeeded.
    QString report() const { return _report; }

    /// Links a vertex and a fragment stage, each a text or, without a line break, the name of a file, with what addLibrary() adds.
    /// The draw units' and the manager's defines are added to \a processor; null for a new one. The program does not refer
    /// to it later. Never null; isLinked() of a program that failed is false.
    static std::unique_ptr<Zel::ShaderProgram> build(const QString &vertex, const QString &fragment,
                                                     Zel::TextureManager *manager = nullptr,
                                                     Zel::GLSLMacroProcessor *processor = nullptr);

private:
    ZELSHADERS_NO_EXPORT bool addLibraryTo(unsigned int type, Zel::TextureManager *manager);
    ZELSHADERS_NO_EXPORT bool defines(const QString &text, const QString &function) const;
    ZELSHADERS_NO_EXPORT bool addSource(int type, const QString &source, const QString &name);
    ZELSHADERS_NO_EXPORT QString reportOf(const QStringList &messages) const;

    Zel::ShaderProgram &_program;
    ProgramCache *_cache = nullptr;
    QVector<ShaderReport::Stage> _stages;
    QString _report;
};

} // namespace ZelShaders
} // namespace Orvane
