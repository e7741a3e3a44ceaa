#include <ZelKit/ZelKit.h>

#include "support/AllocationCount.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/Pixels.h"
#include "support/Tap.h"

#include <ZelGL/ZelGL.h>

#include <QtGui/QColor>

#include <limits>
#include <random>

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

using Plan = InstanceDataPlan;

const char kVertexSource[] = R"(#version 150
#include "ZelUtilities.glslh"
#instancedata "PackedThing"
#instancedata "PackedSurface"
in vec3 va_Vertex;
in vec2 va_TexCoord;
uniform mat4 u_Camera;
flat out uvec2 vo_Map;
out vec2 vo_TexCoord;
out vec3 vo_Color;
void main()
{
    vec4 world = getModelMatrix() * vec4(va_Vertex, 1.0);
    gl_Position = u_Camera * world;
    vo_Map = getMap(0u);
    vo_TexCoord = va_TexCoord;
    vo_Color = getTint().rgb + 0.1 * (world - getPreviousModelMatrix() * vec4(va_Vertex, 1.0)).xyz
        + 0.1 * (getInverseModelMatrix() * world).xyz + 0.02 * getModelNormalMatrix()[0].xyz;
}
)";

const char kFragmentSource[] = R"(#version 150
#include "TextureManager.glslh"
flat in uvec2 vo_Map;
in vec2 vo_TexCoord;
in vec3 vo_Color;
out vec4 out_Color;
void main()
{
    out_Color = vec4(0.5 * managedTexture(vo_Map, vo_TexCoord).rgb + 0.5 * vo_Color, 0.6);
}
)";

struct Vertex
{
    float position[3];
    float texCoord[2];
};

struct Mesh
{
    std::vector<Vertex> vertices;
    std::vector<quint32> indices;
    GPUModel::BoundingBox box;
    int number; ///< in the scene
};

/// What the scene should draw.
struct Thing
{
    int number; ///< in the scene
    std::shared_ptr<const Mesh> mesh;
    size_t material;
    QMatrix4x4 world;
    QMatrix4x4 previous;
    int flags;
    QVector4D tint;
};

struct Row
{
    const char *name;
    Plan::MechanismType mechanism;
    unsigned long capacity; ///< drawables of a call
    bool usesBaseInstance;
    bool usesPersistentMapping;
    bool hasIndirectDraws;
    unsigned int indexType;
};

// Drivers without base instances draw all of them with sub-draws.
constexpr Row kRows[] = {
    {"indirect", Plan::eUniformBufferMechanism, 5, true, true, true, GL_UNSIGNED_INT},
    {"orphaned", Plan::eBufferTextureMechanism, 100, true, false, true, GL_UNSIGNED_SHORT},
    {"single", Plan::eUniformMechanism, 7, true, true, false, GL_UNSIGNED_INT},
    {"sub-draws", Plan::eBufferTextureMechanism, 100, false, true, true, GL_UNSIGNED_SHORT},
};

constexpr int kSize = 48;

} // namespace

/// A packed scene, and lists of what is in it.
class KitPackedSceneTest : public GLTest
{
protected:
    ~KitPackedSceneTest() override
    {
        _scene.reset();
        _materials.clear();
        InstanceDataRegistry::Instance()->clear();
        _manager.reset();
        _helpers.deleteAll();
    }

    void start(const Row &row);
    ShaderProgram *link(bool usesBaseInstance);
    std::shared_ptr<const Mesh> newMesh();
    void addThing();
    void removeThing(size_t index);
    void change();
    QMatrix4x4 randomPlace();
    Pixels pictureOf(ShaderProgram &program, const std::function<void(bool sorted)> &draw);
    Pixels packed();
    Pixels unpacked(int &drawn);

    float random(float low, float high) { return std::uniform_real_distribution<float>(low, high)(_random); }
    size_t randomIndex(size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(_random); }

    std::mt19937 _random{18};
    PackedScene::Format _format;
    HelperTextures _helpers;
    std::unique_ptr<SamplerTextureManager> _manager = std::make_unique<SamplerTextureManager>();
    std::vector<std::unique_ptr<ShaderProgram>> _programs;
    ShaderProgram *_program = nullptr;
    ShaderProgram *_plainProgram = nullptr;
    std::vector<std::unique_ptr<InstanceDataCollection>> _materials;
    std::vector<int> _materialNumbers;
    std::unique_ptr<PackedScene> _scene;
    std::vector<std::shared_ptr<const Mesh>> _meshes;
    std::vector<Thing> _things;
    int _removed = PackedScene::kNone; ///< the last one
    QMatrix4x4 _camera;
    QVector3D _eye;
    WindingType _winding = eWindingCCW;
};

void KitPackedSceneTest::start(const Row &row)
{
    _scene.reset();
    _materials.clear();
    _materialNumbers.clear();
    _meshes.clear();
    _things.clear();
    _removed = PackedScene::kNone;
    InstanceDataRegistry::Instance()->clear();
    auto *object = new Plan("PackedThing");
    for (const char *member :
         {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
        object->addMember(Plan::eMat4, member);
    }
    object->addMember(Plan::eVec4, "Tint");
    object->setArraySize(row.capacity);
    object->setMechanism(row.mechanism);
    InstanceDataRegistry::Instance()->registerPlan(object);
    auto *surface = new Plan("PackedSurface");
    surface->addMember(Plan::eTexture, "Map");
    surface->setArraySize(1);
    InstanceDataRegistry::Instance()->registerPlan(surface);

    _program = link(row.usesBaseInstance && DrawBuffers::isBaseInstanceDrawingSupported());
    _plainProgram = link(false);
    _format.attributes = {{"va_Vertex", 3, GL_FLOAT, false, 0}, {"va_TexCoord", 2, GL_FLOAT, false, 12}};
    _format.stride = sizeof(Vertex);
    _format.indexType = row.indexType;
    _format.usesPersistentMapping = row.usesPersistentMapping;
    const auto indirect = _ptrc_glMultiDrawElementsIndirect;
    _ptrc_glMultiDrawElementsIndirect = row.hasIndirectDraws ? indirect : nullptr;
    _scene = PackedScene::create(_format, object);
    _ptrc_glMultiDrawElementsIndirect = indirect;
    for (const Qt::GlobalColor color : {Qt::red, Qt::green, Qt::blue}) {
        _materials.push_back(std::make_unique<InstanceDataCollection>(surface, 1ul));
        const TextureToken token = _manager->tokenForColor(QColor(color));
        _materials.back()->set(0, "Map", &token.token, sizeof token.token);
        _materialNumbers.push_back(_scene->addMaterial(_materials.back().get()));
    }
    EXPECT_EQ(QStringList(), MessageCapture::current()->takeTexts(QtWarningMsg));
    _eye = {0, 0, 6};
    _camera.setToIdentity();
    _camera.perspective(50, 1, 1, 20);
    _camera.translate(-_eye);
}

ShaderProgram *KitPackedSceneTest::link(bool usesBaseInstance)
{
    GLSLMacroProcessor processor;
    DrawBuffers::useBaseInstanceDrawing(usesBaseInstance);
    DrawBuffers::setup(&processor);
    DrawBuffers::useBaseInstanceDrawing(false); // the unpacked draw units have commands
    _manager->setup(&processor);
    _programs.push_back(std::make_unique<ShaderProgram>(nullptr));
    ShaderProgram *program = _programs.back().get();
    program->setMacroProcessor(&processor);
    program->addShader(GL_VERTEX_SHADER, kVertexSource, QString());
    for (const char *plan : {"PackedThing", "PackedSurface"}) {
        program->addShader(GL_VERTEX_SHADER, InstanceDataRegistry::Instance()->getPlan(plan)->glslc(),
                           QString());
    }
    program->addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.glslc");
    program->addShaderFromFile(GL_VERTEX_SHADER, "ZelUtilities.vert");
    program->addShader(GL_FRAGMENT_SHADER, kFragmentSource, QString());
    program->addShaderFromFile(GL_FRAGMENT_SHADER, _manager->getShaderFile());
    EXPECT_TRUE(program->link()) << program->log().toStdString();
    return program;
}

std::shared_ptr<const Mesh> KitPackedSceneTest::newMesh()
{
    Mesh mesh;
    for (size_t i = 0; i < 3 + randomIndex(5); ++i) {
        mesh.vertices.push_back(
            {{random(-1, 1), random(-1, 1), random(-1, 1)}, {random(0, 1), random(0, 1)}});
        const float *p = mesh.vertices.back().position;
        GPUModel::BoundingBox &box = mesh.box;
        box = i == 0 ? GPUModel::BoundingBox{p[0], p[1], p[2], p[0], p[1], p[2]}
                     : GPUModel::BoundingBox{std::min(box.minX, p[0]), std::min(box.minY, p[1]),
                                             std::min(box.minZ, p[2]), std::max(box.maxX, p[0]),
                                             std::max(box.maxY, p[1]), std::max(box.maxZ, p[2])};
    }
    for (quint32 i = 0; i < mesh.vertices.size(); ++i) {
        const auto count = quint32(mesh.vertices.size());
        mesh.indices.insert(mesh.indices.end(), {i, (i + 1) % count, (i + 2) % count});
    }
    mesh.number = _scene->addMesh(mesh.vertices.data(), int(mesh.vertices.size()), mesh.indices.data(),
                                  int(mesh.indices.size()));
    return std::make_shared<const Mesh>(mesh);
}

QMatrix4x4 KitPackedSceneTest::randomPlace()
{
    QMatrix4x4 world;
    world.translate(random(-3.5f, 3.5f), random(-3.5f, 3.5f), random(-3, 2));
    world.rotate(random(0, 360), random(-1, 1), random(-1, 1), 1);
    world.scale(randomIndex(3) == 0 ? -1 : 1.2f, random(0.5f, 1.5f), 1);
    return world;
}

void KitPackedSceneTest::addThing()
{
    Thing thing{0, _meshes[randomIndex(_meshes.size())], randomIndex(_materials.size()), randomPlace(), {}, 0,
                {}};
    thing.previous = thing.world;
    thing.flags = int(randomIndex(8)) & (randomIndex(2) == 0 ? 7 : PackedScene::eSorted);
    thing.tint = {random(0, 1), random(0, 1), random(0, 1), 0};
    thing.number =
        _scene->add(thing.mesh->number, _materialNumbers[thing.material], thing.world, thing.flags);
    EXPECT_TRUE(_scene->setObjectData(thing.number, "Tint", &thing.tint, sizeof thing.tint));
    _things.push_back(thing);
    QString error;
    EXPECT_FALSE(_scene->setFlags(_removed, 0, &error)) << "its place may be used again";
}

void KitPackedSceneTest::removeThing(size_t index)
{
    _removed = _things[index].number;
    EXPECT_TRUE(_scene->remove(_removed));
    _things.erase(_things.begin() + int(index));
}

/// One random change of the scene and of the lists.
void KitPackedSceneTest::change()
{
    const size_t kind = randomIndex(15);
    if (kind < 3 || _things.empty()) {
        addThing();
        return;
    }
    const size_t index = randomIndex(_things.size());
    Thing &thing = _things[index];
    if (kind < 6) {
        thing.previous = thing.world;
        thing.world = randomPlace();
        EXPECT_TRUE(_scene->setTransform(thing.number, thing.world));
    } else if (kind < 8) {
        removeThing(index);
    } else if (kind < 10) {
        thing.flags = int(randomIndex(8));
        EXPECT_TRUE(_scene->setFlags(thing.number, thing.flags));
        thing.tint = {random(0, 1), random(0, 1), random(0, 1), 0};
        EXPECT_TRUE(_scene->setObjectData(thing.number, "Tint", &thing.tint, sizeof thing.tint));
    } else if (kind < 13) {
        std::shared_ptr<const Mesh> &mesh = _meshes[randomIndex(_meshes.size())];
        const bool isUsed = mesh.use_count() > 1;
        QString error;
        EXPECT_EQ(!isUsed, _scene->removeMesh(mesh->number, &error));
        if (!isUsed) {
            mesh = newMesh();
        }
    } else {
        EXPECT_TRUE(_scene->compact());
    }
}

/// Draws opaque things, then sorted ones with blending.
Pixels KitPackedSceneTest::pictureOf(ShaderProgram &program, const std::function<void(bool)> &draw)
{
    const auto target = RenderTarget::create({kSize, kSize}, GL_RGBA8);
    target->framebuffer()->bind();
    glViewport(0, 0, kSize, kSize);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    program.bind();
    program.setUniform("u_Camera", QVariant::fromValue(_camera));
    const AutoEnabler depthTest(GL_DEPTH_TEST);
    draw(false);
    const AutoEnabler blending(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    draw(true);
    glDepthMask(GL_TRUE);
    glBlendFunc(GL_ONE, GL_ZERO);
    program.unbind();
    const Pixels picture = Pixels::ofFramebuffer(0, 0, kSize, kSize);
    target->framebuffer()->unbind();
    return picture;
}

Pixels KitPackedSceneTest::packed()
{
    return pictureOf(*_program, [this](bool sorted) {
        EXPECT_TRUE(_scene->draw(_program, _manager.get(),
                                 sorted ? PackedScene::eSortedPart : PackedScene::eOpaquePart, _winding));
    });
}

/// The same by a GPUModel with draw units and object data of their own.
Pixels KitPackedSceneTest::unpacked(int &drawn)
{
    GPUModel model;
    std::vector<std::pair<float, int>> distances;
    QList<int> opaque;
    for (const Thing &thing : _things) {
        const Mesh &mesh = *thing.mesh;
        const auto fill = [](GLenum target, const auto &values) {
            const QSharedPointer<BufferObject> buffer = OpenGLDeviceContext::current()->newBuffer();
            buffer->setTarget(target);
            const AutoBinder bound(buffer.data());
            buffer->uploadArbitraryData(values.data(), int(values.size()), GL_STATIC_DRAW, sizeof values[0]);
            return buffer;
        };
        const QSharedPointer<VertexArrayObject> vao = OpenGLDeviceContext::current()->newVAO();
        const auto vertices = fill(GL_ARRAY_BUFFER, mesh.vertices);
        vao->registerBO("va_Vertex", vertices, 3, GL_FLOAT, false, sizeof(Vertex), 0);
        vao->registerBO("va_TexCoord", vertices, 2, GL_FLOAT, false, sizeof(Vertex), 12);
        auto *unit = new DrawBuffers(nullptr);
        unit->setVAO(vao);
        unit->setPrimitiveType(GL_TRIANGLES);
        unit->setIndexedDraw(fill(GL_ELEMENT_ARRAY_BUFFER, mesh.indices), int(mesh.indices.size()),
                             GL_UNSIGNED_INT);
        const DrawElementsIndirectCommand whole{quint32(mesh.indices.size()), 1, 0, 0, 0};
        unit->setDrawElementsIndirectCommands(&whole, 1);
        auto *object =
            new InstanceDataCollection(InstanceDataRegistry::Instance()->getPlan("PackedThing"), 1ul);
        object->set(0, "Tint", &thing.tint, sizeof thing.tint);
        // A collection of its own for the material too, since the model deletes what it has.
        const QByteArray surface = _materials[thing.material]->dataArray();
        auto *material = new InstanceDataCollection(_materials[thing.material]->plan(), surface.constData(),
                                                    static_cast<unsigned long>(surface.size()));
        const unsigned long long flags =
            ((thing.flags & PackedScene::eHidden) != 0 ? GPUModel::kFlagHidden : 0)
            | ((thing.flags & PackedScene::eTwoSided) != 0 ? GPUModel::kFlagTwoSided : 0);
        const int number = model.numDrawables();
        model.add(unit, number, material, object, flags);
        model.useTransform(number, 0, model.addTransform(GPUModel::kInvalidTransformRef, thing.world));
        model.useBoundingBox(number, 0, number);
        if ((thing.flags & PackedScene::eSorted) == 0) {
            opaque.append(number);
            continue;
        }
        const GPUModel::BoundingBox &box = mesh.box;
        const QVector3D center =
            thing.world.map(0.5f * QVector3D(box.minX + box.maxX, box.minY + box.maxY, box.minZ + box.maxZ));
        distances.push_back({-(center - _eye).lengthSquared(), number});
    }
    std::vector<GPUModel::BoundingBox> boxes;
    for (const Thing &thing : _things) {
        boxes.push_back(thing.mesh->box);
    }
    model.loadBoundingBoxes(boxes.data(), int(boxes.size()));
    model.updateTransforms();
    for (int i = 0; i < model.numDrawables(); ++i) {
        model.objectData(i)->set(0, "PreviousModelMatrix", _things[size_t(i)].previous.constData(), 64);
    }
    drawn = model.numDrawables() - model.visibilityCull() - model.frustumCull(_camera);
    std::sort(distances.begin(), distances.end());
    QList<int> sorted;
    for (const auto &[distance, number] : distances) {
        sorted.append(number);
    }
    const Pixels picture = pictureOf(*_plainProgram, [&](bool ofSorted) {
        const QList<int> &numbers = ofSorted ? sorted : opaque;
        if (!numbers.isEmpty()) {
            model.drawMaterials(_plainProgram, _manager.get(), 0, 0, _winding, nullptr, numbers);
        }
    });
    model.clear();
    return picture;
}

TEST_F(KitPackedSceneTest, RandomScenesAreDrawnAsAGPUModelDrawsThem)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        start(row);
        for (int i = 0; i < 12; ++i) {
            _meshes.push_back(newMesh());
        }
        for (int frame = 0; frame < 20; ++frame) {
            for (size_t changes = frame % 4 == 0 ? 20 : randomIndex(16); changes > 0; --changes) {
                frame % 4 == 0 ? addThing() : change();
            }
            _winding = frame % 3 == 0 ? eWindingOff : frame % 3 == 1 ? eWindingCCW : eWindingCW;
            if (frame % 4 == 2) { // many gaps
                for (int i = 0; i < 8; ++i) {
                    removeThing(randomIndex(_things.size()));
                }
                EXPECT_TRUE(_scene->compact());
            }
            // A draw after changes selects again.
            const int selected = frame % 2 == 0 ? _scene->cull(_camera, _eye) : 0;
            int drawn = 0;
            const Pixels expected = unpacked(drawn);
            EXPECT_TRUE(packed().isNear(expected, 1.0f / 255)) << "frame " << frame;
            EXPECT_EQ(frame % 2 == 0 ? drawn : 0, selected);
            if (frame % 3 == 2) {
                _scene->updatePreviousMatrices();
                for (Thing &thing : _things) {
                    thing.previous = thing.world;
                }
            }
        }
    }
}

TEST_F(KitPackedSceneTest, ASteadyFrameMakesFewCallsAndAllocatesNothingForADrawable)
{
    for (const bool persistent : {true, false}) {
        Row row = kRows[1];
        row.usesPersistentMapping = persistent;
        start(row);
        _meshes.push_back(newMesh());
        const bool isIndirect = _program->getUniformLocationNameID() < 0;
        const bool usesFences = isIndirect && persistent && hasGLExtension("GL_ARB_buffer_storage");
        AutoBinder boundProgram(_program);
        _things.reserve(160);
        size_t taken[2];
        for (size_t &ofFrame : taken) { // of 64 drawables, then of 160
            for (const size_t count = _things.empty() ? 64 : 160; _things.size() < count;) {
                addThing();
                _scene->setFlags(_things.back().number, 0);
            }
            // What the driver allocates in these calls depends on their number.
            Taps<&glMultiDrawElementsIndirect, &glDrawElementsBaseVertex, &glBufferSubData, &glUniform1ui>
                calls;
            calls.hold();
            Taps<&glFenceSync, &glClientWaitSync, &glMapBufferRange, &glBufferData, &glCopyBufferSubData>
                others;
            const auto draw = [&](bool moves) {
                for (size_t i = 0; moves && i < _things.size(); i += 16) {
                    _scene->setTransform(_things[i].number, randomPlace());
                }
                _scene->selectAll();
                EXPECT_TRUE(_scene->draw(_program, nullptr));
                _scene->updatePreviousMatrices();
            };
            draw(true); // sets up vertex array and textures
            draw(true);
            // The driver may allocate in these calls, which have no effect without draws.
            Taps<&glBindBufferBase, &glBindTexture, &glActiveTexture, &glUniform1i, &glEnable, &glDisable,
                 &glFrontFace>
                binds;
            binds.hold();
            ofFrame = std::numeric_limits<size_t>::max();
            for (int frame = 0; frame < 8; ++frame) {
                calls.clear();
                others.clear();
                binds.clear();
                const AllocationCount allocations;
                draw(frame < 6);
                if (frame < 6) { // the first frames allocate what they need
                    ofFrame = std::min(ofFrame, allocations.taken());
                }
                if (frame == 5 && isIndirect) {
                    EXPECT_EQ(usesFences ? 1u : 0u, others.of<&glFenceSync>().count());
                    EXPECT_EQ(usesFences ? 1u : 0u, others.of<&glClientWaitSync>().count());
                    EXPECT_EQ(usesFences ? 0u : 1u, others.of<&glMapBufferRange>().count());
                    EXPECT_LT(0u, calls.of<&glBufferSubData>().count());
                }
            }
            // The last frame is static: all that remains are the draws.
            EXPECT_EQ(0u, others.count() + calls.of<&glBufferSubData>().count());
            EXPECT_EQ(isIndirect ? 0u : _things.size(), calls.of<&glDrawElementsBaseVertex>().count());
            if (isIndirect) { // each material has drawables of both handednesses
                EXPECT_GE(6u, calls.of<&glMultiDrawElementsIndirect>().count());
                EXPECT_LE(3u, calls.of<&glMultiDrawElementsIndirect>().count());
            }
        }
        EXPECT_GE(taken[0], taken[1]); // of the best frame, since drivers allocate in some
    }
}

TEST_F(KitPackedSceneTest, BadInputIsRefusedWithTheReason)
{
    QString error;
    const auto refused = [&error](bool isRefused, const char *reason) {
        EXPECT_TRUE(isRefused);
        EXPECT_EQ(reason, error);
        error.clear();
    };
    start(kRows[0]);
    _meshes.push_back(newMesh());
    addThing();
    const Mesh &mesh = *_meshes[0];
    const Vertex *vertices = mesh.vertices.data();
    const int thing = _things[0].number;
    Plan *surface = InstanceDataRegistry::Instance()->getPlan("PackedSurface");
    Plan *object = InstanceDataRegistry::Instance()->getPlan("PackedThing");

    refused(PackedScene::create(_format, nullptr, &error) == nullptr,
            "a packed scene needs the plan of its objects; register it first");
    refused(PackedScene::create(_format, surface, &error) == nullptr,
            "the plan 'PackedSurface' needs the member 'ModelMatrix' of type eMat4");
    Plan plan("Unregistered");
    plan.addMember(Plan::eMat4, "ModelMatrix");
    refused(PackedScene::create(_format, &plan, &error) == nullptr,
            "a packed scene needs the plan of its objects; register it first");
    plan.setArraySize(0);
    plan.finalise();
    refused(PackedScene::create(_format, &plan, &error) == nullptr,
            "the plan 'Unregistered' of a packed scene holds no item");
    _capture.takeTexts(QtDebugMsg); // about the plan
    refused(PackedScene::create({}, object, &error) == nullptr,
            "the format of a packed scene has no attribute");
    PackedScene::Format outside = _format;
    outside.attributes[1].offset = 16;
    refused(
        PackedScene::create(outside, object, &error) == nullptr,
        "the attribute 'va_TexCoord' of a packed scene needs a type that VertexArrayObject supports, 1 to 4 "
        "components, and a place in the vertex");

    outside = _format;
    outside.primitiveType = 7; // GL_QUADS, which the core profile does not have
    refused(PackedScene::create(outside, object, &error) == nullptr,
            "the primitive type of a packed scene is none of OpenGL");

    const quint32 beyond[] = {0, 1, 1000};
    refused(_scene->addMesh(nullptr, 3, beyond, 3, nullptr, &error) < 0,
            "a mesh of a packed scene needs vertices and indices");
    refused(_scene->addMesh(vertices, 3, beyond, 3, nullptr, &error) < 0,
            "a mesh of a packed scene has an index beyond its 3 vertices or the index type");
    const GPUModel::BoundingBox inverted{1, 1, 1, 0, 0, 0};
    refused(
        _scene->addMesh(vertices, 3, mesh.indices.data(), 1, &inverted, &error) < 0,
        "a mesh of a packed scene needs a finite box, or finite positions of three floats in the attribute "
        "'va_Vertex'");
    refused(!_scene->removeMesh(mesh.number, &error), "mesh 0 is in use: remove its 1 drawables first");
    refused(
        !_scene->removeMaterial(_materialNumbers[_things[0].material], &error),
        qPrintable(QString("material %1 is in use: remove its 1 drawables first").arg(_things[0].material)));
    refused(_scene->add(mesh.number, 99, {}, 0, &error) < 0, "material 99 is not in the packed scene");
    refused(!_scene->setObjectData(thing, "ModelMatrix", &error, 1, &error),
            "'ModelMatrix' is not a member of the plan 'PackedThing' that a host can set with 1 bytes");
    refused(_scene->cull({}, {}, 1, &error) < 0, "view 1 is not in the packed scene");

    refused(!_scene->draw(_program, nullptr, PackedScene::eAllParts, eWindingCCW, 0, &error),
            "bind the program before a packed scene is drawn with it");
    const AutoBinder bound(_program);
    refused(!_scene->draw(_program, nullptr, PackedScene::eAllParts, eWindingCCW, 0, &error),
            "view 0 of the packed scene has no selection: call cull() or selectAll()");
    _scene->selectAll();
    _materials.clear();
    EXPECT_EQ((_things[0].flags & PackedScene::eHidden) != 0,
              _scene->draw(_program, nullptr, PackedScene::eAllParts, eWindingCCW, 0, &error));

    Hook<&glGetString> strings; // a lost context
    strings.replace([](GLenum) { return nullptr; });
    Hook<&glGetError> errors;
    errors.replace([] { return GLenum(0x0507); }); // GL_CONTEXT_LOST, for ever
    const char *const isLost =
        "the OpenGL context is lost, for instance after a reset of the graphics card; delete all objects "
        "of the context, and make another one";
    refused(_scene->addMesh(vertices, 3, mesh.indices.data(), 1, nullptr, &error) < 0, isLost);
    refused(PackedScene::create(_format, object, &error) == nullptr, isLost);
}
