#pragma once

/// \file
/// Private to the library. Used by the readers of image files and by what allocates textures for passes.

#include "../GLUtilities.h"
#include "GLValues.h"

#include <cstddef>

namespace Orvane { namespace Zel {

/// Makes GL read tightly packed texels from the memory of the process, with rows of this
/// alignment: sets the unpack parameters and unbinds the pixel unpack buffer. Restores
/// the host's values at the end of its scope.
///
/// A row length of the host would make GL read beyond the texels, and with a buffer of the
/// host their address would be an offset into it.
class UnpackState
{
    Q_DISABLE_COPY(UnpackState)

public:
    explicit UnpackState(int alignment)
    {
        for (std::size_t i = 0; i < kCount; ++i) {
            _saved[i] = integerFromGL(kParameters[i]);
            glPixelStorei(kParameters[i], i == 0 ? alignment : 0);
        }
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    }

    ~UnpackState()
    {
        for (std::size_t i = 0; i < kCount; ++i) {
            glPixelStorei(kParameters[i], _saved[i]);
        }
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(_buffer));
    }

private:
    static constexpr std::size_t kCount = 7;
    /// The alignment first; the default of all others is 0.
    static constexpr GLenum kParameters[kCount] = {
        GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH,  GL_UNPACK_IMAGE_HEIGHT, GL_UNPACK_SKIP_PIXELS,
        GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_IMAGES, GL_UNPACK_SWAP_BYTES};

    const GLint _buffer = integerFromGL(GL_PIXEL_UNPACK_BUFFER_BINDING);
    GLint _saved[kCount] = {};
};

}} // namespace Orvane::Zel
