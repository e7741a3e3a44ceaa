#pragma once

#include "support/GLFixture.h"
#include "support/TestProgram.h"
#include "support/TextureParameter.h"

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/ShaderProgram.h>
#include <ZelGL/Texture.h>

#include <QtCore/QTemporaryDir>

/// The fixture of all snippets. A case surrounds the lines that the reference shows, between two lines `//! [Class]`, with the
/// data that they need and with a check of what they did.
class SnippetsTest : public GLTest
{
protected:
    ~SnippetsTest() override;

    /// The path of a file in a folder that is deleted at the end.
    QString pathTo(const QString &name) const { return _folder.filePath(name); }

    /// Writes an image of one colour, and returns its path.
    QString writeImage(const QString &name, const QColor &color) const;

private:
    QTemporaryDir _folder;
};

/// The target of draws: a bound framebuffer with a texture of floats, at first transparent black.
class Canvas
{
public:
    explicit Canvas(int width = 8, int height = 8);
    ~Canvas();

    /// Draws the bound program over all of it.
    void draw(Orvane::Zel::ShaderProgram &program);

    Pixels pixels() const { return pixelsOf(_color); }

private:
    Orvane::Zel::Texture _color{nullptr};
    Orvane::Zel::FramebufferObject _framebuffer{nullptr};
};
