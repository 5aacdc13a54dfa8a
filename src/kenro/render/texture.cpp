#include <kenro/render/texture.h>

#include "localgl_p.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QThread>

#include <atomic>
#include <cstring>

namespace Kenro {

namespace {

// Render surfaces see the textures of the hidden context through Qt's global
// share context, which exists only when this is set before the application.
struct ShareOpenGLContexts
{
    ShareOpenGLContexts()
    {
        if (!QCoreApplication::instance())
            QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    }
} const shareOpenGLContexts;

std::atomic<bool> openGLEnabled{true};
// Without GL there is no reason to pad images; the hidden context sets this
// from what the GL takes.
std::atomic<bool> nonPowerOfTwo{false};
QLocalGL *localGL = nullptr;
// Set at application end: no context is made again after it.
bool localGLGone = false;

bool inMainThread()
{
    QCoreApplication *const app = QCoreApplication::instance();
    return !app || QThread::currentThread() == app->thread();
}

// Runs \a work in the main thread and waits for it.
template<typename Work>
void onMainThread(QObject *receiver, Work work)
{
    if (inMainThread())
        work();
    else
        QMetaObject::invokeMethod(receiver, work, Qt::BlockingQueuedConnection);
}

int nextPowerOfTwo(int value)
{
    unsigned v = unsigned(value) - 1;
    v |= v >> 1;
    v |= v >> 2;
    v |= v >> 4;
    v |= v >> 8;
    v |= v >> 16;
    return int(v + 1);
}

void deleteLocalGL()
{
    delete localGL;
    localGL = nullptr;
    localGLGone = true;
}

} // namespace

// ---- the hidden context -----------------------------------------------------

QLocalGL::QLocalGL() = default;

QLocalGL::~QLocalGL()
{
    delete m_context;
    delete m_surface;
}

QLocalGL *QLocalGL::instance()
{
    if (!localGL && !localGLGone && QCoreApplication::instance()) {
        onMainThread(QCoreApplication::instance(), [] {
            if (localGL || localGLGone)
                return;
            localGL = new QLocalGL;
            localGL->setUp();
        });
    }
    return localGL;
}

void QLocalGL::setUp()
{
    qAddPostRoutine(deleteLocalGL);
    // Contexts need a GUI application; the offscreen platform has no GL.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return;
    auto *context = new QOpenGLContext;
    // Render surfaces share with the global share context, so textures made
    // here are seen in every view.
    context->setShareContext(QOpenGLContext::globalShareContext());
    auto *surface = new QOffscreenSurface;
    bool usable = context->create() && context->format().majorVersion() >= 2;
    if (usable) {
        surface->setFormat(context->format());
        surface->create();
        usable = surface->isValid() && context->makeCurrent(surface);
    }
    if (!usable) {
        delete context;
        delete surface;
        return;
    }
    m_context = context;
    m_surface = surface;
    m_functions.initializeOpenGLFunctions();
    m_nonPowerOfTwoFeature = m_functions.hasOpenGLFeature(QOpenGLFunctions::NPOTTextures);
    nonPowerOfTwo = m_nonPowerOfTwoFeature;
}

QMutex &QLocalGL::mutex()
{
    static QMutex m;
    return m;
}

QSet<Texture *> &QLocalGL::textures()
{
    static QSet<Texture *> list;
    return list;
}

bool QLocalGL::makeCurrent(QOpenGLContext *&previous, QSurface *&previousSurface)
{
    previous = QOpenGLContext::currentContext();
    previousSurface = previous ? previous->surface() : nullptr;
    if (previous == m_context)
        return true;
    return m_context->makeCurrent(m_surface);
}

void QLocalGL::restore(QOpenGLContext *previous, QSurface *previousSurface)
{
    if (previous == m_context)
        return;
    m_context->doneCurrent();
    if (previous && previousSurface)
        previous->makeCurrent(previousSurface);
}

void QLocalGL::upload(uint *glId, bool palette, int width, int height, GLenum format,
                      void const *pixels)
{
    QOpenGLContext *previous = nullptr;
    QSurface *previousSurface = nullptr;
    if (!makeCurrent(previous, previousSurface))
        return;
    m_functions.glEnable(GL_TEXTURE_2D);
    if (*glId) {
        GLuint const old = *glId;
        m_functions.glDeleteTextures(1, &old);
        *glId = 0;
    }
    if (pixels) {
        GLuint id = 0;
        m_functions.glGenTextures(1, &id);
        m_functions.glBindTexture(GL_TEXTURE_2D, id);
        m_functions.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S,
                                    palette ? GL_CLAMP_TO_EDGE : GL_REPEAT);
        m_functions.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
        // Pixels stay hard at every zoom.
        m_functions.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        m_functions.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        m_functions.glPixelStorei(GL_PACK_ALIGNMENT, 1);
        m_functions.glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        m_functions.glTexImage2D(GL_TEXTURE_2D, 0, GLint(format), width, height, 0, format,
                                 GL_UNSIGNED_BYTE, pixels);
        // Other contexts see the texture at once.
        m_functions.glFinish();
        *glId = id;
    }
    restore(previous, previousSurface);
}

void QLocalGL::_fromPalette(Kenro::RGBA const *palette, uint *glId)
{
    if (!openGLEnabled || !m_context)
        return;
    upload(glId, true, 256, 1, GL_RGBA, palette);
}

void QLocalGL::_fromData(Kenro::Texture::ImageData const *data, uint *glId)
{
    if (!openGLEnabled || !m_context)
        return;
    GLenum format = GL_RGBA;
    if (data->depth <= 8)
        format = GL_LUMINANCE;
    else if (data->depth <= 24)
        format = GL_RGB;
    upload(glId, false, data->textureWidth, data->textureHeight, format,
           data->data.isEmpty() ? nullptr : data->data.constData());
}

void QLocalGL::_reset(uint *glId)
{
    if (!*glId || !m_context)
        return;
    QOpenGLContext *previous = nullptr;
    QSurface *previousSurface = nullptr;
    if (!makeCurrent(previous, previousSurface))
        return;
    GLuint const old = *glId;
    m_functions.glDeleteTextures(1, &old);
    *glId = 0;
    restore(previous, previousSurface);
}

void setTexturePadding(bool padToPowersOfTwo)
{
    nonPowerOfTwo = !padToPowersOfTwo;
}

// ---- textures ---------------------------------------------------------------

Texture::Texture()
{
    QMutexLocker lock(&QLocalGL::mutex());
    QLocalGL::textures().insert(this);
}

Texture::Texture(QImage const &image) : Texture()
{
    fromImage(image);
}

Texture::Texture(Kenro::RGBA const palette[]) : Texture()
{
    fromPalette(palette);
}

Texture::Texture(ImageData const &data) : Texture()
{
    fromData(data);
}

Texture::~Texture()
{
    {
        QMutexLocker lock(&QLocalGL::mutex());
        QLocalGL::textures().remove(this);
    }
    reset();
}

void Texture::fromImage(QImage const &image)
{
    ImageData data;
    dataFromImage(image, data);
    fromData(data);
}

void Texture::fromPalette(Kenro::RGBA const palette[])
{
    QLocalGL *const gl = openGLEnabled ? QLocalGL::instance() : nullptr;
    if (gl) {
        uint id = m_glId;
        onMainThread(gl, [gl, palette, &id] { gl->_fromPalette(palette, &id); });
        m_glId = id;
    }
    m_maximumU = m_maximumV = 1.0;
    m_width = 256;
    m_height = 1;
    m_type = Palette;
}

void Texture::fromData(ImageData const &data)
{
    QLocalGL *const gl = openGLEnabled ? QLocalGL::instance() : nullptr;
    if (gl) {
        uint id = m_glId;
        onMainThread(gl, [gl, &data, &id] { gl->_fromData(&data, &id); });
        m_glId = id;
    }
    m_width = data.imageWidth;
    m_height = data.imageHeight;
    m_maximumU = double(float(data.imageWidth) / float(data.textureWidth));
    m_maximumV = double(float(data.imageHeight) / float(data.textureHeight));
    if (data.depth <= 8)
        m_type = Indexed;
    else if (data.depth <= 24)
        m_type = RGB;
    else
        m_type = RGBA;
}

void Texture::reset()
{
    if (!m_glId || !localGL)
        return;
    QLocalGL *const gl = localGL;
    uint id = m_glId;
    onMainThread(gl, [gl, &id] { gl->_reset(&id); });
    m_glId = id;
}

void Texture::swap(Texture &other)
{
    std::swap(m_glId, other.m_glId);
}

void Texture::dataFromImage(QImage const &image, ImageData &data)
{
    data.depth = image.depth();
    data.imageWidth = data.textureWidth = image.width();
    data.imageHeight = data.textureHeight = image.height();
    if (image.isNull()) {
        data.data.clear();
        return;
    }
    if (!nonPowerOfTwo) {
        data.textureWidth = nextPowerOfTwo(data.textureWidth);
        data.textureHeight = nextPowerOfTwo(data.textureHeight);
    }
    int const w = data.imageWidth;
    int const h = data.imageHeight;
    qsizetype const tw = data.textureWidth;
    if (data.depth <= 8) {
        // Images of fewer bits a pixel are widened to one byte an index.
        QImage const indexed =
            data.depth == 8 ? image : image.convertToFormat(QImage::Format_Indexed8);
        data.data.fill(0, tw * data.textureHeight);
        char *out = data.data.data();
        for (int y = 0; y < h; ++y)
            std::memcpy(out + y * tw, indexed.constScanLine(y), size_t(w));
    } else if (data.depth > 24) {
        data.data.fill(0, 4 * tw * data.textureHeight);
        QImage const argb =
            image.format() == QImage::Format_ARGB32 || image.format() == QImage::Format_RGB32
            ? image
            : image.convertToFormat(QImage::Format_ARGB32);
        // Premultiplied RGBA, rows of the texture's width apart like the other depths.
        for (int y = 0; y < h; ++y) {
            uchar *out = reinterpret_cast<uchar *>(data.data.data()) + y * 4 * tw;
            QRgb const *in = reinterpret_cast<QRgb const *>(argb.constScanLine(y));
            for (int x = 0; x < w; ++x) {
                QRgb const p = in[x];
                uint const a = qAlpha(p);
                *out++ = uchar(qRed(p) * a / 255);
                *out++ = uchar(qGreen(p) * a / 255);
                *out++ = uchar(qBlue(p) * a / 255);
                *out++ = uchar(a);
            }
        }
    } else {
        data.data.fill(0, 3 * tw * data.textureHeight);
        QImage const rgb = data.depth == 24 && image.format() == QImage::Format_RGB888
            ? image
            : image.convertToFormat(QImage::Format_RGB888);
        char *out = data.data.data();
        for (int y = 0; y < h; ++y)
            std::memcpy(out + y * 3 * tw, rgb.constScanLine(y), size_t(w) * 3);
    }
}

bool Texture::isOpenGLEnabled()
{
    return openGLEnabled;
}

void Texture::setOpenGLEnabled(bool enabled)
{
    if (openGLEnabled && !enabled && localGL) {
        QLocalGL *const gl = localGL;
        onMainThread(gl, [gl] {
            QMutexLocker lock(&QLocalGL::mutex());
            for (Texture *texture : QLocalGL::textures()) {
                uint id = texture->m_glId;
                gl->_reset(&id);
                texture->m_glId = id;
            }
        });
    }
    openGLEnabled = enabled;
    if (enabled) {
        QLocalGL *const gl = QLocalGL::instance();
        nonPowerOfTwo = gl && gl->hasNonPowerOfTwoFeature();
    } else {
        nonPowerOfTwo = true;
    }
}

QOpenGLContext *Texture::globalGLContext()
{
    QLocalGL *const gl = QLocalGL::instance();
    return gl ? gl->context() : nullptr;
}

QOffscreenSurface *Texture::globalGLSurface()
{
    QLocalGL *const gl = QLocalGL::instance();
    return gl ? gl->surface() : nullptr;
}

QOGLFunctions *Texture::globalGLFunctions()
{
    QLocalGL *const gl = QLocalGL::instance();
    return gl ? gl->functions() : nullptr;
}

bool Texture::hasNonPowerOfTwo()
{
    return nonPowerOfTwo;
}

} // namespace Kenro
