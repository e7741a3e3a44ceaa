#include "SnippetsTest.h"

#include <ZelGL/DrawBuffers.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/InstanceDataRegistry.h>
#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelGL/VertexArrayObject.h>

#include <QtGui/QImage>

using namespace Orvane::Zel;

SnippetsTest::~SnippetsTest()
{
    InstanceDataRegistry::Instance()->clear();
}

QString SnippetsTest::writeImage(const QString &name, const QColor &color) const
{
    QImage image(4, 4, QImage::Format_ARGB32);
    image.fill(color);
    EXPECT_TRUE(image.save(pathTo(name)));
    return pathTo(name);
}

Canvas::Canvas(int width, int height)
{
    _color.create2D(GL_TEXTURE_2D, GL_RGBA32F, width, height);
    _framebuffer.bind();
    _framebuffer.attach(&_color, GL_COLOR_ATTACHMENT0, 0);
    _framebuffer.setDrawBuffers();
    glViewport(0, 0, width, height);
    glClearColor(0, 0, 0, 0); // bakes leave a colour of their own
    glClear(GL_COLOR_BUFFER_BIT);
}

Canvas::~Canvas()
{
    _framebuffer.detachAll();
    _framebuffer.unbind();
}

void Canvas::draw(ShaderProgram &program)
{
    const auto quad = OpenGLDeviceContext::current()->fullscreenQuad();
    quad->bind();
    quad->VAO()->enableShaderProgramArrays(&program);
    EXPECT_TRUE(quad->draw(&program));
    quad->unbind();
}
