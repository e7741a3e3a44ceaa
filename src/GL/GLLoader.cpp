// Generated, do not edit: tools/glloader/generate.py src/GL
#include "GLLoader.h"

#include "Reporting.h"

#include <GL/glx.h>

#include <cstring>

extern "C" {

int ogl_ext_ARB_draw_indirect = 0;
int ogl_ext_ARB_multi_draw_indirect = 0;
int ogl_ext_ARB_tessellation_shader = 0;
int ogl_ext_ARB_texture_cube_map_array = 0;
int ogl_ext_ARB_shader_atomic_counters = 0;
int ogl_ext_ARB_shader_image_load_store = 0;

// OpenGL 1.0
void (APIENTRY *_ptrc_glCullFace)(GLenum mode) = nullptr;
void (APIENTRY *_ptrc_glFrontFace)(GLenum mode) = nullptr;
void (APIENTRY *_ptrc_glHint)(GLenum target, GLenum mode) = nullptr;
void (APIENTRY *_ptrc_glLineWidth)(GLfloat width) = nullptr;
void (APIENTRY *_ptrc_glPointSize)(GLfloat size) = nullptr;
void (APIENTRY *_ptrc_glPolygonMode)(GLenum face, GLenum mode) = nullptr;
void (APIENTRY *_ptrc_glScissor)(GLint x, GLint y, GLsizei width, GLsizei height) = nullptr;
void (APIENTRY *_ptrc_glTexParameterf)(GLenum target, GLenum pname, GLfloat param) = nullptr;
void (APIENTRY *_ptrc_glTexParameterfv)(GLenum target, GLenum pname, const GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glTexParameteri)(GLenum target, GLenum pname, GLint param) = nullptr;
void (APIENTRY *_ptrc_glTexParameteriv)(GLenum target, GLenum pname, const GLint *params) = nullptr;
void (APIENTRY *_ptrc_glTexImage1D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLint border, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glTexImage2D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLint border, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glDrawBuffer)(GLenum buf) = nullptr;
void (APIENTRY *_ptrc_glClear)(GLbitfield mask) = nullptr;
void (APIENTRY *_ptrc_glClearColor)(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) = nullptr;
void (APIENTRY *_ptrc_glClearStencil)(GLint s) = nullptr;
void (APIENTRY *_ptrc_glClearDepth)(GLdouble depth) = nullptr;
void (APIENTRY *_ptrc_glStencilMask)(GLuint mask) = nullptr;
void (APIENTRY *_ptrc_glColorMask)(GLboolean red, GLboolean green, GLboolean blue, GLboolean alpha) = nullptr;
void (APIENTRY *_ptrc_glDepthMask)(GLboolean flag) = nullptr;
void (APIENTRY *_ptrc_glDisable)(GLenum cap) = nullptr;
void (APIENTRY *_ptrc_glEnable)(GLenum cap) = nullptr;
void (APIENTRY *_ptrc_glFinish)() = nullptr;
void (APIENTRY *_ptrc_glFlush)() = nullptr;
void (APIENTRY *_ptrc_glBlendFunc)(GLenum sfactor, GLenum dfactor) = nullptr;
void (APIENTRY *_ptrc_glLogicOp)(GLenum opcode) = nullptr;
void (APIENTRY *_ptrc_glStencilFunc)(GLenum func, GLint ref, GLuint mask) = nullptr;
void (APIENTRY *_ptrc_glStencilOp)(GLenum fail, GLenum zfail, GLenum zpass) = nullptr;
void (APIENTRY *_ptrc_glDepthFunc)(GLenum func) = nullptr;
void (APIENTRY *_ptrc_glPixelStoref)(GLenum pname, GLfloat param) = nullptr;
void (APIENTRY *_ptrc_glPixelStorei)(GLenum pname, GLint param) = nullptr;
void (APIENTRY *_ptrc_glReadBuffer)(GLenum src) = nullptr;
void (APIENTRY *_ptrc_glReadPixels)(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type, void *pixels) = nullptr;
void (APIENTRY *_ptrc_glGetBooleanv)(GLenum pname, GLboolean *data) = nullptr;
void (APIENTRY *_ptrc_glGetDoublev)(GLenum pname, GLdouble *data) = nullptr;
GLenum (APIENTRY *_ptrc_glGetError)() = nullptr;
void (APIENTRY *_ptrc_glGetFloatv)(GLenum pname, GLfloat *data) = nullptr;
void (APIENTRY *_ptrc_glGetIntegerv)(GLenum pname, GLint *data) = nullptr;
const GLubyte * (APIENTRY *_ptrc_glGetString)(GLenum name) = nullptr;
void (APIENTRY *_ptrc_glGetTexImage)(GLenum target, GLint level, GLenum format, GLenum type, void *pixels) = nullptr;
void (APIENTRY *_ptrc_glGetTexParameterfv)(GLenum target, GLenum pname, GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glGetTexParameteriv)(GLenum target, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetTexLevelParameterfv)(GLenum target, GLint level, GLenum pname, GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glGetTexLevelParameteriv)(GLenum target, GLint level, GLenum pname, GLint *params) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsEnabled)(GLenum cap) = nullptr;
void (APIENTRY *_ptrc_glDepthRange)(GLdouble n, GLdouble f) = nullptr;
void (APIENTRY *_ptrc_glViewport)(GLint x, GLint y, GLsizei width, GLsizei height) = nullptr;

// OpenGL 1.1
void (APIENTRY *_ptrc_glDrawArrays)(GLenum mode, GLint first, GLsizei count) = nullptr;
void (APIENTRY *_ptrc_glDrawElements)(GLenum mode, GLsizei count, GLenum type, const void *indices) = nullptr;
void (APIENTRY *_ptrc_glPolygonOffset)(GLfloat factor, GLfloat units) = nullptr;
void (APIENTRY *_ptrc_glCopyTexImage1D)(GLenum target, GLint level, GLenum internalformat, GLint x, GLint y, GLsizei width, GLint border) = nullptr;
void (APIENTRY *_ptrc_glCopyTexImage2D)(GLenum target, GLint level, GLenum internalformat, GLint x, GLint y, GLsizei width, GLsizei height, GLint border) = nullptr;
void (APIENTRY *_ptrc_glCopyTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLint x, GLint y, GLsizei width) = nullptr;
void (APIENTRY *_ptrc_glCopyTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint x, GLint y, GLsizei width, GLsizei height) = nullptr;
void (APIENTRY *_ptrc_glTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLsizei width, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width, GLsizei height, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glBindTexture)(GLenum target, GLuint texture) = nullptr;
void (APIENTRY *_ptrc_glDeleteTextures)(GLsizei n, const GLuint *textures) = nullptr;
void (APIENTRY *_ptrc_glGenTextures)(GLsizei n, GLuint *textures) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsTexture)(GLuint texture) = nullptr;

// OpenGL 1.2
void (APIENTRY *_ptrc_glDrawRangeElements)(GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type, const void *indices) = nullptr;
void (APIENTRY *_ptrc_glTexImage3D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLsizei depth, GLint border, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLenum type, const void *pixels) = nullptr;
void (APIENTRY *_ptrc_glCopyTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLint x, GLint y, GLsizei width, GLsizei height) = nullptr;

// OpenGL 1.3
void (APIENTRY *_ptrc_glActiveTexture)(GLenum texture) = nullptr;
void (APIENTRY *_ptrc_glSampleCoverage)(GLfloat value, GLboolean invert) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexImage3D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLsizei depth, GLint border, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexImage2D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLint border, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexImage1D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLint border, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width, GLsizei height, GLenum format, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glCompressedTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLsizei width, GLenum format, GLsizei imageSize, const void *data) = nullptr;
void (APIENTRY *_ptrc_glGetCompressedTexImage)(GLenum target, GLint level, void *img) = nullptr;

// OpenGL 1.4
void (APIENTRY *_ptrc_glBlendFuncSeparate)(GLenum sfactorRGB, GLenum dfactorRGB, GLenum sfactorAlpha, GLenum dfactorAlpha) = nullptr;
void (APIENTRY *_ptrc_glMultiDrawArrays)(GLenum mode, const GLint *first, const GLsizei *count, GLsizei drawcount) = nullptr;
void (APIENTRY *_ptrc_glMultiDrawElements)(GLenum mode, const GLsizei *count, GLenum type, const void *const  *indices, GLsizei drawcount) = nullptr;
void (APIENTRY *_ptrc_glPointParameterf)(GLenum pname, GLfloat param) = nullptr;
void (APIENTRY *_ptrc_glPointParameterfv)(GLenum pname, const GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glPointParameteri)(GLenum pname, GLint param) = nullptr;
void (APIENTRY *_ptrc_glPointParameteriv)(GLenum pname, const GLint *params) = nullptr;
void (APIENTRY *_ptrc_glBlendColor)(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) = nullptr;
void (APIENTRY *_ptrc_glBlendEquation)(GLenum mode) = nullptr;

// OpenGL 1.5
void (APIENTRY *_ptrc_glGenQueries)(GLsizei n, GLuint *ids) = nullptr;
void (APIENTRY *_ptrc_glDeleteQueries)(GLsizei n, const GLuint *ids) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsQuery)(GLuint id) = nullptr;
void (APIENTRY *_ptrc_glBeginQuery)(GLenum target, GLuint id) = nullptr;
void (APIENTRY *_ptrc_glEndQuery)(GLenum target) = nullptr;
void (APIENTRY *_ptrc_glGetQueryiv)(GLenum target, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetQueryObjectiv)(GLuint id, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetQueryObjectuiv)(GLuint id, GLenum pname, GLuint *params) = nullptr;
void (APIENTRY *_ptrc_glBindBuffer)(GLenum target, GLuint buffer) = nullptr;
void (APIENTRY *_ptrc_glDeleteBuffers)(GLsizei n, const GLuint *buffers) = nullptr;
void (APIENTRY *_ptrc_glGenBuffers)(GLsizei n, GLuint *buffers) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsBuffer)(GLuint buffer) = nullptr;
void (APIENTRY *_ptrc_glBufferData)(GLenum target, GLsizeiptr size, const void *data, GLenum usage) = nullptr;
void (APIENTRY *_ptrc_glBufferSubData)(GLenum target, GLintptr offset, GLsizeiptr size, const void *data) = nullptr;
void (APIENTRY *_ptrc_glGetBufferSubData)(GLenum target, GLintptr offset, GLsizeiptr size, void *data) = nullptr;
void * (APIENTRY *_ptrc_glMapBuffer)(GLenum target, GLenum access) = nullptr;
GLboolean (APIENTRY *_ptrc_glUnmapBuffer)(GLenum target) = nullptr;
void (APIENTRY *_ptrc_glGetBufferParameteriv)(GLenum target, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetBufferPointerv)(GLenum target, GLenum pname, void * *params) = nullptr;

// OpenGL 2.0
void (APIENTRY *_ptrc_glBlendEquationSeparate)(GLenum modeRGB, GLenum modeAlpha) = nullptr;
void (APIENTRY *_ptrc_glDrawBuffers)(GLsizei n, const GLenum *bufs) = nullptr;
void (APIENTRY *_ptrc_glStencilOpSeparate)(GLenum face, GLenum sfail, GLenum dpfail, GLenum dppass) = nullptr;
void (APIENTRY *_ptrc_glStencilFuncSeparate)(GLenum face, GLenum func, GLint ref, GLuint mask) = nullptr;
void (APIENTRY *_ptrc_glStencilMaskSeparate)(GLenum face, GLuint mask) = nullptr;
void (APIENTRY *_ptrc_glAttachShader)(GLuint program, GLuint shader) = nullptr;
void (APIENTRY *_ptrc_glBindAttribLocation)(GLuint program, GLuint index, const GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glCompileShader)(GLuint shader) = nullptr;
GLuint (APIENTRY *_ptrc_glCreateProgram)() = nullptr;
GLuint (APIENTRY *_ptrc_glCreateShader)(GLenum type) = nullptr;
void (APIENTRY *_ptrc_glDeleteProgram)(GLuint program) = nullptr;
void (APIENTRY *_ptrc_glDeleteShader)(GLuint shader) = nullptr;
void (APIENTRY *_ptrc_glDetachShader)(GLuint program, GLuint shader) = nullptr;
void (APIENTRY *_ptrc_glDisableVertexAttribArray)(GLuint index) = nullptr;
void (APIENTRY *_ptrc_glEnableVertexAttribArray)(GLuint index) = nullptr;
void (APIENTRY *_ptrc_glGetActiveAttrib)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLint *size, GLenum *type, GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glGetActiveUniform)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLint *size, GLenum *type, GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glGetAttachedShaders)(GLuint program, GLsizei maxCount, GLsizei *count, GLuint *shaders) = nullptr;
GLint (APIENTRY *_ptrc_glGetAttribLocation)(GLuint program, const GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glGetProgramiv)(GLuint program, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetProgramInfoLog)(GLuint program, GLsizei bufSize, GLsizei *length, GLchar *infoLog) = nullptr;
void (APIENTRY *_ptrc_glGetShaderiv)(GLuint shader, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetShaderInfoLog)(GLuint shader, GLsizei bufSize, GLsizei *length, GLchar *infoLog) = nullptr;
void (APIENTRY *_ptrc_glGetShaderSource)(GLuint shader, GLsizei bufSize, GLsizei *length, GLchar *source) = nullptr;
GLint (APIENTRY *_ptrc_glGetUniformLocation)(GLuint program, const GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glGetUniformfv)(GLuint program, GLint location, GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glGetUniformiv)(GLuint program, GLint location, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribdv)(GLuint index, GLenum pname, GLdouble *params) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribfv)(GLuint index, GLenum pname, GLfloat *params) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribiv)(GLuint index, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribPointerv)(GLuint index, GLenum pname, void * *pointer) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsProgram)(GLuint program) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsShader)(GLuint shader) = nullptr;
void (APIENTRY *_ptrc_glLinkProgram)(GLuint program) = nullptr;
void (APIENTRY *_ptrc_glShaderSource)(GLuint shader, GLsizei count, const GLchar *const  *string, const GLint *length) = nullptr;
void (APIENTRY *_ptrc_glUseProgram)(GLuint program) = nullptr;
void (APIENTRY *_ptrc_glUniform1f)(GLint location, GLfloat v0) = nullptr;
void (APIENTRY *_ptrc_glUniform2f)(GLint location, GLfloat v0, GLfloat v1) = nullptr;
void (APIENTRY *_ptrc_glUniform3f)(GLint location, GLfloat v0, GLfloat v1, GLfloat v2) = nullptr;
void (APIENTRY *_ptrc_glUniform4f)(GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3) = nullptr;
void (APIENTRY *_ptrc_glUniform1i)(GLint location, GLint v0) = nullptr;
void (APIENTRY *_ptrc_glUniform2i)(GLint location, GLint v0, GLint v1) = nullptr;
void (APIENTRY *_ptrc_glUniform3i)(GLint location, GLint v0, GLint v1, GLint v2) = nullptr;
void (APIENTRY *_ptrc_glUniform4i)(GLint location, GLint v0, GLint v1, GLint v2, GLint v3) = nullptr;
void (APIENTRY *_ptrc_glUniform1fv)(GLint location, GLsizei count, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniform2fv)(GLint location, GLsizei count, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniform3fv)(GLint location, GLsizei count, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniform4fv)(GLint location, GLsizei count, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniform1iv)(GLint location, GLsizei count, const GLint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform2iv)(GLint location, GLsizei count, const GLint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform3iv)(GLint location, GLsizei count, const GLint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform4iv)(GLint location, GLsizei count, const GLint *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glValidateProgram)(GLuint program) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1d)(GLuint index, GLdouble x) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1dv)(GLuint index, const GLdouble *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1f)(GLuint index, GLfloat x) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1fv)(GLuint index, const GLfloat *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1s)(GLuint index, GLshort x) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib1sv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2d)(GLuint index, GLdouble x, GLdouble y) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2dv)(GLuint index, const GLdouble *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2f)(GLuint index, GLfloat x, GLfloat y) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2fv)(GLuint index, const GLfloat *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2s)(GLuint index, GLshort x, GLshort y) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib2sv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3d)(GLuint index, GLdouble x, GLdouble y, GLdouble z) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3dv)(GLuint index, const GLdouble *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3f)(GLuint index, GLfloat x, GLfloat y, GLfloat z) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3fv)(GLuint index, const GLfloat *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3s)(GLuint index, GLshort x, GLshort y, GLshort z) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib3sv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nbv)(GLuint index, const GLbyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Niv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nsv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nub)(GLuint index, GLubyte x, GLubyte y, GLubyte z, GLubyte w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nubv)(GLuint index, const GLubyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nuiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4Nusv)(GLuint index, const GLushort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4bv)(GLuint index, const GLbyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4d)(GLuint index, GLdouble x, GLdouble y, GLdouble z, GLdouble w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4dv)(GLuint index, const GLdouble *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4f)(GLuint index, GLfloat x, GLfloat y, GLfloat z, GLfloat w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4fv)(GLuint index, const GLfloat *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4iv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4s)(GLuint index, GLshort x, GLshort y, GLshort z, GLshort w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4sv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4ubv)(GLuint index, const GLubyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4uiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttrib4usv)(GLuint index, const GLushort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribPointer)(GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride, const void *pointer) = nullptr;

// OpenGL 2.1
void (APIENTRY *_ptrc_glUniformMatrix2x3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix3x2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix2x4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix4x2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix3x4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glUniformMatrix4x3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value) = nullptr;

// OpenGL 3.0
void (APIENTRY *_ptrc_glColorMaski)(GLuint index, GLboolean r, GLboolean g, GLboolean b, GLboolean a) = nullptr;
void (APIENTRY *_ptrc_glGetBooleani_v)(GLenum target, GLuint index, GLboolean *data) = nullptr;
void (APIENTRY *_ptrc_glGetIntegeri_v)(GLenum target, GLuint index, GLint *data) = nullptr;
void (APIENTRY *_ptrc_glEnablei)(GLenum target, GLuint index) = nullptr;
void (APIENTRY *_ptrc_glDisablei)(GLenum target, GLuint index) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsEnabledi)(GLenum target, GLuint index) = nullptr;
void (APIENTRY *_ptrc_glBeginTransformFeedback)(GLenum primitiveMode) = nullptr;
void (APIENTRY *_ptrc_glEndTransformFeedback)() = nullptr;
void (APIENTRY *_ptrc_glBindBufferRange)(GLenum target, GLuint index, GLuint buffer, GLintptr offset, GLsizeiptr size) = nullptr;
void (APIENTRY *_ptrc_glBindBufferBase)(GLenum target, GLuint index, GLuint buffer) = nullptr;
void (APIENTRY *_ptrc_glTransformFeedbackVaryings)(GLuint program, GLsizei count, const GLchar *const  *varyings, GLenum bufferMode) = nullptr;
void (APIENTRY *_ptrc_glGetTransformFeedbackVarying)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLsizei *size, GLenum *type, GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glClampColor)(GLenum target, GLenum clamp) = nullptr;
void (APIENTRY *_ptrc_glBeginConditionalRender)(GLuint id, GLenum mode) = nullptr;
void (APIENTRY *_ptrc_glEndConditionalRender)() = nullptr;
void (APIENTRY *_ptrc_glVertexAttribIPointer)(GLuint index, GLint size, GLenum type, GLsizei stride, const void *pointer) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribIiv)(GLuint index, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetVertexAttribIuiv)(GLuint index, GLenum pname, GLuint *params) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI1i)(GLuint index, GLint x) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI2i)(GLuint index, GLint x, GLint y) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI3i)(GLuint index, GLint x, GLint y, GLint z) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4i)(GLuint index, GLint x, GLint y, GLint z, GLint w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI1ui)(GLuint index, GLuint x) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI2ui)(GLuint index, GLuint x, GLuint y) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI3ui)(GLuint index, GLuint x, GLuint y, GLuint z) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4ui)(GLuint index, GLuint x, GLuint y, GLuint z, GLuint w) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI1iv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI2iv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI3iv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4iv)(GLuint index, const GLint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI1uiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI2uiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI3uiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4uiv)(GLuint index, const GLuint *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4bv)(GLuint index, const GLbyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4sv)(GLuint index, const GLshort *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4ubv)(GLuint index, const GLubyte *v) = nullptr;
void (APIENTRY *_ptrc_glVertexAttribI4usv)(GLuint index, const GLushort *v) = nullptr;
void (APIENTRY *_ptrc_glGetUniformuiv)(GLuint program, GLint location, GLuint *params) = nullptr;
void (APIENTRY *_ptrc_glBindFragDataLocation)(GLuint program, GLuint color, const GLchar *name) = nullptr;
GLint (APIENTRY *_ptrc_glGetFragDataLocation)(GLuint program, const GLchar *name) = nullptr;
void (APIENTRY *_ptrc_glUniform1ui)(GLint location, GLuint v0) = nullptr;
void (APIENTRY *_ptrc_glUniform2ui)(GLint location, GLuint v0, GLuint v1) = nullptr;
void (APIENTRY *_ptrc_glUniform3ui)(GLint location, GLuint v0, GLuint v1, GLuint v2) = nullptr;
void (APIENTRY *_ptrc_glUniform4ui)(GLint location, GLuint v0, GLuint v1, GLuint v2, GLuint v3) = nullptr;
void (APIENTRY *_ptrc_glUniform1uiv)(GLint location, GLsizei count, const GLuint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform2uiv)(GLint location, GLsizei count, const GLuint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform3uiv)(GLint location, GLsizei count, const GLuint *value) = nullptr;
void (APIENTRY *_ptrc_glUniform4uiv)(GLint location, GLsizei count, const GLuint *value) = nullptr;
void (APIENTRY *_ptrc_glTexParameterIiv)(GLenum target, GLenum pname, const GLint *params) = nullptr;
void (APIENTRY *_ptrc_glTexParameterIuiv)(GLenum target, GLenum pname, const GLuint *params) = nullptr;
void (APIENTRY *_ptrc_glGetTexParameterIiv)(GLenum target, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetTexParameterIuiv)(GLenum target, GLenum pname, GLuint *params) = nullptr;
void (APIENTRY *_ptrc_glClearBufferiv)(GLenum buffer, GLint drawbuffer, const GLint *value) = nullptr;
void (APIENTRY *_ptrc_glClearBufferuiv)(GLenum buffer, GLint drawbuffer, const GLuint *value) = nullptr;
void (APIENTRY *_ptrc_glClearBufferfv)(GLenum buffer, GLint drawbuffer, const GLfloat *value) = nullptr;
void (APIENTRY *_ptrc_glClearBufferfi)(GLenum buffer, GLint drawbuffer, GLfloat depth, GLint stencil) = nullptr;
const GLubyte * (APIENTRY *_ptrc_glGetStringi)(GLenum name, GLuint index) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsRenderbuffer)(GLuint renderbuffer) = nullptr;
void (APIENTRY *_ptrc_glBindRenderbuffer)(GLenum target, GLuint renderbuffer) = nullptr;
void (APIENTRY *_ptrc_glDeleteRenderbuffers)(GLsizei n, const GLuint *renderbuffers) = nullptr;
void (APIENTRY *_ptrc_glGenRenderbuffers)(GLsizei n, GLuint *renderbuffers) = nullptr;
void (APIENTRY *_ptrc_glRenderbufferStorage)(GLenum target, GLenum internalformat, GLsizei width, GLsizei height) = nullptr;
void (APIENTRY *_ptrc_glGetRenderbufferParameteriv)(GLenum target, GLenum pname, GLint *params) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsFramebuffer)(GLuint framebuffer) = nullptr;
void (APIENTRY *_ptrc_glBindFramebuffer)(GLenum target, GLuint framebuffer) = nullptr;
void (APIENTRY *_ptrc_glDeleteFramebuffers)(GLsizei n, const GLuint *framebuffers) = nullptr;
void (APIENTRY *_ptrc_glGenFramebuffers)(GLsizei n, GLuint *framebuffers) = nullptr;
GLenum (APIENTRY *_ptrc_glCheckFramebufferStatus)(GLenum target) = nullptr;
void (APIENTRY *_ptrc_glFramebufferTexture1D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level) = nullptr;
void (APIENTRY *_ptrc_glFramebufferTexture2D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level) = nullptr;
void (APIENTRY *_ptrc_glFramebufferTexture3D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level, GLint zoffset) = nullptr;
void (APIENTRY *_ptrc_glFramebufferRenderbuffer)(GLenum target, GLenum attachment, GLenum renderbuffertarget, GLuint renderbuffer) = nullptr;
void (APIENTRY *_ptrc_glGetFramebufferAttachmentParameteriv)(GLenum target, GLenum attachment, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGenerateMipmap)(GLenum target) = nullptr;
void (APIENTRY *_ptrc_glBlitFramebuffer)(GLint srcX0, GLint srcY0, GLint srcX1, GLint srcY1, GLint dstX0, GLint dstY0, GLint dstX1, GLint dstY1, GLbitfield mask, GLenum filter) = nullptr;
void (APIENTRY *_ptrc_glRenderbufferStorageMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height) = nullptr;
void (APIENTRY *_ptrc_glFramebufferTextureLayer)(GLenum target, GLenum attachment, GLuint texture, GLint level, GLint layer) = nullptr;
void * (APIENTRY *_ptrc_glMapBufferRange)(GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access) = nullptr;
void (APIENTRY *_ptrc_glFlushMappedBufferRange)(GLenum target, GLintptr offset, GLsizeiptr length) = nullptr;
void (APIENTRY *_ptrc_glBindVertexArray)(GLuint array) = nullptr;
void (APIENTRY *_ptrc_glDeleteVertexArrays)(GLsizei n, const GLuint *arrays) = nullptr;
void (APIENTRY *_ptrc_glGenVertexArrays)(GLsizei n, GLuint *arrays) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsVertexArray)(GLuint array) = nullptr;

// OpenGL 3.1
void (APIENTRY *_ptrc_glDrawArraysInstanced)(GLenum mode, GLint first, GLsizei count, GLsizei instancecount) = nullptr;
void (APIENTRY *_ptrc_glDrawElementsInstanced)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instancecount) = nullptr;
void (APIENTRY *_ptrc_glTexBuffer)(GLenum target, GLenum internalformat, GLuint buffer) = nullptr;
void (APIENTRY *_ptrc_glPrimitiveRestartIndex)(GLuint index) = nullptr;
void (APIENTRY *_ptrc_glCopyBufferSubData)(GLenum readTarget, GLenum writeTarget, GLintptr readOffset, GLintptr writeOffset, GLsizeiptr size) = nullptr;
void (APIENTRY *_ptrc_glGetUniformIndices)(GLuint program, GLsizei uniformCount, const GLchar *const  *uniformNames, GLuint *uniformIndices) = nullptr;
void (APIENTRY *_ptrc_glGetActiveUniformsiv)(GLuint program, GLsizei uniformCount, const GLuint *uniformIndices, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetActiveUniformName)(GLuint program, GLuint uniformIndex, GLsizei bufSize, GLsizei *length, GLchar *uniformName) = nullptr;
GLuint (APIENTRY *_ptrc_glGetUniformBlockIndex)(GLuint program, const GLchar *uniformBlockName) = nullptr;
void (APIENTRY *_ptrc_glGetActiveUniformBlockiv)(GLuint program, GLuint uniformBlockIndex, GLenum pname, GLint *params) = nullptr;
void (APIENTRY *_ptrc_glGetActiveUniformBlockName)(GLuint program, GLuint uniformBlockIndex, GLsizei bufSize, GLsizei *length, GLchar *uniformBlockName) = nullptr;
void (APIENTRY *_ptrc_glUniformBlockBinding)(GLuint program, GLuint uniformBlockIndex, GLuint uniformBlockBinding) = nullptr;

// OpenGL 3.2
void (APIENTRY *_ptrc_glDrawElementsBaseVertex)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLint basevertex) = nullptr;
void (APIENTRY *_ptrc_glDrawRangeElementsBaseVertex)(GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type, const void *indices, GLint basevertex) = nullptr;
void (APIENTRY *_ptrc_glDrawElementsInstancedBaseVertex)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instancecount, GLint basevertex) = nullptr;
void (APIENTRY *_ptrc_glMultiDrawElementsBaseVertex)(GLenum mode, const GLsizei *count, GLenum type, const void *const  *indices, GLsizei drawcount, const GLint *basevertex) = nullptr;
void (APIENTRY *_ptrc_glProvokingVertex)(GLenum mode) = nullptr;
GLsync (APIENTRY *_ptrc_glFenceSync)(GLenum condition, GLbitfield flags) = nullptr;
GLboolean (APIENTRY *_ptrc_glIsSync)(GLsync sync) = nullptr;
void (APIENTRY *_ptrc_glDeleteSync)(GLsync sync) = nullptr;
GLenum (APIENTRY *_ptrc_glClientWaitSync)(GLsync sync, GLbitfield flags, GLuint64 timeout) = nullptr;
void (APIENTRY *_ptrc_glWaitSync)(GLsync sync, GLbitfield flags, GLuint64 timeout) = nullptr;
void (APIENTRY *_ptrc_glGetInteger64v)(GLenum pname, GLint64 *data) = nullptr;
void (APIENTRY *_ptrc_glGetSynciv)(GLsync sync, GLenum pname, GLsizei count, GLsizei *length, GLint *values) = nullptr;
void (APIENTRY *_ptrc_glGetInteger64i_v)(GLenum target, GLuint index, GLint64 *data) = nullptr;
void (APIENTRY *_ptrc_glGetBufferParameteri64v)(GLenum target, GLenum pname, GLint64 *params) = nullptr;
void (APIENTRY *_ptrc_glFramebufferTexture)(GLenum target, GLenum attachment, GLuint texture, GLint level) = nullptr;
void (APIENTRY *_ptrc_glTexImage2DMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height, GLboolean fixedsamplelocations) = nullptr;
void (APIENTRY *_ptrc_glTexImage3DMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height, GLsizei depth, GLboolean fixedsamplelocations) = nullptr;
void (APIENTRY *_ptrc_glGetMultisamplefv)(GLenum pname, GLuint index, GLfloat *val) = nullptr;
void (APIENTRY *_ptrc_glSampleMaski)(GLuint maskNumber, GLbitfield mask) = nullptr;

// GL_ARB_draw_indirect
void (APIENTRY *_ptrc_glDrawArraysIndirect)(GLenum mode, const void *indirect) = nullptr;
void (APIENTRY *_ptrc_glDrawElementsIndirect)(GLenum mode, GLenum type, const void *indirect) = nullptr;

// GL_ARB_multi_draw_indirect
void (APIENTRY *_ptrc_glMultiDrawArraysIndirect)(GLenum mode, const void *indirect, GLsizei drawcount, GLsizei stride) = nullptr;
void (APIENTRY *_ptrc_glMultiDrawElementsIndirect)(GLenum mode, GLenum type, const void *indirect, GLsizei drawcount, GLsizei stride) = nullptr;

// GL_ARB_tessellation_shader
void (APIENTRY *_ptrc_glPatchParameteri)(GLenum pname, GLint value) = nullptr;
void (APIENTRY *_ptrc_glPatchParameterfv)(GLenum pname, const GLfloat *values) = nullptr;

// GL_ARB_shader_atomic_counters
void (APIENTRY *_ptrc_glGetActiveAtomicCounterBufferiv)(GLuint program, GLuint bufferIndex, GLenum pname, GLint *params) = nullptr;

// GL_ARB_shader_image_load_store
void (APIENTRY *_ptrc_glBindImageTexture)(GLuint unit, GLuint texture, GLint level, GLboolean layered, GLint layer, GLenum access, GLenum format) = nullptr;
void (APIENTRY *_ptrc_glMemoryBarrier)(GLbitfield barriers) = nullptr;

} // extern "C"

namespace {

/// Looks up one function and stores it. Returns 1 if it is missing.
template <typename Function> int load(Function *&slot, const char *name)
{
    slot = reinterpret_cast<Function *>(glXGetProcAddressARB(reinterpret_cast<const GLubyte *>(name)));
    return slot == nullptr ? 1 : 0;
}

int load_ARB_draw_indirect()
{
    int missing = 0;
    missing += load(_ptrc_glDrawArraysIndirect, "glDrawArraysIndirect");
    missing += load(_ptrc_glDrawElementsIndirect, "glDrawElementsIndirect");
    return missing;
}

int load_ARB_multi_draw_indirect()
{
    int missing = 0;
    missing += load(_ptrc_glMultiDrawArraysIndirect, "glMultiDrawArraysIndirect");
    missing += load(_ptrc_glMultiDrawElementsIndirect, "glMultiDrawElementsIndirect");
    return missing;
}

int load_ARB_tessellation_shader()
{
    int missing = 0;
    missing += load(_ptrc_glPatchParameteri, "glPatchParameteri");
    missing += load(_ptrc_glPatchParameterfv, "glPatchParameterfv");
    return missing;
}

int load_ARB_shader_atomic_counters()
{
    int missing = 0;
    missing += load(_ptrc_glGetActiveAtomicCounterBufferiv, "glGetActiveAtomicCounterBufferiv");
    return missing;
}

int load_ARB_shader_image_load_store()
{
    int missing = 0;
    missing += load(_ptrc_glBindImageTexture, "glBindImageTexture");
    missing += load(_ptrc_glMemoryBarrier, "glMemoryBarrier");
    return missing;
}

int loadCore()
{
    int missing = 0;
    // 1.0
    missing += load(_ptrc_glCullFace, "glCullFace");
    missing += load(_ptrc_glFrontFace, "glFrontFace");
    missing += load(_ptrc_glHint, "glHint");
    missing += load(_ptrc_glLineWidth, "glLineWidth");
    missing += load(_ptrc_glPointSize, "glPointSize");
    missing += load(_ptrc_glPolygonMode, "glPolygonMode");
    missing += load(_ptrc_glScissor, "glScissor");
    missing += load(_ptrc_glTexParameterf, "glTexParameterf");
    missing += load(_ptrc_glTexParameterfv, "glTexParameterfv");
    missing += load(_ptrc_glTexParameteri, "glTexParameteri");
    missing += load(_ptrc_glTexParameteriv, "glTexParameteriv");
    missing += load(_ptrc_glTexImage1D, "glTexImage1D");
    missing += load(_ptrc_glTexImage2D, "glTexImage2D");
    missing += load(_ptrc_glDrawBuffer, "glDrawBuffer");
    missing += load(_ptrc_glClear, "glClear");
    missing += load(_ptrc_glClearColor, "glClearColor");
    missing += load(_ptrc_glClearStencil, "glClearStencil");
    missing += load(_ptrc_glClearDepth, "glClearDepth");
    missing += load(_ptrc_glStencilMask, "glStencilMask");
    missing += load(_ptrc_glColorMask, "glColorMask");
    missing += load(_ptrc_glDepthMask, "glDepthMask");
    missing += load(_ptrc_glDisable, "glDisable");
    missing += load(_ptrc_glEnable, "glEnable");
    missing += load(_ptrc_glFinish, "glFinish");
    missing += load(_ptrc_glFlush, "glFlush");
    missing += load(_ptrc_glBlendFunc, "glBlendFunc");
    missing += load(_ptrc_glLogicOp, "glLogicOp");
    missing += load(_ptrc_glStencilFunc, "glStencilFunc");
    missing += load(_ptrc_glStencilOp, "glStencilOp");
    missing += load(_ptrc_glDepthFunc, "glDepthFunc");
    missing += load(_ptrc_glPixelStoref, "glPixelStoref");
    missing += load(_ptrc_glPixelStorei, "glPixelStorei");
    missing += load(_ptrc_glReadBuffer, "glReadBuffer");
    missing += load(_ptrc_glReadPixels, "glReadPixels");
    missing += load(_ptrc_glGetBooleanv, "glGetBooleanv");
    missing += load(_ptrc_glGetDoublev, "glGetDoublev");
    missing += load(_ptrc_glGetError, "glGetError");
    missing += load(_ptrc_glGetFloatv, "glGetFloatv");
    missing += load(_ptrc_glGetIntegerv, "glGetIntegerv");
    missing += load(_ptrc_glGetString, "glGetString");
    missing += load(_ptrc_glGetTexImage, "glGetTexImage");
    missing += load(_ptrc_glGetTexParameterfv, "glGetTexParameterfv");
    missing += load(_ptrc_glGetTexParameteriv, "glGetTexParameteriv");
    missing += load(_ptrc_glGetTexLevelParameterfv, "glGetTexLevelParameterfv");
    missing += load(_ptrc_glGetTexLevelParameteriv, "glGetTexLevelParameteriv");
    missing += load(_ptrc_glIsEnabled, "glIsEnabled");
    missing += load(_ptrc_glDepthRange, "glDepthRange");
    missing += load(_ptrc_glViewport, "glViewport");
    // 1.1
    missing += load(_ptrc_glDrawArrays, "glDrawArrays");
    missing += load(_ptrc_glDrawElements, "glDrawElements");
    missing += load(_ptrc_glPolygonOffset, "glPolygonOffset");
    missing += load(_ptrc_glCopyTexImage1D, "glCopyTexImage1D");
    missing += load(_ptrc_glCopyTexImage2D, "glCopyTexImage2D");
    missing += load(_ptrc_glCopyTexSubImage1D, "glCopyTexSubImage1D");
    missing += load(_ptrc_glCopyTexSubImage2D, "glCopyTexSubImage2D");
    missing += load(_ptrc_glTexSubImage1D, "glTexSubImage1D");
    missing += load(_ptrc_glTexSubImage2D, "glTexSubImage2D");
    missing += load(_ptrc_glBindTexture, "glBindTexture");
    missing += load(_ptrc_glDeleteTextures, "glDeleteTextures");
    missing += load(_ptrc_glGenTextures, "glGenTextures");
    missing += load(_ptrc_glIsTexture, "glIsTexture");
    // 1.2
    missing += load(_ptrc_glDrawRangeElements, "glDrawRangeElements");
    missing += load(_ptrc_glTexImage3D, "glTexImage3D");
    missing += load(_ptrc_glTexSubImage3D, "glTexSubImage3D");
    missing += load(_ptrc_glCopyTexSubImage3D, "glCopyTexSubImage3D");
    // 1.3
    missing += load(_ptrc_glActiveTexture, "glActiveTexture");
    missing += load(_ptrc_glSampleCoverage, "glSampleCoverage");
    missing += load(_ptrc_glCompressedTexImage3D, "glCompressedTexImage3D");
    missing += load(_ptrc_glCompressedTexImage2D, "glCompressedTexImage2D");
    missing += load(_ptrc_glCompressedTexImage1D, "glCompressedTexImage1D");
    missing += load(_ptrc_glCompressedTexSubImage3D, "glCompressedTexSubImage3D");
    missing += load(_ptrc_glCompressedTexSubImage2D, "glCompressedTexSubImage2D");
    missing += load(_ptrc_glCompressedTexSubImage1D, "glCompressedTexSubImage1D");
    missing += load(_ptrc_glGetCompressedTexImage, "glGetCompressedTexImage");
    // 1.4
    missing += load(_ptrc_glBlendFuncSeparate, "glBlendFuncSeparate");
    missing += load(_ptrc_glMultiDrawArrays, "glMultiDrawArrays");
    missing += load(_ptrc_glMultiDrawElements, "glMultiDrawElements");
    missing += load(_ptrc_glPointParameterf, "glPointParameterf");
    missing += load(_ptrc_glPointParameterfv, "glPointParameterfv");
    missing += load(_ptrc_glPointParameteri, "glPointParameteri");
    missing += load(_ptrc_glPointParameteriv, "glPointParameteriv");
    missing += load(_ptrc_glBlendColor, "glBlendColor");
    missing += load(_ptrc_glBlendEquation, "glBlendEquation");
    // 1.5
    missing += load(_ptrc_glGenQueries, "glGenQueries");
    missing += load(_ptrc_glDeleteQueries, "glDeleteQueries");
    missing += load(_ptrc_glIsQuery, "glIsQuery");
    missing += load(_ptrc_glBeginQuery, "glBeginQuery");
    missing += load(_ptrc_glEndQuery, "glEndQuery");
    missing += load(_ptrc_glGetQueryiv, "glGetQueryiv");
    missing += load(_ptrc_glGetQueryObjectiv, "glGetQueryObjectiv");
    missing += load(_ptrc_glGetQueryObjectuiv, "glGetQueryObjectuiv");
    missing += load(_ptrc_glBindBuffer, "glBindBuffer");
    missing += load(_ptrc_glDeleteBuffers, "glDeleteBuffers");
    missing += load(_ptrc_glGenBuffers, "glGenBuffers");
    missing += load(_ptrc_glIsBuffer, "glIsBuffer");
    missing += load(_ptrc_glBufferData, "glBufferData");
    missing += load(_ptrc_glBufferSubData, "glBufferSubData");
    missing += load(_ptrc_glGetBufferSubData, "glGetBufferSubData");
    missing += load(_ptrc_glMapBuffer, "glMapBuffer");
    missing += load(_ptrc_glUnmapBuffer, "glUnmapBuffer");
    missing += load(_ptrc_glGetBufferParameteriv, "glGetBufferParameteriv");
    missing += load(_ptrc_glGetBufferPointerv, "glGetBufferPointerv");
    // 2.0
    missing += load(_ptrc_glBlendEquationSeparate, "glBlendEquationSeparate");
    missing += load(_ptrc_glDrawBuffers, "glDrawBuffers");
    missing += load(_ptrc_glStencilOpSeparate, "glStencilOpSeparate");
    missing += load(_ptrc_glStencilFuncSeparate, "glStencilFuncSeparate");
    missing += load(_ptrc_glStencilMaskSeparate, "glStencilMaskSeparate");
    missing += load(_ptrc_glAttachShader, "glAttachShader");
    missing += load(_ptrc_glBindAttribLocation, "glBindAttribLocation");
    missing += load(_ptrc_glCompileShader, "glCompileShader");
    missing += load(_ptrc_glCreateProgram, "glCreateProgram");
    missing += load(_ptrc_glCreateShader, "glCreateShader");
    missing += load(_ptrc_glDeleteProgram, "glDeleteProgram");
    missing += load(_ptrc_glDeleteShader, "glDeleteShader");
    missing += load(_ptrc_glDetachShader, "glDetachShader");
    missing += load(_ptrc_glDisableVertexAttribArray, "glDisableVertexAttribArray");
    missing += load(_ptrc_glEnableVertexAttribArray, "glEnableVertexAttribArray");
    missing += load(_ptrc_glGetActiveAttrib, "glGetActiveAttrib");
    missing += load(_ptrc_glGetActiveUniform, "glGetActiveUniform");
    missing += load(_ptrc_glGetAttachedShaders, "glGetAttachedShaders");
    missing += load(_ptrc_glGetAttribLocation, "glGetAttribLocation");
    missing += load(_ptrc_glGetProgramiv, "glGetProgramiv");
    missing += load(_ptrc_glGetProgramInfoLog, "glGetProgramInfoLog");
    missing += load(_ptrc_glGetShaderiv, "glGetShaderiv");
    missing += load(_ptrc_glGetShaderInfoLog, "glGetShaderInfoLog");
    missing += load(_ptrc_glGetShaderSource, "glGetShaderSource");
    missing += load(_ptrc_glGetUniformLocation, "glGetUniformLocation");
    missing += load(_ptrc_glGetUniformfv, "glGetUniformfv");
    missing += load(_ptrc_glGetUniformiv, "glGetUniformiv");
    missing += load(_ptrc_glGetVertexAttribdv, "glGetVertexAttribdv");
    missing += load(_ptrc_glGetVertexAttribfv, "glGetVertexAttribfv");
    missing += load(_ptrc_glGetVertexAttribiv, "glGetVertexAttribiv");
    missing += load(_ptrc_glGetVertexAttribPointerv, "glGetVertexAttribPointerv");
    missing += load(_ptrc_glIsProgram, "glIsProgram");
    missing += load(_ptrc_glIsShader, "glIsShader");
    missing += load(_ptrc_glLinkProgram, "glLinkProgram");
    missing += load(_ptrc_glShaderSource, "glShaderSource");
    missing += load(_ptrc_glUseProgram, "glUseProgram");
    missing += load(_ptrc_glUniform1f, "glUniform1f");
    missing += load(_ptrc_glUniform2f, "glUniform2f");
    missing += load(_ptrc_glUniform3f, "glUniform3f");
    missing += load(_ptrc_glUniform4f, "glUniform4f");
    missing += load(_ptrc_glUniform1i, "glUniform1i");
    missing += load(_ptrc_glUniform2i, "glUniform2i");
    missing += load(_ptrc_glUniform3i, "glUniform3i");
    missing += load(_ptrc_glUniform4i, "glUniform4i");
    missing += load(_ptrc_glUniform1fv, "glUniform1fv");
    missing += load(_ptrc_glUniform2fv, "glUniform2fv");
    missing += load(_ptrc_glUniform3fv, "glUniform3fv");
    missing += load(_ptrc_glUniform4fv, "glUniform4fv");
    missing += load(_ptrc_glUniform1iv, "glUniform1iv");
    missing += load(_ptrc_glUniform2iv, "glUniform2iv");
    missing += load(_ptrc_glUniform3iv, "glUniform3iv");
    missing += load(_ptrc_glUniform4iv, "glUniform4iv");
    missing += load(_ptrc_glUniformMatrix2fv, "glUniformMatrix2fv");
    missing += load(_ptrc_glUniformMatrix3fv, "glUniformMatrix3fv");
    missing += load(_ptrc_glUniformMatrix4fv, "glUniformMatrix4fv");
    missing += load(_ptrc_glValidateProgram, "glValidateProgram");
    missing += load(_ptrc_glVertexAttrib1d, "glVertexAttrib1d");
    missing += load(_ptrc_glVertexAttrib1dv, "glVertexAttrib1dv");
    missing += load(_ptrc_glVertexAttrib1f, "glVertexAttrib1f");
    missing += load(_ptrc_glVertexAttrib1fv, "glVertexAttrib1fv");
    missing += load(_ptrc_glVertexAttrib1s, "glVertexAttrib1s");
    missing += load(_ptrc_glVertexAttrib1sv, "glVertexAttrib1sv");
    missing += load(_ptrc_glVertexAttrib2d, "glVertexAttrib2d");
    missing += load(_ptrc_glVertexAttrib2dv, "glVertexAttrib2dv");
    missing += load(_ptrc_glVertexAttrib2f, "glVertexAttrib2f");
    missing += load(_ptrc_glVertexAttrib2fv, "glVertexAttrib2fv");
    missing += load(_ptrc_glVertexAttrib2s, "glVertexAttrib2s");
    missing += load(_ptrc_glVertexAttrib2sv, "glVertexAttrib2sv");
    missing += load(_ptrc_glVertexAttrib3d, "glVertexAttrib3d");
    missing += load(_ptrc_glVertexAttrib3dv, "glVertexAttrib3dv");
    missing += load(_ptrc_glVertexAttrib3f, "glVertexAttrib3f");
    missing += load(_ptrc_glVertexAttrib3fv, "glVertexAttrib3fv");
    missing += load(_ptrc_glVertexAttrib3s, "glVertexAttrib3s");
    missing += load(_ptrc_glVertexAttrib3sv, "glVertexAttrib3sv");
    missing += load(_ptrc_glVertexAttrib4Nbv, "glVertexAttrib4Nbv");
    missing += load(_ptrc_glVertexAttrib4Niv, "glVertexAttrib4Niv");
    missing += load(_ptrc_glVertexAttrib4Nsv, "glVertexAttrib4Nsv");
    missing += load(_ptrc_glVertexAttrib4Nub, "glVertexAttrib4Nub");
    missing += load(_ptrc_glVertexAttrib4Nubv, "glVertexAttrib4Nubv");
    missing += load(_ptrc_glVertexAttrib4Nuiv, "glVertexAttrib4Nuiv");
    missing += load(_ptrc_glVertexAttrib4Nusv, "glVertexAttrib4Nusv");
    missing += load(_ptrc_glVertexAttrib4bv, "glVertexAttrib4bv");
    missing += load(_ptrc_glVertexAttrib4d, "glVertexAttrib4d");
    missing += load(_ptrc_glVertexAttrib4dv, "glVertexAttrib4dv");
    missing += load(_ptrc_glVertexAttrib4f, "glVertexAttrib4f");
    missing += load(_ptrc_glVertexAttrib4fv, "glVertexAttrib4fv");
    missing += load(_ptrc_glVertexAttrib4iv, "glVertexAttrib4iv");
    missing += load(_ptrc_glVertexAttrib4s, "glVertexAttrib4s");
    missing += load(_ptrc_glVertexAttrib4sv, "glVertexAttrib4sv");
    missing += load(_ptrc_glVertexAttrib4ubv, "glVertexAttrib4ubv");
    missing += load(_ptrc_glVertexAttrib4uiv, "glVertexAttrib4uiv");
    missing += load(_ptrc_glVertexAttrib4usv, "glVertexAttrib4usv");
    missing += load(_ptrc_glVertexAttribPointer, "glVertexAttribPointer");
    // 2.1
    missing += load(_ptrc_glUniformMatrix2x3fv, "glUniformMatrix2x3fv");
    missing += load(_ptrc_glUniformMatrix3x2fv, "glUniformMatrix3x2fv");
    missing += load(_ptrc_glUniformMatrix2x4fv, "glUniformMatrix2x4fv");
    missing += load(_ptrc_glUniformMatrix4x2fv, "glUniformMatrix4x2fv");
    missing += load(_ptrc_glUniformMatrix3x4fv, "glUniformMatrix3x4fv");
    missing += load(_ptrc_glUniformMatrix4x3fv, "glUniformMatrix4x3fv");
    // 3.0
    missing += load(_ptrc_glColorMaski, "glColorMaski");
    missing += load(_ptrc_glGetBooleani_v, "glGetBooleani_v");
    missing += load(_ptrc_glGetIntegeri_v, "glGetIntegeri_v");
    missing += load(_ptrc_glEnablei, "glEnablei");
    missing += load(_ptrc_glDisablei, "glDisablei");
    missing += load(_ptrc_glIsEnabledi, "glIsEnabledi");
    missing += load(_ptrc_glBeginTransformFeedback, "glBeginTransformFeedback");
    missing += load(_ptrc_glEndTransformFeedback, "glEndTransformFeedback");
    missing += load(_ptrc_glBindBufferRange, "glBindBufferRange");
    missing += load(_ptrc_glBindBufferBase, "glBindBufferBase");
    missing += load(_ptrc_glTransformFeedbackVaryings, "glTransformFeedbackVaryings");
    missing += load(_ptrc_glGetTransformFeedbackVarying, "glGetTransformFeedbackVarying");
    missing += load(_ptrc_glClampColor, "glClampColor");
    missing += load(_ptrc_glBeginConditionalRender, "glBeginConditionalRender");
    missing += load(_ptrc_glEndConditionalRender, "glEndConditionalRender");
    missing += load(_ptrc_glVertexAttribIPointer, "glVertexAttribIPointer");
    missing += load(_ptrc_glGetVertexAttribIiv, "glGetVertexAttribIiv");
    missing += load(_ptrc_glGetVertexAttribIuiv, "glGetVertexAttribIuiv");
    missing += load(_ptrc_glVertexAttribI1i, "glVertexAttribI1i");
    missing += load(_ptrc_glVertexAttribI2i, "glVertexAttribI2i");
    missing += load(_ptrc_glVertexAttribI3i, "glVertexAttribI3i");
    missing += load(_ptrc_glVertexAttribI4i, "glVertexAttribI4i");
    missing += load(_ptrc_glVertexAttribI1ui, "glVertexAttribI1ui");
    missing += load(_ptrc_glVertexAttribI2ui, "glVertexAttribI2ui");
    missing += load(_ptrc_glVertexAttribI3ui, "glVertexAttribI3ui");
    missing += load(_ptrc_glVertexAttribI4ui, "glVertexAttribI4ui");
    missing += load(_ptrc_glVertexAttribI1iv, "glVertexAttribI1iv");
    missing += load(_ptrc_glVertexAttribI2iv, "glVertexAttribI2iv");
    missing += load(_ptrc_glVertexAttribI3iv, "glVertexAttribI3iv");
    missing += load(_ptrc_glVertexAttribI4iv, "glVertexAttribI4iv");
    missing += load(_ptrc_glVertexAttribI1uiv, "glVertexAttribI1uiv");
    missing += load(_ptrc_glVertexAttribI2uiv, "glVertexAttribI2uiv");
    missing += load(_ptrc_glVertexAttribI3uiv, "glVertexAttribI3uiv");
    missing += load(_ptrc_glVertexAttribI4uiv, "glVertexAttribI4uiv");
    missing += load(_ptrc_glVertexAttribI4bv, "glVertexAttribI4bv");
    missing += load(_ptrc_glVertexAttribI4sv, "glVertexAttribI4sv");
    missing += load(_ptrc_glVertexAttribI4ubv, "glVertexAttribI4ubv");
    missing += load(_ptrc_glVertexAttribI4usv, "glVertexAttribI4usv");
    missing += load(_ptrc_glGetUniformuiv, "glGetUniformuiv");
    missing += load(_ptrc_glBindFragDataLocation, "glBindFragDataLocation");
    missing += load(_ptrc_glGetFragDataLocation, "glGetFragDataLocation");
    missing += load(_ptrc_glUniform1ui, "glUniform1ui");
    missing += load(_ptrc_glUniform2ui, "glUniform2ui");
    missing += load(_ptrc_glUniform3ui, "glUniform3ui");
    missing += load(_ptrc_glUniform4ui, "glUniform4ui");
    missing += load(_ptrc_glUniform1uiv, "glUniform1uiv");
    missing += load(_ptrc_glUniform2uiv, "glUniform2uiv");
    missing += load(_ptrc_glUniform3uiv, "glUniform3uiv");
    missing += load(_ptrc_glUniform4uiv, "glUniform4uiv");
    missing += load(_ptrc_glTexParameterIiv, "glTexParameterIiv");
    missing += load(_ptrc_glTexParameterIuiv, "glTexParameterIuiv");
    missing += load(_ptrc_glGetTexParameterIiv, "glGetTexParameterIiv");
    missing += load(_ptrc_glGetTexParameterIuiv, "glGetTexParameterIuiv");
    missing += load(_ptrc_glClearBufferiv, "glClearBufferiv");
    missing += load(_ptrc_glClearBufferuiv, "glClearBufferuiv");
    missing += load(_ptrc_glClearBufferfv, "glClearBufferfv");
    missing += load(_ptrc_glClearBufferfi, "glClearBufferfi");
    missing += load(_ptrc_glGetStringi, "glGetStringi");
    missing += load(_ptrc_glIsRenderbuffer, "glIsRenderbuffer");
    missing += load(_ptrc_glBindRenderbuffer, "glBindRenderbuffer");
    missing += load(_ptrc_glDeleteRenderbuffers, "glDeleteRenderbuffers");
    missing += load(_ptrc_glGenRenderbuffers, "glGenRenderbuffers");
    missing += load(_ptrc_glRenderbufferStorage, "glRenderbufferStorage");
    missing += load(_ptrc_glGetRenderbufferParameteriv, "glGetRenderbufferParameteriv");
    missing += load(_ptrc_glIsFramebuffer, "glIsFramebuffer");
    missing += load(_ptrc_glBindFramebuffer, "glBindFramebuffer");
    missing += load(_ptrc_glDeleteFramebuffers, "glDeleteFramebuffers");
    missing += load(_ptrc_glGenFramebuffers, "glGenFramebuffers");
    missing += load(_ptrc_glCheckFramebufferStatus, "glCheckFramebufferStatus");
    missing += load(_ptrc_glFramebufferTexture1D, "glFramebufferTexture1D");
    missing += load(_ptrc_glFramebufferTexture2D, "glFramebufferTexture2D");
    missing += load(_ptrc_glFramebufferTexture3D, "glFramebufferTexture3D");
    missing += load(_ptrc_glFramebufferRenderbuffer, "glFramebufferRenderbuffer");
    missing += load(_ptrc_glGetFramebufferAttachmentParameteriv, "glGetFramebufferAttachmentParameteriv");
    missing += load(_ptrc_glGenerateMipmap, "glGenerateMipmap");
    missing += load(_ptrc_glBlitFramebuffer, "glBlitFramebuffer");
    missing += load(_ptrc_glRenderbufferStorageMultisample, "glRenderbufferStorageMultisample");
    missing += load(_ptrc_glFramebufferTextureLayer, "glFramebufferTextureLayer");
    missing += load(_ptrc_glMapBufferRange, "glMapBufferRange");
    missing += load(_ptrc_glFlushMappedBufferRange, "glFlushMappedBufferRange");
    missing += load(_ptrc_glBindVertexArray, "glBindVertexArray");
    missing += load(_ptrc_glDeleteVertexArrays, "glDeleteVertexArrays");
    missing += load(_ptrc_glGenVertexArrays, "glGenVertexArrays");
    missing += load(_ptrc_glIsVertexArray, "glIsVertexArray");
    // 3.1
    missing += load(_ptrc_glDrawArraysInstanced, "glDrawArraysInstanced");
    missing += load(_ptrc_glDrawElementsInstanced, "glDrawElementsInstanced");
    missing += load(_ptrc_glTexBuffer, "glTexBuffer");
    missing += load(_ptrc_glPrimitiveRestartIndex, "glPrimitiveRestartIndex");
    missing += load(_ptrc_glCopyBufferSubData, "glCopyBufferSubData");
    missing += load(_ptrc_glGetUniformIndices, "glGetUniformIndices");
    missing += load(_ptrc_glGetActiveUniformsiv, "glGetActiveUniformsiv");
    missing += load(_ptrc_glGetActiveUniformName, "glGetActiveUniformName");
    missing += load(_ptrc_glGetUniformBlockIndex, "glGetUniformBlockIndex");
    missing += load(_ptrc_glGetActiveUniformBlockiv, "glGetActiveUniformBlockiv");
    missing += load(_ptrc_glGetActiveUniformBlockName, "glGetActiveUniformBlockName");
    missing += load(_ptrc_glUniformBlockBinding, "glUniformBlockBinding");
    // 3.2
    missing += load(_ptrc_glDrawElementsBaseVertex, "glDrawElementsBaseVertex");
    missing += load(_ptrc_glDrawRangeElementsBaseVertex, "glDrawRangeElementsBaseVertex");
    missing += load(_ptrc_glDrawElementsInstancedBaseVertex, "glDrawElementsInstancedBaseVertex");
    missing += load(_ptrc_glMultiDrawElementsBaseVertex, "glMultiDrawElementsBaseVertex");
    missing += load(_ptrc_glProvokingVertex, "glProvokingVertex");
    missing += load(_ptrc_glFenceSync, "glFenceSync");
    missing += load(_ptrc_glIsSync, "glIsSync");
    missing += load(_ptrc_glDeleteSync, "glDeleteSync");
    missing += load(_ptrc_glClientWaitSync, "glClientWaitSync");
    missing += load(_ptrc_glWaitSync, "glWaitSync");
    missing += load(_ptrc_glGetInteger64v, "glGetInteger64v");
    missing += load(_ptrc_glGetSynciv, "glGetSynciv");
    missing += load(_ptrc_glGetInteger64i_v, "glGetInteger64i_v");
    missing += load(_ptrc_glGetBufferParameteri64v, "glGetBufferParameteri64v");
    missing += load(_ptrc_glFramebufferTexture, "glFramebufferTexture");
    missing += load(_ptrc_glTexImage2DMultisample, "glTexImage2DMultisample");
    missing += load(_ptrc_glTexImage3DMultisample, "glTexImage3DMultisample");
    missing += load(_ptrc_glGetMultisamplefv, "glGetMultisamplefv");
    missing += load(_ptrc_glSampleMaski, "glSampleMaski");
    return missing;
}

struct ExtensionMapRow
{
    const char *name;
    int *flag;
    int (*loadFunctions)(); ///< null if the extension has none
};

const ExtensionMapRow kExtensionMap[] = {
    {"GL_ARB_draw_indirect", &ogl_ext_ARB_draw_indirect, &load_ARB_draw_indirect},
    {"GL_ARB_multi_draw_indirect", &ogl_ext_ARB_multi_draw_indirect, &load_ARB_multi_draw_indirect},
    {"GL_ARB_tessellation_shader", &ogl_ext_ARB_tessellation_shader, &load_ARB_tessellation_shader},
    {"GL_ARB_texture_cube_map_array", &ogl_ext_ARB_texture_cube_map_array, nullptr},
    {"GL_ARB_shader_atomic_counters", &ogl_ext_ARB_shader_atomic_counters, &load_ARB_shader_atomic_counters},
    {"GL_ARB_shader_image_load_store", &ogl_ext_ARB_shader_image_load_store, &load_ARB_shader_image_load_store},
};

void loadExtension(const char *name)
{
    for (const ExtensionMapRow &row : kExtensionMap) {
        if (std::strcmp(row.name, name) == 0) {
            *row.flag = 1 + (row.loadFunctions != nullptr ? row.loadFunctions() : 0);
        }
    }
}

int majorVersion = 0; ///< 0: nothing is cached yet
int minorVersion = 0;

void cacheVersion()
{
    ZEL_ASSERT_RETURN(nullptr != glGetIntegerv, , "initializeGLFunctions() must be called first");
    if (majorVersion == 0) {
        glGetIntegerv(GL_MAJOR_VERSION, &majorVersion);
        glGetIntegerv(GL_MINOR_VERSION, &minorVersion);
    }
}

} // namespace

int ogl_LoadFunctions()
{
    for (const ExtensionMapRow &row : kExtensionMap) {
        *row.flag = 0;
    }
    int missing = load(_ptrc_glGetIntegerv, "glGetIntegerv");
    missing += load(_ptrc_glGetStringi, "glGetStringi");
    if (missing != 0) {
        return 0;
    }
    GLint extensionCount = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &extensionCount);
    for (GLint i = 0; i < extensionCount; ++i) {
        const GLubyte *name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i));
        if (name != nullptr) {
            loadExtension(reinterpret_cast<const char *>(name));
        }
    }
    return 1 + loadCore();
}

int ogl_GetMajorVersion()
{
    cacheVersion();
    return majorVersion;
}

int ogl_GetMinorVersion()
{
    cacheVersion();
    return minorVersion;
}

int ogl_IsVersionGEQ(int major, int minor)
{
    cacheVersion();
    // Required: hosts depend on the direction, which is opposite to the name; see GLLoaderTest.
    if (major != majorVersion) {
        return major > majorVersion ? 1 : 0;
    }
    return minorVersion <= minor ? 1 : 0;
}
