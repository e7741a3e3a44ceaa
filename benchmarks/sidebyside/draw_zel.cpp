// Draw submission: N boxes with a transform each, 32 materials in runs, one program, a still camera.
//
//   draw_zel -n N -frames F [-warm W] [-materials M] [-size S] [-variant NAME] [-image FILE]
//
//   commands      one unit of N commands, the draw ID in a uniform; one draw() for each material
//   baseinstance  N units with buffers of their own, switched with rebind(), the draw ID in the base instance
//   commandsbyhand, baseinstancebyhand
//                 the GL calls that these come down to, issued by hand on the same objects, program and framebuffer:
//                 the peers' bound differs in these, so what the library itself costs is read here
//
// A frame is timed from its clear to its flush, in CPU time of the process.

#include "OffscreenStage.h"
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

constexpr int kFloatsPerVertex = 8;

/// A unit cube: 24 vertices of position, normal and texture coordinate.
struct Box
{
    Box();

    QVector<float> vertices;
    QVector<unsigned short> indices;
};

Box::Box()
{
    for (int face = 0; face < 6; ++face) {
        QVector3D normal;
        normal[face / 2] = face % 2 == 0 ? 1.0f : -1.0f;
        const QVector3D right(normal.y(), normal.z(), normal.x());
        const QVector3D up = QVector3D::crossProduct(normal, right);
        const int base = 4 * face;
        for (int corner = 0; corner < 4; ++corner) {
            const float u = corner == 1 || corner == 2 ? 1.0f : 0.0f;
            const float v = corner >= 2 ? 1.0f : 0.0f;
            const QVector3D p = 0.5f * normal + (u - 0.5f) * right + (v - 0.5f) * up;
            vertices << p.x() << p.y() << p.z() << normal.x() << normal.y() << normal.z() << u << v;
        }
        for (const int corner : {0, 1, 2, 0, 2, 3}) {
            indices.append(static_cast<unsigned short>(base + corner));
        }
    }
}

QSharedPointer<BufferObject> makeBuffer(GLenum target, const void *data, int count, size_t valueSize)
{
    const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
    buffer->setTarget(target);
    const AutoBinder binder(buffer.data());
    buffer->uploadArbitraryData(data, count, GL_STATIC_DRAW, valueSize);
    return buffer;
}

std::unique_ptr<DrawBuffers> makeUnit(const QVector<float> &vertices, const QVector<unsigned short> &indices)
{
    const QSharedPointer<BufferObject> buffer =
        makeBuffer(GL_ARRAY_BUFFER, vertices.constData(), vertices.size(), sizeof(float));
    const QSharedPointer<VertexArrayObject> vao = OpenGLDeviceContext::current()->newVAO();
    constexpr unsigned int kStride = kFloatsPerVertex * sizeof(float);
    vao->registerBO("va_Vertex", buffer, 3, GL_FLOAT, false, kStride, 0);
    vao->registerBO("va_Normal", buffer, 3, GL_FLOAT, false, kStride, 12);
    vao->registerBO("va_TexCoord", buffer, 2, GL_FLOAT, false, kStride, 24);

    auto unit = std::make_unique<DrawBuffers>(nullptr);
    unit->setVAO(vao);
    unit->setPrimitiveType(GL_TRIANGLES);
    unit->setIndexedDraw(
        makeBuffer(GL_ELEMENT_ARRAY_BUFFER, indices.constData(), indices.size(), sizeof(short)),
        indices.size(), GL_UNSIGNED_SHORT);
    return unit;
}

/// Box i of n on a cubic grid with spacing 2 around the origin.
QMatrix4x4 gridTransform(int i, int n)
{
    int side = 1;
    while (side * side * side < n) {
        ++side;
    }
    const float half = float(side - 1);
    QMatrix4x4 transform;
    transform.translate(2.0f * float(i % side) - half, 2.0f * float(i / side % side) - half,
                        2.0f * float(i / (side * side)) - half);
    return transform;
}

/// What all variants share: the transforms of all boxes, and the materials.
class World
{
public:
    World(int boxes, int materials);

    /// The boxes of a material are those from firstBox(material) up to that of the next.
    int firstBox(int material) const
    {
        return int(((long long)material * boxCount + materialCount - 1) / materialCount);
    }

    const int boxCount;
    const int materialCount;
    QSharedPointer<UniformBufferObject> objects;
    std::vector<QSharedPointer<UniformBufferObject>> materials;
};

World::World(int boxes, int materialNumber)
    : boxCount(boxes)
    , materialCount(materialNumber)
{
    const QSharedPointer<OpenGLDeviceContext> factory = OpenGLDeviceContext::current();
    QVector<float> transforms;
    transforms.reserve(16 * boxes);
    for (int i = 0; i < boxes; ++i) {
        const QMatrix4x4 transform = gridTransform(i, boxes);
        std::copy_n(transform.constData(), 16, std::back_inserter(transforms));
    }
    objects = factory->newUniformBuffer(
        "Objects", makeBuffer(GL_SHADER_STORAGE_BUFFER, transforms.constData(), boxes, 16 * sizeof(float)));
    for (int m = 0; m < materialNumber; ++m) {
        const float share = float(m) / float(materialNumber);
        const std::array<float, 4> color{share, 0.5f, 1.0f - share, 1.0f};
        materials.push_back(factory->newUniformBuffer(
            "Material", makeBuffer(GL_UNIFORM_BUFFER, color.data(), 4, sizeof(float))));
    }
}

/// One way to draw the world.
class Variant
{
public:
    explicit Variant(bool useBaseInstance);
    virtual ~Variant() = default;

    void drawFrame(const World &world);

protected:
    virtual void beginFrame() {}
    virtual void drawBoxes(int material, int first, int end) = 0;
    virtual void finishFrame() = 0;

    GLSLMacroProcessor processor;
    ShaderProgram program{nullptr};
};

Variant::Variant(bool useBaseInstance)
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

void Variant::drawFrame(const World &world)
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

class Commands : public Variant
{
public:
    explicit Commands(const World &world);

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

Commands::Commands(const World &world)
    : Variant(false)
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

class BaseInstance : public Variant
{
public:
    explicit BaseInstance(const World &world);

protected:
    void drawBoxes(int, int first, int end) override
    {
        for (int i = first; i < end; ++i) {
            DrawBuffers *unit = units[size_t(i)].get();
            unit->rebind(_bound);
            _bound = unit;
            unit->VAO()->enableShaderProgramArrays(&program);
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
    DrawBuffers *_bound = nullptr;
};

BaseInstance::BaseInstance(const World &world)
    : Variant(true)
{
    const Box box;
    for (int i = 0; i < world.boxCount; ++i) {
        units.push_back(makeUnit(box.vertices, box.indices));
        units.back()->setDrawIDBase(i);
    }
}

class BaseInstanceByHand : public BaseInstance
{
public:
    explicit BaseInstanceByHand(const World &world);

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

BaseInstanceByHand::BaseInstanceByHand(const World &world)
    : BaseInstance(world)
    , _indexCount(units.front()->numIndexes())
    , _draw(reinterpret_cast<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXBASEINSTANCEPROC>(
          getGLProcAddress("glDrawElementsInstancedBaseVertexBaseInstance", false)))
{
    for (const auto &unit : units) {
        unit->bind(); // specifies the vertex array
        unit->VAO()->enableShaderProgramArrays(&program);
        _vaos.push_back(unit->VAO()->getVAO());
        unit->VAO()->unbind(); // alone, so that it keeps its index buffer
        unit->indexBO()->unbind();
    }
}

std::unique_ptr<Variant> makeVariant(const std::string &name, const World &world)
{
    if (name == "commands") {
        return std::make_unique<Commands>(world);
    }
    if (name == "commandsbyhand") {
        return std::make_unique<CommandsByHand>(world);
    }
    if (name == "baseinstance") {
        return std::make_unique<BaseInstance>(world);
    }
    return std::make_unique<BaseInstanceByHand>(world);
}

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
    const World world(n, std::max(arguments.integer("-materials", 32), 1));
    for (const std::string name : {"commands", "commandsbyhand", "baseinstance", "baseinstancebyhand"}) {
        if (only != "all" && only != name) {
            continue;
        }
        if (name.rfind("baseinstance", 0) == 0 && !DrawBuffers::isBaseInstanceDrawingSupported()) {
            std::printf("absent %s: GL_ARB_shader_draw_parameters is missing\n", name.c_str());
            continue;
        }
        const std::unique_ptr<Variant> variant = makeVariant(name, world);
        std::vector<double> times;
        for (int frame = 0; frame < warm + frames; ++frame) {
            const double start = SideBySide::processCpuSeconds();
            variant->drawFrame(world);
            stage->endFrame();
            if (frame >= warm) {
                times.push_back((SideBySide::processCpuSeconds() - start) * 1e9 / n);
            }
        }
        SideBySide::printResult("draw", name, n, "ns/draw", times);
        if (!image.empty() && !stage->save(QString::fromStdString(image).arg(QString::fromStdString(name)))) {
            std::fprintf(stderr, "cannot write the picture\n");
            return 1;
        }
        checkGLError(__FILE__, __LINE__);
    }
    OpenGLDeviceContext::resetContext();
    return 0;
}
