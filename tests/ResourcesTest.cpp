#include <ZelCore/Resources.h>

#include "support/Print.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <dlfcn.h>

using namespace Orvane::Zel;

TEST(ResourcesTest, TheBuildTreeFindsTheShaderSources)
{
    EXPECT_TRUE(QFileInfo(resourcesPath() + "/GLSL/src").isDir()) << qPrintable(resourcesPath());
}

TEST(ResourcesTest, AMovedLibraryFindsTheResourcesBesideItsNewPlace)
{
    constexpr char kSymbol[] = "_ZN6Orvane3Zel13resourcesPathEv";
    Dl_info info = {};
    dladdr(dlsym(RTLD_DEFAULT, kSymbol), &info);
    const QFileInfo original(QFileInfo(info.dli_fname).canonicalFilePath());
    const QTemporaryDir folder;
    const QString moved = QFileInfo(folder.path()).canonicalFilePath() + "/a/b/c";
    ASSERT_TRUE(QDir().mkpath(moved + "/links"));
    const QString fromLibrary = original.dir().relativeFilePath(resourcesPath());
    ASSERT_TRUE(QFile::copy(original.filePath(), moved + "/libmoved.so"));
    // Loaded through a link in another folder, as package managers create them.
    ASSERT_TRUE(QFile::link(moved + "/libmoved.so", moved + "/links/libmoved.so.1"));

    void *library = dlopen(qPrintable(moved + "/links/libmoved.so.1"), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    const auto movedPath = reinterpret_cast<QString (*)()>(dlsym(library, kSymbol));
    ASSERT_NE(nullptr, movedPath);
    EXPECT_EQ(QDir::cleanPath(moved + "/" + fromLibrary), movedPath());
    dlclose(library);
}
