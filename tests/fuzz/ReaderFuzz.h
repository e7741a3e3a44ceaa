#pragma once

#include "../support/ReaderUse.h"
#include "../support/TestContext.h"
#include "../support/UploadTouch.h"

#include <ZelGL/GLUtilities.h>

#include <QtGui/QOpenGLFunctions_3_2_Core>

#include <cstdio>
#include <cstdlib>

/// Shared by the fuzz targets of the image readers: one context for all inputs, a check that reads every byte of uploads,
/// and a small size limit, so that an input needs little memory.
class ReaderFuzz
{
public:
    ReaderFuzz()
        : _context(made())
    {
        driver()->glDisable(0x92E0); // GL_DEBUG_OUTPUT: the driver refuses many uploads
        _integers.replace([this](GLenum name, GLint *value) {
            _integers.original(name, value);
            if (name == GL_MAX_TEXTURE_SIZE) {
                *value = 512;
            }
        });
    }

    ~ReaderFuzz()
    {
        _context.reset();
        TestContext::endApplication(); // before Qt's static objects are destroyed
    }

    /// Runs the reader on an input. Aborts if it leaks GL objects or errors.
    template <typename Recogniser> void run(const unsigned char *data, std::size_t size)
    {
        useReader<Recogniser>(
            QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size)));
        while (glGetError() != GL_NO_ERROR) {}
        GLint alignment = 0;
        GLint binding = 0;
        glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &binding);
        if (Orvane::Zel::Texture::NumAlive() != 0 || alignment != 4 || binding != 0) {
            std::fprintf(stderr, "%d textures, unpack alignment %d, texture %d bound\n",
                         Orvane::Zel::Texture::NumAlive(), alignment, binding);
            std::abort();
        }
    }

private:
    static std::unique_ptr<TestContext> made()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        std::unique_ptr<TestContext> context = TestContext::create();
        if (context == nullptr || !initializeGLFunctions()) {
            std::fprintf(stderr, "there is no OpenGL context\n");
            std::exit(1);
        }
        return context;
    }

    std::unique_ptr<TestContext> _context;
    UploadTouch _touch;
    Hook<&glGetIntegerv> _integers;
};

/// Defines the fuzz target for the reader of one format.
#define ZEL_FUZZ_READER(Recogniser)                                                                          \
    extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)                       \
    {                                                                                                        \
        static ReaderFuzz fuzz;                                                                              \
        fuzz.run<Recogniser>(data, size);                                                                    \
        return 0;                                                                                            \
    }
