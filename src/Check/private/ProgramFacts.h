#pragma once

#include <ZelGL/GLLoader.h>

#include <QtCore/QByteArray>

#include <map>
#include <vector>

namespace Orvane { namespace ZelCheck {

/// The attributes, uniforms and blocks of a program, read once after each link.
struct ProgramFacts
{
    /// The type of the values that a shader reads.
    enum Kind { eFloat, eInteger, eDouble };

    struct Attribute
    {
        QByteArray name;
        GLuint location;
        GLuint columns; ///< locations that it occupies
        Kind kind;
    };

    struct Sampler
    {
        QByteArray name;
        GLint location;
        GLint size; ///< elements of the array
        GLenum target;
        Kind kind;
        bool isSet; ///< since the link
    };

    struct Uniform
    {
        QByteArray name;
        GLint location;
        GLint size;
        bool isSet;
        bool isOfCollection; ///< an accessor of instance data reads it
    };

    /// A value that a fragment stage writes.
    struct Output
    {
        QByteArray name;
        GLint number; ///< of the draw buffer
        Kind kind;
    };

    struct Block
    {
        QByteArray name;
        GLuint index;
        GLint size; ///< bytes that its buffer must have
    };

    bool isLinked = false;
    bool isHistoryKnown = false; ///< the link and all calls since then were seen
    bool hasSideEffects = false; ///< writes storage blocks, images or counters
    bool uniformsReported = false;
    bool isNamed = false; ///< its files have been looked for
    std::vector<Attribute> attributes;
    std::vector<Sampler> samplers;
    std::vector<Output> outputs;   ///< empty if the driver has no query
    std::vector<Uniform> uniforms; ///< neither samplers nor members of blocks
    std::vector<Block> uniformBlocks;
    std::vector<Block> storageBlocks;

    /// A sampler's element or a uniform has been set. Returns whether it is a sampler.
    bool setUniform(GLint location);
    /// A uniform or sampler, without \a isSet; the name is empty if there is none.
    Uniform uniformAt(GLint location) const;
};

/// The object of this name in the current share group.
using SharedName = std::pair<const void *, GLuint>;

SharedName sharedName(GLuint name);

/// The current program of GL.
GLuint currentProgram();

/// The facts of all programs. Its calls need a current context.
class Programs
{
public:
    /// Reads the facts if they are unknown.
    ProgramFacts &of(GLuint program);

    void linked(GLuint program);
    void forget(GLuint program) { _facts.erase(sharedName(program)); }
    void clear() { _facts.clear(); }

private:
    std::map<SharedName, ProgramFacts> _facts;
};

/// GL functions that are newer than the table, of the current context. Null if the driver does not have them.
struct NewerFunctions
{
    PFNGLGETPROGRAMINTERFACEIVPROC getProgramInterfaceiv = nullptr;
    PFNGLGETPROGRAMRESOURCEIVPROC getProgramResourceiv = nullptr;
    PFNGLGETPROGRAMRESOURCENAMEPROC getProgramResourceName = nullptr;
    PFNGLGETSAMPLERPARAMETERIVPROC getSamplerParameteriv = nullptr;
    PFNGLGETOBJECTLABELPROC getObjectLabel = nullptr;
    PFNGLOBJECTLABELPROC objectLabel = nullptr;
    PFNGLPUSHDEBUGGROUPPROC pushDebugGroup = nullptr;
    PFNGLPOPDEBUGGROUPPROC popDebugGroup = nullptr;
    bool hasStorageBlocks = false;
    bool hasInterfaceQueries = false;
    bool hasImmutableTextures = false;
    bool hasInstancedArrays = false;
    bool hasFixedRestart = false; ///< GL_PRIMITIVE_RESTART_FIXED_INDEX
    bool hasPipelines = false;
};

const NewerFunctions &newerFunctions();

}} // namespace Orvane::ZelCheck
