#include "support/Files.h"
#include "support/Print.h"

#include <ZelCore/Resources.h>

#include <QtCore/QDir>

using namespace Orvane::Zel;

int qInitResources_GLResources();
int qCleanupResources_GLResources();

namespace {

QStringList filesUnder(const QString &root)
{
    QStringList files;
    for (const char *folder : {"/include", "/src"}) {
        for (const QString &name : QDir(root + folder).entryList(QDir::Files)) {
            files.append(folder + ('/' + name));
        }
    }
    return files;
}

} // namespace

TEST(GLSLResourcesTest, TheTreeInsideTheLibraryIsTheTreeOfTheSources)
{
    const QString sources = resourcesPath() + "/GLSL";
    const QStringList files = filesUnder(":/GLSL");
    EXPECT_EQ(filesUnder(sources), files);
    for (const QString &file : files) {
        EXPECT_EQ(bytesOf(sources + file), bytesOf(":/GLSL" + file)) << qPrintable(file);
    }
    EXPECT_TRUE(files.contains("/src/passthroughVS.glslc"));
}

TEST(GLSLResourcesTest, TheTreeComesAndGoesWithItsTwoFunctions)
{
    qCleanupResources_GLResources();
    EXPECT_FALSE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
    qInitResources_GLResources();
    EXPECT_TRUE(QFile::exists(":/GLSL/src/ZelUtilities.glslc"));
}
