// The facts of a report about a driver: `./zel report` calls this program.
//
//   zelreport facts                      what the driver is and has, and which paths the library takes on it
//   zelreport pictures EXPECTED DRAWN    compares the pictures of the folder DRAWN with those of the same names in EXPECTED;
//                                        fails if one is missing, has another size, or differs in many pixels
//
// The output has lines "name: value". It contains nothing about the user or the machine except for the driver.

#include <ZelGL/ZelGL.h>
#include <ZelKit/HeadlessContext.h>

#include <QtCore/QDir>
#include <QtCore/QTextStream>
#include <QtGui/QImage>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace Orvane::Zel;
using Orvane::ZelKit::HeadlessContext;

namespace {

constexpr int kVisible = 8; ///< a difference of more than this, of 255, counts as visible
constexpr double kMostVisible =
    5.0; ///< percent of the pixels; Mesa's drivers differ in 2.1 % from each other

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

void print(const QString &name, const QString &value)
{
    out() << "  " << name << ": " << value << '\n';
}

QString text(GLenum name)
{
    return reinterpret_cast<const char *>(glGetString(name));
}

QString number(GLenum name)
{
    GLint value = 0;
    glGetIntegerv(name, &value);
    return QString::number(value);
}

bool has(int major, int minor, const char *extension)
{
    return openGlVersionSupported(major, minor) || hasGLExtension(extension);
}

void printDriver(const HeadlessContext &context)
{
    out() << "driver\n";
    print("vendor", text(GL_VENDOR));
    print("renderer", text(GL_RENDERER));
    print("version", text(GL_VERSION));
    print("shading language", text(GL_SHADING_LANGUAGE_VERSION));
    print("context", context.platform() == HeadlessContext::eEGL ? "EGL" : "GLX");
    print("texture units", number(GL_MAX_TEXTURE_IMAGE_UNITS));
    print("texture size", number(GL_MAX_TEXTURE_SIZE));
    print("array layers", number(GL_MAX_ARRAY_TEXTURE_LAYERS));
    print("uniform block size", number(GL_MAX_UNIFORM_BLOCK_SIZE));
    print("samples", number(GL_MAX_SAMPLES));
}

QString compressedImages()
{
    QStringList names;
    for (const auto &[isThere, name] :
         {std::pair(hasGLExtension("GL_EXT_texture_compression_s3tc"), "S3TC"),
          std::pair(has(4, 2, "GL_ARB_texture_compression_bptc"), "BPTC"),
          std::pair(has(4, 3, "GL_ARB_ES3_compatibility"), "ETC2"),
          std::pair(hasGLExtension("GL_KHR_texture_compression_astc_ldr"), "ASTC")}) {
        names += isThere ? QStringList(name) : QStringList();
    }
    return names.isEmpty() ? "none" : names.join(", ");
}

void printPaths()
{
    const bool hasBaseInstance = DrawBuffers::isBaseInstanceDrawingSupported();
    const bool hasIndirect = has(4, 3, "GL_ARB_multi_draw_indirect");
    out() << "\npaths\n";
    print("textures by token", BindlessTextureManager::isSupported()          ? "bindless, array, sampler"
                               : Array2DTextureManager::isBindlessSupported() ? "array with handles, sampler"
                                                                              : "array, sampler");
    print("object data", InstanceDataPlan::supportsStorageMechanism()
                             ? "storage block, uniform block, buffer texture, texture, uniforms"
                             : "uniform block, buffer texture, texture, uniforms");
    print("draw ID", hasBaseInstance ? "base instance, uniform" : "uniform");
    print("packed scenes", !hasBaseInstance ? "sub-draws" : hasIndirect ? "indirect" : "base instance");
    print("draw commands", hasGLExtension("GL_ARB_buffer_storage") ? "mapped once" : "mapped for each draw");
    print("blocks in a batch", hasGLExtension("GL_ARB_multi_bind") ? "one call" : "a call for each");
    print("program binaries", hasGLExtension("GL_ARB_get_program_binary") ? "yes" : "no");
    print("compressed images", compressedImages());
    print("GPU time", has(3, 3, "GL_ARB_timer_query") ? "measured" : "not measured");
}

int printFacts()
{
    HeadlessContext::choosePlatform();
    QString error;
    const std::unique_ptr<HeadlessContext> context = HeadlessContext::create(&error);
    if (context == nullptr) {
        print("no context", error);
        return 1;
    }
    printDriver(*context);
    printPaths();
    return 0;
}

/// The largest difference of a channel, and the number of pixels with a visible one.
std::pair<int, int> difference(const QImage &expected, const QImage &drawn)
{
    int largest = 0;
    int visible = 0;
    for (int y = 0; y < expected.height(); ++y) {
        const uchar *a = expected.constScanLine(y);
        const uchar *b = drawn.constScanLine(y);
        for (int x = 0; x < expected.width(); ++x, a += 4, b += 4) {
            const int here = std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
            largest = std::max(largest, here);
            visible += here > kVisible;
        }
    }
    return {largest, visible};
}

/// Returns false if the pictures do not show the same.
bool comparePictures(const QString &name, const QImage &expected, const QImage &drawn)
{
    if (drawn.isNull()) {
        print(name, "not drawn");
        return false;
    }
    if (drawn.size() != expected.size()) {
        print(name, QString("%1 x %2 pixels").arg(drawn.width()).arg(drawn.height()));
        return false;
    }
    const auto &[largest, visible] = difference(expected, drawn);
    const double share = 100.0 * visible / (double(expected.width()) * expected.height());
    print(name, QString("%1, %2 %").arg(largest).arg(share, 0, 'f', 2));
    return share < kMostVisible;
}

int printPictures(const QDir &expected, const QDir &drawn)
{
    const QStringList names = expected.entryList({"[0-9][0-9]_*.png"}, QDir::Files, QDir::Name);
    bool areAlike = !names.isEmpty();
    out() << "pictures: largest difference of 255, share of pixels that differ by more than " << kVisible
          << '\n';
    for (const QString &name : names) {
        const auto read = [&name](const QDir &folder) {
            return QImage(folder.filePath(name)).convertToFormat(QImage::Format_RGB32);
        };
        areAlike &= comparePictures(name.chopped(4), read(expected), read(drawn));
    }
    return areAlike ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const QString command = argv[std::min(1, argc - 1)];
    if (command == "facts" && argc == 2) {
        return printFacts();
    }
    if (command == "pictures" && argc == 4) {
        return printPictures(QDir(argv[2]), QDir(argv[3]));
    }
    std::fputs("usage: zelreport facts\n       zelreport pictures EXPECTED DRAWN\n", stderr);
    return 2;
}
