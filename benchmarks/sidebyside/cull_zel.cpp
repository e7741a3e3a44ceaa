// The work of a frame on N boxes without a draw. Every box has a transform below one root, rotated around its y axis on a
// cubic grid; the camera is at the centre. Boxes, positions and camera are those of the peers.
//
//   cull_zel [-n N] [-frames F] [-warm W]
//
//   cull_local  frustumCull() of N drawables of one command
//   reset       resetCulling() after it
//   update      updateTransforms(), all moved, into one collection of N objects: world, inverse, normal and previous matrix
//   update_own  the same into N collections of one object each, those of the drawables of cull_local
//
// Only the named call is timed, in CPU time of the process.

#include "Boxes.h"
#include "OffscreenStage.h"
#include "SideBySide.h"

#include <ZelGL/ZelGL.h>

#include <cmath>
#include <cstdio>

using namespace Orvane::Zel;

namespace {

/// N boxes: the commands of one drawable, or one drawable each.
class Field
{
public:
    enum Kind { eOneDrawable, eDrawableEach };

    Field(Kind kind, int boxCount);
    ~Field() { _model.clear(); }

    GPUModel &model() { return _model; }

    /// Rotates every box further by \a angle.
    void move(float angle);

private:
    int addDrawable(int commands);

    const int _boxCount;
    int _firstTransform = 0;
    QSharedPointer<BufferObject> _indices = OpenGLDeviceContext::current()->newBuffer();
    GPUModel _model;
};

QMatrix4x4 boxTransform(int i, int n, float angle)
{
    QMatrix4x4 transform = gridTransform(i, n);
    transform.rotate((0.1f * float(i) + angle) * 180.0f / float(M_PI), 0.0f, 1.0f, 0.0f);
    return transform;
}

QMatrix4x4 cameraMatrix()
{
    QMatrix4x4 projection;
    projection.perspective(60.0f, 1.0f, 0.1f, 1000.0f);
    return projection;
}

InstanceDataPlan *makePlan(int boxCount)
{
    auto *plan = new InstanceDataPlan("FieldObject");
    for (const char *member :
         {"ModelMatrix", "PreviousModelMatrix", "InverseModelMatrix", "ModelNormalMatrix"}) {
        plan->addMember(InstanceDataPlan::eMat4, member);
    }
    plan->setArraySize(static_cast<unsigned long>(boxCount));
    plan->setMechanism(InstanceDataPlan::eStorageBufferMechanism);
    return plan;
}

Field::Field(Kind kind, int boxCount)
    : _boxCount(boxCount)
{
    const GPUModel::BoundingBox box{-0.5f, -0.5f, -0.5f, 0.5f, 0.5f, 0.5f};
    _model.loadBoundingBoxes(&box, 1);
    const int root = _model.addTransform(GPUModel::kInvalidTransformRef, QMatrix4x4());
    _firstTransform = root + 1;
    const int drawable = kind == eOneDrawable ? addDrawable(boxCount) : 0;
    for (int i = 0; i < boxCount; ++i) {
        const int owner = kind == eOneDrawable ? drawable : addDrawable(1);
        const int command = kind == eOneDrawable ? i : 0;
        _model.useTransform(owner, command, _model.addTransform(root, boxTransform(i, boxCount, 0.0f)));
        _model.useBoundingBox(owner, command, 0);
    }
    _model.updateTransforms();
    _model.updatePreviousMatrices();
}

void Field::move(float angle)
{
    for (int i = 0; i < _boxCount; ++i) {
        _model.setLocalTransform(_firstTransform + i, boxTransform(i, _boxCount, angle), false);
    }
}

int Field::addDrawable(int commands)
{
    auto *unit = new DrawBuffers(nullptr);
    unit->setIndexedDraw(_indices, 36, GL_UNSIGNED_SHORT); // commands need the index type
    const QVector<DrawElementsIndirectCommand> list(commands, {36, 1, 0, 0, 0});
    unit->setDrawElementsIndirectCommands(list.constData(), commands);
    InstanceDataPlan *plan = InstanceDataRegistry::Instance()->getPlan("FieldObject");
    return _model.add(unit, 0, nullptr,
                      new InstanceDataCollection(plan, static_cast<unsigned long>(commands)), 0);
}

/// Runs frames, each after its preparation, and prints the time of only the work.
class Clock
{
public:
    Clock(int frames, int warm, int boxCount)
        : _frames(frames)
        , _warm(warm)
        , _boxCount(boxCount)
    {
    }

    template <typename Before, typename Work> void time(const char *variant, Before before, Work work)
    {
        std::vector<double> times;
        for (int frame = 0; frame < _warm + _frames; ++frame) {
            before(frame);
            const double start = SideBySide::processCpuSeconds();
            work();
            if (frame >= _warm) {
                times.push_back((SideBySide::processCpuSeconds() - start) * 1e9 / _boxCount);
            }
        }
        SideBySide::printResult("cull", variant, _boxCount, "ns/object", times);
    }

private:
    int _frames;
    int _warm;
    int _boxCount;
};

/// Counts culled boxes with plain Qt, box by box: all corners are outside of one of the planes.
int countOutside(int boxCount)
{
    const QMatrix4x4 camera = cameraMatrix();
    int outside = 0;
    for (int i = 0; i < boxCount; ++i) {
        const QMatrix4x4 product = camera * boxTransform(i, boxCount, 0.0f);
        bool out = false;
        for (int plane = 0; plane < 6 && !out; ++plane) {
            const QVector4D row = product.row(plane / 2) * (plane % 2 == 0 ? 1.0f : -1.0f);
            const QVector4D p = product.row(3) + row;
            out = 0.5f * (std::abs(p.x()) + std::abs(p.y()) + std::abs(p.z())) + p.w() <= 0.0f;
        }
        outside += out ? 1 : 0;
    }
    return outside;
}

} // namespace

int main(int argc, char **argv)
{
    const SideBySide::Arguments arguments(argc, argv);
    const int n = std::max(arguments.integer("-n", 100000), 1);
    const std::unique_ptr<OffscreenStage> stage = OffscreenStage::create(64, 64); // plans query limits
    if (!stage) {
        return 1;
    }
    InstanceDataRegistry::Instance()->registerPlan(makePlan(n));
    Clock clock(arguments.integer("-frames", 41), arguments.integer("-warm", 3), n);
    {
        Field each(Field::eDrawableEach, n);
        GPUModel &model = each.model();
        const QMatrix4x4 camera = cameraMatrix();
        const int culled = model.frustumCull(camera);
        // Rounding may change the result for a few boxes that touch a plane.
        if (std::abs(culled - countOutside(n)) > n / 10000 + 1) {
            std::fprintf(stderr, "%d boxes culled, and not %d\n", culled, countOutside(n));
            return 1;
        }
        clock.time(
            "cull_local", [&](int) { model.resetCulling(); }, [&] { model.frustumCull(camera); });
        clock.time(
            "reset", [&](int) { model.frustumCull(camera); }, [&] { model.resetCulling(); });
        clock.time(
            "update_own",
            [&](int frame) {
                model.updatePreviousMatrices();
                each.move(float(frame + 1));
            },
            [&] { model.updateTransforms(); });
    }
    Field one(Field::eOneDrawable, n);
    clock.time(
        "update",
        [&](int frame) {
            one.model().updatePreviousMatrices();
            one.move(float(frame + 1));
        },
        [&] { one.model().updateTransforms(); });
    return 0;
}
