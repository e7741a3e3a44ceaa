#pragma once

#include <cstdint>
#include <memory>

namespace Orvane { namespace Zel {
class ShaderProgram;
}} // namespace Orvane::Zel

/// GL without a driver: functions that do nothing are in the slots of the library's table that the benchmarks use, so that
/// only the library's own work is timed. The lookups of GLX return such functions too, and report one current context.
///
/// It reports 16 vertex attributes, 32 texture units, 8 samples, 84 binding points for uniform blocks, and version 3.3 with
/// only the extension GL_ARB_bindless_texture, whose handles are always resident. Every level of a texture is 4x4 RGBA8,
/// and an array has a million layers. Every program links, and has the attributes va_Vertex, va_Normal and va_TexCoord, the
/// uniform u_DrawID, and the uniform blocks Block0 to Block7.
void installSilentGL();

/// A linked program of this GL.
std::unique_ptr<Orvane::Zel::ShaderProgram> makeSilentProgram();

// The functions that the library finds for entry points outside of its table.
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
