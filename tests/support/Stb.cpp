#include "Stb.h"

#ifdef ZELGL_HAVE_STB

#define STBI_ONLY_HDR
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

bool hasStb()
{
    return true;
}

std::vector<float> hdrByStb(const QByteArray &file)
{
    int width = 0;
    int height = 0;
    int channels = 0;
    float *data = stbi_loadf_from_memory(reinterpret_cast<const stbi_uc *>(file.constData()), file.size(),
                                         &width, &height, &channels, 3);
    std::vector<float> values;
    const size_t row = size_t(width) * 3;
    for (size_t y = size_t(height); y-- > 0;) {
        values.insert(values.end(), data + y * row, data + (y + 1) * row);
    }
    stbi_image_free(data);
    return values;
}

#else

bool hasStb()
{
    return false;
}

std::vector<float> hdrByStb(const QByteArray &)
{
    return {};
}

#endif
