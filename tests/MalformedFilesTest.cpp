// Every truncation of small sound files, and every value of each of their first bytes, through the readers:
// in memory of the file's very size, with all bytes read that GL would read, so that a sanitizer sees what
// leaves its bounds.

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

struct Seed
{
    const char *format;
    QVector<QByteArray> (*files)();
    void (*use)(const QByteArray &file);
};

double processorSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + 1e-9 * double(now.tv_nsec);
}

const Seed kSeeds[] = {{"KTX", ktxSeeds, useReader<KTXRecogniser>},
                       {"HDR", hdrSeeds, useReader<HDRRecogniser>},
                       {"ASTC", astcSeeds, useReader<ASTCRecogniser>}};

/// One process for each seed, so that they run side by side.
struct Case
{
    const Seed *seed;
    int number;
};

std::vector<Case> cases()
{
    std::vector<Case> all;
    for (const Seed &seed : kSeeds) {
        for (int number = 0; number < seed.files().size(); ++number) {
            all.push_back({&seed, number});
        }
    }
    return all;
}

std::string nameOf(const testing::TestParamInfo<Case> &info)
{
    return info.param.seed->format + std::to_string(info.param.number);
}

/// The KTX file of the other byte order, which loses half of each byte of its header and with that its
/// formats.
bool isForeign(const Case &one)
{
    return one.seed == &kSeeds[0] && one.number == one.seed->files().size() - 1;
}

class MalformedFilesTest : public GLTest, public testing::WithParamInterface<Case>
{
};

} // namespace

TEST_P(MalformedFilesTest, StayInTheirBoundsAndLeaveNothingBehind)
{
    const UploadTouch touch;
    const StateGuard guard;
    double longest = 0.0;
    bool leftNothing = true;
    forEachNeighbour(GetParam().seed->files()[GetParam().number], [&](const QByteArray &file) {
        const double begin = processorSeconds();
        GetParam().seed->use(file);
        longest = std::max(longest, processorSeconds() - begin);
        leftNothing = leftNothing && Texture::NumAlive() == 0 && ledger().alive(GLLedger::eTexture) == 0;
        _capture.take();
        takeGLErrors();
    });
    EXPECT_TRUE(leftNothing) << "a texture was left over";
    EXPECT_LT(longest, 1.0) << "seconds";
    EXPECT_TRUE(touch.count() > 0 || isForeign(GetParam())) << "some must reach the upload";
    EXPECT_EQ(QStringList(), guard.changes().filter("UNPACK") + guard.changes().filter("TEXTURE_BINDING"));
}

INSTANTIATE_TEST_SUITE_P(Seeds, MalformedFilesTest, testing::ValuesIn(cases()), nameOf);

TEST(MalformedFiles, AreManyEnough)
{
    int count = 0;
    for (const Seed &seed : kSeeds) {
        for (const QByteArray &file : seed.files()) {
            count += file.size() + 255 * std::min(256, file.size());
        }
    }
    EXPECT_GE(count, 300000);
}
