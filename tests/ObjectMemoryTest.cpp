#include "support/GLFixture.h"

#include <ZelGL/ZelGL.h>

#include <memory>

using namespace Orvane::Zel;

namespace {

std::ptrdiff_t distance(const QObject *from, const QObject *to)
{
    return reinterpret_cast<const char *>(to) - reinterpret_cast<const char *>(from);
}

#if defined(__SANITIZE_ADDRESS__) || !ZELGL_OBJECT_MEMORY
constexpr bool kIsPooled = false; // all objects are on the heap
#else
constexpr bool kIsPooled = true;
#endif

} // namespace

class ObjectMemory : public GLTest
{
};

TEST_F(ObjectMemory, holdsWrappersOfOneSizeSideBySideAndAgainWhenTheyAreDeletedByAnyBase)
{
    if (!kIsPooled) {
        GTEST_SKIP() << "the address sanitizer or ZELGL_OBJECT_MEMORY=OFF: objects are on the heap";
    }
    const auto a = std::make_unique<DrawBuffers>(nullptr);
    const auto b = std::make_unique<DrawBuffers>(nullptr);
    auto *c = new DrawBuffers(nullptr);
    EXPECT_EQ(0u, reinterpret_cast<quintptr>(a.get()) % 64);
    EXPECT_EQ(distance(a.get(), b.get()), distance(b.get(), c));
    EXPECT_LT(distance(a.get(), b.get()), std::ptrdiff_t(sizeof(DrawBuffers) + 64));

    const void *const place = c;
    delete static_cast<QObject *>(c);
    auto *again = new DrawBuffers(nullptr);
    EXPECT_EQ(place, again);
    delete static_cast<Bindable *>(again);
    const std::unique_ptr<DrawBuffers> last(new DrawBuffers(nullptr));
    EXPECT_EQ(place, last.get());
}

TEST_F(ObjectMemory, leavesOtherPlacesToTheHost)
{
    const auto counted = QSharedPointer<VertexArrayObject>::create(nullptr);
    VertexArrayObject onStack(nullptr);
    EXPECT_EQ(2, VertexArrayObject::NumAlive());

    struct alignas(32) Large : BufferObject
    {
        using BufferObject::BufferObject;
        char bytes[4096] = {};
    };
    const auto large = std::make_unique<Large>(nullptr);
    EXPECT_EQ(0u, reinterpret_cast<quintptr>(large.get()) % alignof(Large));
    EXPECT_EQ(1, BufferObject::NumAlive());

    struct alignas(256) Aligned : BufferObject
    {
        using BufferObject::BufferObject;
    };
    const std::unique_ptr<Aligned> aligned(new (std::nothrow) Aligned(nullptr));
    const auto alignedToo = std::make_unique<Aligned>(nullptr);
    EXPECT_EQ(0u, (reinterpret_cast<quintptr>(aligned.get()) | reinterpret_cast<quintptr>(alignedToo.get()))
                      % 256);
    const std::unique_ptr<BufferObject> withoutThrow(new (std::nothrow) BufferObject(nullptr));
    EXPECT_EQ(4, BufferObject::NumAlive());
}
