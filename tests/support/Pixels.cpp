#include "Pixels.h"

#include "TestContext.h"

#include <QtCore/QDir>
#include <QtGui/QColor>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

#include <algorithm>
#include <cmath>

namespace {

int clamped(float value)
{
    return int(std::lround(std::min(std::max(value, 0.0f), 1.0f) * 255.0f));
}

bool isNearby(const QVector4D &a, const QVector4D &b, float tolerance)
{
    for (int i = 0; i < 4; ++i) {
        if (!(std::fabs(a[i] - b[i]) <= tolerance)) { // a NaN is never near
            return false;
        }
    }
    return true;
}

std::string words(const QVector4D &color)
{
    return QString("(%1, %2, %3, %4)")
        .arg(color.x())
        .arg(color.y())
        .arg(color.z())
        .arg(color.w())
        .toStdString();
}

/// Writes the picture under the name of the running test, and returns the path.
std::string write(const Pixels &pixels, const char *role)
{
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    QString name = QString("%1.%2-%3.png").arg(test->test_suite_name(), test->name(), role);
    name.replace('/', '_'); // in names of parametrised tests
    QDir().mkpath(ZELGL_TEST_OUTPUT);
    const QString path = QDir(ZELGL_TEST_OUTPUT).filePath(name);
    return (pixels.toImage().save(path) ? path : "(could not be written) " + path).toStdString();
}

} // namespace

Pixels::Pixels(int width, int height, const QVector4D &color)
    : _width(width)
    , _height(height)
    , _pixels(size_t(width) * size_t(height), color)
{
}

Pixels Pixels::ofFramebuffer(int x, int y, int width, int height)
{
    Pixels pixels(width, height);
    driver()->glReadPixels(x, y, width, height, GL_RGBA, GL_FLOAT, pixels._pixels.data());
    return pixels;
}

Pixels Pixels::ofTexture(GLenum target, GLuint name, int level, int layer)
{
    const auto activeUnit = GLenum(integerOf(GL_ACTIVE_TEXTURE));
    // A unit that the library does not use, so its binding need not be restored.
    driver()->glActiveTexture(GLenum(GL_TEXTURE0 + integerOf(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS) - 1));
    driver()->glBindTexture(target, name);
    const bool isCube = target == GL_TEXTURE_CUBE_MAP;
    const GLenum image = isCube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + layer) : target;
    GLint width = 0;
    GLint height = 0;
    GLint depth = 0;
    driver()->glGetTexLevelParameteriv(image, level, GL_TEXTURE_WIDTH, &width);
    driver()->glGetTexLevelParameteriv(image, level, GL_TEXTURE_HEIGHT, &height);
    driver()->glGetTexLevelParameteriv(image, level, GL_TEXTURE_DEPTH, &depth);
    EXPECT_LT(isCube ? 0 : layer, depth) << "There is no such layer in the level";

    Pixels all(width, height * depth);
    driver()->glGetTexImage(image, level, GL_RGBA, GL_FLOAT, all._pixels.data());
    driver()->glBindTexture(target, 0);
    driver()->glActiveTexture(activeUnit);
    Pixels pixels(width, height);
    const auto first = all._pixels.begin() + std::ptrdiff_t(isCube ? 0 : layer) * width * height;
    pixels._pixels.assign(first, first + std::ptrdiff_t(width) * height);
    return pixels;
}

QImage Pixels::toImage() const
{
    QImage image(_width, _height, QImage::Format_ARGB32);
    for (int i = 0; i < _width * _height; ++i) {
        const QVector4D &color = _pixels[size_t(i)];
        image.setPixel(i % _width, _height - 1 - i / _width,
                       qRgba(clamped(color.x()), clamped(color.y()), clamped(color.z()), clamped(color.w())));
    }
    return image;
}

testing::AssertionResult Pixels::isNear(int x, int y, const QVector4D &expected, float tolerance) const
{
    if (x < 0 || y < 0 || x >= _width || y >= _height) {
        return testing::AssertionFailure() << "(" << x << ", " << y << ") is outside of the picture";
    }
    if (isNearby(at(x, y), expected, tolerance)) {
        return testing::AssertionSuccess();
    }
    Pixels wanted = *this;
    wanted.at(x, y) = expected;
    return isNear(wanted, tolerance);
}

testing::AssertionResult Pixels::isNear(const Pixels &expected, float tolerance) const
{
    if (_width != expected._width || _height != expected._height) {
        return testing::AssertionFailure() << "The picture is " << _width << "x" << _height << ", expected "
                                           << expected._width << "x" << expected._height;
    }
    size_t different = 0;
    size_t first = 0;
    for (size_t i = _pixels.size(); i-- > 0;) {
        if (!isNearby(_pixels[i], expected._pixels[i], tolerance)) {
            ++different;
            first = i;
        }
    }
    if (different == 0) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << different << " of " << _pixels.size() << " pixels differ by more than " << tolerance
           << "; the first, (" << first % size_t(_width) << ", " << first / size_t(_width) << "), is "
           << words(_pixels[first]) << ", expected " << words(expected._pixels[first])
           << "\n  actual:   " << write(*this, "actual") << "\n  expected: " << write(expected, "expected");
}
