#include "frame/AntiAliasing.h"

#include "SMAATextures.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector4D>

#include <utility>
#include <vector>

using namespace Orvane::Zel;

namespace zelview {

namespace {

using Input = std::pair<const char *, Texture *>;
using TexturePointer = std::unique_ptr<Texture>;
using TargetPointer = std::unique_ptr<RenderTarget>;

void setSampling(Texture &texture, int filter)
{
    const AutoBinder bound(&texture);
    for (const GLenum parameter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
        glTexParameteri(GL_TEXTURE_2D, parameter, filter);
    }
    for (const GLenum axis : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
        glTexParameteri(GL_TEXTURE_2D, axis, GL_CLAMP_TO_EDGE);
    }
}

Failure allocate(const QSize &size, unsigned int format, TargetPointer &target)
{
    Expected<TargetPointer> made = makeTarget(size, format, RenderTarget::eNoDepth);
    if (!made) {
        return made.problem();
    }
    setSampling(*(*made)->color(), GL_LINEAR);
    target = std::move(*made);
    return {};
}

/// Draws into the bound framebuffer.
void drawFrom(const ProgramPointer &program, const std::vector<Input> &inputs)
{
    const AutoDisabler noDepthTest(GL_DEPTH_TEST);
    const AutoDisabler noBlending(GL_BLEND);
    const AutoBinder bound(program.data());
    for (const Input &input : inputs) {
        input.second->bind();
        program->setUniform(QLatin1String(input.first), QVariant(int(input.second->unit())));
    }
    drawFullscreen(program.data());
    for (const Input &input : inputs) {
        input.second->unbind();
    }
}

void setUniform(const ProgramPointer &program, const char *name, const QVariant &value)
{
    const AutoBinder bound(program.data());
    program->setUniform(QLatin1String(name), value);
}

class Fxaa : public AntiAliasing
{
public:
    Failure build(Programs &programs)
    {
        const Expected<ProgramPointer> program =
            programs.build({QStringLiteral("passthroughVS.glslc")},
                           {QStringLiteral("fxaa.frag"), QStringLiteral("FXAA.glslc")});
        if (!program) {
            return program.problem();
        }
        _program = *program;
        return {};
    }

    void draw(Texture &, unsigned int targetFramebuffer, bool isDithered) override
    {
        setUniform(_program, "u_IsDithered", int(isDithered));
        glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
        drawFrom(_program, {{"u_Picture", encoded().color()}});
    }

protected:
    Failure makeTargets(const QSize &) override { return {}; }

private:
    ProgramPointer _program;
};

class Smaa : public AntiAliasing
{
public:
    Failure build(Programs &programs);
    void draw(Texture &linear, unsigned int targetFramebuffer, bool isDithered) override;

protected:
    Failure makeTargets(const QSize &size) override;

private:
    void makeTables();
    void pass(const ProgramPointer &program, RenderTarget &target, const std::vector<Input> &inputs);

    ProgramPointer _edgeFinder;
    ProgramPointer _weigher;
    ProgramPointer _blender;
    TargetPointer _edges;
    TargetPointer _weights;
    TexturePointer _areaTable;
    TexturePointer _searchTable;
    QVector4D _metrics;
};

Failure Smaa::build(Programs &programs)
{
    const std::pair<ProgramPointer *, QString> passes[] = {{&_edgeFinder, QStringLiteral("smaaEdges")},
                                                           {&_weigher, QStringLiteral("smaaWeights")},
                                                           {&_blender, QStringLiteral("smaaBlend")}};
    for (const auto &[program, name] : passes) {
        const Expected<ProgramPointer> built =
            programs.build({name + QStringLiteral(".vert")}, {name + QStringLiteral(".frag")});
        if (!built) {
            return built.problem();
        }
        *program = *built;
    }
    makeTables();
    return {};
}

void Smaa::makeTables()
{
    const auto make = [](int internalFormat, unsigned int format, int width, int height,
                         const unsigned char *bytes, int filter) {
        auto table = std::make_unique<Texture>(GL_TEXTURE_2D, internalFormat, width, height, 1, nullptr);
        const AutoBinder bound(table.get());
        glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, format, GL_UNSIGNED_BYTE, bytes);
        setSampling(*table, filter);
        return table;
    };
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    _areaTable = make(GL_RG8, GL_RG, SMAA_AREA_WIDTH, SMAA_AREA_HEIGHT, smaaAreaBytes, GL_LINEAR);
    _searchTable = make(GL_R8, GL_RED, SMAA_SEARCH_WIDTH, SMAA_SEARCH_HEIGHT, smaaSearchBytes, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

Failure Smaa::makeTargets(const QSize &size)
{
    if (const Failure failure = allocate(size, GL_RG8, _edges)) {
        return failure;
    }
    if (const Failure failure = allocate(size, GL_RGBA8, _weights)) {
        return failure;
    }
    _metrics = QVector4D(1.0f / float(size.width()), 1.0f / float(size.height()), float(size.width()),
                         float(size.height()));
    return {};
}

void Smaa::draw(Texture &linear, unsigned int targetFramebuffer, bool isDithered)
{
    for (const ProgramPointer &program : {_edgeFinder, _weigher, _blender}) {
        setUniform(program, "u_Metrics", _metrics);
    }
    pass(_edgeFinder, *_edges, {{"u_Picture", encoded().color()}});
    pass(_weigher, *_weights,
         {{"u_Edges", _edges->color()}, {"u_Area", _areaTable.get()}, {"u_Search", _searchTable.get()}});
    setUniform(_blender, "u_IsDithered", int(isDithered));
    glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
    drawFrom(_blender, {{"u_Frame", &linear}, {"u_Weights", _weights->color()}});
}

void Smaa::pass(const ProgramPointer &program, RenderTarget &target, const std::vector<Input> &inputs)
{
    const AutoBinder boundTarget(target.framebuffer());
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f); // pixels without an edge are discarded
    glClear(GL_COLOR_BUFFER_BIT);
    drawFrom(program, inputs);
}

template <typename Filter> Expected<std::unique_ptr<AntiAliasing>> make(Programs &programs)
{
    auto filter = std::make_unique<Filter>();
    if (const Failure failure = filter->build(programs)) {
        return *failure;
    }
    return std::unique_ptr<AntiAliasing>(std::move(filter));
}

} // namespace

AntiAliasing::AntiAliasing() = default;

AntiAliasing::~AntiAliasing() = default;

Expected<std::unique_ptr<AntiAliasing>> AntiAliasing::create(Programs &programs, EdgeFilter filter)
{
    switch (filter) {
    case EdgeFilter::eFxaa:
        return make<Fxaa>(programs);
    case EdgeFilter::eSmaa:
        return make<Smaa>(programs);
    default:
        return std::unique_ptr<AntiAliasing>();
    }
}

Failure AntiAliasing::resize(const QSize &size)
{
    if (size == _size) {
        return {};
    }
    _size = QSize();
    Failure failure = allocate(size, GL_RGBA16F, _encoded);
    if (!failure) {
        failure = makeTargets(size);
    }
    if (!failure) {
        _size = size;
    }
    return failure;
}

} // namespace zelview
