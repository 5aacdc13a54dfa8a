#include "scenerenderer.h"

#include <QCoreApplication>
#include <QDir>
#include <QPainter>

#include <cstring>
#include <dlfcn.h>
#include <link.h>

using namespace Kenro;

namespace KenroTest {

void SceneRenderer::setPalette(int index, QList<RGBA> const &colors)
{
    palettes[index] = colors;
    if (index < int(m_paletteTextures.size()) && m_paletteTextures[size_t(index)])
        m_paletteTextures[size_t(index)]->fromPalette(palettes[index].constData());
}

void SceneRenderer::clearTextures()
{
    m_images.clear();
    m_paletteTextures.clear();
    m_data.clear();
}

QMatrix4x4 SceneRenderer::model(SceneItem const &item) const
{
    QMatrix4x4 m;
    m.translate(float(item.position.x()), float(item.position.y()));
    return m;
}

void SceneRenderer::render(QPainter &painter)
{
    ++frames;
    drawn = culled = 0;
    if (isOpenGL())
        renderGL(painter);
    else
        renderSoftware(painter);
}

void SceneRenderer::renderGL(QPainter &painter)
{
    while (m_paletteTextures.size() < size_t(palettes.size()))
        m_paletteTextures.push_back(
            std::make_unique<Texture>(palettes[qsizetype(m_paletteTextures.size())].constData()));
    while (m_images.size() < size_t(items.size()))
        m_images.push_back(std::make_unique<Texture>(items[qsizetype(m_images.size())].image));
    glBeginDrawImage(painter);
    for (qsizetype i = 0; i < items.size(); ++i) {
        SceneItem const &item = items[i];
        Texture const *palette =
            item.palette >= 0 ? m_paletteTextures[size_t(item.palette)].get() : nullptr;
        RenderPacket packet;
        bool const made = item.tiles.isNull()
            ? glRenderPacket(packet, model(item), m_images[size_t(i)].get(), palette, item.flip,
                             item.topScale, item.topAnchor)
            : glRenderPacketTiled(packet, item.tiles, item.step, model(item),
                                  m_images[size_t(i)].get(), palette, item.flip);
        if (!made)
            continue;
        if (cull && glCullRenderPacket(packet, QRectF(-1.0, -1.0, 2.0, 2.0))) {
            ++culled;
            continue;
        }
        packet.mask = item.mask;
        packet.effect = item.effect;
        packet.opacity = item.opacity;
        if (glSetBlend(item.blend.enabled)) {
            glSetBlendEquation(item.blend.equation);
            glSetBlendFunction(item.blend.source, item.blend.destination);
            glSetBlendColor(item.blend.constant);
        }
        glDrawImage(packet);
        ++drawn;
    }
    glEndDrawImage(painter);
}

void SceneRenderer::renderSoftware(QPainter &painter)
{
    // Packets are drawn into the painter's own image where it has one.
    QImage *target = nullptr;
    QImage frame;
    if (painter.device()->devType() == QInternal::Image &&
        static_cast<QImage *>(painter.device())->format() == QImage::Format_ARGB32_Premultiplied) {
        target = static_cast<QImage *>(painter.device());
    } else {
        frame = QImage(m_size, QImage::Format_ARGB32_Premultiplied);
        target = &frame;
    }
    target->fill(background);
    while (m_data.size() < size_t(items.size())) {
        m_data.emplace_back();
        Texture::dataFromImage(items[qsizetype(m_data.size() - 1)].image, m_data.back());
    }
    QMatrix4x4 const view = projection(target->width(), target->height(), false);
    PacketPainter painterOfPackets(target);
    for (qsizetype i = 0; i < items.size(); ++i) {
        SceneItem const &item = items[i];
        Texture::ImageData const &data = m_data[size_t(i)];
        QSize const size(data.imageWidth, data.imageHeight);
        QSizeF const uv(double(float(data.imageWidth) / float(data.textureWidth)),
                        double(float(data.imageHeight) / float(data.textureHeight)));
        RenderPacket packet;
        if (item.tiles.isNull())
            setPacketGeometry(packet, size, uv, view * model(item), item.flip, item.topScale,
                              item.topAnchor);
        else
            setTiledPacketGeometry(
                packet, size, uv, item.tiles, item.step, view * model(item), item.flip,
                canRepeatByTexture(size, uv, item.step, Texture::hasNonPowerOfTwo()));
        if (cull && glCullRenderPacket(packet, QRectF(-1.0, -1.0, 2.0, 2.0))) {
            ++culled;
            continue;
        }
        packet.mask = item.mask;
        packet.effect = item.effect;
        packet.opacity = item.opacity;
        painterOfPackets.setBlend(item.blend);
        painterOfPackets.draw(packet, data,
                              item.palette >= 0 ? palettes[item.palette].constData() : nullptr);
        ++drawn;
    }
    if (target == &frame) {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(0, 0, frame);
    }
}

void SceneRenderer::keyPressed(int key, Qt::KeyboardModifiers modifiers)
{
    events << QStringLiteral("press key %1 %2").arg(key).arg(int(modifiers));
}

void SceneRenderer::keyReleased(int key, Qt::KeyboardModifiers modifiers)
{
    events << QStringLiteral("release key %1 %2").arg(key).arg(int(modifiers));
}

void SceneRenderer::keyString(QString text, int key)
{
    events << QStringLiteral("text %1 %2").arg(text).arg(key);
}

void SceneRenderer::mousePressed(QPoint pos, Qt::MouseButton button,
                                 Qt::KeyboardModifiers modifiers)
{
    events << QStringLiteral("press %1,%2 %3 %4")
                  .arg(pos.x())
                  .arg(pos.y())
                  .arg(int(button))
                  .arg(int(modifiers));
}

void SceneRenderer::mouseReleased(QPoint pos, Qt::MouseButton button,
                                  Qt::KeyboardModifiers modifiers)
{
    events << QStringLiteral("release %1,%2 %3 %4")
                  .arg(pos.x())
                  .arg(pos.y())
                  .arg(int(button))
                  .arg(int(modifiers));
}

void SceneRenderer::mouseMoved(QPoint pos, Qt::KeyboardModifiers modifiers)
{
    events << QStringLiteral("move %1,%2 %3").arg(pos.x()).arg(pos.y()).arg(int(modifiers));
}

void SceneRenderer::mouseWheel(int delta)
{
    events << QStringLiteral("wheel %1").arg(delta);
}

void SceneRenderer::sizeChanged(int width, int height)
{
    m_size = QSize(width, height);
    events << QStringLiteral("size %1x%2").arg(width).arg(height);
}

int largestDifference(QImage const &a, QImage const &b, int *pixels, QImage *map)
{
    if (a.size() != b.size())
        return 256;
    QImage const x = a.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage const y = b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (map) {
        *map = QImage(a.size(), QImage::Format_RGB32);
        map->fill(Qt::black);
    }
    int largest = 0;
    int count = 0;
    for (int row = 0; row < x.height(); ++row) {
        QRgb const *p = reinterpret_cast<QRgb const *>(x.constScanLine(row));
        QRgb const *q = reinterpret_cast<QRgb const *>(y.constScanLine(row));
        for (int column = 0; column < x.width(); ++column) {
            int const d = std::max({std::abs(qRed(p[column]) - qRed(q[column])),
                                    std::abs(qGreen(p[column]) - qGreen(q[column])),
                                    std::abs(qBlue(p[column]) - qBlue(q[column])),
                                    std::abs(qAlpha(p[column]) - qAlpha(q[column]))});
            largest = std::max(largest, d);
            count += d > 0;
            if (map && d > 0)
                map->setPixel(column, row, d > 1 ? qRgb(255, 0, 0) : qRgb(255, 255, 0));
        }
    }
    if (pixels)
        *pixels = count;
    return largest;
}

void keepGLDriverLoaded()
{
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *) {
            if (info->dlpi_name && std::strstr(info->dlpi_name, "_dri.so"))
                dlopen(info->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

QString picturePath(QString const &name)
{
    QDir dir(QCoreApplication::applicationDirPath());
    dir.mkpath(QStringLiteral("pictures"));
    return dir.filePath(QStringLiteral("pictures/") + name);
}

} // namespace KenroTest
