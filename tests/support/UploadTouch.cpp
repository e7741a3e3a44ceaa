#include "UploadTouch.h"

#include <QtCore/QHash>

namespace {

/// Bytes per texel. 0 for a format or type that GL does not know: GL refuses the upload and reads nothing.
int texelBytes(GLenum format, GLenum type)
{
    static const QHash<GLenum, int> components = {
        {GL_RED, 1},           {GL_RED_INTEGER, 1},  {GL_GREEN, 1},         {GL_BLUE, 1},
        {GL_GREEN_INTEGER, 1}, {GL_BLUE_INTEGER, 1}, {GL_STENCIL_INDEX, 1}, {GL_DEPTH_COMPONENT, 1},
        {GL_DEPTH_STENCIL, 2}, {GL_RG, 2},           {GL_RG_INTEGER, 2},    {GL_RGB, 3},
        {GL_BGR, 3},           {GL_RGB_INTEGER, 3},  {GL_BGR_INTEGER, 3},   {GL_RGBA, 4},
        {GL_BGRA, 4},          {GL_RGBA_INTEGER, 4}, {GL_BGRA_INTEGER, 4}};
    static const QHash<GLenum, int> perComponent = {
        {GL_BYTE, 1},       {GL_UNSIGNED_BYTE, 1}, {GL_SHORT, 2},        {GL_UNSIGNED_SHORT, 2},
        {GL_HALF_FLOAT, 2}, {GL_INT, 4},           {GL_UNSIGNED_INT, 4}, {GL_FLOAT, 4}};
    static const QHash<GLenum, int> perTexel = {
        {GL_UNSIGNED_BYTE_3_3_2, 1},      {GL_UNSIGNED_BYTE_2_3_3_REV, 1},
        {GL_UNSIGNED_SHORT_5_6_5, 2},     {GL_UNSIGNED_SHORT_5_6_5_REV, 2},
        {GL_UNSIGNED_SHORT_4_4_4_4, 2},   {GL_UNSIGNED_SHORT_4_4_4_4_REV, 2},
        {GL_UNSIGNED_SHORT_5_5_5_1, 2},   {GL_UNSIGNED_SHORT_1_5_5_5_REV, 2},
        {GL_UNSIGNED_INT_8_8_8_8, 4},     {GL_UNSIGNED_INT_8_8_8_8_REV, 4},
        {GL_UNSIGNED_INT_10_10_10_2, 4},  {GL_UNSIGNED_INT_2_10_10_10_REV, 4},
        {GL_UNSIGNED_INT_24_8, 4},        {GL_UNSIGNED_INT_10F_11F_11F_REV, 4},
        {GL_UNSIGNED_INT_5_9_9_9_REV, 4}, {GL_FLOAT_32_UNSIGNED_INT_24_8_REV, 8}};
    if (!components.contains(format)) {
        return 0;
    }
    return perTexel.value(type, components.value(format) * perComponent.value(type, 0));
}

/// Whether a driver can support the size: it refuses greater sizes without reading.
bool isSize(GLsizei size)
{
    return size > 0 && size <= 16384;
}

} // namespace

template <int dimensions, typename Upload> void UploadTouch::watchImage(Upload &upload)
{
    upload.replace([this, &upload](auto... arguments) {
        const auto all = std::make_tuple(arguments...);
        constexpr int last = sizeof...(arguments) - 1;
        this->touch(std::get<3>(all), dimensions > 1 ? std::get<4>(all) : 1,
                    dimensions > 2 ? std::get<last - 4>(all) : 1, std::get<last - 2>(all),
                    std::get<last - 1>(all), std::get<last>(all));
        upload.original(arguments...);
    });
}

template <typename Upload> void UploadTouch::watchCompressed(Upload &upload)
{
    upload.replace([this, &upload](auto... arguments) {
        const auto all = std::make_tuple(arguments...);
        this->touch(std::get<sizeof...(arguments) - 2>(all), std::get<sizeof...(arguments) - 1>(all));
        upload.original(arguments...);
    });
}

UploadTouch::UploadTouch()
{
    watchImage<1>(_image1D);
    watchImage<2>(_image2D);
    watchImage<3>(_image3D);
    watchCompressed(_compressed1D);
    watchCompressed(_compressed2D);
    watchCompressed(_compressed3D);
}

void UploadTouch::touch(GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLenum type,
                        const void *data)
{
    if (data == nullptr) {
        return;
    }
    ++_count;
    _lastBytes.clear();
    if (!isSize(width) || !isSize(height) || !isSize(depth)) {
        return;
    }
    GLint alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    const qint64 row = qint64(texelBytes(format, type)) * width;
    const qint64 stride = (row + alignment - 1) / alignment * alignment;
    _lastBytes.reserve(int(row * height * depth));
    for (qint64 y = 0; y < qint64(height) * depth; ++y) {
        _lastBytes.append(static_cast<const char *>(data) + y * stride, int(row));
    }
}

void UploadTouch::touch(GLsizei size, const void *data)
{
    if (data == nullptr) {
        return;
    }
    ++_count;
    _lastBytes = QByteArray(static_cast<const char *>(data), qMax(size, 0));
}
