#pragma once

#include <kenro/imaging/rgb.h>
#include <kenro/kenro_export.h>
#include <kenro/render/qoglfunctions.h>
#include <kenro/render/texture.h>

#include <QMutex>
#include <QObject>
#include <QSet>

class QOffscreenSurface;
class QOpenGLContext;
class QSurface;

namespace Kenro {

/**
 * The hidden GL context of the process, made on first use in the main
 * thread: it shares its objects with every render surface, and all texture
 * uploads happen in it. Callers in other threads are passed on to the main
 * thread and wait.
 */
class QLocalGL : public QObject
{
    Q_OBJECT

public:
    /// The one object, made on first use (in the main thread, whichever thread asks).
    static QLocalGL *instance();

    /// The shared context, or null when no OpenGL 2 context could be made.
    QOpenGLContext *context() const { return m_context; }
    QOffscreenSurface *surface() const { return m_surface; }
    QOGLFunctions *functions() { return m_context ? &m_functions : nullptr; }

    /// Whether the GL takes texture sizes other than powers of two.
    bool hasNonPowerOfTwoFeature() const { return m_nonPowerOfTwoFeature; }

    // The live textures, under their mutex.
    static QMutex &mutex();
    static QSet<Texture *> &textures();

public Q_SLOTS:
    void _fromPalette(Kenro::RGBA const *palette, uint *glId);
    void _fromData(Kenro::Texture::ImageData const *data, uint *glId);
    void _reset(uint *glId);

public:
    ~QLocalGL() override;

private:
    QLocalGL();
    void setUp();
    // Makes the shared context current; the context that was current before
    // and its surface go to the two arguments, so that restore() can put them back.
    bool makeCurrent(QOpenGLContext *&previous, QSurface *&previousSurface);
    void restore(QOpenGLContext *previous, QSurface *previousSurface);
    void upload(uint *glId, bool palette, int width, int height, GLenum format, void const *pixels);

    QOpenGLContext *m_context = nullptr;
    QOffscreenSurface *m_surface = nullptr;
    QOGLFunctions m_functions;
    bool m_nonPowerOfTwoFeature = false;
};

/// For tests: whether images are padded to powers of two, whatever the GL takes.
KENRO_EXPORT void setTexturePadding(bool padToPowersOfTwo);

} // namespace Kenro
