// The steps of docs/start.md: each draws its picture, which is compared with that of the page.

#include "SnippetsTest.h"

#include "support/HelperTextures.h"

#include <ZelGL/ZelGL.h>
#include <ZelKit/ZelKit.h>
#include <ZelShaders/ZelShaders.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtGui/QGuiApplication>
#include <QtGui/QOpenGLWindow>
#include <QtGui/QPainter>

#include <cmath>

// The headers above are skipped inside the namespaces.
namespace step02 {
#include "02/Picture.h"
}
namespace step03 {
#include "03/Picture.h"
}
namespace step04 {
#include "04/Picture.h"
}
namespace step05 {
#include "05/Picture.h"
}
namespace step06 {
#include "06/Picture.h"
}
namespace step07 {
#include "07/Picture.h"
}
namespace step08 {
#include "08/Picture.h"
}
namespace step09 {
#include "09/Picture.h"
}
namespace step10 {
#include "10/Picture.h"
}

using namespace Orvane::Zel;
using namespace Orvane::ZelKit;

namespace {

/// The beginning of a host's main(). The tests have an application object.
[[maybe_unused]] int runHost(int argc, char **argv)
{
    //! [application]
    HeadlessContext::choosePlatform(HeadlessContext::eForWindows, true); // true: debug contexts
    QGuiApplication application(argc, argv);
    //! [application]
    return QGuiApplication::exec();
}

const QSize kSize(320, 180);

template <class Picture> QImage drawn()
{
    return SceneView<QOpenGLWindow, Picture>::picture(kSize);
}

struct Step
{
    const char *name;
    QImage (*draw)();
};

class StartTest : public SnippetsTest, public testing::WithParamInterface<Step>
{
protected:
    StartTest() { QDir::setCurrent(pathTo("")); } // the last step writes a file
    ~StartTest() override
    {
        QDir::setCurrent(_folder);
        delete TextureManager::Instance();
        TextureManager::setInstance(nullptr);
        _helpers.deleteAll();
        _capture.takeTexts(QtDebugMsg);
    }

private:
    QString _folder = QDir::currentPath();
    HelperTextures _helpers;
};

/// The part of the pixels that differ visibly.
double difference(const QImage &a, const QImage &b)
{
    int different = 0;
    for (int y = 0; y < kSize.height(); ++y) {
        for (int x = 0; x < kSize.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            different +=
                std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q))
                > 24;
        }
    }
    return double(different) / (kSize.width() * kSize.height());
}

} // namespace

TEST_P(StartTest, DrawsThePictureOfThePage)
{
    const QImage picture = GetParam().draw();
    EXPECT_EQ(QStringList(), _capture.takeTexts(QtWarningMsg));
    const QString file = QString(ZELGL_SOURCE_DIR "/docs/images/start_%1.png").arg(GetParam().name);
    if (qEnvironmentVariableIsSet("ZELGL_WRITE_PAGES")) {
        EXPECT_TRUE(picture.convertToFormat(QImage::Format_RGB32).save(file));
    }
    const QImage expected(file);
    ASSERT_EQ(kSize, expected.size());
    EXPECT_LT(difference(picture, expected), 0.005) << "ZELGL_WRITE_PAGES=1 writes the picture";
}

INSTANTIATE_TEST_SUITE_P(
    Steps, StartTest,
    testing::Values(Step{"02", &drawn<step02::Picture>}, Step{"03", &drawn<step03::Picture>},
                    Step{"04", &drawn<step04::Picture>}, Step{"05", &drawn<step05::Picture>},
                    Step{"06", &drawn<step06::Picture>}, Step{"07", &drawn<step07::Picture>},
                    Step{"08", &drawn<step08::Picture>}, Step{"09", &drawn<step09::Picture>},
                    Step{"10", &drawn<step10::Picture>}),
    [](const auto &step) { return std::string("Step") + step.param.name; });
