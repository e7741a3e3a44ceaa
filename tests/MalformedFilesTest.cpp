// Runs the readers on every truncation of small valid files, and on every value of each of their first bytes. The memory
// has exactly the size of the file, and every byte that GL would read is read, so that a sanitizer detects reads out of
// bounds.

#include "support/FileMaker.h"
#include "support/GLFixture.h"
#include "support/ReaderUse.h"
#include "support/StateGuard.h"
#include "support/UploadTouch.h"

#include <ZelGL/ASTCReader.h>
#include <ZelGL/HDRReader.h>
#include <ZelGL/KTXReader.h>

#include <ctime>

using namespace Orvane::Zel;

namespace {

struct Format
{
    const char *name;
    QVector<QByteArray> (*seeds)();
    void (*use)(const QByteArray &file);
    int files; ///< least number of files; 300,000 in all
};

class MalformedFilesTest : public GLTest, public testing::WithParamInterface<Format>
{
};

} // namespace

TEST_P(MalformedFilesTest, StayInBoundsAndLeakNothing)
{
    const UploadTouch touch;
    const StateGuard guard;
    std::clock_t longest = 0;
    int files = 0;
    bool leftNothing = true;
    for (const QByteArray &seed : GetParam().seeds()) {
        forEachNeighbour(seed, [&](const QByteArray &file) {
            const std::clock_t begin = std::clock();
            GetParam().use(file);
            longest = std::max(longest, std::clock() - begin);
            leftNothing = leftNothing && Texture::NumAlive() == 0 && ledger().alive(GLLedger::eTexture) == 0;
            _capture.take();
            takeGLErrors();
            ++files;
        });
    }
    EXPECT_GE(files, GetParam().files);
    EXPECT_TRUE(leftNothing) << "a texture was left over";
    EXPECT_LT(longest, CLOCKS_PER_SEC);
    EXPECT_GT(touch.count(), 0) << "some must reach the upload";
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
}

INSTANTIATE_TEST_SUITE_P(, MalformedFilesTest,
                         testing::Values(Format{"KTX", ktxSeeds, useReader<KTXRecogniser>, 200000},
                                         Format{"HDR", hdrSeeds, useReader<HDRRecogniser>, 50000},
                                         Format{"ASTC", astcSeeds, useReader<ASTCRecogniser>, 50000}),
                         [](const auto &format) { return std::string(format.param.name); });
