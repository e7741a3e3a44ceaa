// Draw submission: N boxes with a transform each, 32 materials in runs, one program, a static camera.
//
//   draw_zel -n N -frames F [-warm W] [-materials M] [-size S] [-variant NAME] [-image FILE]
//
//   commands      one draw unit of N commands, the draw ID in a uniform; one draw() for each material
//   baseinstance  N draw units with their own buffers, switched with rebind(), the draw ID in the base instance
//   sceneshared   a GPUModel: a drawable of one command for each draw unit; all share one object collection
//   scenesharedbase  the same by drawSimple(), the draw ID in the base instance
//   sceneown      an object collection for each drawable, no texture manager
//   sceneowntokens   the same with the sampler manager and a texture for each material
//   sceneownnotextures  the same without a texture in any material: the manager's empty texture is bound instead
//   scenecommands    one drawable with N commands and one material
//   packed        a ZelKit::PackedScene, the draw ID in the base instance: one indirect call for each material
//   packedculled  the same, culled by another frustum in each frame, while 5 % of the boxes, neighbours, move
//   packedscattered  the same while every twentieth box moves
//   packedrandom  the same while random boxes move, in random order
//   packedsubdraws  the same as packed with the draw ID in a uniform
//   commandsbyhand, baseinstancebyhand, packedbyhand
//                 the same GL calls by hand, on the same objects, program and framebuffer. The difference is the cost of
//                 the library itself; the peers have other programs and framebuffers.
//
// The time of a frame is the CPU time of the process from the clear to the flush.

#include "Boxes.h"
#include "DrawVariant.h"
#include "OffscreenStage.h"
#include "PackedVariant.h"
#include "SceneVariant.h"
#include "SideBySide.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QMatrix4x4>

#include <array>
#include <cstdio>

using namespace Orvane::Zel;

namespace {

const char kVertexSource[] = R"(#version 430
#include "ZelUtilities.glslh"
in vec3 va_Vertex;
in vec3 va_Normal;
in vec2 va_TexCoord;
uniform mat4 u_ViewProjection;
layout (std430) readonly buffer Objects { mat4 model[]; };
out vec3 vo_Normal;
out vec2 vo_TexCoord;
void main()
{
    mat4 m = model[getDrawID()];
    vo_Normal = mat3(m) * va_Normal;
    vo_TexCoord = va_TexCoord;
    gl_Position = u_ViewProjection * m * vec4(va_Vertex, 1.0);
}
)";

const char kFragmentSource[] = R"(#version 430
in vec3 vo_Normal;
in vec2 vo_TexCoord;
layout (std140) uniform Material { vec4 color; };
out vec4 out_Color;
void main()
{
    out_Color = color * (0.5 + 0.5 * normalize(vo_Normal).z) + 0.01 * vec4(vo_TexCoord, 0.0, 1.0);
}
)";

/// Shared by the variants without a GPUModel: the transforms of all boxes, and the materials.
class World : public BoxRuns
{
public:
    explicit World(const BoxRuns &runs);

    QSharedPointer<UniformBufferObject> objects;
    std::vector<QSharedPointer<UniformBufferObject>> materials;
};

World::World(const BoxRuns &runs)
    : BoxRuns(runs)
{
    const QSharedPointer<OpenGLDeviceContext> factory = OpenGLDeviceContext::current();
    QVector<float> transforms;
    transforms.reserve(16 * boxCount);
    for (int i = 0; i < boxCount; ++i) {
        const QMatrix4x4 transform = gridTransform(i, boxCount);
        std::copy_n(transform.constData(), 16, std::back_inserter(transforms));
    }
    objects =
        factory->newUniformBuffer("Objects", makeBuffer(GL_SHADER_STORAGE_BUFFER, transforms.constData(),
                                                        boxCount, 16 * sizeof(float)));
    for (int m = 0; m < materialCount; ++m) {
        const std::array<float, 4> color = colorOfMaterial(m, runs);
        materials.push_back(factory->newUniformBuffer(
            "Material", makeBuffer(GL_UNIFORM_BUFFER, color.data(), 4, sizeof(float))));
    }
}

/// Draws the world with its own draw units.
class WorldVariant : public DrawVariant
{
public:
    WorldVariant(const World &world, bool useBaseInstance);

    void drawFrame() override;

protected:
    virtual void beginFrame() {}
    virtual void drawBoxes(int material, int first, int end) = 0;
    virtual void finishFrame() = 0;

    const World &world;
    GLSLMacroProcessor processor;
    ShaderProgram program{nullptr};
};

WorldVariant::WorldVariant(const World &worldOfBoxes, bool useBaseInstance)
    : world(worldOfBoxes)
{
    DrawBuffers::useBaseInstanceDrawing(useBaseInstance);
    DrawBuffers::setup(&processor);
    program.setMacroProcessor(&processor);
    program.addShader(GL_VERTEX_SHADER, kVertexSource, QString());
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program.addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program.addShader(GL_FRAGMENT_SHADER, kFragmentSource, QString());
    program.link();
    QMatrix4x4 viewProjection;
    viewProjection.scale(1.0f / 64.0f);
    program.bind();
    program.setUniform("u_ViewProjection", QVariant::fromValue(viewProjection));
    program.unbind();
}

void WorldVariant::drawFrame()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    program.bind();
    world.objects->bind(&program);
    beginFrame();
    for (int m = 0; m < world.materialCount; ++m) {
        world.materials[size_t(m)]->bind(&program);
        drawBoxes(m, world.firstBox(m), world.firstBox(m + 1));
        world.materials[size_t(m)]->unbind(&program);
    }
    finishFrame();
    world.objects->unbind(&program);
    program.unbind();
}

class Commands : public WorldVariant
{
public:
    explicit Commands(const World &worldOfBoxes);

protected:
    void beginFrame() override
    {
        _unit->bind();
        _unit->VAO()->enableShaderProgramArrays(&program);
    }

    void drawBoxes(int material, int, int) override
    {
        _unit->draw(&program, &_boxesOfMaterial[size_t(material)]);
    }

    void finishFrame() override { _unit->unbind(); }

    QVector<DrawElementsIndirectCommand> commands;

private:
    std::unique_ptr<DrawBuffers> _unit;
    std::vector<QVector<int>> _boxesOfMaterial;
};

Commands::Commands(const World &worldOfBoxes)
    : WorldVariant(worldOfBoxes, false)
    , _boxesOfMaterial(size_t(world.materialCount))
{
    const Box box;
    const unsigned int indexCount = unsigned(box.indices.size());
    const unsigned int vertexCount = unsigned(box.vertices.size() / kFloatsPerVertex);
    QVector<float> vertices;
    QVector<unsigned short> indices;
    for (int i = 0; i < world.boxCount; ++i) {
        commands.append({indexCount, 1, indexCount * unsigned(i), vertexCount * unsigned(i), 0});
        vertices += box.vertices;
        indices += box.indices;
    }
    _unit = makeUnit(vertices, indices);
    _unit->setDrawElementsIndirectCommands(commands.constData(), commands.size());
    for (int m = 0; m < world.materialCount; ++m) {
        for (int i = world.firstBox(m); i < world.firstBox(m + 1); ++i) {
            _boxesOfMaterial[size_t(m)].append(i);
        }
    }
}

class CommandsByHand : public Commands
{
public:
    using Commands::Commands;

protected:
    void drawBoxes(int, int first, int end) override
    {
        const int location = program.getUniformLocationNameID();
        for (int i = first; i < end; ++i) {
            const DrawElementsIndirectCommand &command = commands.at(i);
            glUniform1ui(location, GLuint(i));
            glDrawElementsBaseVertex(GL_TRIANGLES, GLsizei(command.count), GL_UNSIGNED_SHORT,
                                     reinterpret_cast<const void *>(command.firstIndex * sizeof(short)),
                                     GLint(command.baseVertex));
        }
    }
};

class BaseInstance : public WorldVariant
{
public:
    explicit BaseInstance(const World &worldOfBoxes);

protected:
    void drawBoxes(int, int first, int end) override
    {
        for (int i = first; i < end; ++i) {
            DrawBuffers *unit = units[size_t(i)].get();
            unit->rebind(_bound);
            _bound = unit;
            _vertexArrays[size_t(i)]->enableShaderProgramArrays(&program);
            unit->draw(&program);
        }
    }

    void finishFrame() override
    {
        _bound->unbind();
        _bound = nullptr;
    }

    std::vector<std::unique_ptr<DrawBuffers>> units;

private:
    std::vector<VertexArrayObject *> _vertexArrays; // by unit: VAO() would count a reference in each draw
    DrawBuffers *_bound = nullptr;
};

BaseInstance::BaseInstance(const World &worldOfBoxes)
    : WorldVariant(worldOfBoxes, true)
{
    const Box box;
    for (int i = 0; i < world.boxCount; ++i) {
        units.push_back(makeUnit(box.vertices, box.indices));
        units.back()->setDrawIDBase(i);
        _vertexArrays.push_back(units.back()->VAO().data());
    }
}

class BaseInstanceByHand : public BaseInstance
{
public:
    explicit BaseInstanceByHand(const World &worldOfBoxes);

protected:
    void drawBoxes(int, int first, int end) override
    {
        for (int i = first; i < end; ++i) {
            glBindVertexArray(_vaos[size_t(i)]);
            _draw(GL_TRIANGLES, _indexCount, GL_UNSIGNED_SHORT, nullptr, 1, 0, GLuint(i));
        }
    }

    void finishFrame() override { glBindVertexArray(0); }

private:
    std::vector<GLuint> _vaos;
    int _indexCount;
    PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC _draw;
};

BaseInstanceByHand::BaseInstanceByHand(const World &worldOfBoxes)
    : BaseInstance(worldOfBoxes)
    , _indexCount(units.front()->numIndexes())
    , _draw(reinterpret_cast<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC>(
          getGLProcAddress("glDrawElementsInstancedBaseVertexBaseInstance", false)))
{
    for (const auto &unit : units) {
        unit->bind(); // sets up the vertex array
        unit->VAO()->enableShaderProgramArrays(&program);
        _vaos.push_back(unit->VAO()->getVAO());
        unit->VAO()->unbind(); // only the vertex array, so that it keeps its index buffer
        unit->indexBO()->unbind();
    }
}

/// A variant with its name, and whether it needs draw IDs by base instance.
struct Row
{
    const char *name;
    bool usesBaseInstance;
    std::unique_ptr<DrawVariant> (*make)(const World &world);
};

template <typename OfWorld> std::unique_ptr<DrawVariant> make(const World &world)
{
    return std::make_unique<OfWorld>(world);
}

template <SceneVariant::Kind Kind> std::unique_ptr<DrawVariant> makeScene(const World &world)
{
    return std::make_unique<SceneVariant>(Kind, world);
}

template <PackedVariant::Kind Kind> std::unique_ptr<DrawVariant> makePacked(const World &world)
{
    return std::make_unique<PackedVariant>(Kind, world);
}

constexpr Row kRows[] = {
    {"commands", false, make<Commands>},
    {"commandsbyhand", false, make<CommandsByHand>},
    {"baseinstance", true, make<BaseInstance>},
    {"baseinstancebyhand", true, make<BaseInstanceByHand>},
    {"sceneshared", false, makeScene<SceneVariant::eShared>},
    {"scenesharedbase", true, makeScene<SceneVariant::eSharedBase>},
    {"sceneown", false, makeScene<SceneVariant::eOwn>},
    {"sceneowntokens", false, makeScene<SceneVariant::eOwnTokens>},
    {"sceneownnotextures", false, makeScene<SceneVariant::eOwnNoTextures>},
    {"scenecommands", false, makeScene<SceneVariant::eCommands>},
    {"packed", true, makePacked<PackedVariant::eAll>},
    {"packedbyhand", true, makePacked<PackedVariant::eByHand>},
    {"packedculled", true, makePacked<PackedVariant::eCulled>},
    {"packedscattered", true, makePacked<PackedVariant::eCulledScattered>},
    {"packedrandom", true, makePacked<PackedVariant::eCulledRandom>},
    {"packedsubdraws", false, makePacked<PackedVariant::eSubDraws>},
};

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const int n = std::max(arguments.integer("-n", 10000), 1);
    const int frames = arguments.integer("-frames", 60);
    const int warm = arguments.integer("-warm", 5);
    const int size = std::max(arguments.integer("-size", 64), 1);
    const std::string only = arguments.text("-variant", "all");
    const std::string image = arguments.text("-image", "");

    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(size, size);
    if (!stage) {
        return 1;
    }
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_CULL_FACE);
    const World world({n, std::max(arguments.integer("-materials", 32), 1)});
    for (const Row &row : kRows) {
        if (only != "all" && only != row.name) {
            continue;
        }
        if (row.usesBaseInstance && !DrawBuffers::isBaseInstanceDrawingSupported()) {
            std::printf("absent %s: GL_ARB_shader_draw_parameters is missing\n", row.name);
            continue;
        }
        const std::unique_ptr<DrawVariant> variant = row.make(world);
        std::vector<double> times;
        for (int frame = 0; frame < warm + frames; ++frame) {
            const double start = SideBySide::processCpuSeconds();
            variant->drawFrame();
            stage->endFrame();
            if (frame >= warm) {
                times.push_back((SideBySide::processCpuSeconds() - start) * 1e9 / n);
            }
        }
        SideBySide::printResult("draw", row.name, n, "ns/draw", times);
        if (!image.empty() && !stage->save(QString::fromStdString(image).arg(row.name))) {
            std::fprintf(stderr, "cannot write the picture\n");
            return 1;
        }
        checkGLError(__FILE__, __LINE__);
    }
    OpenGLDeviceContext::resetContext();
    return 0;
}
