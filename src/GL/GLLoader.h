// Generated, do not edit: tools/glloader/generate.py src/GL
#pragma once

/// \file
/// The table of OpenGL entry points.
///
/// Each GL function of the core profile up to 3.2 and of six extensions has one
/// exported, writable pointer `_ptrc_gl*`. It is null until ogl_LoadFunctions() sets
/// it. With the macros at the end of the file, `glBindBuffer(...)` calls through this
/// pointer. A program may replace a pointer to count or fake calls.
///
/// The macros would also rename the members of Qt's QOpenGLFunctions. A source that
/// calls those members defines ZELGL_NO_GL_NAMES before it includes any header of the
/// library, which leaves the macros out.
///
/// Context: ogl_LoadFunctions() and the version queries need a current context.
/// Errors:  a missing entry point leaves its pointer null and is only counted. The
///          version queries log an assertion and return 0 before the table is loaded.
/// Source:  the Khronos registry, gl.xml; types and enumerators of GL/glcorearb.h.

#include "Export.h"

// Qt declares the prototypes of GL 1.x, and classes whose members have the names of GL functions; it undefines these names
// first. All of this must precede the macros below.
#include <QtGui/qopenglextrafunctions.h>
#include <QtGui/qopenglfunctions.h>

#include <GL/glcorearb.h>

#ifndef APIENTRY
#define APIENTRY
#endif

extern "C" {

/// 0: not advertised; 1: advertised, all functions found; 1 + n: advertised, n functions missing.
extern ZELGL_EXPORT int ogl_ext_ARB_draw_indirect;
extern ZELGL_EXPORT int ogl_ext_ARB_multi_draw_indirect;
extern ZELGL_EXPORT int ogl_ext_ARB_tessellation_shader;
extern ZELGL_EXPORT int ogl_ext_ARB_texture_cube_map_array;
extern ZELGL_EXPORT int ogl_ext_ARB_shader_atomic_counters;
extern ZELGL_EXPORT int ogl_ext_ARB_shader_image_load_store;

// OpenGL 1.0
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCullFace)(GLenum mode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFrontFace)(GLenum mode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glHint)(GLenum target, GLenum mode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glLineWidth)(GLfloat width);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPointSize)(GLfloat size);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPolygonMode)(GLenum face, GLenum mode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glScissor)(GLint x, GLint y, GLsizei width, GLsizei height);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameterf)(GLenum target, GLenum pname, GLfloat param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameterfv)(GLenum target, GLenum pname, const GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameteri)(GLenum target, GLenum pname, GLint param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameteriv)(GLenum target, GLenum pname, const GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexImage1D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLint border, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexImage2D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLint border, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawBuffer)(GLenum buf);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClear)(GLbitfield mask);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearColor)(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearStencil)(GLint s);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearDepth)(GLdouble depth);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilMask)(GLuint mask);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glColorMask)(GLboolean red, GLboolean green, GLboolean blue, GLboolean alpha);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDepthMask)(GLboolean flag);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDisable)(GLenum cap);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEnable)(GLenum cap);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFinish)();
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFlush)();
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlendFunc)(GLenum sfactor, GLenum dfactor);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glLogicOp)(GLenum opcode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilFunc)(GLenum func, GLint ref, GLuint mask);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilOp)(GLenum fail, GLenum zfail, GLenum zpass);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDepthFunc)(GLenum func);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPixelStoref)(GLenum pname, GLfloat param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPixelStorei)(GLenum pname, GLint param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glReadBuffer)(GLenum src);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glReadPixels)(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type, void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBooleanv)(GLenum pname, GLboolean *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetDoublev)(GLenum pname, GLdouble *data);
extern ZELGL_EXPORT GLenum (APIENTRY *_ptrc_glGetError)();
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetFloatv)(GLenum pname, GLfloat *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetIntegerv)(GLenum pname, GLint *data);
extern ZELGL_EXPORT const GLubyte * (APIENTRY *_ptrc_glGetString)(GLenum name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexImage)(GLenum target, GLint level, GLenum format, GLenum type, void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexParameterfv)(GLenum target, GLenum pname, GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexParameteriv)(GLenum target, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexLevelParameterfv)(GLenum target, GLint level, GLenum pname, GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexLevelParameteriv)(GLenum target, GLint level, GLenum pname, GLint *params);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsEnabled)(GLenum cap);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDepthRange)(GLdouble n, GLdouble f);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glViewport)(GLint x, GLint y, GLsizei width, GLsizei height);

// OpenGL 1.1
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawArrays)(GLenum mode, GLint first, GLsizei count);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawElements)(GLenum mode, GLsizei count, GLenum type, const void *indices);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPolygonOffset)(GLfloat factor, GLfloat units);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyTexImage1D)(GLenum target, GLint level, GLenum internalformat, GLint x, GLint y, GLsizei width, GLint border);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyTexImage2D)(GLenum target, GLint level, GLenum internalformat, GLint x, GLint y, GLsizei width, GLsizei height, GLint border);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLint x, GLint y, GLsizei width);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint x, GLint y, GLsizei width, GLsizei height);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLsizei width, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width, GLsizei height, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindTexture)(GLenum target, GLuint texture);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteTextures)(GLsizei n, const GLuint *textures);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenTextures)(GLsizei n, GLuint *textures);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsTexture)(GLuint texture);

// OpenGL 1.2
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawRangeElements)(GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type, const void *indices);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexImage3D)(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLsizei depth, GLint border, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLenum type, const void *pixels);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLint x, GLint y, GLsizei width, GLsizei height);

// OpenGL 1.3
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glActiveTexture)(GLenum texture);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glSampleCoverage)(GLfloat value, GLboolean invert);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexImage3D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLsizei depth, GLint border, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexImage2D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLsizei height, GLint border, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexImage1D)(GLenum target, GLint level, GLenum internalformat, GLsizei width, GLint border, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexSubImage3D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint zoffset, GLsizei width, GLsizei height, GLsizei depth, GLenum format, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexSubImage2D)(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width, GLsizei height, GLenum format, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompressedTexSubImage1D)(GLenum target, GLint level, GLint xoffset, GLsizei width, GLenum format, GLsizei imageSize, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetCompressedTexImage)(GLenum target, GLint level, void *img);

// OpenGL 1.4
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlendFuncSeparate)(GLenum sfactorRGB, GLenum dfactorRGB, GLenum sfactorAlpha, GLenum dfactorAlpha);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMultiDrawArrays)(GLenum mode, const GLint *first, const GLsizei *count, GLsizei drawcount);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMultiDrawElements)(GLenum mode, const GLsizei *count, GLenum type, const void *const  *indices, GLsizei drawcount);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPointParameterf)(GLenum pname, GLfloat param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPointParameterfv)(GLenum pname, const GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPointParameteri)(GLenum pname, GLint param);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPointParameteriv)(GLenum pname, const GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlendColor)(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlendEquation)(GLenum mode);

// OpenGL 1.5
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenQueries)(GLsizei n, GLuint *ids);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteQueries)(GLsizei n, const GLuint *ids);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsQuery)(GLuint id);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBeginQuery)(GLenum target, GLuint id);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEndQuery)(GLenum target);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetQueryiv)(GLenum target, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetQueryObjectiv)(GLuint id, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetQueryObjectuiv)(GLuint id, GLenum pname, GLuint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindBuffer)(GLenum target, GLuint buffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteBuffers)(GLsizei n, const GLuint *buffers);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenBuffers)(GLsizei n, GLuint *buffers);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsBuffer)(GLuint buffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBufferData)(GLenum target, GLsizeiptr size, const void *data, GLenum usage);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBufferSubData)(GLenum target, GLintptr offset, GLsizeiptr size, const void *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBufferSubData)(GLenum target, GLintptr offset, GLsizeiptr size, void *data);
extern ZELGL_EXPORT void * (APIENTRY *_ptrc_glMapBuffer)(GLenum target, GLenum access);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glUnmapBuffer)(GLenum target);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBufferParameteriv)(GLenum target, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBufferPointerv)(GLenum target, GLenum pname, void * *params);

// OpenGL 2.0
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlendEquationSeparate)(GLenum modeRGB, GLenum modeAlpha);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawBuffers)(GLsizei n, const GLenum *bufs);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilOpSeparate)(GLenum face, GLenum sfail, GLenum dpfail, GLenum dppass);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilFuncSeparate)(GLenum face, GLenum func, GLint ref, GLuint mask);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glStencilMaskSeparate)(GLenum face, GLuint mask);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glAttachShader)(GLuint program, GLuint shader);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindAttribLocation)(GLuint program, GLuint index, const GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCompileShader)(GLuint shader);
extern ZELGL_EXPORT GLuint (APIENTRY *_ptrc_glCreateProgram)();
extern ZELGL_EXPORT GLuint (APIENTRY *_ptrc_glCreateShader)(GLenum type);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteProgram)(GLuint program);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteShader)(GLuint shader);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDetachShader)(GLuint program, GLuint shader);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDisableVertexAttribArray)(GLuint index);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEnableVertexAttribArray)(GLuint index);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveAttrib)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLint *size, GLenum *type, GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveUniform)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLint *size, GLenum *type, GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetAttachedShaders)(GLuint program, GLsizei maxCount, GLsizei *count, GLuint *shaders);
extern ZELGL_EXPORT GLint (APIENTRY *_ptrc_glGetAttribLocation)(GLuint program, const GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetProgramiv)(GLuint program, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetProgramInfoLog)(GLuint program, GLsizei bufSize, GLsizei *length, GLchar *infoLog);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetShaderiv)(GLuint shader, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetShaderInfoLog)(GLuint shader, GLsizei bufSize, GLsizei *length, GLchar *infoLog);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetShaderSource)(GLuint shader, GLsizei bufSize, GLsizei *length, GLchar *source);
extern ZELGL_EXPORT GLint (APIENTRY *_ptrc_glGetUniformLocation)(GLuint program, const GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetUniformfv)(GLuint program, GLint location, GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetUniformiv)(GLuint program, GLint location, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribdv)(GLuint index, GLenum pname, GLdouble *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribfv)(GLuint index, GLenum pname, GLfloat *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribiv)(GLuint index, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribPointerv)(GLuint index, GLenum pname, void * *pointer);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsProgram)(GLuint program);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsShader)(GLuint shader);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glLinkProgram)(GLuint program);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glShaderSource)(GLuint shader, GLsizei count, const GLchar *const  *string, const GLint *length);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUseProgram)(GLuint program);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1f)(GLint location, GLfloat v0);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2f)(GLint location, GLfloat v0, GLfloat v1);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3f)(GLint location, GLfloat v0, GLfloat v1, GLfloat v2);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4f)(GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1i)(GLint location, GLint v0);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2i)(GLint location, GLint v0, GLint v1);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3i)(GLint location, GLint v0, GLint v1, GLint v2);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4i)(GLint location, GLint v0, GLint v1, GLint v2, GLint v3);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1fv)(GLint location, GLsizei count, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2fv)(GLint location, GLsizei count, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3fv)(GLint location, GLsizei count, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4fv)(GLint location, GLsizei count, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1iv)(GLint location, GLsizei count, const GLint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2iv)(GLint location, GLsizei count, const GLint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3iv)(GLint location, GLsizei count, const GLint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4iv)(GLint location, GLsizei count, const GLint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glValidateProgram)(GLuint program);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1d)(GLuint index, GLdouble x);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1dv)(GLuint index, const GLdouble *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1f)(GLuint index, GLfloat x);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1fv)(GLuint index, const GLfloat *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1s)(GLuint index, GLshort x);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib1sv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2d)(GLuint index, GLdouble x, GLdouble y);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2dv)(GLuint index, const GLdouble *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2f)(GLuint index, GLfloat x, GLfloat y);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2fv)(GLuint index, const GLfloat *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2s)(GLuint index, GLshort x, GLshort y);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib2sv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3d)(GLuint index, GLdouble x, GLdouble y, GLdouble z);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3dv)(GLuint index, const GLdouble *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3f)(GLuint index, GLfloat x, GLfloat y, GLfloat z);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3fv)(GLuint index, const GLfloat *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3s)(GLuint index, GLshort x, GLshort y, GLshort z);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib3sv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nbv)(GLuint index, const GLbyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Niv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nsv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nub)(GLuint index, GLubyte x, GLubyte y, GLubyte z, GLubyte w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nubv)(GLuint index, const GLubyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nuiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4Nusv)(GLuint index, const GLushort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4bv)(GLuint index, const GLbyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4d)(GLuint index, GLdouble x, GLdouble y, GLdouble z, GLdouble w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4dv)(GLuint index, const GLdouble *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4f)(GLuint index, GLfloat x, GLfloat y, GLfloat z, GLfloat w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4fv)(GLuint index, const GLfloat *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4iv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4s)(GLuint index, GLshort x, GLshort y, GLshort z, GLshort w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4sv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4ubv)(GLuint index, const GLubyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4uiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttrib4usv)(GLuint index, const GLushort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribPointer)(GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride, const void *pointer);

// OpenGL 2.1
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix2x3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix3x2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix2x4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix4x2fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix3x4fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformMatrix4x3fv)(GLint location, GLsizei count, GLboolean transpose, const GLfloat *value);

// OpenGL 3.0
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glColorMaski)(GLuint index, GLboolean r, GLboolean g, GLboolean b, GLboolean a);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBooleani_v)(GLenum target, GLuint index, GLboolean *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetIntegeri_v)(GLenum target, GLuint index, GLint *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEnablei)(GLenum target, GLuint index);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDisablei)(GLenum target, GLuint index);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsEnabledi)(GLenum target, GLuint index);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBeginTransformFeedback)(GLenum primitiveMode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEndTransformFeedback)();
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindBufferRange)(GLenum target, GLuint index, GLuint buffer, GLintptr offset, GLsizeiptr size);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindBufferBase)(GLenum target, GLuint index, GLuint buffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTransformFeedbackVaryings)(GLuint program, GLsizei count, const GLchar *const  *varyings, GLenum bufferMode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTransformFeedbackVarying)(GLuint program, GLuint index, GLsizei bufSize, GLsizei *length, GLsizei *size, GLenum *type, GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClampColor)(GLenum target, GLenum clamp);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBeginConditionalRender)(GLuint id, GLenum mode);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glEndConditionalRender)();
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribIPointer)(GLuint index, GLint size, GLenum type, GLsizei stride, const void *pointer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribIiv)(GLuint index, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetVertexAttribIuiv)(GLuint index, GLenum pname, GLuint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI1i)(GLuint index, GLint x);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI2i)(GLuint index, GLint x, GLint y);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI3i)(GLuint index, GLint x, GLint y, GLint z);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4i)(GLuint index, GLint x, GLint y, GLint z, GLint w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI1ui)(GLuint index, GLuint x);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI2ui)(GLuint index, GLuint x, GLuint y);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI3ui)(GLuint index, GLuint x, GLuint y, GLuint z);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4ui)(GLuint index, GLuint x, GLuint y, GLuint z, GLuint w);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI1iv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI2iv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI3iv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4iv)(GLuint index, const GLint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI1uiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI2uiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI3uiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4uiv)(GLuint index, const GLuint *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4bv)(GLuint index, const GLbyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4sv)(GLuint index, const GLshort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4ubv)(GLuint index, const GLubyte *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glVertexAttribI4usv)(GLuint index, const GLushort *v);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetUniformuiv)(GLuint program, GLint location, GLuint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindFragDataLocation)(GLuint program, GLuint color, const GLchar *name);
extern ZELGL_EXPORT GLint (APIENTRY *_ptrc_glGetFragDataLocation)(GLuint program, const GLchar *name);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1ui)(GLint location, GLuint v0);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2ui)(GLint location, GLuint v0, GLuint v1);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3ui)(GLint location, GLuint v0, GLuint v1, GLuint v2);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4ui)(GLint location, GLuint v0, GLuint v1, GLuint v2, GLuint v3);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform1uiv)(GLint location, GLsizei count, const GLuint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform2uiv)(GLint location, GLsizei count, const GLuint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform3uiv)(GLint location, GLsizei count, const GLuint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniform4uiv)(GLint location, GLsizei count, const GLuint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameterIiv)(GLenum target, GLenum pname, const GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexParameterIuiv)(GLenum target, GLenum pname, const GLuint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexParameterIiv)(GLenum target, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetTexParameterIuiv)(GLenum target, GLenum pname, GLuint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearBufferiv)(GLenum buffer, GLint drawbuffer, const GLint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearBufferuiv)(GLenum buffer, GLint drawbuffer, const GLuint *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearBufferfv)(GLenum buffer, GLint drawbuffer, const GLfloat *value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glClearBufferfi)(GLenum buffer, GLint drawbuffer, GLfloat depth, GLint stencil);
extern ZELGL_EXPORT const GLubyte * (APIENTRY *_ptrc_glGetStringi)(GLenum name, GLuint index);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsRenderbuffer)(GLuint renderbuffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindRenderbuffer)(GLenum target, GLuint renderbuffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteRenderbuffers)(GLsizei n, const GLuint *renderbuffers);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenRenderbuffers)(GLsizei n, GLuint *renderbuffers);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glRenderbufferStorage)(GLenum target, GLenum internalformat, GLsizei width, GLsizei height);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetRenderbufferParameteriv)(GLenum target, GLenum pname, GLint *params);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsFramebuffer)(GLuint framebuffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindFramebuffer)(GLenum target, GLuint framebuffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteFramebuffers)(GLsizei n, const GLuint *framebuffers);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenFramebuffers)(GLsizei n, GLuint *framebuffers);
extern ZELGL_EXPORT GLenum (APIENTRY *_ptrc_glCheckFramebufferStatus)(GLenum target);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferTexture1D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferTexture2D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferTexture3D)(GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level, GLint zoffset);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferRenderbuffer)(GLenum target, GLenum attachment, GLenum renderbuffertarget, GLuint renderbuffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetFramebufferAttachmentParameteriv)(GLenum target, GLenum attachment, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenerateMipmap)(GLenum target);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBlitFramebuffer)(GLint srcX0, GLint srcY0, GLint srcX1, GLint srcY1, GLint dstX0, GLint dstY0, GLint dstX1, GLint dstY1, GLbitfield mask, GLenum filter);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glRenderbufferStorageMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferTextureLayer)(GLenum target, GLenum attachment, GLuint texture, GLint level, GLint layer);
extern ZELGL_EXPORT void * (APIENTRY *_ptrc_glMapBufferRange)(GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFlushMappedBufferRange)(GLenum target, GLintptr offset, GLsizeiptr length);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindVertexArray)(GLuint array);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteVertexArrays)(GLsizei n, const GLuint *arrays);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGenVertexArrays)(GLsizei n, GLuint *arrays);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsVertexArray)(GLuint array);

// OpenGL 3.1
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawArraysInstanced)(GLenum mode, GLint first, GLsizei count, GLsizei instancecount);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawElementsInstanced)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instancecount);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexBuffer)(GLenum target, GLenum internalformat, GLuint buffer);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPrimitiveRestartIndex)(GLuint index);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glCopyBufferSubData)(GLenum readTarget, GLenum writeTarget, GLintptr readOffset, GLintptr writeOffset, GLsizeiptr size);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetUniformIndices)(GLuint program, GLsizei uniformCount, const GLchar *const  *uniformNames, GLuint *uniformIndices);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveUniformsiv)(GLuint program, GLsizei uniformCount, const GLuint *uniformIndices, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveUniformName)(GLuint program, GLuint uniformIndex, GLsizei bufSize, GLsizei *length, GLchar *uniformName);
extern ZELGL_EXPORT GLuint (APIENTRY *_ptrc_glGetUniformBlockIndex)(GLuint program, const GLchar *uniformBlockName);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveUniformBlockiv)(GLuint program, GLuint uniformBlockIndex, GLenum pname, GLint *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveUniformBlockName)(GLuint program, GLuint uniformBlockIndex, GLsizei bufSize, GLsizei *length, GLchar *uniformBlockName);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glUniformBlockBinding)(GLuint program, GLuint uniformBlockIndex, GLuint uniformBlockBinding);

// OpenGL 3.2
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawElementsBaseVertex)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLint basevertex);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawRangeElementsBaseVertex)(GLenum mode, GLuint start, GLuint end, GLsizei count, GLenum type, const void *indices, GLint basevertex);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawElementsInstancedBaseVertex)(GLenum mode, GLsizei count, GLenum type, const void *indices, GLsizei instancecount, GLint basevertex);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMultiDrawElementsBaseVertex)(GLenum mode, const GLsizei *count, GLenum type, const void *const  *indices, GLsizei drawcount, const GLint *basevertex);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glProvokingVertex)(GLenum mode);
extern ZELGL_EXPORT GLsync (APIENTRY *_ptrc_glFenceSync)(GLenum condition, GLbitfield flags);
extern ZELGL_EXPORT GLboolean (APIENTRY *_ptrc_glIsSync)(GLsync sync);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDeleteSync)(GLsync sync);
extern ZELGL_EXPORT GLenum (APIENTRY *_ptrc_glClientWaitSync)(GLsync sync, GLbitfield flags, GLuint64 timeout);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glWaitSync)(GLsync sync, GLbitfield flags, GLuint64 timeout);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetInteger64v)(GLenum pname, GLint64 *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetSynciv)(GLsync sync, GLenum pname, GLsizei count, GLsizei *length, GLint *values);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetInteger64i_v)(GLenum target, GLuint index, GLint64 *data);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetBufferParameteri64v)(GLenum target, GLenum pname, GLint64 *params);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glFramebufferTexture)(GLenum target, GLenum attachment, GLuint texture, GLint level);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexImage2DMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height, GLboolean fixedsamplelocations);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glTexImage3DMultisample)(GLenum target, GLsizei samples, GLenum internalformat, GLsizei width, GLsizei height, GLsizei depth, GLboolean fixedsamplelocations);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetMultisamplefv)(GLenum pname, GLuint index, GLfloat *val);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glSampleMaski)(GLuint maskNumber, GLbitfield mask);

// GL_ARB_draw_indirect
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawArraysIndirect)(GLenum mode, const void *indirect);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glDrawElementsIndirect)(GLenum mode, GLenum type, const void *indirect);

// GL_ARB_multi_draw_indirect
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMultiDrawArraysIndirect)(GLenum mode, const void *indirect, GLsizei drawcount, GLsizei stride);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMultiDrawElementsIndirect)(GLenum mode, GLenum type, const void *indirect, GLsizei drawcount, GLsizei stride);

// GL_ARB_tessellation_shader
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPatchParameteri)(GLenum pname, GLint value);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glPatchParameterfv)(GLenum pname, const GLfloat *values);

// GL_ARB_shader_atomic_counters
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glGetActiveAtomicCounterBufferiv)(GLuint program, GLuint bufferIndex, GLenum pname, GLint *params);

// GL_ARB_shader_image_load_store
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glBindImageTexture)(GLuint unit, GLuint texture, GLint level, GLboolean layered, GLint layer, GLenum access, GLenum format);
extern ZELGL_EXPORT void (APIENTRY *_ptrc_glMemoryBarrier)(GLbitfield barriers);

/// Loads the table. Returns 0 on failure, otherwise 1 + the number of core functions that are missing.
ZELGL_EXPORT int ogl_LoadFunctions();

/// The version of the context that was current in the first call of either; cached for the process.
ZELGL_EXPORT int ogl_GetMajorVersion();
ZELGL_EXPORT int ogl_GetMinorVersion();

/// Compares in the opposite direction to its name; use openGlVersionSupported() instead.
ZELGL_EXPORT int ogl_IsVersionGEQ(int major, int minor);

} // extern "C"

#ifndef ZELGL_NO_GL_NAMES
#define glCullFace _ptrc_glCullFace
#define glFrontFace _ptrc_glFrontFace
#define glHint _ptrc_glHint
#define glLineWidth _ptrc_glLineWidth
#define glPointSize _ptrc_glPointSize
#define glPolygonMode _ptrc_glPolygonMode
#define glScissor _ptrc_glScissor
#define glTexParameterf _ptrc_glTexParameterf
#define glTexParameterfv _ptrc_glTexParameterfv
#define glTexParameteri _ptrc_glTexParameteri
#define glTexParameteriv _ptrc_glTexParameteriv
#define glTexImage1D _ptrc_glTexImage1D
#define glTexImage2D _ptrc_glTexImage2D
#define glDrawBuffer _ptrc_glDrawBuffer
#define glClear _ptrc_glClear
#define glClearColor _ptrc_glClearColor
#define glClearStencil _ptrc_glClearStencil
#define glClearDepth _ptrc_glClearDepth
#define glStencilMask _ptrc_glStencilMask
#define glColorMask _ptrc_glColorMask
#define glDepthMask _ptrc_glDepthMask
#define glDisable _ptrc_glDisable
#define glEnable _ptrc_glEnable
#define glFinish _ptrc_glFinish
#define glFlush _ptrc_glFlush
#define glBlendFunc _ptrc_glBlendFunc
#define glLogicOp _ptrc_glLogicOp
#define glStencilFunc _ptrc_glStencilFunc
#define glStencilOp _ptrc_glStencilOp
#define glDepthFunc _ptrc_glDepthFunc
#define glPixelStoref _ptrc_glPixelStoref
#define glPixelStorei _ptrc_glPixelStorei
#define glReadBuffer _ptrc_glReadBuffer
#define glReadPixels _ptrc_glReadPixels
#define glGetBooleanv _ptrc_glGetBooleanv
#define glGetDoublev _ptrc_glGetDoublev
#define glGetError _ptrc_glGetError
#define glGetFloatv _ptrc_glGetFloatv
#define glGetIntegerv _ptrc_glGetIntegerv
#define glGetString _ptrc_glGetString
#define glGetTexImage _ptrc_glGetTexImage
#define glGetTexParameterfv _ptrc_glGetTexParameterfv
#define glGetTexParameteriv _ptrc_glGetTexParameteriv
#define glGetTexLevelParameterfv _ptrc_glGetTexLevelParameterfv
#define glGetTexLevelParameteriv _ptrc_glGetTexLevelParameteriv
#define glIsEnabled _ptrc_glIsEnabled
#define glDepthRange _ptrc_glDepthRange
#define glViewport _ptrc_glViewport
#define glDrawArrays _ptrc_glDrawArrays
#define glDrawElements _ptrc_glDrawElements
#define glPolygonOffset _ptrc_glPolygonOffset
#define glCopyTexImage1D _ptrc_glCopyTexImage1D
#define glCopyTexImage2D _ptrc_glCopyTexImage2D
#define glCopyTexSubImage1D _ptrc_glCopyTexSubImage1D
#define glCopyTexSubImage2D _ptrc_glCopyTexSubImage2D
#define glTexSubImage1D _ptrc_glTexSubImage1D
#define glTexSubImage2D _ptrc_glTexSubImage2D
#define glBindTexture _ptrc_glBindTexture
#define glDeleteTextures _ptrc_glDeleteTextures
#define glGenTextures _ptrc_glGenTextures
#define glIsTexture _ptrc_glIsTexture
#define glDrawRangeElements _ptrc_glDrawRangeElements
#define glTexImage3D _ptrc_glTexImage3D
#define glTexSubImage3D _ptrc_glTexSubImage3D
#define glCopyTexSubImage3D _ptrc_glCopyTexSubImage3D
#define glActiveTexture _ptrc_glActiveTexture
#define glSampleCoverage _ptrc_glSampleCoverage
#define glCompressedTexImage3D _ptrc_glCompressedTexImage3D
#define glCompressedTexImage2D _ptrc_glCompressedTexImage2D
#define glCompressedTexImage1D _ptrc_glCompressedTexImage1D
#define glCompressedTexSubImage3D _ptrc_glCompressedTexSubImage3D
#define glCompressedTexSubImage2D _ptrc_glCompressedTexSubImage2D
#define glCompressedTexSubImage1D _ptrc_glCompressedTexSubImage1D
#define glGetCompressedTexImage _ptrc_glGetCompressedTexImage
#define glBlendFuncSeparate _ptrc_glBlendFuncSeparate
#define glMultiDrawArrays _ptrc_glMultiDrawArrays
#define glMultiDrawElements _ptrc_glMultiDrawElements
#define glPointParameterf _ptrc_glPointParameterf
#define glPointParameterfv _ptrc_glPointParameterfv
#define glPointParameteri _ptrc_glPointParameteri
#define glPointParameteriv _ptrc_glPointParameteriv
#define glBlendColor _ptrc_glBlendColor
#define glBlendEquation _ptrc_glBlendEquation
#define glGenQueries _ptrc_glGenQueries
#define glDeleteQueries _ptrc_glDeleteQueries
#define glIsQuery _ptrc_glIsQuery
#define glBeginQuery _ptrc_glBeginQuery
#define glEndQuery _ptrc_glEndQuery
#define glGetQueryiv _ptrc_glGetQueryiv
#define glGetQueryObjectiv _ptrc_glGetQueryObjectiv
#define glGetQueryObjectuiv _ptrc_glGetQueryObjectuiv
#define glBindBuffer _ptrc_glBindBuffer
#define glDeleteBuffers _ptrc_glDeleteBuffers
#define glGenBuffers _ptrc_glGenBuffers
#define glIsBuffer _ptrc_glIsBuffer
#define glBufferData _ptrc_glBufferData
#define glBufferSubData _ptrc_glBufferSubData
#define glGetBufferSubData _ptrc_glGetBufferSubData
#define glMapBuffer _ptrc_glMapBuffer
#define glUnmapBuffer _ptrc_glUnmapBuffer
#define glGetBufferParameteriv _ptrc_glGetBufferParameteriv
#define glGetBufferPointerv _ptrc_glGetBufferPointerv
#define glBlendEquationSeparate _ptrc_glBlendEquationSeparate
#define glDrawBuffers _ptrc_glDrawBuffers
#define glStencilOpSeparate _ptrc_glStencilOpSeparate
#define glStencilFuncSeparate _ptrc_glStencilFuncSeparate
#define glStencilMaskSeparate _ptrc_glStencilMaskSeparate
#define glAttachShader _ptrc_glAttachShader
#define glBindAttribLocation _ptrc_glBindAttribLocation
#define glCompileShader _ptrc_glCompileShader
#define glCreateProgram _ptrc_glCreateProgram
#define glCreateShader _ptrc_glCreateShader
#define glDeleteProgram _ptrc_glDeleteProgram
#define glDeleteShader _ptrc_glDeleteShader
#define glDetachShader _ptrc_glDetachShader
#define glDisableVertexAttribArray _ptrc_glDisableVertexAttribArray
#define glEnableVertexAttribArray _ptrc_glEnableVertexAttribArray
#define glGetActiveAttrib _ptrc_glGetActiveAttrib
#define glGetActiveUniform _ptrc_glGetActiveUniform
#define glGetAttachedShaders _ptrc_glGetAttachedShaders
#define glGetAttribLocation _ptrc_glGetAttribLocation
#define glGetProgramiv _ptrc_glGetProgramiv
#define glGetProgramInfoLog _ptrc_glGetProgramInfoLog
#define glGetShaderiv _ptrc_glGetShaderiv
#define glGetShaderInfoLog _ptrc_glGetShaderInfoLog
#define glGetShaderSource _ptrc_glGetShaderSource
#define glGetUniformLocation _ptrc_glGetUniformLocation
#define glGetUniformfv _ptrc_glGetUniformfv
#define glGetUniformiv _ptrc_glGetUniformiv
#define glGetVertexAttribdv _ptrc_glGetVertexAttribdv
#define glGetVertexAttribfv _ptrc_glGetVertexAttribfv
#define glGetVertexAttribiv _ptrc_glGetVertexAttribiv
#define glGetVertexAttribPointerv _ptrc_glGetVertexAttribPointerv
#define glIsProgram _ptrc_glIsProgram
#define glIsShader _ptrc_glIsShader
#define glLinkProgram _ptrc_glLinkProgram
#define glShaderSource _ptrc_glShaderSource
#define glUseProgram _ptrc_glUseProgram
#define glUniform1f _ptrc_glUniform1f
#define glUniform2f _ptrc_glUniform2f
#define glUniform3f _ptrc_glUniform3f
#define glUniform4f _ptrc_glUniform4f
#define glUniform1i _ptrc_glUniform1i
#define glUniform2i _ptrc_glUniform2i
#define glUniform3i _ptrc_glUniform3i
#define glUniform4i _ptrc_glUniform4i
#define glUniform1fv _ptrc_glUniform1fv
#define glUniform2fv _ptrc_glUniform2fv
#define glUniform3fv _ptrc_glUniform3fv
#define glUniform4fv _ptrc_glUniform4fv
#define glUniform1iv _ptrc_glUniform1iv
#define glUniform2iv _ptrc_glUniform2iv
#define glUniform3iv _ptrc_glUniform3iv
#define glUniform4iv _ptrc_glUniform4iv
#define glUniformMatrix2fv _ptrc_glUniformMatrix2fv
#define glUniformMatrix3fv _ptrc_glUniformMatrix3fv
#define glUniformMatrix4fv _ptrc_glUniformMatrix4fv
#define glValidateProgram _ptrc_glValidateProgram
#define glVertexAttrib1d _ptrc_glVertexAttrib1d
#define glVertexAttrib1dv _ptrc_glVertexAttrib1dv
#define glVertexAttrib1f _ptrc_glVertexAttrib1f
#define glVertexAttrib1fv _ptrc_glVertexAttrib1fv
#define glVertexAttrib1s _ptrc_glVertexAttrib1s
#define glVertexAttrib1sv _ptrc_glVertexAttrib1sv
#define glVertexAttrib2d _ptrc_glVertexAttrib2d
#define glVertexAttrib2dv _ptrc_glVertexAttrib2dv
#define glVertexAttrib2f _ptrc_glVertexAttrib2f
#define glVertexAttrib2fv _ptrc_glVertexAttrib2fv
#define glVertexAttrib2s _ptrc_glVertexAttrib2s
#define glVertexAttrib2sv _ptrc_glVertexAttrib2sv
#define glVertexAttrib3d _ptrc_glVertexAttrib3d
#define glVertexAttrib3dv _ptrc_glVertexAttrib3dv
#define glVertexAttrib3f _ptrc_glVertexAttrib3f
#define glVertexAttrib3fv _ptrc_glVertexAttrib3fv
#define glVertexAttrib3s _ptrc_glVertexAttrib3s
#define glVertexAttrib3sv _ptrc_glVertexAttrib3sv
#define glVertexAttrib4Nbv _ptrc_glVertexAttrib4Nbv
#define glVertexAttrib4Niv _ptrc_glVertexAttrib4Niv
#define glVertexAttrib4Nsv _ptrc_glVertexAttrib4Nsv
#define glVertexAttrib4Nub _ptrc_glVertexAttrib4Nub
#define glVertexAttrib4Nubv _ptrc_glVertexAttrib4Nubv
#define glVertexAttrib4Nuiv _ptrc_glVertexAttrib4Nuiv
#define glVertexAttrib4Nusv _ptrc_glVertexAttrib4Nusv
#define glVertexAttrib4bv _ptrc_glVertexAttrib4bv
#define glVertexAttrib4d _ptrc_glVertexAttrib4d
#define glVertexAttrib4dv _ptrc_glVertexAttrib4dv
#define glVertexAttrib4f _ptrc_glVertexAttrib4f
#define glVertexAttrib4fv _ptrc_glVertexAttrib4fv
#define glVertexAttrib4iv _ptrc_glVertexAttrib4iv
#define glVertexAttrib4s _ptrc_glVertexAttrib4s
#define glVertexAttrib4sv _ptrc_glVertexAttrib4sv
#define glVertexAttrib4ubv _ptrc_glVertexAttrib4ubv
#define glVertexAttrib4uiv _ptrc_glVertexAttrib4uiv
#define glVertexAttrib4usv _ptrc_glVertexAttrib4usv
#define glVertexAttribPointer _ptrc_glVertexAttribPointer
#define glUniformMatrix2x3fv _ptrc_glUniformMatrix2x3fv
#define glUniformMatrix3x2fv _ptrc_glUniformMatrix3x2fv
#define glUniformMatrix2x4fv _ptrc_glUniformMatrix2x4fv
#define glUniformMatrix4x2fv _ptrc_glUniformMatrix4x2fv
#define glUniformMatrix3x4fv _ptrc_glUniformMatrix3x4fv
#define glUniformMatrix4x3fv _ptrc_glUniformMatrix4x3fv
#define glColorMaski _ptrc_glColorMaski
#define glGetBooleani_v _ptrc_glGetBooleani_v
#define glGetIntegeri_v _ptrc_glGetIntegeri_v
#define glEnablei _ptrc_glEnablei
#define glDisablei _ptrc_glDisablei
#define glIsEnabledi _ptrc_glIsEnabledi
#define glBeginTransformFeedback _ptrc_glBeginTransformFeedback
#define glEndTransformFeedback _ptrc_glEndTransformFeedback
#define glBindBufferRange _ptrc_glBindBufferRange
#define glBindBufferBase _ptrc_glBindBufferBase
#define glTransformFeedbackVaryings _ptrc_glTransformFeedbackVaryings
#define glGetTransformFeedbackVarying _ptrc_glGetTransformFeedbackVarying
#define glClampColor _ptrc_glClampColor
#define glBeginConditionalRender _ptrc_glBeginConditionalRender
#define glEndConditionalRender _ptrc_glEndConditionalRender
#define glVertexAttribIPointer _ptrc_glVertexAttribIPointer
#define glGetVertexAttribIiv _ptrc_glGetVertexAttribIiv
#define glGetVertexAttribIuiv _ptrc_glGetVertexAttribIuiv
#define glVertexAttribI1i _ptrc_glVertexAttribI1i
#define glVertexAttribI2i _ptrc_glVertexAttribI2i
#define glVertexAttribI3i _ptrc_glVertexAttribI3i
#define glVertexAttribI4i _ptrc_glVertexAttribI4i
#define glVertexAttribI1ui _ptrc_glVertexAttribI1ui
#define glVertexAttribI2ui _ptrc_glVertexAttribI2ui
#define glVertexAttribI3ui _ptrc_glVertexAttribI3ui
#define glVertexAttribI4ui _ptrc_glVertexAttribI4ui
#define glVertexAttribI1iv _ptrc_glVertexAttribI1iv
#define glVertexAttribI2iv _ptrc_glVertexAttribI2iv
#define glVertexAttribI3iv _ptrc_glVertexAttribI3iv
#define glVertexAttribI4iv _ptrc_glVertexAttribI4iv
#define glVertexAttribI1uiv _ptrc_glVertexAttribI1uiv
#define glVertexAttribI2uiv _ptrc_glVertexAttribI2uiv
#define glVertexAttribI3uiv _ptrc_glVertexAttribI3uiv
#define glVertexAttribI4uiv _ptrc_glVertexAttribI4uiv
#define glVertexAttribI4bv _ptrc_glVertexAttribI4bv
#define glVertexAttribI4sv _ptrc_glVertexAttribI4sv
#define glVertexAttribI4ubv _ptrc_glVertexAttribI4ubv
#define glVertexAttribI4usv _ptrc_glVertexAttribI4usv
#define glGetUniformuiv _ptrc_glGetUniformuiv
#define glBindFragDataLocation _ptrc_glBindFragDataLocation
#define glGetFragDataLocation _ptrc_glGetFragDataLocation
#define glUniform1ui _ptrc_glUniform1ui
#define glUniform2ui _ptrc_glUniform2ui
#define glUniform3ui _ptrc_glUniform3ui
#define glUniform4ui _ptrc_glUniform4ui
#define glUniform1uiv _ptrc_glUniform1uiv
#define glUniform2uiv _ptrc_glUniform2uiv
#define glUniform3uiv _ptrc_glUniform3uiv
#define glUniform4uiv _ptrc_glUniform4uiv
#define glTexParameterIiv _ptrc_glTexParameterIiv
#define glTexParameterIuiv _ptrc_glTexParameterIuiv
#define glGetTexParameterIiv _ptrc_glGetTexParameterIiv
#define glGetTexParameterIuiv _ptrc_glGetTexParameterIuiv
#define glClearBufferiv _ptrc_glClearBufferiv
#define glClearBufferuiv _ptrc_glClearBufferuiv
#define glClearBufferfv _ptrc_glClearBufferfv
#define glClearBufferfi _ptrc_glClearBufferfi
#define glGetStringi _ptrc_glGetStringi
#define glIsRenderbuffer _ptrc_glIsRenderbuffer
#define glBindRenderbuffer _ptrc_glBindRenderbuffer
#define glDeleteRenderbuffers _ptrc_glDeleteRenderbuffers
#define glGenRenderbuffers _ptrc_glGenRenderbuffers
#define glRenderbufferStorage _ptrc_glRenderbufferStorage
#define glGetRenderbufferParameteriv _ptrc_glGetRenderbufferParameteriv
#define glIsFramebuffer _ptrc_glIsFramebuffer
#define glBindFramebuffer _ptrc_glBindFramebuffer
#define glDeleteFramebuffers _ptrc_glDeleteFramebuffers
#define glGenFramebuffers _ptrc_glGenFramebuffers
#define glCheckFramebufferStatus _ptrc_glCheckFramebufferStatus
#define glFramebufferTexture1D _ptrc_glFramebufferTexture1D
#define glFramebufferTexture2D _ptrc_glFramebufferTexture2D
#define glFramebufferTexture3D _ptrc_glFramebufferTexture3D
#define glFramebufferRenderbuffer _ptrc_glFramebufferRenderbuffer
#define glGetFramebufferAttachmentParameteriv _ptrc_glGetFramebufferAttachmentParameteriv
#define glGenerateMipmap _ptrc_glGenerateMipmap
#define glBlitFramebuffer _ptrc_glBlitFramebuffer
#define glRenderbufferStorageMultisample _ptrc_glRenderbufferStorageMultisample
#define glFramebufferTextureLayer _ptrc_glFramebufferTextureLayer
#define glMapBufferRange _ptrc_glMapBufferRange
#define glFlushMappedBufferRange _ptrc_glFlushMappedBufferRange
#define glBindVertexArray _ptrc_glBindVertexArray
#define glDeleteVertexArrays _ptrc_glDeleteVertexArrays
#define glGenVertexArrays _ptrc_glGenVertexArrays
#define glIsVertexArray _ptrc_glIsVertexArray
#define glDrawArraysInstanced _ptrc_glDrawArraysInstanced
#define glDrawElementsInstanced _ptrc_glDrawElementsInstanced
#define glTexBuffer _ptrc_glTexBuffer
#define glPrimitiveRestartIndex _ptrc_glPrimitiveRestartIndex
#define glCopyBufferSubData _ptrc_glCopyBufferSubData
#define glGetUniformIndices _ptrc_glGetUniformIndices
#define glGetActiveUniformsiv _ptrc_glGetActiveUniformsiv
#define glGetActiveUniformName _ptrc_glGetActiveUniformName
#define glGetUniformBlockIndex _ptrc_glGetUniformBlockIndex
#define glGetActiveUniformBlockiv _ptrc_glGetActiveUniformBlockiv
#define glGetActiveUniformBlockName _ptrc_glGetActiveUniformBlockName
#define glUniformBlockBinding _ptrc_glUniformBlockBinding
#define glDrawElementsBaseVertex _ptrc_glDrawElementsBaseVertex
#define glDrawRangeElementsBaseVertex _ptrc_glDrawRangeElementsBaseVertex
#define glDrawElementsInstancedBaseVertex _ptrc_glDrawElementsInstancedBaseVertex
#define glMultiDrawElementsBaseVertex _ptrc_glMultiDrawElementsBaseVertex
#define glProvokingVertex _ptrc_glProvokingVertex
#define glFenceSync _ptrc_glFenceSync
#define glIsSync _ptrc_glIsSync
#define glDeleteSync _ptrc_glDeleteSync
#define glClientWaitSync _ptrc_glClientWaitSync
#define glWaitSync _ptrc_glWaitSync
#define glGetInteger64v _ptrc_glGetInteger64v
#define glGetSynciv _ptrc_glGetSynciv
#define glGetInteger64i_v _ptrc_glGetInteger64i_v
#define glGetBufferParameteri64v _ptrc_glGetBufferParameteri64v
#define glFramebufferTexture _ptrc_glFramebufferTexture
#define glTexImage2DMultisample _ptrc_glTexImage2DMultisample
#define glTexImage3DMultisample _ptrc_glTexImage3DMultisample
#define glGetMultisamplefv _ptrc_glGetMultisamplefv
#define glSampleMaski _ptrc_glSampleMaski
#define glDrawArraysIndirect _ptrc_glDrawArraysIndirect
#define glDrawElementsIndirect _ptrc_glDrawElementsIndirect
#define glMultiDrawArraysIndirect _ptrc_glMultiDrawArraysIndirect
#define glMultiDrawElementsIndirect _ptrc_glMultiDrawElementsIndirect
#define glPatchParameteri _ptrc_glPatchParameteri
#define glPatchParameterfv _ptrc_glPatchParameterfv
#define glGetActiveAtomicCounterBufferiv _ptrc_glGetActiveAtomicCounterBufferiv
#define glBindImageTexture _ptrc_glBindImageTexture
#define glMemoryBarrier _ptrc_glMemoryBarrier
#endif // ZELGL_NO_GL_NAMES
