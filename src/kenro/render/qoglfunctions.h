#pragma once

#include <kenro/kenro_export.h>

#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>

namespace Kenro {

/**
 * The one object through which the library makes its GL calls. It forwards
 * by name to the plain OpenGL functions of the current context, and counts
 * the calls that cost: uploads, binds and draws. The counts are process-wide
 * and let a host or a test see what a frame cost; calls made from a thread
 * other than the application's are counted apart, since GL work belongs to
 * the main thread only.
 */
class KENRO_EXPORT QOGLFunctions : public QOpenGLFunctions
{
public:
    /// Calls counted since the last resetCallCounts().
    struct CallCounts
    {
        int texImage2D = 0; ///< texture uploads
        int texturePixels = 0; ///< pixels uploaded, summed
        int bindTexture = 0; ///< texture binds (also of name 0)
        int useProgram = 0; ///< program binds (also of 0)
        int drawArrays = 0;
        int deleteTextures = 0; ///< names given back
        int offMainThread = 0; ///< calls from another thread than the application's
    };

    QOGLFunctions();
    /// Functions of \a context; it need not be current yet.
    explicit QOGLFunctions(QOpenGLContext *context);

    /// Initialises from the current context.
    void initializeOpenGLFunctions();
    /// Always true: the functions are resolved when they are first used.
    bool isValid() const { return true; }

    void glGenTextures(GLsizei n, GLuint *textures);
    void glDeleteTextures(GLsizei n, GLuint const *textures);
    void glBindTexture(GLenum target, GLuint texture);
    GLenum glGetError();
    GLboolean glIsEnabled(GLenum cap);
    void glEnable(GLenum cap);
    void glDisable(GLenum cap);
    void glTexParameteri(GLenum target, GLenum name, GLint value);
    void glPixelStorei(GLenum name, GLint value);
    void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                      GLsizei height, GLint border, GLenum format, GLenum type, void const *pixels);
    void glFinish();
    void glClear(GLbitfield mask);
    void glClearColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha);
    void glHint(GLenum target, GLenum mode);
    void glGetIntegerv(GLenum name, GLint *values);
    void glBlendFunc(GLenum source, GLenum destination);
    void glScissor(GLint x, GLint y, GLsizei width, GLsizei height);
    void glViewport(GLint x, GLint y, GLsizei width, GLsizei height);
    void glDrawArrays(GLenum mode, GLint first, GLsizei count);
    void glUseProgram(GLuint program);

    /// The counts of all function objects since the last reset.
    static CallCounts callCounts();
    /// Sets every count to 0.
    static void resetCallCounts();

private:
    void initializeGLFunctions();
    void initExtra() {}
};

/// A shader program of the library; it adds nothing to Qt's.
class KENRO_EXPORT QOGLShaderProgram : public QOpenGLShaderProgram
{
public:
    using QOpenGLShaderProgram::QOpenGLShaderProgram;
};

} // namespace Kenro
