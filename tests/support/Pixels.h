#pragma once

#include <gtest/gtest.h>

#include <QtGui/QImage>
#include <QtGui/QVector4D>
#include <QtGui/qopengl.h>

#include <vector>

/// A picture of four floats a pixel, read back from GL or made by the test. Row 0 is the lowest, as in GL.
///
/// The comparisons write what they compared as PNG into the build tree when they fail, under the name of the
/// test.
class Pixels
{
public:
    Pixels(int width, int height, const QVector4D &color = QVector4D());

    /// Each pixel by its column and row.
    template <typename Color> static Pixels of(int width, int height, const Color &color)
    {
        Pixels pixels(width, height);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                pixels.at(x, y) = color(x, y);
            }
        }
        return pixels;
    }

    /// The read buffer of the read framebuffer.
    static Pixels ofFramebuffer(int x, int y, int width, int height);

    /// A level of a texture without integer format; layer is that of an array (of cubes: six a cube), the slice of
    /// a 3D texture or the face of a cube. What the format does not have reads as GL fills it up.
    static Pixels ofTexture(GLenum target, GLuint name, int level = 0, int layer = 0);

    int width() const { return _width; }

    int height() const { return _height; }

    /// Both inside of the picture.
    QVector4D &at(int x, int y) { return _pixels.at(size_t(y) * size_t(_width) + size_t(x)); }

    QVector4D at(int x, int y) const { return const_cast<Pixels *>(this)->at(x, y); }

    /// All pixels, row after row, for an upload as GL_RGBA and GL_FLOAT.
    const QVector4D *data() const { return _pixels.data(); }

    /// Clamped to 8 bits a channel, highest row first.
    QImage toImage() const;

    /// Each component of one pixel is at most \a tolerance away from the expected one.
    testing::AssertionResult isNear(int x, int y, const QVector4D &expected, float tolerance) const;

    /// The same for all pixels. Both must be of one size.
    testing::AssertionResult isNear(const Pixels &expected, float tolerance) const;

private:
    int _width;
    int _height;
    std::vector<QVector4D> _pixels;
};
