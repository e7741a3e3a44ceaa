#include "support/AllocationCount.h"
#include "support/GLFixture.h"
#include "support/HelperTextures.h"
#include "support/Pixels.h"
#include "support/Tap.h"
#include "support/TestBuffer.h"
#include "support/TestProgram.h"

#include <ZelGL/ZelGL.h>

#include <QtCore/QPointer>
#include <QtGui/QOpenGLFramebufferObject>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <tuple>

using namespace Orvane::Zel;

namespace {

using Box = GPUModel::BoundingBox;
using Collection = InstanceDataCollection;

constexpr quint64 kAll = ~0ull;
const char *const kMembers[] = {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix",
                                "ModelNormalMatrix"};

/// A manager of a host. It runs the code of a test for each batch of tokens.
class HostManager : public SamplerTextureManager
{
public:
    using SamplerTextureManager::bind;
    using SamplerTextureManager::unbind;

    void bind(const QVector<TextureToken> &) override { visit(); }
    void bind(ShaderProgram *) override { changed(1); }
    void unbind(ShaderProgram *) override { changed(0); }

    std::function<void()> visit = [] {};
    std::function<void(unsigned int)> changed = [](unsigned int) {};
};

/// Notes the calls of a draw by what they set, and all that is set at each draw of a command.
class DrawLog
{
public:
    explicit DrawLog(HostManager &manager)
    {
        manager.changed = [this](unsigned int bound) { note("manager", bound); };
        watch<&glUniform1iv>([this](auto...) { note("manager", 1); });
        watch<&glBindTexture>([this](GLenum, GLuint name) { name == 0 ? note("manager", 0) : void(); });
        watch<&glBindVertexArray>([this](GLuint name) { note("array", name); });
        watch<&glBindBuffer>([this](GLenum target, GLuint name) {
            target == GL_ELEMENT_ARRAY_BUFFER ? note("indices", name) : void();
        });
        watch<&glBindBufferBase>(
            [this](GLenum, GLuint point, GLuint name) { note("data" + QString::number(point), name); });
        watch<&glUniform1ui>([this](GLint, GLuint id) { note("id", id); });
        watch<&glEnable>([this](GLenum name) { note(QString::number(name), 1); });
        watch<&glDisable>([this](GLenum name) { note(QString::number(name), 0); });
        watch<&glFrontFace>([this](GLenum face) { note("face", face); });
        watch<&glStencilFunc>(
            [this](GLenum, GLint reference, GLuint) { note("stencil", GLuint(reference)); });
        std::get<Hook<&glDrawElementsBaseVertex>>(_hooks).replace([this](auto...) { draws += state(_set); });
    }

    /// All values but 0, without the numbers of binding points.
    static QString state(const QMap<QString, unsigned int> &set)
    {
        QStringList words;
        for (auto value = set.begin(); value != set.end(); ++value) {
            const QString name = value.key().startsWith("data") ? "data" : value.key();
            words += *value != 0 ? QStringList(name + ' ' + QString::number(*value)) : QStringList();
        }
        words.sort();
        return words.join(", ");
    }

    unsigned int value(const QString &name) const { return _set.value(name); }

    QStringList draws;
    QHash<QString, int> calls;

private:
    template <auto Slot, typename Note> void watch(Note noteCall)
    {
        Hook<Slot> &hook = std::get<Hook<Slot>>(_hooks);
        hook.replace([&, noteCall](auto... values) { noteCall(values...), hook.original(values...); });
    }

    void note(const QString &name, unsigned int value)
    {
        _set[name] = value;
        calls[name.left(4)] += name != "manager" || value != 0 ? 1 : 0;
    }

    QMap<QString, unsigned int> _set;
    std::tuple<Hook<&glUniform1iv>, Hook<&glBindTexture>, Hook<&glBindVertexArray>, Hook<&glBindBuffer>,
               Hook<&glBindBufferBase>, Hook<&glUniform1ui>, Hook<&glEnable>, Hook<&glDisable>,
               Hook<&glFrontFace>, Hook<&glStencilFunc>, Hook<&glDrawElementsBaseVertex>>
        _hooks;
};

QMatrix4x4 placed(float x, float y, float scaleX = 1.0f)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y);
    matrix.scale(scaleX, 1.0f);
    return matrix;
}

/// Compares up to the rounding of the largest element.
bool isNear(const QMatrix4x4 &expected, const QMatrix4x4 &actual)
{
    const auto greatest = [](const QMatrix4x4 &matrix) {
        const float *const values = matrix.constData();
        return std::abs(*std::max_element(values, values + 16,
                                          [](float a, float b) { return std::abs(a) < std::abs(b); }));
    };
    return greatest(actual - expected) <= 1e-5f * greatest(expected);
}

/// Whether all corners of a box are outside of one plane of the frustum.
bool isOutside(const QMatrix4x4 &clipFromLocal, const Box &box)
{
    unsigned int planes = 63; // those that all corners so far are outside of
    for (int i = 0; i < 8; ++i) {
        const QVector4D corner(i & 1 ? box.maxX : box.minX, i & 2 ? box.maxY : box.minY,
                               i & 4 ? box.maxZ : box.minZ, 1.0f);
        const QVector4D clip = clipFromLocal * corner;
        for (int axis = 0; axis < 3; ++axis) {
            planes &= clip.w() + clip[axis] <= 0 ? ~0u : ~(1u << axis);
            planes &= clip.w() - clip[axis] <= 0 ? ~0u : ~(8u << axis);
        }
    }
    return planes != 0;
}

QMatrix4x4 read(const Collection *data, int item, const char *member)
{
    QMatrix4x4 matrix;
    data->get(item, member, matrix.data());
    return matrix;
}

unsigned int bufferOf(Collection *data)
{
    return data == nullptr ? 0 : data->getUniformBufferObject(GL_UNIFORM_BUFFER)->bufferObject()->getBO();
}

/// A model of unit squares, and a program that draws them. The model owns everything that is added.
class GPUModelTest : public GLTest
{
protected:
    GPUModelTest()
    {
        for (const auto &[name, count] : {std::pair("Scene", 4), std::pair("WithoutNormals", 3)}) {
            auto *plan = new InstanceDataPlan(name);
            for (int i = 0; i < count; ++i) {
                plan->addMember(InstanceDataPlan::eMat4, kMembers[i]);
            }
            InstanceDataRegistry::Instance()->registerPlan(plan);
        }
        _program->bind();
        static const size_t restarts = [this] { // by the first draw of each kind in the process
            const Tap<&glPrimitiveRestartIndex> calls;
            EXPECT_TRUE(_model.draw(_program.get(), nullptr, 0, 0));
            EXPECT_TRUE(_model.drawSimple(_program.get(), nullptr, 0, 0));
            return calls.count();
        }();
        EXPECT_EQ(2u, restarts);
        _capture.take(); // the messages on the limit of instance data
    }

    ~GPUModelTest() override
    {
        _program->unbind();
        _model.clear();
        _textures.clear();
        _manager.clear();
        _capture.take(); // the messages on the white texture
        _helpers.deleteAll();
        InstanceDataRegistry::Instance()->clear();
    }

    static Collection *makeData(int count, const char *plan = "Scene")
    {
        return new Collection(InstanceDataRegistry::Instance()->getPlan(plan),
                              static_cast<unsigned long>(count));
    }

    /// A counter-clockwise unit square in x and y, drawn by \a count commands.
    static DrawBuffers *squares(int count)
    {
        auto *unit = new DrawBuffers(nullptr);
        const QSharedPointer<VertexArrayObject> array(new VertexArrayObject(nullptr));
        array->upload("va_Vertex", makeBuffer(GL_ARRAY_BUFFER), {0, 0, 1, 0, 0, 1, 1, 1}, 2, GL_STATIC_DRAW);
        unit->setVAO(array);
        unit->setPrimitiveType(GL_TRIANGLE_STRIP);
        const unsigned short indices[] = {0, 1, 2, 3};
        const auto indexBuffer = makeBuffer(GL_ELEMENT_ARRAY_BUFFER);
        indexBuffer->bind();
        indexBuffer->uploadGLushortData(indices, 4, GL_STATIC_DRAW);
        indexBuffer->unbind();
        unit->setIndexedDraw(indexBuffer, 4, GL_UNSIGNED_SHORT);
        const QVector<DrawElementsIndirectCommand> commands(count, {4, 1, 0, 0, 0});
        unit->setDrawElementsIndirectCommands(commands.constData(), count);
        return unit;
    }

    /// Adds a drawable of squares, each with its own transform.
    int addSquares(const QVector<QMatrix4x4> &matrices, quint64 flags = 0, int material = 0)
    {
        const int count = matrices.size();
        const int instance = _model.add(squares(count), material, makeData(1), makeData(count), flags);
        for (int i = 0; i < count; ++i) {
            _model.useTransform(instance, i, _model.addTransform(-1, matrices.at(i)));
        }
        return instance;
    }

    bool draw(TextureManager *manager = nullptr)
    {
        return _model.draw(_program.get(), manager, 0, 0, eWindingCCW, nullptr, {}, {}, false);
    }

    GPUModel _model;
    HelperTextures _helpers;
    SamplerTextureManager _textures;
    HostManager _manager;
    std::unique_ptr<ShaderProgram> _program =
        makeProgram("#version 150\n"
                    "in vec2 va_Vertex; uniform uint u_DrawID;\n" // command 1 is mirrored
                    "void main() { gl_Position = vec4(va_Vertex, 0.0, 1.0);\n"
                    "    gl_Position.x *= 1.0 - 2.0 * float(u_DrawID); }\n");
};

} // namespace

TEST_F(GPUModelTest, ARandomSceneIsUpdatedCulledAndDrawnAsPlainListsAre)
{
    constexpr int kDrawables = 9;
    constexpr int kTransforms = 30;
    struct Transform
    {
        QMatrix4x4 local;
        QMatrix4x4 world;
        bool isLocked;
        bool isDirty;
        QVector<int> users; ///< of commands
    };
    struct Command
    {
        int drawable;
        int number;
        int transform;
        int box;
        bool isCulled;
        std::array<QMatrix4x4, 4> data; ///< by kMembers
    };
    struct Bound
    {
        DrawBuffers *unit;
        Collection *material;
        Collection *object;
    };
    std::mt19937 random(84);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const auto chance = [&](int count) { return below(count) == 0; };
    const auto point = [&] {
        std::uniform_real_distribution<float> value(-2.0f, 2.0f);
        return QVector3D(value(random), value(random), value(random));
    };
    const auto randomMatrix = [&] {
        QMatrix4x4 matrix;
        QVector3D place = point();
        if (chance(6)) { // near the origin
            place = QVector3D();
            place[below(3)] = chance(2) ? 2e-3f : 5e-4f;
        }
        matrix.translate(place);
        matrix.rotate(90.0f * point().x(), point());
        matrix.scale(1.0f + 0.2f * point().x(), 1.0f, chance(3) ? -1.0f : 1.0f);
        matrix.scale(chance(8) ? 1e-4f : 1.0f);
        return matrix;
    };
    QMatrix4x4 zero;
    zero.fill(0.0f);
    Collection *const materials[] = {nullptr, makeData(1), makeData(1)};
    QVector<Bound> drawables;
    QHash<int, QVector<int>> byMaterial;
    QVector<Transform> transforms;
    QVector<Command> commands;
    for (int t = 0; t < kTransforms; ++t) { // the parent is often a later one, or the transform itself
        transforms.append({randomMatrix(), {}, false, true, {}});
        EXPECT_EQ(t, _model.addTransform(chance(2) ? -1 : below(kTransforms), transforms.last().local));
    }
    for (int i = 0; i < kDrawables; ++i) {
        const int count = 1 + i % 4;
        drawables.append(
            {squares(count), materials[below(3)],
             i % 3 == 0 || chance(2) ? makeData(count, chance(3) ? "WithoutNormals" : "Scene") : nullptr});
        byMaterial[i % 3].append(i);
        _model.add(drawables.last().unit, i % 3, drawables.last().material, drawables.last().object, 0);
        for (int number = 0; number < count; ++number) {
            const int t = below(kTransforms);
            transforms[t].users.append(commands.size());
            commands.append({i, number, t, -1, false, {zero, zero, zero, zero}});
            _model.useTransform(i, number, t);
        }
    }
    const auto isValid = [](int t) { return t >= 0 && t < kTransforms; };
    const std::function<bool(int, int)> isAbove = [&](int top, int t) {
        return isValid(t) && (t == top || isAbove(top, _model.transformParent(t)));
    };
    const std::function<bool(int)> isDirty = [&](int t) {
        return isValid(t) && (transforms.at(t).isDirty || isDirty(_model.transformParent(t)));
    };
    QVector<int> moved;
    const std::function<QMatrix4x4(int)> update = [&](int t) {
        if (!isValid(t) || !transforms.at(t).isDirty) {
            return isValid(t) ? transforms.at(t).world : QMatrix4x4();
        }
        Transform &own = transforms[t];
        const QMatrix4x4 above = update(_model.transformParent(t));
        own.isDirty = false;
        own.world = above * own.local;
        if (own.isLocked) { // takes the position and the scale from above, not the rotation; the local matrix stays changed
            QMatrix4x4 place;
            place.translate(own.world.column(3).toVector3D());
            const float x = above.column(0).toVector3D().length();
            own.local.setColumn(3, {0, 0, 0, 1});
            own.local.scale(above.determinant() < 0 ? -x : x, above.column(1).toVector3D().length(),
                            above.column(2).toVector3D().length());
            own.world = place * own.local;
        }
        const QMatrix3x3 normal = own.world.normalMatrix();
        for (const int user : qAsConst(own.users)) {
            auto &data = commands[user].data;
            data[1] = std::exchange(data[0], own.world);
            data[2] = own.world.inverted();
            std::copy_n(normal.constData(), 9, data[3].data());
            moved.append(user);
        }
        return own.world;
    };
    const auto setLocal = [&](int t, const QMatrix4x4 &local, bool isLocked) {
        if (transforms.at(t).local != local) {
            transforms[t] = {local, transforms.at(t).world, isLocked, true, transforms.at(t).users};
        }
    };
    const auto cull = [&](const std::function<bool(const Command &)> &isOut) {
        int count = 0;
        for (Command &command : commands) {
            const bool isNew = !command.isCulled && isOut(command);
            command.isCulled = command.isCulled || isNew;
            count += isNew ? 1 : 0;
        }
        return count;
    };
    const auto countOf = [&](int drawable, bool isCulled) {
        return std::count_if(commands.begin(), commands.end(), [&](const Command &command) {
            return command.drawable == drawable && command.isCulled == isCulled;
        });
    };
    QMatrix4x4 camera;
    camera.perspective(70.0f, 1.3f, 2.0f, 4.0f);
    camera.translate(0, 0, -3);
    int drawn = 0;
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        for (int i = 0; i < kTransforms && step % 250 == 0;
             ++i) { // before the scales of locked ones overflow
            const QMatrix4x4 fresh = randomMatrix();
            _model.setLocalTransform(i, fresh, false);
            setLocal(i, fresh, false);
        }
        const int t = below(kTransforms);
        const int parent = _model.transformParent(t);
        const int other = below(kTransforms + 2) - 1; // the first and the last number are no transforms
        const QMatrix4x4 matrix = chance(5) ? transforms.at(t).local : randomMatrix();
        Command &some = commands[below(commands.size())];
        const quint64 value = quint64(below(4)) | quint64(below(4)) << 62;
        const quint64 mask = quint64(below(4)) | quint64(below(4)) << 62;
        const int op = below(22);
        if (op == 0) {
            const bool locks = chance(3);
            _model.setLocalTransform(t, matrix, locks);
            setLocal(t, matrix, locks);
        } else if (op == 1) {
            _model.setWorldTransform(t, matrix);
            setLocal(t, isValid(parent) ? transforms.at(parent).world.inverted() * matrix : matrix, false);
        } else if (op == 2) {
            const bool changes = other != parent && !isAbove(t, other);
            _model.setTransformParent(t, other);
            ASSERT_EQ(changes ? other : parent, _model.transformParent(t));
            transforms[t].isDirty = transforms.at(t).isDirty || changes;
        } else if (op == 3) {
            ASSERT_EQ(update(t), _model.updateTransform(t));
        } else if (op == 4) {
            _model.updatePreviousMatrices();
            for (const int user : std::exchange(moved, {})) {
                commands[user].data[1] = commands.at(user).data[0];
            }
        } else if (op < 7) {
            _model.updateTransforms();
            for (int i = 0; i < kTransforms; ++i) { // before any update
                transforms[i].isDirty = isDirty(i);
            }
            for (int i = 0; i < kTransforms; ++i) {
                update(i);
            }
        } else if (op == 7) {
            _model.setVisibility(t, below(4));
        } else if (op == 8) {
            some.transform = t;
            transforms[t].users.append(int(&some - commands.constData()));
            _model.useTransform(some.drawable, some.number, t);
        } else if (op == 9) {
            const quint64 old = _model.getFlags(some.drawable);
            const quint64 twoSided = chance(4) ? GPUModel::kFlagTwoSided : 0;
            _model.setFlags(some.drawable, value | twoSided, mask | GPUModel::kFlagTwoSided);
            ASSERT_EQ((old & ~mask & ~GPUModel::kFlagTwoSided) | (value & mask) | twoSided,
                      _model.getFlags(some.drawable));
        } else if (op == 10) {
            _model.useBoundingBox(some.drawable, some.number, some.box = below(8) - 1);
        } else if (op == 11) {
            QVector<Box> loaded(below(8));
            for (Box &box : loaded) {
                const QVector3D a = 0.5f * point();
                const QVector3D b = a + QVector3D(0.5f, 0.3f, 0.1f);
                box = {a.x(), a.y(), a.z(), b.x(), b.y(), b.z()};
            }
            _model.loadBoundingBoxes(loaded.constData(), loaded.size());
        } else if (op == 12) {
            _model.setFeatureFlags(quint64(12 + below(4)));
        } else if (op == 13) {
            _model.resetCulling();
            for (Command &command : commands) {
                command.isCulled = command.isCulled && !_model.hasFeatureFlags(GPUModel::kFeatureCulling);
            }
        } else if (op == 14) {
            const auto isHidden = [&](const Command &command) {
                const QMatrix4x4 m = transforms.at(command.transform).world;
                const float size = std::max({m.row(0).length(), m.row(1).length(), m.row(2).length()});
                return (_model.getFlags(command.drawable) & GPUModel::kFlagHidden) != 0
                       || !_model.isVisible(command.transform)
                       || (size < 1e-3f && !isDirty(command.transform));
            };
            ASSERT_EQ(cull(isHidden), _model.visibilityCull());
        } else if (op == 15) {
            const auto isOut = [&](const Command &command) {
                return _model.isValidBoundingBox(command.box) && !isDirty(command.transform)
                       && isOutside(camera * transforms.at(command.transform).world,
                                    _model.getBoundingBox(command.box));
            };
            const struct
            {
                alignas(16) float first; // the matrix follows at an address that is no multiple of 16
                QMatrix4x4 matrix;
            } unaligned{0.0f, camera};
            ASSERT_EQ(cull(isOut), _model.frustumCull(unaligned.matrix));
        } else {
            TextureManager *const managers[] = {nullptr, &_textures, &_manager};
            TextureManager *manager = managers[below(3)];
            QMatrix4x4 view;
            view.translate(point());
            const bool sorts = chance(2);
            const bool stencil = chance(2);
            const bool tested = chance(2);
            const bool isSimple = chance(4);
            const quint64 flags = (value & 3) | (chance(2) ? GPUModel::kFlagSortByDistance : 0);
            const auto winding = isSimple ? eWindingDefault : WindingType(below(4));
            const QList<int> in = chance(2) || isSimple ? QList<int>() : QList<int>{2, 0};
            const QList<int> out = chance(2) || isSimple ? QList<int>() : QList<int>{below(3)};
            (tested ? glEnable : glDisable)(GL_STENCIL_TEST);
            glEnable(GL_CULL_FACE);
            const DrawLog log(_manager);
            ASSERT_TRUE(isSimple ? _model.drawSimple(_program.get(), manager, flags, mask & 3)
                                 : _model.draw(_program.get(), manager, flags, mask & 3, winding,
                                               sorts ? &view : nullptr, out, in, stencil));
            EXPECT_EQ(tested, driver()->glIsEnabled(GL_STENCIL_TEST));
            EXPECT_EQ(isSimple, driver()->glIsEnabled(GL_CULL_FACE));

            const auto distance = [&](int number) {
                const int box = commands.at(number).box;
                const QVector3D eye = transforms.at(commands.at(number).transform)
                                          .world.inverted()
                                          .map(-view.inverted().column(3).toVector3D());
                const QVector3D nearest = _model.getBoundingBox(box).closestPointFrom(eye);
                return _model.isValidBoundingBox(box) ? eye.distanceToPoint(nearest) : 1e30f;
            };
            QStringList draws;
            QHash<QString, int> calls;
            Bound last{};
            GLenum face = 0;
            const auto bind = [&](const Bound &next) {
                int newData = 0;
                for (Collection *Bound::*data : {&Bound::material, &Bound::object}) {
                    newData += last.*data != next.*data && next.*data != nullptr ? 1 : 0;
                    calls["data"] += last.*data != next.*data && last.*data != nullptr ? 1 : 0;
                }
                calls["data"] += newData;
                calls["arra"] += last.unit != next.unit ? 1 : 0;
                calls["mana"] += newData != 0 || last.unit == nullptr ? 1 : 0;
                last = next;
            };
            for (const int material : in.isEmpty() ? byMaterial.keys() : in) {
                for (const int drawable : byMaterial.value(out.contains(material) ? -1 : material)) {
                    const quint64 own = _model.getFlags(drawable);
                    const bool filters = !isSimple || (_model.getFeatureFlags() & 1) != 0;
                    const bool isTwoSided = !isSimple && (own & GPUModel::kFlagTwoSided) != 0;
                    const WindingType wanted = isTwoSided ? eWindingOff : winding;
                    QVector<int> passes[2];
                    for (int i = 0; i < commands.size(); ++i) {
                        const Command &command = commands.at(i);
                        const bool isMirrored = transforms.at(command.transform).world.determinant() < 0;
                        const bool isShown = !command.isCulled && _model.isVisible(command.transform);
                        if (command.drawable == drawable && (isSimple || isShown)) {
                            passes[wanted >= eWindingCCW && isMirrored != (wanted == eWindingCW)].append(i);
                        }
                    }
                    if ((filters && ((own ^ flags) & mask & 3) != 0)
                        || (!isSimple && countOf(drawable, false) == 0)) {
                        continue;
                    }
                    face = wanted == eWindingCCW ? GL_CCW : wanted == eWindingCW ? GL_CW : face;
                    for (const int pass : {0, 1}) {
                        if (sorts && (flags & GPUModel::kFlagSortByDistance) != 0 && !isSimple) {
                            std::stable_sort(passes[pass].begin(), passes[pass].end(),
                                             [&](int a, int b) { return distance(a) < distance(b); });
                        }
                        for (const int number : qAsConst(passes[pass])) {
                            bind(drawables.at(drawable));
                            draws += DrawLog::state(
                                {{"array", last.unit->VAO()->getVAO()},
                                 {"indices", last.unit->indexBO()->getBO()},
                                 {"data0", bufferOf(last.material)},
                                 {"data1", bufferOf(last.object)},
                                 {"manager", manager != nullptr},
                                 {"id", unsigned(commands.at(number).number)},
                                 {"2884", wanted >= eWindingCCW},
                                 {"face", pass == 0 ? face : face ^ GL_CW ^ GL_CCW},
                                 {"2960", stencil && !isSimple},
                                 {"stencil", stencil && !isSimple ? unsigned(material + 1) : 0}});
                        }
                    }
                }
            }
            calls["data"] += (last.material != nullptr ? 1 : 0) + (last.object != nullptr ? 1 : 0);
            calls["arra"] += last.unit != nullptr ? 1 : 0;
            EXPECT_EQ(draws.join('\n').toStdString(), log.draws.join('\n').toStdString());
            for (const char *kind : {"arra", "data", "mana"}) {
                EXPECT_EQ(manager != nullptr || kind[0] != 'm' ? calls.value(kind) : 0,
                          log.calls.value(kind));
            }
            for (const char *name : {"array", "indices", "data0", "data1", "manager"}) {
                EXPECT_EQ(0u, log.value(name)) << name;
            }
            drawn += draws.size();
        }
        const auto isEmpty = [&](int i) {
            return ((_model.getFlags(i) ^ value) & mask) != 0
                   || (_model.hasFeatureFlags(GPUModel::kFeatureCulling) && countOf(i, false) == 0);
        };
        const QVector<int> all{0, 1, 2, 3, 4, 5, 6, 7, 8};
        ASSERT_EQ(std::all_of(all.begin(), all.end(), isEmpty), _model.isDrawEmpty(value, mask));
        if (op == 14 || op == 15 || (op == 13 && _model.hasFeatureFlags(GPUModel::kFeatureCulling))) {
            Box bounds{1e20f, 1e20f, 1e20f, -1e20f, -1e20f, -1e20f};
            float *const sum = reinterpret_cast<float *>(&bounds);
            cull([&](const Command &command) {
                const Box box = _model.getBoundingBox(command.box);
                const float *const own = reinterpret_cast<const float *>(&box);
                for (int axis = 0; axis < 3 && _model.isValidBoundingBox(command.box); ++axis) {
                    sum[axis] = std::min(sum[axis], own[axis]);
                    sum[axis + 3] = std::max(sum[axis + 3], own[axis + 3]);
                }
                return false;
            });
            ASSERT_EQ(0, std::memcmp(&bounds, &_model.sceneBounds(), sizeof(Box)));
        }
        for (int i = 0; i < kTransforms; ++i) {
            const Transform &own = transforms.at(i);
            ASSERT_EQ(isDirty(i), _model.isTransformDirty(i)) << i;
            ASSERT_EQ(own.local, _model.localTransform(i)) << i;
            ASSERT_EQ(own.world, _model.worldTransform(i)) << i;
            ASSERT_EQ(own.world.determinant() < 0, GPUModel::SwapsHandedness(own.world));
            ASSERT_TRUE(isNear(QMatrix4x4(own.world.normalMatrix()), QMatrix4x4(_model.normalTransform(i))));
        }
        for (const Command &command : qAsConst(commands)) {
            const Collection *object = drawables.at(command.drawable).object;
            for (size_t i = 0; object != nullptr && i < command.data.size(); ++i) {
                const QMatrix4x4 held = read(object, command.number, kMembers[i]);
                ASSERT_TRUE(!object->plan()->contains(kMembers[i]) || isNear(command.data[i], held)) << i;
            }
        }
    }
    EXPECT_GT(drawn, 5000);
}

TEST_F(GPUModelTest, WhatIsReplacedOrClearedIsDeletedInOrderUnlessADrawableUsesIt)
{
    Collection *shared = makeData(1);
    QObjectList expected, deleted;
    for (int i = 0; i < 3; ++i) {
        _model.add(squares(2), 0, makeData(1), shared, 3);
        expected << _model.drawBuffers(i) << _model.materialData(i);
    }
    expected.insert(4, shared); // with the second drawable, then its first user
    for (QObject *object : qAsConst(expected)) {
        QObject::connect(object, &QObject::destroyed, [&](QObject *gone) { deleted << gone; });
    }
    EXPECT_EQ(6, _model.visibilityCull()); // they have no transforms
    for (const int commands : {3, 1}) {    // old commands stay culled, new ones are not
        _model.set(0, squares(commands), makeData(1), nullptr, 5, 4);
        EXPECT_EQ(commands == 3 ? 1 : 0, _model.visibilityCull());
        _model.set(0, _model.drawBuffers(0), _model.materialData(0), nullptr, 0, 0);
    }
    EXPECT_EQ(7u, _model.getFlags(0));
    EXPECT_EQ(expected.mid(0, 2), deleted);
    _model.drawBuffers(1)->setVertexCount(4);
    EXPECT_EQ(4, _model.getTotalVerts());
    const quint64 ofUnit = _model.drawBuffers(1)->memoryEstimateGPU();
    EXPECT_EQ(3 * ofUnit, _model.memoryEstimateGPU()); // the data were never bound
    EXPECT_LT(3 * _model.drawBuffers(1)->memoryEstimateCPU(), _model.memoryEstimateCPU());
    EXPECT_GT(10000u, _model.memoryEstimateCPU());
    _model.clear();
    EXPECT_EQ(expected, deleted);

    _model.setDeleteOnClear(false);
    const std::unique_ptr<DrawBuffers> kept[] = {std::unique_ptr<DrawBuffers>(squares(1)),
                                                 std::unique_ptr<DrawBuffers>(squares(1))};
    _model.set(_model.add(kept[0].get(), 0, nullptr, nullptr, 0), kept[1].get(), nullptr, nullptr, 0, 0);
    _model.clear();
    EXPECT_EQ(2, DrawBuffers::NumAlive());
}

TEST_F(GPUModelTest, FlagsNamesAndAncestorsReachTheirDrawables)
{
    const int late = addSquares({placed(0, 0)}, 7);
    const int early = addSquares({placed(0, 0), placed(1, 1)}, 3ull << 55 | 3);
    _model.removeFlags(0, 2, 1ull << 55); // now lower flags follow higher ones
    _model.removeFlags(early, 1ull << 56 | 1);
    _model.addFlags(late, 5ull << 52);
    _model.addFlags(late, late + 1, 8);
    _model.setFlags(early, 0, 0, kAll); // names no drawable: nothing changes
    _model.sortDrawablesByFlags();
    _model.sortDrawablesByFlags();
    EXPECT_EQ(5ull << 52 | 15, _model.getFlags(late));
    EXPECT_EQ(2u, _model.getFlags(early));
    EXPECT_EQ(0, _model.maxUVSets());
    EXPECT_EQ(5, _model.maxTangentSets());
    EXPECT_TRUE(_model.isDrawAny(4) && !_model.isDrawAny(16));

    // References are positions, so that of number 0 now means the other drawable.
    _model.addObjectName(late, 1, "a");
    _model.addMaterialName(late, 0, "b");
    const QMatrix4x4 matrix = placed(5, 6);
    for (const char *name : {"a", "b", "c"}) {
        _model.setObjectProperty(name, "ModelMatrix", matrix.constData(), 64);
        _model.setMaterialProperty(name, "InverseModelMatrix", matrix.constData(), 64);
    }
    EXPECT_EQ(matrix, read(_model.objectData(early), 1, "ModelMatrix"));
    EXPECT_EQ(matrix, read(_model.materialData(early), 0, "InverseModelMatrix"));
    EXPECT_EQ(QStringList("b"), _model.materialNames());

    QMatrix4x4 away =
        placed(866025.5f, 500000.25f); // along its x axis: the products for y cancel in the inverse
    away.rotate(30, 0, 0, 1);
    const double y = double(away(1, 0)) * away(0, 3) - double(away(0, 0)) * away(1, 3);
    const int far = addSquares({away});
    _model.updateTransforms();
    EXPECT_NEAR(y, read(_model.objectData(far), 0, "InverseModelMatrix")(1, 3), 1e-4);

    _model.sortDrawablesByFlags(); // the late drawable, whose command is hidden now, becomes the last one
    _model.setVisibility(0, 2);
    const Tap<&glDrawElementsBaseVertex> draws;
    EXPECT_TRUE(draw());
    EXPECT_EQ(3u, draws.count());

    const int parent = _model.addTransform(-1, QMatrix4x4());
    const int child = _model.addTransform(parent, QMatrix4x4());
    _model.setVisibility(std::numeric_limits<int>::min(), 2); // no transform: nothing changes
    _model.setVisibility(parent, 2);
    EXPECT_FALSE(_model.isVisible(parent));
    EXPECT_TRUE(_model.isVisible(child));
    _model.setVisibility(parent, 3);
    EXPECT_FALSE(_model.isVisible(child));
    EXPECT_FALSE(_model.isParentHidden(-1));
    EXPECT_TRUE(_model.isDescendant(parent, child));
    EXPECT_FALSE(_model.isDescendant(parent, -1));
    EXPECT_FALSE(GPUModel::SwapsHandedness(placed(0, 0, 0)));
    _model.clear();
    for (int i = 0; i <= child; ++i) { // the numbers keep their old visibility
        _model.addTransform(-1, QMatrix4x4());
        EXPECT_EQ(i != 0 && i != parent, _model.isVisible(i));
        EXPECT_EQ(QMatrix4x4(), _model.worldTransform(i));
    }
}

TEST_F(GPUModelTest, CamerasTakeWhatTheyLackFromTheModelAndFillTheAspectFromTheirFilm)
{
    const auto expectEdges = [this](const QVector3D &expected, int camera, float aspect) {
        const QMatrix4x4 projection = _model.getCameraProjectionMatrix(camera, aspect);
        const QVector3D corner = projection.inverted().map({-1, -1, -1}); // left and bottom of the near plane
        EXPECT_NEAR(0, (corner / expected - QVector3D(1, 1, 1)).length(), 1e-5f) << camera << ' ' << aspect;
    };
    expectEdges({-0.036f, -0.024f, -0.1f}, -1, 1.5f);
    expectEdges({-0.036f, -0.018f, -0.1f}, -1, 2.0f); // wider than the film
    expectEdges({-0.024f, -0.024f, -0.1f}, -1, 1.0f);
    _model.setClipPlaneDefaults(0.2f, 50);
    GPUModel::Camera camera;
    camera.filmOffsetX = 0.002f;
    camera.filmOffsetY = 0.001f;
    camera.focusDistance = 5;
    expectEdges({-0.072f + 0.008f, -0.048f + 0.004f, -0.2f}, _model.addCamera(camera, "wide"), 1.5f);
    camera.projectionType = 1;
    camera.nearClip = 1;
    camera.farClip = 3;
    camera.transform = _model.addTransform(-1, placed(3, 4));
    const int flat = _model.addCamera(camera, "flat");
    expectEdges({-1.8f + 0.2f, -1.2f + 0.1f, -1}, flat, 1.5f);
    EXPECT_NEAR(-3.0f, _model.getCameraProjectionMatrix(flat, 1).inverted().map({0, 0, 1}).z(), 1e-4f);
    EXPECT_NEAR(-50.0f, _model.getCameraProjectionMatrix(0, 1).inverted().map({0, 0, 1}).z(), 1e-2f);
    _model.updateTransforms();
    EXPECT_EQ(placed(-3, -4), _model.getCameraWorldSpaceMatrix(flat));
    EXPECT_EQ(flat, _model.getCameraIndex("flat"));
    EXPECT_EQ(-1, _model.getCameraIndex("none"));
    EXPECT_EQ(0, _model.addLight({}, "sun"));
}

TEST_F(GPUModelTest, EachFormOfADrawTakesItsDrawables)
{
    // Each drawable has a different number of commands, so the count identifies what is drawn.
    addSquares(QVector<QMatrix4x4>(3), 1, 0);
    addSquares(QVector<QMatrix4x4>(2), 2, 1);
    addSquares(QVector<QMatrix4x4>(4), 3, 1);
    _model.addSimple(squares(8), 1, nullptr, nullptr, 4);
    _model.updateTransforms();
    TextureManager::setInstance(&_manager);
    ShaderProgram *const p = _program.get();
    const Tap<&glStencilFunc> stencils;
    const Tap<&glUniform1ui> ids;
    Taps<&glDrawElementsBaseVertex> draws;
    draws.hold();
    const auto drawn = [&](bool result, bool expected = true) {
        EXPECT_EQ(expected, result);
        const size_t count = draws.count();
        draws.clear();
        return count;
    };
    EXPECT_EQ(9u, drawn(_model.draw(p, &_textures, 0, 0)));
    EXPECT_EQ(6u, drawn(_model.draw(p, &_textures, 3, 2, eWindingOff, false)));
    EXPECT_EQ(2u, drawn(_model.draw(p, &_textures, 2, 3, eWindingOff, nullptr, false)));
    EXPECT_EQ(4u, drawn(_model.draw(p, 3, 3, eWindingOff, false)));
    EXPECT_EQ(3u, drawn(_model.drawExclude(p, &_textures, 0, 0, eWindingOff, nullptr, {1})));
    EXPECT_EQ(2u, drawn(_model.drawExclude(p, 2, 3, eWindingOff, {0})));
    EXPECT_EQ(4u, drawn(_model.drawMaterials(p, &_textures, 1, 1, eWindingOff, nullptr, {1})));
    EXPECT_EQ(7u, drawn(_model.drawSimple(p, &_textures, 1, 1)));
    _model.setFeatureFlags(16); // kFeatureSimple without kFeatureFilterSimple
    EXPECT_EQ(17u, drawn(_model.draw(p, &_textures, 1, 1)));
    _model.setFeatureFlags(15);
    TextureManager::setInstance(nullptr);

    { // draw buffers that cannot be bound are drawn from those before
        const AutoBinder elsewhere(_model.drawBuffers(0)->VAO());
        EXPECT_EQ(9u, drawn(_model.draw(p, nullptr, 0, 0, eWindingOff, nullptr, {}, {1, 0}, false)));
        EXPECT_EQ(2u, ids.last<1>());
        EXPECT_MESSAGES(startsWith("critical [VertexArrayObject.cpp:#]"));
    }
    // The last drawable decides on the result of a draw, any on that of a simple one.
    _model.drawBuffers(0)->setPrimitiveType(GLenum(-1));
    EXPECT_EQ(6u, drawn(_model.draw(p, nullptr, 0, 0, eWindingOff, nullptr, {}, {0, 1}, false)));
    EXPECT_EQ(6u, drawn(_model.draw(p, nullptr, 0, 4, eWindingOff, nullptr, {}, {1, 0}, false), false));
    EXPECT_EQ(14u, drawn(_model.drawSimple(p, nullptr, 0, 0), false));
    EXPECT_EQ(3, _capture.take().size());
    EXPECT_EQ(0u, stencils.count());

    Collection *object = nullptr, *material = nullptr; // draws of one drawable continue with what they bound
    TextureManager *manager = nullptr;
    VertexArrayObject *array = nullptr;
    DrawBuffers *unit = nullptr;
    QVector<int> second{1};
    DrawLog log(_manager);
    EXPECT_TRUE(_model.drawMesh(1, object, material, manager, array, unit, p, &_manager, 0, eWindingOff,
                                nullptr, {}));
    EXPECT_TRUE(_model.drawMesh(1, &second, object, material, manager, array, unit, p, &_manager));
    EXPECT_TRUE(_model.drawMesh(_model.numDrawables(), nullptr, object, material, manager, array, unit, p,
                                &_manager));
    EXPECT_EQ(3, log.draws.size());
    EXPECT_EQ(1, log.calls.value("arra") * log.calls.value("mana"));
    EXPECT_EQ(std::make_tuple(_model.objectData(1), _model.materialData(1),
                              static_cast<TextureManager *>(&_manager), _model.drawBuffers(1)->VAO().data(),
                              _model.drawBuffers(1)),
              std::make_tuple(object, material, manager, array, unit));
    EXPECT_TRUE(unit->unbind() && material->unbind(manager) && object->unbind(manager));
}

TEST_F(GPUModelTest, MirroredSquaresAreSeenAsPlainOnesAre)
{
    addSquares({placed(0, 0), placed(0, 0, -1)});
    _model.updateTransforms();
    QOpenGLFramebufferObject target(2, 2);
    ASSERT_TRUE(target.bind());
    glViewport(0, 0, 2, 2);
    for (const WindingType winding : {eWindingCCW, eWindingCW}) {
        glClear(GL_COLOR_BUFFER_BIT);
        EXPECT_TRUE(_model.draw(_program.get(), nullptr, 0, 0, winding, false));
        const auto white = [](int, int y) { return y == 0 ? QVector4D() : QVector4D(1, 1, 1, 1); };
        EXPECT_TRUE(Pixels::ofFramebuffer(0, 0, 2, 2).isNear(Pixels::of(2, 2, white), 0));
    }
    glFrontFace(GL_CCW);
}

TEST_F(GPUModelTest, HostCodeMayChangeTheModelAndTheContextDuringADraw)
{
    const auto other = TestContext::create();
    ASSERT_TRUE(other);
    makeCurrent();
    const std::pair<size_t, std::function<void()>> kRows[] = {
        {102, [&] { addSquares(QVector<QMatrix4x4>(100), 0, 1); }},
        {1, [&] { _model.set(1, nullptr, nullptr, nullptr, 0, 0); }},
        {0, [&] { _model.clear(); }},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.first);
        addSquares({placed(-1, -1)});
        const QPointer<DrawBuffers> last = _model.drawBuffers(addSquares({placed(0, -1)}));
        int visits = 0;
        _manager.visit = [&] {
            other->makeCurrent();
            EXPECT_EQ(other->context(), GLContextTracker::currentContext());
            makeCurrent();
            EXPECT_EQ(context(), GLContextTracker::currentContext());
            visits++ == 0 ? row.second() : void();
        };
        for (const size_t drawn : {size_t(2), row.first}) { // the change counts from the next draw on
            _model.updateTransforms();
            Tap<&glDrawElementsBaseVertex> draws;
            EXPECT_TRUE(draw(&_manager));
            EXPECT_EQ(drawn, draws.count());
        }
        EXPECT_EQ(row.first < 2, last.isNull()); // deleted once it is removed
        _model.clear();
    }
}

TEST_F(GPUModelTest, ASteadyFrameTakesNoMemoryForADrawable)
{
    Hook<&glDrawElementsBaseVertex> draws; // the allocations of the driver do not count
    draws.replace([](auto...) {});
    const Box box{-1, -1, -1, 1, 1, 1};
    _model.loadBoundingBoxes(&box, 1);
    size_t taken[2];
    for (size_t &ofFrame : taken) { // of 2 drawables, then of 32
        for (const int count = _model.numDrawables() == 0 ? 2 : 32; _model.numDrawables() < count;) {
            _model.useBoundingBox(addSquares({placed(0, 0)}), 0, 0);
        }
        const int partial = _model.add(squares(_model.numDrawables()), 0, nullptr, nullptr, 0);
        for (int i = 1; i < partial; ++i) { // command 0 is hidden, so that a draw lists the others
            _model.useTransform(partial, i, 0);
        }
        for (int frame = 0; frame < 3; ++frame) { // the first frames allocate what they need
            for (int i = 0; i < _model.numDrawables(); ++i) {
                _model.setLocalTransform(i, placed(float(frame), 0), false);
            }
            const AllocationCount allocations;
            _model.updateTransforms();
            _model.resetCulling();
            _model.visibilityCull();
            _model.frustumCull(QMatrix4x4());
            draw();
            _model.updatePreviousMatrices();
            ofFrame = allocations.taken();
        }
    }
    EXPECT_EQ(taken[0], taken[1]);
}

TEST_F(GPUModelTest, AViewMatrixMayBeAtAnyAddress)
{
    const Box box{-1, -1, -1, 1, 1, 1};
    _model.loadBoundingBoxes(&box, 1);
    _model.useBoundingBox(addSquares({placed(0, 0)}), 0, 0);
    _model.updateTransforms();
    alignas(16) char memory[sizeof(QMatrix4x4) + 4];
    EXPECT_EQ(0, _model.frustumCull(*new (memory + 4) QMatrix4x4)); // aligned as its floats are
}
