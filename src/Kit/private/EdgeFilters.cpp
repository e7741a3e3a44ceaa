#include "EdgeFilters.h"

#include "FullscreenProgram.h"
#include "SMAATables.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QVector4D>

#include <initializer_list>
#include <utility>
#include <vector>

using namespace Orvane::Zel;

namespace Orvane { namespace ZelKit {

namespace {

using Input = std::pair<const char *, Texture *>;
using ProgramPointer = std::unique_ptr<ShaderProgram>;
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

/// Draws into the bound framebuffer.
void drawFrom(ShaderProgram &program, std::initializer_list<Input> inputs)
{
    const AutoBinder bound(&program);
    for (const Input &input : inputs) {
        input.second->bind();
        program.setUniform(QLatin1String(input.first), QVariant(int(input.second->unit())));
    }
    drawFullscreen(program);
    for (const Input &input : inputs) {
        input.second->unbind();
    }
}

void setUniform(ShaderProgram &program, const char *name, const QVariant &value)
{
    const AutoBinder bound(&program);
    program.setUniform(QLatin1String(name), value);
}

class Fxaa : public EdgeFilter
{
public:
    bool build(QString *error)
    {
        GLSLMacroProcessor processor;
        _program = buildProgram(processor, QString(),
                                {QStringLiteral("fxaa.frag"), QStringLiteral("FXAA.glslc")}, error);
        return _program != nullptr;
    }

    void draw(Texture &, unsigned int targetFramebuffer, bool isDithered) override
    {
        setUniform(*_program, "u_IsDithered", int(isDithered));
        glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
        drawFrom(*_program, {{"u_Picture", encoded().color()}});
    }

protected:
    bool makeTargets(const QSize &, QString *) override { return true; }

private:
    ProgramPointer _program;
};

class Smaa : public EdgeFilter
{
public:
    bool build(QString *error);
    void draw(Texture &linear, unsigned int targetFramebuffer, bool isDithered) override;

protected:
    bool makeTargets(const QSize &size, QString *error) override;

private:
    void makeTables();
    void pass(ShaderProgram &program, RenderTarget &target, std::initializer_list<Input> inputs);

    ProgramPointer _edgeFinder;
    ProgramPointer _weigher;
    ProgramPointer _blender;
    TargetPointer _edges;
    TargetPointer _weights;
    TexturePointer _areaTable;
    TexturePointer _searchTable;
};

bool Smaa::build(QString *error)
{
    const std::pair<ProgramPointer *, QString> passes[] = {{&_edgeFinder, QStringLiteral("smaaEdges")},
                                                           {&_weigher, QStringLiteral("smaaWeights")},
                                                           {&_blender, QStringLiteral("smaaBlend")}};
    GLSLMacroProcessor processor;
    for (const auto &[program, name] : passes) {
        *program =
            buildProgram(processor, name + QStringLiteral(".vert"), {name + QStringLiteral(".frag")}, error);
        if (*program == nullptr) {
            return false;
        }
    }
    makeTables();
    return true;
}

void Smaa::makeTables()
{
    const auto make = [](int internalFormat, unsigned int format, int width, int height,
                         const std::vector<std::uint8_t> &bytes, int filter) {
        auto table = std::make_unique<Texture>(GL_TEXTURE_2D, internalFormat, width, height, 1, nullptr);
        const AutoBinder bound(table.get());
        glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, format, GL_UNSIGNED_BYTE,
                     bytes.data());
        setSampling(*table, filter);
        return table;
    };
    using namespace SMAATables;
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    _areaTable = make(GL_RG8, GL_RG, kAreaWidth, kAreaHeight, area(), GL_LINEAR);
    _searchTable = make(GL_R8, GL_RED, kSearchWidth, kSearchHeight, search(), GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

bool Smaa::makeTargets(const QSize &size, QString *error)
{
    _edges = makeFilteredTarget(size, GL_RG8, error);
    _weights = _edges != nullptr ? makeFilteredTarget(size, GL_RGBA8, error) : nullptr;
    if (_weights == nullptr) {
        return false;
    }
    const QVector4D metrics(1.0f / float(size.width()), 1.0f / float(size.height()), float(size.width()),
                            float(size.height()));
    for (const ProgramPointer *program : {&_edgeFinder, &_weigher, &_blender}) {
        setUniform(**program, "u_Metrics", metrics);
    }
    return true;
}

void Smaa::draw(Texture &linear, unsigned int targetFramebuffer, bool isDithered)
{
    pass(*_edgeFinder, *_edges, {{"u_Picture", encoded().color()}});
    pass(*_weigher, *_weights,
         {{"u_Edges", _edges->color()}, {"u_Area", _areaTable.get()}, {"u_Search", _searchTable.get()}});
    setUniform(*_blender, "u_IsDithered", int(isDithered));
    glBindFramebuffer(GL_FRAMEBUFFER, targetFramebuffer);
    drawFrom(*_blender, {{"u_Frame", &linear}, {"u_Weights", _weights->color()}});
}

void Smaa::pass(ShaderProgram &program, RenderTarget &target, std::initializer_list<Input> inputs)
{
    const AutoBinder boundTarget(target.framebuffer());
    constexpr GLfloat kNothing[4] = {}; // the shader discards pixels without an edge
    glClearBufferfv(GL_COLOR, 0, kNothing);
    drawFrom(program, inputs);
}

template <typename Filter> std::unique_ptr<EdgeFilter> make(QString *error)
{
    auto filter = std::make_unique<Filter>();
    return filter->build(error) ? std::move(filter) : nullptr;
}

} // namespace

std::unique_ptr<RenderTarget> makeFilteredTarget(const QSize &size, unsigned int format, QString *error)
{
    TargetPointer target = RenderTarget::create(size, format, RenderTarget::eNoDepth, 0, error);
    if (target != nullptr) {
        setSampling(*target->color(), GL_LINEAR);
    }
    return target;
}

EdgeFilter::EdgeFilter() = default;

EdgeFilter::~EdgeFilter() = default;

std::unique_ptr<EdgeFilter> EdgeFilter::create(bool isSmaa, QString *error)
{
    return isSmaa ? make<Smaa>(error) : make<Fxaa>(error);
}

bool EdgeFilter::resize(const QSize &size, QString *error)
{
    _encoded = makeFilteredTarget(size, GL_RGBA16F, error);
    return _encoded != nullptr && makeTargets(size, error);
}

}} // namespace Orvane::ZelKit
