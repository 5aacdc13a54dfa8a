#include <kenro/render/qoglfunctions.h>

#include <QCoreApplication>
#include <QThread>

#include <atomic>

namespace Kenro {

namespace {

struct Counters
{
    std::atomic<int> texImage2D{0};
    std::atomic<int> texturePixels{0};
    std::atomic<int> bindTexture{0};
    std::atomic<int> useProgram{0};
    std::atomic<int> drawArrays{0};
    std::atomic<int> deleteTextures{0};
    std::atomic<int> offMainThread{0};
};

Counters &counters()
{
    static Counters c;
    return c;
}

// Every forwarded call passes here: GL belongs to the application's thread.
void checkThread()
{
    QCoreApplication *const app = QCoreApplication::instance();
    if (app && QThread::currentThread() != app->thread()) {
        ++counters().offMainThread;
        Q_ASSERT_X(false, "QOGLFunctions", "a GL call off the main thread");
    }
}

} // namespace

QOGLFunctions::QOGLFunctions() = default;

QOGLFunctions::QOGLFunctions(QOpenGLContext *context) : QOpenGLFunctions(context) {}

void QOGLFunctions::initializeOpenGLFunctions()
{
    initializeGLFunctions();
}

void QOGLFunctions::initializeGLFunctions()
{
    QOpenGLFunctions::initializeOpenGLFunctions();
    initExtra();
}

void QOGLFunctions::glGenTextures(GLsizei n, GLuint *textures)
{
    checkThread();
    QOpenGLFunctions::glGenTextures(n, textures);
}

void QOGLFunctions::glDeleteTextures(GLsizei n, GLuint const *textures)
{
    checkThread();
    counters().deleteTextures += n;
    QOpenGLFunctions::glDeleteTextures(n, textures);
}

void QOGLFunctions::glBindTexture(GLenum target, GLuint texture)
{
    checkThread();
    ++counters().bindTexture;
    QOpenGLFunctions::glBindTexture(target, texture);
}

GLenum QOGLFunctions::glGetError()
{
    checkThread();
    return QOpenGLFunctions::glGetError();
}

GLboolean QOGLFunctions::glIsEnabled(GLenum cap)
{
    checkThread();
    return QOpenGLFunctions::glIsEnabled(cap);
}

void QOGLFunctions::glEnable(GLenum cap)
{
    checkThread();
    QOpenGLFunctions::glEnable(cap);
}

void QOGLFunctions::glDisable(GLenum cap)
{
    checkThread();
    QOpenGLFunctions::glDisable(cap);
}

void QOGLFunctions::glTexParameteri(GLenum target, GLenum name, GLint value)
{
    checkThread();
    QOpenGLFunctions::glTexParameteri(target, name, value);
}

void QOGLFunctions::glPixelStorei(GLenum name, GLint value)
{
    checkThread();
    QOpenGLFunctions::glPixelStorei(name, value);
}

void QOGLFunctions::glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                                 GLsizei height, GLint border, GLenum format, GLenum type,
                                 void const *pixels)
{
    checkThread();
    ++counters().texImage2D;
    counters().texturePixels += width * height;
    QOpenGLFunctions::glTexImage2D(target, level, internalFormat, width, height, border, format,
                                   type, pixels);
}

void QOGLFunctions::glFinish()
{
    checkThread();
    QOpenGLFunctions::glFinish();
}

void QOGLFunctions::glClear(GLbitfield mask)
{
    checkThread();
    QOpenGLFunctions::glClear(mask);
}

void QOGLFunctions::glClearColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha)
{
    checkThread();
    QOpenGLFunctions::glClearColor(red, green, blue, alpha);
}

void QOGLFunctions::glHint(GLenum target, GLenum mode)
{
    checkThread();
    QOpenGLFunctions::glHint(target, mode);
}

void QOGLFunctions::glGetIntegerv(GLenum name, GLint *values)
{
    checkThread();
    QOpenGLFunctions::glGetIntegerv(name, values);
}

void QOGLFunctions::glBlendFunc(GLenum source, GLenum destination)
{
    checkThread();
    QOpenGLFunctions::glBlendFunc(source, destination);
}

void QOGLFunctions::glScissor(GLint x, GLint y, GLsizei width, GLsizei height)
{
    checkThread();
    QOpenGLFunctions::glScissor(x, y, width, height);
}

void QOGLFunctions::glViewport(GLint x, GLint y, GLsizei width, GLsizei height)
{
    checkThread();
    QOpenGLFunctions::glViewport(x, y, width, height);
}

void QOGLFunctions::glDrawArrays(GLenum mode, GLint first, GLsizei count)
{
    checkThread();
    ++counters().drawArrays;
    QOpenGLFunctions::glDrawArrays(mode, first, count);
}

void QOGLFunctions::glUseProgram(GLuint program)
{
    checkThread();
    ++counters().useProgram;
    QOpenGLFunctions::glUseProgram(program);
}

QOGLFunctions::CallCounts QOGLFunctions::callCounts()
{
    Counters const &c = counters();
    CallCounts out;
    out.texImage2D = c.texImage2D;
    out.texturePixels = c.texturePixels;
    out.bindTexture = c.bindTexture;
    out.useProgram = c.useProgram;
    out.drawArrays = c.drawArrays;
    out.deleteTextures = c.deleteTextures;
    out.offMainThread = c.offMainThread;
    return out;
}

void QOGLFunctions::resetCallCounts()
{
    Counters &c = counters();
    c.texImage2D = 0;
    c.texturePixels = 0;
    c.bindTexture = 0;
    c.useProgram = 0;
    c.drawArrays = 0;
    c.deleteTextures = 0;
    c.offMainThread = 0;
}

} // namespace Kenro
