// Records what another program reads back from textures: LD_PRELOAD=libkeepreadback.so KEEP_READBACK=FILE PROGRAM appends
// every level that the program reads as floats to the file, so that its pictures can be compared with those of bake_zel.

#include <dlfcn.h>

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>

extern "C" __attribute__((visibility("default"))) void
glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type, GLvoid *pixels)
{
    using Read = void (*)(GLenum, GLint, GLenum, GLenum, GLvoid *);
    static const auto read = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "glGetTexImage"));
    read(target, level, format, type, pixels);
    const char *path = std::getenv("KEEP_READBACK");
    std::FILE *file =
        path != nullptr && format == GL_RGBA && type == GL_FLOAT ? std::fopen(path, "ab") : nullptr;
    if (file == nullptr) {
        return;
    }
    GLint width = 0;
    GLint height = 0;
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(target, level, GL_TEXTURE_HEIGHT, &height);
    std::fwrite(pixels, 4 * sizeof(float), size_t(width) * size_t(height), file);
    std::fclose(file);
}
