#include "support/GLFixture.h"
#include "support/Tap.h"

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <map>
#include <random>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("FramebufferObject.cpp");

QString taken(unsigned int point)
{
    return asserted("false == this->_attachments.contains(attachmentPoint)",
                    QString("Framebuffer Object already has attachment at %1").arg(point));
}

GLint attachmentParameter(unsigned int point, GLenum parameter)
{
    GLint value = -1;
    driver()->glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, point, parameter, &value);
    return value;
}

GLint attachedName(unsigned int point)
{
    return attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME);
}

class FramebufferObjectTest : public GLTest
{
protected:
    FramebufferObjectTest()
    {
        FramebufferObject::ResetNumFBOTextures();
        _color.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 4);
        _other.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 4);
        _layers.create3D(GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 3);
    }

    Texture _color{nullptr};
    Texture _other{nullptr};
    Texture _layers{nullptr};
};

} // namespace

TEST_F(FramebufferObjectTest, CountsObjectsWithAName)
{
    {
        FramebufferObject made(nullptr);
        EXPECT_NE(0u, made.getFBO());
        const unsigned int name = made.getFBO();
        made.setFBO(0);
        EXPECT_EQ(0, FramebufferObject::NumAlive());
        const FramebufferObject wrapper(name, nullptr);
        EXPECT_EQ(1, FramebufferObject::NumAlive());
        EXPECT_EQ(1, ledger().alive(GLLedger::eFramebuffer));
    }
    EXPECT_EQ(0, FramebufferObject::NumAlive());
    EXPECT_EQ(0, ledger().alive(GLLedger::eFramebuffer)) << "a wrapped name is deleted too";
}

TEST_F(FramebufferObjectTest, WrongOrdersAreToldAndChangeNothing)
{
    const char *const null = "0u != this->_fbo";
    const char *const unbound = "true == this->_fboBound";
    FramebufferObject framebuffer(nullptr);
    EXPECT_FALSE(framebuffer.create());
    EXPECT_FALSE(framebuffer.unbind());
    EXPECT_FALSE(framebuffer.attach(&_color, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_FALSE(framebuffer.attachUpdate(&_color, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_FALSE(framebuffer.attachLayers(&_layers, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_FALSE(framebuffer.attach3D(&_layers, GL_COLOR_ATTACHMENT0, 0, 0));
    EXPECT_FALSE(framebuffer.createTexture2D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, GL_RGBA8, 4, 4));
    EXPECT_FALSE(framebuffer.createTexture3D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_3D, GL_RGBA8, 4, 4, 2));
    EXPECT_EQ(nullptr, framebuffer.detach(GL_COLOR_ATTACHMENT0));
    EXPECT_EQ(nullptr, framebuffer.attachment(GL_COLOR_ATTACHMENT0));
    framebuffer.setDrawBuffers();
    const QString notBound = asserted(unbound, "Framebuffer Object is not bound on attach");
    EXPECT_MESSAGES(asserted("0u == this->_fbo", "Framebuffer Object is not NULL on create"),
                    asserted(unbound, "Framebuffer Object is not bound on unbind"), notBound, notBound,
                    notBound, notBound, notBound, notBound, notBound,
                    asserted(unbound, "Framebuffer Object is not bound on detach"),
                    asserted("true == this->_attachments.contains(attachmentPoint)",
                             "Framebuffer Object does not have an attachment at 36064"),
                    notBound);
    EXPECT_TRUE(framebuffer.attachmentPoints().isEmpty());
    EXPECT_EQ(3, Texture::NumAlive()) << "textures that could not be attached are gone";

    ASSERT_TRUE(framebuffer.bind());
    EXPECT_FALSE(framebuffer.bind());
    EXPECT_FALSE(framebuffer.destroy());
    EXPECT_FALSE(framebuffer.attach(nullptr, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_EQ(nullptr, framebuffer.detach(GL_COLOR_ATTACHMENT0));
    EXPECT_TRUE(framebuffer.unbind()) << "the refused bind left the first one in place";
    EXPECT_MESSAGES(asserted("false == this->_fboBound", "Framebuffer Object is already bound on bind"),
                    asserted("false == this->_fboBound", "Framebuffer Object is already bound on destroy"),
                    asserted("true == this->_attachments.contains(attachmentPoint)",
                             "Framebuffer Object has nothing attached to attachment at 36064"));

    const unsigned int name = framebuffer.getFBO();
    framebuffer.setFBO(0);
    EXPECT_FALSE(framebuffer.bind());
    EXPECT_FALSE(framebuffer.unbind());
    EXPECT_FALSE(framebuffer.attach(&_color, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_EQ(nullptr, framebuffer.detach(GL_COLOR_ATTACHMENT0));
    framebuffer.setFBO(name);
    EXPECT_MESSAGES(asserted(null, "Framebuffer Object is NULL on bind"),
                    asserted(null, "Framebuffer Object is NULL on unbind"),
                    asserted(null, "Framebuffer Object is NULL on attach"),
                    asserted(null, "Framebuffer Object is NULL on detach"));
}

TEST_F(FramebufferObjectTest, TargetsGoToTheCallThatTakesThem)
{
    const QString use3D =
        asserted("false", "Texture Target 0x8C1A is not supported by FramebufferObject::attach() "
                          "use FramebufferObject::attach3D()");
    FramebufferObject framebuffer(nullptr);
    ASSERT_TRUE(framebuffer.bind());
    EXPECT_FALSE(framebuffer.attach(&_layers, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_FALSE(framebuffer.attachLayers(&_color, GL_COLOR_ATTACHMENT0, 0));
    ASSERT_TRUE(framebuffer.attach(&_color, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_FALSE(framebuffer.attachUpdate(&_layers, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_MESSAGES(use3D,
                    asserted("false",
                             "Texture Target 0xDE1 is not supported by FramebufferObject::attachLayer() use "
                             "FramebufferObject::attach()"),
                    use3D);
    EXPECT_EQ(&_color, framebuffer.attachment(GL_COLOR_ATTACHMENT0));

    ASSERT_TRUE(framebuffer.attachLayers(&_layers, GL_COLOR_ATTACHMENT1, 0));
    EXPECT_EQ(1, attachmentParameter(GL_COLOR_ATTACHMENT1, GL_FRAMEBUFFER_ATTACHMENT_LAYERED));
    ASSERT_TRUE(framebuffer.attach3D(&_layers, GL_COLOR_ATTACHMENT2, 2, 0));
    EXPECT_EQ(2, attachmentParameter(GL_COLOR_ATTACHMENT2, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    Texture volume(nullptr);
    volume.create3D(GL_TEXTURE_3D, GL_RGBA8, 4, 4, 4);
    ASSERT_TRUE(framebuffer.attach3D(&volume, GL_COLOR_ATTACHMENT3, 3, 0));
    EXPECT_EQ(3, attachmentParameter(GL_COLOR_ATTACHMENT3, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.attachmentPoints().isEmpty());
    EXPECT_EQ(0, attachedName(GL_COLOR_ATTACHMENT2));
    EXPECT_TRUE(framebuffer.unbind());
}

TEST_F(FramebufferObjectTest, CreatedTexturesAreTheCallersAndLayersLieAtConsecutivePoints)
{
    FramebufferObject framebuffer(nullptr);
    ASSERT_TRUE(framebuffer.bind());
    ASSERT_TRUE(framebuffer.createTexture3D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 3));
    ASSERT_TRUE(framebuffer.createTexture2D(GL_COLOR_ATTACHMENT3, GL_TEXTURE_2D, GL_RGBA8, 4, 4));
    const std::unique_ptr<Texture> array(framebuffer.attachment(GL_COLOR_ATTACHMENT0));
    const std::unique_ptr<Texture> flat(framebuffer.attachment(GL_COLOR_ATTACHMENT3));
    EXPECT_EQ(4, framebuffer.attachmentPoints().size());
    for (int layer = 0; layer < 3; ++layer) {
        const unsigned int point = GL_COLOR_ATTACHMENT0 + unsigned(layer);
        EXPECT_EQ(array.get(), framebuffer.attachment(point));
        EXPECT_EQ(layer, attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    }
    EXPECT_FALSE(framebuffer.createTexture3D(GL_COLOR_ATTACHMENT4, GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 0));
    EXPECT_EQ(5, Texture::NumAlive());
    EXPECT_TRUE(framebuffer.unbind());
}

TEST_F(FramebufferObjectTest, RandomAttachmentsFollowTheModelBook)
{
    struct Entry
    {
        Texture *texture;
        int level;
    };
    std::mt19937 random(7);
    std::vector<std::unique_ptr<Texture>> textures;
    for (int i = 0; i < 5; ++i) {
        textures.push_back(std::make_unique<Texture>(nullptr));
        textures.back()->create2D(GL_TEXTURE_2D, GL_RGBA8, 8, 8);
    }
    const unsigned int points[] = {GL_COLOR_ATTACHMENT0, GL_COLOR_ATTACHMENT1, GL_COLOR_ATTACHMENT2,
                                   GL_DEPTH_ATTACHMENT, GL_STENCIL_ATTACHMENT};
    std::map<unsigned int, Entry> book;
    std::vector<unsigned int> drawn;
    int made = 0;
    int active = FramebufferObject::NumActiveFBOTextures();
    // In place of the call, which refuses a point that stands twice.
    Hook<&glDrawBuffers> drawBuffers;
    std::vector<unsigned int> given;
    drawBuffers.replace([&](GLsizei count, const GLenum *list) { given.assign(list, list + count); });
    FramebufferObject framebuffer(nullptr);
    ASSERT_TRUE(framebuffer.bind());
    const Taps<&glFramebufferTexture, &glFramebufferTexture2D> attaches;
    size_t calls = 0;

    for (int step = 0; step < 5000; ++step) {
        const unsigned int point = points[random() % 5];
        Texture *texture = textures[random() % textures.size()].get();
        const int level = int(random() % 2);
        const bool present = book.count(point) != 0;
        const auto enter = [&](bool draws) {
            if (draws && point < GL_DEPTH_ATTACHMENT) {
                drawn.push_back(point);
            }
            book[point] = {texture, level};
        };
        switch (random() % 3) {
        case 0:
            ASSERT_TRUE(framebuffer.attach(texture, point, level));
            if (present) {
                EXPECT_MESSAGES(taken(point));
            }
            ++calls, ++made, ++active;
            enter(true); // among the draw buffers again, if it is there
            break;
        case 1:
            ASSERT_TRUE(framebuffer.attachUpdate(texture, point, level));
            calls += present && book[point].texture == texture && book[point].level == level ? 0 : 1;
            ++made;
            active += present ? 0 : 1;
            enter(!present);
            break;
        default:
            if (present) {
                ASSERT_EQ(book[point].texture, framebuffer.detach(point));
                ++calls, --active;
                book.erase(point);
                drawn.erase(std::remove(drawn.begin(), drawn.end(), point), drawn.end());
            }
            break;
        }
        ASSERT_TRUE(takeMessages({})) << "step " << step;
        ASSERT_EQ(calls, attaches.count()) << "step " << step;
        ASSERT_EQ(made, FramebufferObject::NumFBOTextures());
        ASSERT_EQ(active, FramebufferObject::NumActiveFBOTextures());
        ASSERT_EQ(int(book.size()), framebuffer.attachmentPoints().size());
        framebuffer.setDrawBuffers();
        ASSERT_EQ(drawn, given) << "step " << step;
        const bool isIn = book.count(point) != 0;
        ASSERT_EQ(isIn, framebuffer.hasAttachment(point));
        ASSERT_EQ(isIn ? GLint(book[point].texture->textureID()) : 0, attachedName(point));
        if (isIn) {
            ASSERT_EQ(book[point].texture, framebuffer.attachment(point));
            ASSERT_EQ(book[point].level, attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL));
        }
    }
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.unbind());
}

TEST_F(FramebufferObjectTest, CompletenessIsAskedInAnyStateAndFailuresAreTold)
{
    const QString told = "debug [FramebufferObject.cpp:#] Framebuffer is incomplete: ";
    FramebufferObject framebuffer(nullptr);
    EXPECT_FALSE(framebuffer.isComplete());
    EXPECT_MESSAGES(told + "No images are attached to the framebuffer.");
    EXPECT_EQ(0, integerOf(GL_FRAMEBUFFER_BINDING));

    ASSERT_TRUE(framebuffer.bind());
    ASSERT_TRUE(framebuffer.attach(&_color, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_TRUE(framebuffer.isComplete());
    EXPECT_EQ(GLint(framebuffer.getFBO()), integerOf(GL_FRAMEBUFFER_BINDING)) << "who was bound stays bound";

    Hook<&glCheckFramebufferStatus> status;
    for (const GLenum answer : {GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT, GL_FRAMEBUFFER_UNSUPPORTED,
                                GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE}) {
        status.replace([answer](GLenum) { return answer; });
        EXPECT_FALSE(framebuffer.isComplete());
    }
    EXPECT_MESSAGES(told + "Not all framebuffer attachment points are framebuffer attachment complete.",
                    told
                        + "The combination of internal formats of the attached images violates an "
                          "implementation-dependent set of restrictions.",
                    told);
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.unbind());
}
