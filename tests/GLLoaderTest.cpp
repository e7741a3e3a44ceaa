#include "support/FakeLoader.h"
#include "support/MessageCapture.h"
#include "support/Tap.h"
#include "support/TestContext.h"

#include <ZelGL/ZelGL.h>

using namespace Orvane::Zel;

namespace {

class GLLoaderTest : public MessageTest
{
protected:
    std::unique_ptr<TestContext> _context = TestContext::create();
    FakeLoader _loader;
};

using GLLoaderOwnProcessTest = GLLoaderTest; // the table is filled once

/// An extension list of one, whatever the driver has.
void APIENTRY oneExtension(GLenum name, GLint *value)
{
    *value = name == GL_NUM_EXTENSIONS ? 1 : 0;
}

const GLubyte *APIENTRY tessellation(GLenum, GLuint)
{
    return reinterpret_cast<const GLubyte *>("GL_ARB_tessellation_shader");
}

std::vector<int> flags()
{
    return {ogl_ext_ARB_draw_indirect,          ogl_ext_ARB_multi_draw_indirect,
            ogl_ext_ARB_tessellation_shader,    ogl_ext_ARB_texture_cube_map_array,
            ogl_ext_ARB_shader_atomic_counters, ogl_ext_ARB_shader_image_load_store};
}

} // namespace

TEST_F(GLLoaderOwnProcessTest, InitializationIsNeededAndTriedAgainUntilItSucceeds)
{
    qunsetenv("ZEL_NO_GL_EXTENSIONS");
    EXPECT_FALSE(hasGLExtension("GL_ZEL") || openGlVersionSupported(1, 0) || initializeGLDebugging()
                 || hasGLError("Host.cpp", 1));
    logGLFramebuffer();
    EXPECT_EQ(0u, BufferObject(nullptr).getBO() + FramebufferObject(nullptr).getFBO()
                      + Texture(nullptr).textureID() + unsigned(ogl_GetMajorVersion()));
    EXPECT_FALSE(Shader(GL_VERTEX_SHADER, "", nullptr).compile() || VertexArrayObject(nullptr).bind()
                 || ShaderProgram(nullptr).link());
    InstanceDataPlan plan("Early");
    plan.addMember(InstanceDataPlan::eMat4, "Place");
    plan.setArraySize(2000);
    plan.finalise();
    EXPECT_EQ(2000u, plan.arraySize());
    EXPECT_EQ(11 + 7, _capture.takeTexts().filter("initializeGLFunctions() must be called first").size());

    _loader.hide("glGetStringi");
    _loader.takeLookUps();
    EXPECT_FALSE(initializeGLFunctions());
    EXPECT_MESSAGES("critical [GLUtilities.cpp:#] Failed to initialize OpenGL ''");
    EXPECT_EQ(QStringList({"glXGetProcAddressARB glGetIntegerv", "glXGetProcAddressARB glGetStringi"}),
              _loader.takeLookUps());

    _loader.show();
    EXPECT_EQ(1, ogl_LoadFunctions()); // from here on the table can tell the version
    _loader.hide("glGetIntegerv");
    EXPECT_FALSE(initializeGLFunctions());
    EXPECT_MESSAGES(
        QString("critical [GLUtilities.cpp:#] Failed to initialize OpenGL '%1'").arg(driverVersion()));
    EXPECT_EQ(std::vector<int>({0, 0, 0, 0, 0, 0}), flags()) << "reset before anything is looked up";

    _loader.show();
    _context->doneCurrent();
    EXPECT_FALSE(initializeGLFunctions()) << "functions are found, and do nothing";
    EXPECT_MESSAGES("critical [GLUtilities.cpp:#] Failed to initialize OpenGL ''");
    _context->makeCurrent();
    EXPECT_TRUE(initializeGLFunctions());
    EXPECT_LT(0, _loader.takeLookUps().size());
    EXPECT_TRUE(initializeGLFunctions());
    EXPECT_EQ(QStringList(), _loader.takeLookUps()) << "a successful load is never repeated";
}

TEST_F(GLLoaderTest, MissingFunctionsAreCountedForTheCoreAndForEachExtension)
{
    ZEL_NEEDS_EXTENSION("GL_ARB_draw_indirect");
    EXPECT_EQ(1, ogl_LoadFunctions());
    EXPECT_EQ(std::vector<int>({1, 1, 1, 1, 1, 1}), flags());
    EXPECT_NE(nullptr, _ptrc_glCullFace);
    for (const char *name :
         {"glCullFace", "glWaitSync", "glDrawArraysIndirect", "glPatchParameteri", "glPatchParameterfv"}) {
        _loader.hide(name);
    }
    EXPECT_EQ(3, ogl_LoadFunctions());
    EXPECT_EQ(std::vector<int>({2, 1, 3, 1, 1, 1}), flags());
    EXPECT_EQ(nullptr, _ptrc_glCullFace);
    EXPECT_NE(nullptr, _ptrc_glFrontFace);
}

TEST_F(GLLoaderTest, OnlyAdvertisedExtensionsAreLoadedAndTheCoreEndsWithVersion32)
{
    _loader.provide("glGetIntegerv", &oneExtension);
    _loader.provide("glGetStringi", &tessellation);
    _loader.takeLookUps();
    EXPECT_EQ(1, ogl_LoadFunctions());
    EXPECT_EQ(std::vector<int>({0, 0, 1, 0, 0, 0}), flags());
    const QStringList lookUps = _loader.takeLookUps();
    EXPECT_TRUE(lookUps.contains("glXGetProcAddressARB glPatchParameteri"));
    EXPECT_FALSE(lookUps.contains("glXGetProcAddressARB glDrawArraysIndirect"));
    EXPECT_TRUE(lookUps.contains("glXGetProcAddressARB glTexImage3DMultisample"));
    EXPECT_FALSE(lookUps.contains("glXGetProcAddressARB glBindSampler")) << "a function of 3.3";
    EXPECT_FALSE(lookUps.contains("glXGetProcAddressARB glBegin")) << "not in the core profile";
    EXPECT_EQ(0, lookUps.filter("glXGetProcAddress ").size());
}

TEST_F(GLLoaderTest, TheVersionIsAskedOnceAndItsComparisonRunsBackwards)
{
    ogl_LoadFunctions();
    const int major = ogl_GetMajorVersion();
    const int minor = ogl_GetMinorVersion();
    EXPECT_LE(3, major);
    Tap<&glGetIntegerv> questions;
    EXPECT_FALSE(ogl_IsVersionGEQ(major - 1, minor) || ogl_IsVersionGEQ(major, minor - 1));
    EXPECT_TRUE(ogl_IsVersionGEQ(major + 1, 0) && ogl_IsVersionGEQ(major, minor)
                && ogl_IsVersionGEQ(major, minor + 1));
    EXPECT_EQ(0u, questions.count());
}
