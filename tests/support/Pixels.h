#pragma once

#include <gtest/gtest.h>

#include <QtGui/QImage>
#include <QtGui/QVector4D>
#include <QtGui/qopengl.h>

#include <vector>

/// A picture of four floats per pixel, read back from GL or computed by the test. Row 0 is the lowest, as in GL.
///
/// If a comparison fails, it writes both pictures as PNG files into the build tree, under the name of the test.
class Pixels
{
public:
    Pixels(int width, int height, const QVector4D &color = QVector4D());

    /// A picture from a function of column and row.
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

    /// Reads the read buffer of the read framebuffer.
    static Pixels ofFramebuffer(int x, int y, int width, int height);

    /// Reads a level of a texture without integer format. \a layer: layer of an array (six per cube for arrays of cubes), slice
    /// of a 3D texture or face of a cube. Components that the format lacks have GL's defaults.
    static Pixels ofTexture(GLenum target, GLuint name, int level = 0, int layer = 0);

    int width() const { return _width; }

    int height() const { return _height; }

    /// The coordinates must be inside the picture.
    QVector4D &at(int x, int y) { return _pixels.at(size_t(y) * size_t(_width) + size_t(x)); }

    QVector4D at(int x, int y) const { return const_cast<Pixels *>(this)->at(x, y); }

    /// All pixels, row by row, for an upload as GL_RGBA and GL_FLOAT.
    const QVector4D *data() const { return _pixels.data(); }

    /// The picture clamped to 8 bits per channel, highest row first.
    QImage toImage() const;

    /// Whether each component of a pixel differs by at most \a tolerance from the expected one.
    testing::AssertionResult isNear(int x, int y, const QVector4D &expected, float tolerance) const;

    /// The same for all pixels. Both pictures must have the same size.
    testing::AssertionResult isNear(const Pixels &expected, float tolerance) const;

private:
    int _width;
    int _height;
    std::vector<QVector4D> _pixels;
};
