#include "support/GLFixture.h"
#include "support/Tap.h"
#include "support/TextureParameter.h"

#include <ZelGL/FramebufferObject.h>
#include <ZelGL/GLUtilities.h>
#include <ZelGL/Texture.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <map>
#include <random>

using namespace Orvane::Zel;

namespace {

const AssertionsOf asserted("FramebufferObject.cpp");

GLint attachmentParameter(unsigned int point, GLenum parameter)
{
    GLint value = -1;
    driver()->glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, point, parameter, &value);
    return value;
}

class FramebufferObjectTest : public GLTest
{
protected:
    FramebufferObjectTest()
    {
        FramebufferObject::ResetNumFBOTextures();
        _color.create2D(GL_TEXTURE_2D, GL_RGBA8, 4, 4);
        _layers.create3D(GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 3);
    }

    Texture _color{nullptr};
    Texture _layers{nullptr};
};

} // namespace

TEST_F(FramebufferObjectTest, CountsObjectsWithAName)
{
    {
        FramebufferObject made(nullptr);
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

TEST_F(FramebufferObjectTest, WrongOrdersAreReportedAndChangeNothing)
{
    FramebufferObject framebuffer(nullptr);
    const auto refuseAll = [&](const char *condition, const QString &text) {
        const unsigned int point = GL_COLOR_ATTACHMENT0;
        EXPECT_TRUE(asserted.refused(
            {{framebuffer.unbind(), condition, text + "unbind"},
             {framebuffer.attach(&_color, point, 0), condition, text + "attach"},
             {framebuffer.attachUpdate(&_color, point, 0), condition, text + "attach"},
             {framebuffer.attachLayers(&_layers, point, 0), condition, text + "attach"},
             {framebuffer.attach3D(&_layers, point, 0, 0), condition, text + "attach"},
             {framebuffer.createTexture2D(point, GL_TEXTURE_2D, GL_RGBA8, 4, 4), condition, text + "attach"},
             {framebuffer.createTexture3D(point, GL_TEXTURE_3D, GL_RGBA8, 4, 4, 1), condition,
              text + "attach"},
             {framebuffer.detach(point) != nullptr, condition, text + "detach"}}));
        EXPECT_EQ(2, Texture::NumAlive()) << "textures that could not be attached are gone";
        framebuffer.setDrawBuffers();
    };
    const char *const bound = "true == this->_fboBound";
    const char *const unbound = "false == this->_fboBound";
    const char *const listed = "true == this->_attachments.contains(attachmentPoint)";
    const char *const named = "0u != this->_fbo";
    const QString notBound = "Framebuffer Object is not bound on ";
    refuseAll(bound, notBound);
    EXPECT_MESSAGES(asserted(bound, notBound + "attach"));

    ASSERT_TRUE(framebuffer.bind());
    EXPECT_FALSE(framebuffer.attach(nullptr, GL_COLOR_ATTACHMENT0, 0));
    EXPECT_TRUE(asserted.refused(
        {{framebuffer.create(), "0u == this->_fbo", "Framebuffer Object is not NULL on create"},
         {framebuffer.bind(), unbound, "Framebuffer Object is already bound on bind"},
         {framebuffer.destroy(), unbound, "Framebuffer Object is already bound on destroy"},
         {framebuffer.detach(GL_COLOR_ATTACHMENT0) != nullptr, listed,
          "Framebuffer Object has nothing attached to attachment at 36064"},
         {framebuffer.attachment(GL_COLOR_ATTACHMENT0) != nullptr, listed,
          "Framebuffer Object does not have an attachment at 36064"}}));
    EXPECT_TRUE(framebuffer.unbind()) << "the refused bind left the first one in place";

    const unsigned int name = framebuffer.getFBO();
    framebuffer.setFBO(0);
    const QString isNull = "Framebuffer Object is NULL on ";
    EXPECT_TRUE(asserted.refused(
        {{framebuffer.bind(), named, isNull + "bind"},
         {framebuffer.isComplete(), named, isNull + "bind"}})); // not the default framebuffer
    refuseAll(named, isNull);
    EXPECT_MESSAGES(asserted(named, isNull + "attach"), asserted(bound, notBound + "attach"));
    framebuffer.setFBO(name);
    EXPECT_TRUE(framebuffer.attachmentPoints().isEmpty());
}

TEST_F(FramebufferObjectTest, EachTargetHasACallAndLayersAreAtConsecutivePoints)
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
    Texture volume(nullptr);
    volume.create3D(GL_TEXTURE_3D, GL_RGBA8, 4, 4, 4);
    ASSERT_TRUE(framebuffer.attachLayers(&_layers, GL_COLOR_ATTACHMENT1, 0));
    ASSERT_TRUE(framebuffer.attach3D(&_layers, GL_COLOR_ATTACHMENT2, 2, 0));
    ASSERT_TRUE(framebuffer.attach3D(&volume, GL_COLOR_ATTACHMENT3, 3, 0));
    EXPECT_EQ(1, attachmentParameter(GL_COLOR_ATTACHMENT1, GL_FRAMEBUFFER_ATTACHMENT_LAYERED));
    EXPECT_EQ(2, attachmentParameter(GL_COLOR_ATTACHMENT2, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    EXPECT_EQ(3, attachmentParameter(GL_COLOR_ATTACHMENT3, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.attachmentPoints().isEmpty());
    EXPECT_EQ(0, attachmentParameter(GL_COLOR_ATTACHMENT2, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));

    ASSERT_TRUE(framebuffer.createTexture3D(GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 5, 3));
    ASSERT_TRUE(framebuffer.createTexture2D(GL_COLOR_ATTACHMENT3, GL_TEXTURE_2D, GL_RGBA8, 4, 4));
    EXPECT_FALSE(framebuffer.createTexture3D(GL_COLOR_ATTACHMENT4, GL_TEXTURE_2D_ARRAY, GL_RGBA8, 4, 4, 0));
    const std::unique_ptr<Texture> array(framebuffer.attachment(GL_COLOR_ATTACHMENT0)); // the caller's
    const std::unique_ptr<Texture> flat(framebuffer.attachment(GL_COLOR_ATTACHMENT3));
    EXPECT_EQ(5, levelParameter(*array, 0, GL_TEXTURE_HEIGHT));
    EXPECT_EQ(5, Texture::NumAlive());
    EXPECT_EQ(4, framebuffer.attachmentPoints().size());
    EXPECT_EQ(0, attachmentParameter(GL_COLOR_ATTACHMENT3, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL));
    for (int layer = 0; layer < 3; ++layer) {
        const unsigned int point = GL_COLOR_ATTACHMENT0 + unsigned(layer);
        EXPECT_EQ(array.get(), framebuffer.attachment(point));
        EXPECT_EQ(layer, attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LAYER));
    }
    EXPECT_TRUE(framebuffer.unbind());
}

TEST_F(FramebufferObjectTest, RandomAttachmentsFollowTheModel)
{
    using Entry = std::pair<Texture *, int>; // texture and level
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
    size_t calls = 0;
    // Instead of the call, which refuses a point that is listed twice.
    Hook<&glDrawBuffers> drawBuffers;
    std::vector<unsigned int> given;
    drawBuffers.replace([&](GLsizei count, const GLenum *list) { given.assign(list, list + count); });
    FramebufferObject framebuffer(nullptr);
    ASSERT_TRUE(framebuffer.bind());
    int active = FramebufferObject::NumActiveFBOTextures();
    const Taps<&glFramebufferTexture, &glFramebufferTexture2D> attaches;

    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE(step);
        const unsigned int point = points[random() % 5];
        const Entry entry(textures[random() % textures.size()].get(), int(random() % 2));
        const bool present = book.count(point) != 0;
        const auto operation = random() % 3;
        if (operation == 0) {
            ASSERT_TRUE(framebuffer.attach(entry.first, point, entry.second));
            if (present) {
                EXPECT_MESSAGES(
                    asserted("false == this->_attachments.contains(attachmentPoint)",
                             QString("Framebuffer Object already has attachment at %1").arg(point)));
            }
        } else if (operation == 1) {
            ASSERT_TRUE(framebuffer.attachUpdate(entry.first, point, entry.second));
        } else if (present) {
            ASSERT_EQ(book[point].first, framebuffer.detach(point));
            ++calls, --active;
            book.erase(point);
            drawn.erase(std::remove(drawn.begin(), drawn.end(), point), drawn.end());
        }
        if (operation != 2) {
            const bool attached = operation == 0 || !present;
            calls += attached || book[point] != entry;
            ++made, active += attached;
            if (attached && point < GL_DEPTH_ATTACHMENT) {
                drawn.push_back(point); // listed twice if it is in use
            }
            book[point] = entry;
        }
        ASSERT_TRUE(takeMessages({}));
        ASSERT_EQ(calls, attaches.count());
        ASSERT_EQ(made, FramebufferObject::NumFBOTextures());
        ASSERT_EQ(active, FramebufferObject::NumActiveFBOTextures());
        ASSERT_EQ(int(book.size()), framebuffer.attachmentPoints().size());
        framebuffer.setDrawBuffers();
        ASSERT_EQ(drawn, given);
        const bool isIn = book.count(point) != 0;
        ASSERT_EQ(isIn, framebuffer.hasAttachment(point));
        ASSERT_EQ(isIn ? GLint(book[point].first->textureID()) : 0,
                  attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME));
        if (isIn) {
            ASSERT_EQ(book[point].first, framebuffer.attachment(point));
            ASSERT_EQ(book[point].second,
                      attachmentParameter(point, GL_FRAMEBUFFER_ATTACHMENT_TEXTURE_LEVEL));
        }
    }
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.unbind());
}

TEST_F(FramebufferObjectTest, CompletenessIsCheckedInAnyStateAndFailuresAreReported)
{
    const QString incomplete = "debug [FramebufferObject.cpp:#] Framebuffer is incomplete: ";
    FramebufferObject framebuffer(nullptr);
    EXPECT_FALSE(framebuffer.isComplete());
    EXPECT_MESSAGES(incomplete + "No images are attached to the framebuffer.");

    ASSERT_TRUE(framebuffer.bind());
    Texture depth(nullptr);
    depth.create2D(GL_TEXTURE_2D, GL_DEPTH_COMPONENT16, 4, 4);
    for (const auto &[point, readBuffer] :
         {std::pair(GL_DEPTH_ATTACHMENT, GL_NONE), std::pair(GL_COLOR_ATTACHMENT1, GL_COLOR_ATTACHMENT1)}) {
        framebuffer.attachUpdate(point == GL_DEPTH_ATTACHMENT ? &depth : &_color, GLenum(point), 0);
        framebuffer.setDrawBuffers();
        const Tap<&glReadBuffer> repeated;
        framebuffer.setDrawBuffers();
        EXPECT_EQ(0u, repeated.count());
        EXPECT_TRUE(framebuffer.isComplete());
        EXPECT_EQ(readBuffer, integerOf(GL_READ_BUFFER));
    }
    EXPECT_EQ(GLint(framebuffer.getFBO()), integerOf(GL_FRAMEBUFFER_BINDING)) << "who was bound stays bound";

    Hook<&glCheckFramebufferStatus> status;
    const std::pair<GLenum, const char *> states[] = {
        {GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT,
         "Not all framebuffer attachment points are framebuffer attachment complete."},
        {GL_FRAMEBUFFER_UNSUPPORTED, "The combination of internal formats of the attached images violates an "
                                     "implementation-dependent set of restrictions."},
        {GL_FRAMEBUFFER_INCOMPLETE_MULTISAMPLE, ""}};
    for (const auto &[state, text] : states) {
        status.replace([state = state](GLenum) { return state; });
        EXPECT_FALSE(framebuffer.isComplete());
        EXPECT_MESSAGES(incomplete + text);
    }
    framebuffer.detachAll();
    EXPECT_TRUE(framebuffer.unbind());
}
