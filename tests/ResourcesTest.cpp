#include <ZelCore/Resources.h>

#include "support/Print.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <dlfcn.h>

using namespace Orvane::Zel;

namespace {

constexpr char kSymbol[] = "_ZN6Orvane3Zel13resourcesPathEv";

/// The path of the library that this program uses.
QString libraryFile()
{
    Dl_info info = {};
    dladdr(dlsym(RTLD_DEFAULT, kSymbol), &info);
    return QFileInfo(info.dli_fname).canonicalFilePath();
}

} // namespace

TEST(ResourcesTest, TheBuildTreeFindsTheShaderSources)
{
    EXPECT_FALSE(resourcesPath().endsWith('/'));
    EXPECT_TRUE(QFileInfo(resourcesPath() + "/GLSL/src").isDir()) << qPrintable(resourcesPath());
    EXPECT_TRUE(QFileInfo(resourcesPath() + "/GLSL/include").isDir()) << qPrintable(resourcesPath());
}

TEST(ResourcesTest, AMovedLibraryFindsTheResourcesBesideItsNewPlace)
{
    const QTemporaryDir folder;
    const QString moved = QFileInfo(folder.path()).canonicalFilePath() + "/a/b/c";
    ASSERT_TRUE(QDir().mkpath(moved + "/links"));
    const QString fromLibrary = QFileInfo(libraryFile()).dir().relativeFilePath(resourcesPath());
    ASSERT_TRUE(QFile::copy(libraryFile(), moved + "/libmoved.so"));
    // Loaded through a link in another folder, as package managers create them.
    ASSERT_TRUE(QFile::link(moved + "/libmoved.so", moved + "/links/libmoved.so.1"));

    void *library = dlopen(qPrintable(moved + "/links/libmoved.so.1"), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    const auto movedPath = reinterpret_cast<QString (*)()>(dlsym(library, kSymbol));
    ASSERT_NE(nullptr, movedPath);
    EXPECT_EQ(QDir::cleanPath(moved + "/" + fromLibrary), movedPath());
    dlclose(library);
}
