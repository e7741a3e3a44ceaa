#pragma once

#include <cstdint>
#include <memory>

namespace Orvane { namespace Zel {
class ShaderProgram;
}} // namespace Orvane::Zel

/// GL without a driver: the slots of the library's table that the benchmarks reach hold functions that do nothing,
/// so that what is timed is the library's own work. The look-ups of GLX answer alike, and with one current context.
///
/// It has 16 vertex attributes, 32 texture units, 8 samples, 84 binding points for uniform blocks, and version 3.3
/// with GL_ARB_bindless_texture alone, whose handles are always resident. Every level of a texture is 4x4 RGBA8, and an
/// array has a million layers. Every program links, and has the attributes va_Vertex, va_Normal and va_TexCoord, the uniform
/// u_DrawID, and the uniform blocks Block0 to Block7.
void installSilentGL();

/// A linked program of it.
std::unique_ptr<Orvane::Zel::ShaderProgram> makeSilentProgram();

/// What the library finds for entry points that are not in its table.
using MultiBindFunction = void (*)(unsigned int target, unsigned int first, int count,
                                   const unsigned int *buffers);
using BaseInstanceFunction = void (*)(unsigned int mode, int count, unsigned int type, const void *indices,
                                      int instances, int baseVertex, unsigned int baseInstance);
extern MultiBindFunction silentBindBuffersBase;
extern BaseInstanceFunction silentDrawElementsInstancedBaseVertexBaseInstance;
using GetTextureHandleFunction = std::uint64_t (*)(unsigned int texture);
using IsTextureHandleResidentFunction = unsigned char (*)(std::uint64_t handle);
extern GetTextureHandleFunction silentGetTextureHandle;
extern IsTextureHandleResidentFunction silentIsTextureHandleResident;
