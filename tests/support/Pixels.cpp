#include "Pixels.h"

#include "TestContext.h"

#include <QtCore/QDir>
#include <QtCore/QHash>
#include <QtGui/QColor>
#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <GL/glcorearb.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// While it exists, GL packs rows into client memory without padding.
class PlainPacking
{
public:
    PlainPacking()
    {
        for (size_t i = 0; i < kSettings.size(); ++i) {
            driver()->glGetIntegerv(kSettings[i], &_before[i]);
            driver()->glPixelStorei(kSettings[i], kSettings[i] == GL_PACK_ALIGNMENT ? 1 : 0);
        }
        driver()->glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &_buffer);
        driver()->glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    }

    ~PlainPacking()
    {
        for (size_t i = 0; i < kSettings.size(); ++i) {
            driver()->glPixelStorei(kSettings[i], _before[i]);
        }
        driver()->glBindBuffer(GL_PIXEL_PACK_BUFFER, GLuint(_buffer));
    }

private:
    static constexpr std::array<GLenum, 4> kSettings = {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH,
                                                        GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS};

    std::array<GLint, 4> _before = {};
    GLint _buffer = 0;
};

/// While it exists, a texture is bound to the active texture unit.
class BoundTexture
{
public:
    BoundTexture(GLenum target, GLuint name)
        : _target(target)
    {
        driver()->glGetIntegerv(bindingOf(target), &_before);
        driver()->glBindTexture(target, name);
    }

    ~BoundTexture() { driver()->glBindTexture(_target, GLuint(_before)); }

private:
    static GLenum bindingOf(GLenum target)
    {
        static const QHash<GLenum, GLenum> kBindings = {
            {GL_TEXTURE_1D, GL_TEXTURE_BINDING_1D},
            {GL_TEXTURE_2D, GL_TEXTURE_BINDING_2D},
            {GL_TEXTURE_3D, GL_TEXTURE_BINDING_3D},
            {GL_TEXTURE_2D_ARRAY, GL_TEXTURE_BINDING_2D_ARRAY},
            {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_BINDING_CUBE_MAP},
            {GL_TEXTURE_CUBE_MAP_ARRAY, GL_TEXTURE_BINDING_CUBE_MAP_ARRAY}};
        EXPECT_TRUE(kBindings.contains(target)) << "Pixels does not know the texture target " << target;
        return kBindings.value(target, GL_TEXTURE_BINDING_2D);
    }

    GLenum _target;
    GLint _before = 0;
};

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

QByteArray words(const QVector4D &color)
{
    return QString::asprintf("(%g, %g, %g, %g)", double(color.x()), double(color.y()), double(color.z()),
                             double(color.w()))
        .toUtf8();
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
    const PlainPacking packing;
    Pixels pixels(width, height);
    driver()->glReadPixels(x, y, width, height, GL_RGBA, GL_FLOAT, pixels._pixels.data());
    return pixels;
}

Pixels Pixels::ofTexture(GLenum target, GLuint name, int level, int layer)
{
    const PlainPacking packing;
    const BoundTexture bound(target, name);
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
    Pixels pixels(width, height);
    const auto first = all._pixels.begin() + std::ptrdiff_t(isCube ? 0 : layer) * width * height;
    pixels._pixels.assign(first, first + std::ptrdiff_t(width) * height);
    return pixels;
}

QImage Pixels::toImage() const
{
    QImage image(_width, _height, QImage::Format_ARGB32);
    for (int y = 0; y < _height; ++y) {
        for (int x = 0; x < _width; ++x) {
            const QVector4D color = at(x, y);
            image.setPixel(
                x, _height - 1 - y,
                qRgba(clamped(color.x()), clamped(color.y()), clamped(color.z()), clamped(color.w())));
        }
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
           << words(_pixels[first]).constData() << ", expected " << words(expected._pixels[first]).constData()
           << "\n  actual:   " << write(*this, "actual") << "\n  expected: " << write(expected, "expected");
}
