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

using ObjectMemory = GLTest;

template <size_t kAlignment, size_t kBytes> struct alignas(kAlignment) Special : BufferObject
{
    using BufferObject::BufferObject;
    char bytes[kBytes] = {};
};

TEST_F(ObjectMemory, holdsWrappersOfOneSizeSideBySideAndAgainWhenTheyAreDeletedByAnyBase)
{
    if (!kIsPooled) {
        GTEST_SKIP() << "the address sanitizer or ZELGL_OBJECT_MEMORY=OFF: objects are on the heap";
    }
    using Largest = Special<8, 512 - sizeof(BufferObject)>; // larger ones are on the heap
    const auto a = std::make_unique<Largest>(nullptr);
    const auto b = std::make_unique<Largest>(nullptr);
    auto *c = new Largest(nullptr);
    EXPECT_EQ(0u, reinterpret_cast<quintptr>(a.get()) % 64);
    EXPECT_EQ(512, distance(a.get(), b.get()));
    EXPECT_EQ(512, distance(b.get(), c));

    const void *const place = c;
    delete static_cast<QObject *>(c);
    auto *again = new Largest(nullptr);
    EXPECT_EQ(place, again);
    delete static_cast<Bindable *>(again);
    const std::unique_ptr<Largest> last(new Largest(nullptr));
    EXPECT_EQ(place, last.get());
}

TEST_F(ObjectMemory, leavesOtherPlacesToTheHost)
{
    const auto counted = QSharedPointer<VertexArrayObject>::create(nullptr);
    VertexArrayObject onStack(nullptr);
    EXPECT_EQ(2, VertexArrayObject::NumAlive());

    const auto large = std::make_unique<Special<16, 4096>>(nullptr);
    const std::unique_ptr<BufferObject> plain(new (std::nothrow) BufferObject(nullptr));
    const auto aligned = std::make_unique<Special<256, 1>>(nullptr);
    const std::unique_ptr<Special<256, 1>> too(new (std::nothrow) Special<256, 1>(nullptr));
    EXPECT_EQ(0u, (reinterpret_cast<quintptr>(aligned.get()) | reinterpret_cast<quintptr>(too.get())) % 256);
    EXPECT_EQ(4, BufferObject::NumAlive());
}
