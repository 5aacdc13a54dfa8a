#include <kenro/render/renderer.h>

#include <kenro/render/glrenderwidget.h>
#include <kenro/render/offscreenrenderwidget.h>
#include <kenro/render/texture.h>

#include "glrenderwidget_p.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Kenro {

namespace {

GLenum const equations[2] = {GL_FUNC_ADD, GL_FUNC_REVERSE_SUBTRACT};
GLenum const factors[8] = {GL_ZERO,           GL_ONE,           GL_SRC_COLOR,
                           GL_DST_COLOR,      GL_SRC_ALPHA,     GL_ONE_MINUS_SRC_ALPHA,
                           GL_CONSTANT_COLOR, GL_CONSTANT_ALPHA};
GLenum const primitives[3] = {GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN};

// The texture coordinates of the four corners of an image reaching u, v,
// flipped across by bit 0 and down by bit 1, in strip order: left-top,
// right-top, left-bottom, right-bottom.
void corners(QVector4D out[4], float u, float v, uchar flip)
{
    float left = 0.0f, right = u, top = 0.0f, bottom = v;
    if (flip & 1)
        std::swap(left, right);
    if (flip & 2)
        std::swap(top, bottom);
    out[0] = QVector4D(left, top, 0.0f, 1.0f);
    out[1] = QVector4D(right, top, 0.0f, 1.0f);
    out[2] = QVector4D(left, bottom, 0.0f, 1.0f);
    out[3] = QVector4D(right, bottom, 0.0f, 1.0f);
}

} // namespace

Renderer::Renderer() = default;

Renderer::~Renderer()
{
    if (m_widget && m_widget->renderer() == this)
        m_widget->setRenderer(nullptr);
}

QString Renderer::name(bool native)
{
    return native ? tr("Native painter") : QStringLiteral("OpenGL");
}

void Renderer::setFocus()
{
    if (m_widget)
        m_widget->setFocus();
}

void Renderer::update()
{
    if (m_widget)
        m_widget->update();
}

QWidget *Renderer::widget() const
{
    return dynamic_cast<QWidget *>(m_widget);
}

void Renderer::attach(RenderWidgetBase *widget, bool openGL)
{
    m_widget = widget;
    m_openGL = widget && openGL;
    if (m_openGL)
        initializeOpenGLFunctions();
}

GLRenderWidgetPrivate *Renderer::glPrivate() const
{
    if (!m_openGL || !m_widget)
        return nullptr;
    if (auto *gl = dynamic_cast<GLRenderWidget *>(m_widget))
        return gl->glPrivate();
    if (auto *off = dynamic_cast<OffScreenRenderWidget *>(m_widget))
        return off->glPrivate();
    return nullptr;
}

void Renderer::setProjectionMode(ProjectionMode mode)
{
    if (GLRenderWidgetPrivate *d = glPrivate())
        d->projection = mode == Perspective ? 1 : 0;
}

QMatrix4x4 Renderer::viewProjectionMatrix() const
{
    GLRenderWidgetPrivate const *d = glPrivate();
    return d ? d->matrices[d->projection] : QMatrix4x4();
}

QMatrix4x4 Renderer::projection(int width, int height, bool perspective)
{
    QMatrix4x4 m;
    float const w = float(width);
    float const h = float(height);
    if (perspective) {
        m.frustum(-w * 0.25f, w * 0.25f, h * 0.25f, -h * 0.25f, 1000.0f, 10000.0f);
        m.translate(-w * 0.5f, -h * 0.5f, -2000.0f);
    } else {
        m.ortho(0.0f, w, h, 0.0f, 1000.0f, 10000.0f);
        m.translate(0.0f, 0.0f, -2000.0f);
    }
    return m;
}

void Renderer::setPacketGeometry(RenderPacket &packet, QSize size, QSizeF maximumUV,
                                 QMatrix4x4 const &matrix, uchar flip, float topScale,
                                 float topAnchor)
{
    packet.matrix = matrix;
    packet.opacity = 1.0f;
    packet.mask = true;
    packet.effect = NoEffect;
    packet.primitive = TriangleStrip;
    QVector4D uv[4];
    corners(uv, float(maximumUV.width()), float(maximumUV.height()), flip);
    packet.texCoords = {uv[0], uv[1], uv[2], uv[3]};
    float const w = float(size.width());
    float const h = float(size.height());
    float topLeft = 0.0f, topRight = w;
    if (topScale != 1.0f) {
        float const d = w * topScale - w;
        topLeft = -d * topAnchor;
        topRight = w + d * (1.0f - topAnchor);
    }
    packet.vertices = {QVector2D(topLeft, 0.0f), QVector2D(topRight, 0.0f), QVector2D(0.0f, h),
                       QVector2D(w, h)};
}

bool Renderer::canRepeatByTexture(QSize size, QSizeF maximumUV, QSizeF step, bool nonPowerOfTwo)
{
    return qFuzzyCompare(step.width(), qreal(size.width())) &&
        qFuzzyCompare(step.height(), qreal(size.height())) &&
        qFuzzyCompare(maximumUV.width(), 1.0) && qFuzzyCompare(maximumUV.height(), 1.0) &&
        (nonPowerOfTwo || (size.width() % 2 == 0 && size.height() % 2 == 0));
}

void Renderer::setTiledPacketGeometry(RenderPacket &packet, QSize size, QSizeF maximumUV,
                                      QPoint tiles, QSizeF step, QMatrix4x4 const &matrix,
                                      uchar flip, bool hardwareRepeat)
{
    packet.matrix = matrix;
    packet.opacity = 1.0f;
    packet.mask = true;
    packet.effect = NoEffect;
    int const nx = tiles.x() + 1;
    int const ny = tiles.y() + 1;
    float const u = float(maximumUV.width());
    float const v = float(maximumUV.height());
    packet.vertices.clear();
    packet.texCoords.clear();
    if (hardwareRepeat) {
        packet.primitive = TriangleStrip;
        QVector4D uv[4];
        corners(uv, u * float(nx), v * float(ny), flip);
        packet.texCoords = {uv[0], uv[1], uv[2], uv[3]};
        float const w = float(step.width()) * float(nx);
        float const h = float(step.height()) * float(ny);
        packet.vertices = {QVector2D(0.0f, 0.0f), QVector2D(w, 0.0f), QVector2D(0.0f, h),
                           QVector2D(w, h)};
        return;
    }
    packet.primitive = Triangles;
    QVector4D uv[4];
    corners(uv, u, v, flip);
    // uv: left-top, right-top, left-bottom, right-bottom.
    QVector4D const tileUV[6] = {uv[2], uv[0], uv[1], uv[1], uv[3], uv[2]};
    packet.vertices.reserve(nx * ny * 6);
    packet.texCoords.reserve(nx * ny * 6);
    float const w = float(size.width());
    float const h = float(size.height());
    for (int row = 0; row < ny; ++row) {
        float const y0 = float(step.height()) * float(row);
        for (int column = 0; column < nx; ++column) {
            float const x0 = float(step.width()) * float(column);
            float const x1 = x0 + w;
            float const y1 = y0 + h;
            packet.vertices.append({QVector2D(x0, y1), QVector2D(x0, y0), QVector2D(x1, y0),
                                    QVector2D(x1, y0), QVector2D(x1, y1), QVector2D(x0, y1)});
            for (QVector4D const &c : tileUV)
                packet.texCoords.append(c);
        }
    }
}

void Renderer::glBeginDrawImage(QPainter &painter)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (d) {
        d->boundPalette = nullptr;
        d->currentProgram = nullptr;
    }
    painter.beginNativePainting();
    if (d) {
        // The painter's own GL state is not known here: start from what the
        // context holds, and from client-side vertex arrays.
        d->blendEnabled = glIsEnabled(GL_BLEND);
        d->blendEquation = 0;
        d->blendSource = d->blendDestination = -1;
        glBindBuffer(GL_ARRAY_BUFFER, 0);
    }
}

void Renderer::glEndDrawImage(QPainter &painter)
{
    if (GLRenderWidgetPrivate *const d = glPrivate()) {
        for (GLenum unit : {GL_TEXTURE0, GL_TEXTURE1}) {
            glActiveTexture(unit);
            glBindTexture(GL_TEXTURE_2D, 0);
        }
        glActiveTexture(GL_TEXTURE0);
        glSetBlend(false);
        if (d->blendEquation != GL_FUNC_ADD) {
            glBlendEquation(GL_FUNC_ADD);
            d->blendEquation = GL_FUNC_ADD;
        }
        glSetBlendFunction(SourceAlpha, OneMinusSourceAlpha);
        if (d->currentProgram) {
            glUseProgram(0);
            d->currentProgram = nullptr;
        }
    }
    painter.endNativePainting();
}

bool Renderer::glRenderPacket(RenderPacket &packet, QMatrix4x4 const &model, Texture const *image,
                              Texture const *palette, uchar flip, float topScale, float topAnchor)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d || !image || !image->glId() || image->type() < Texture::Indexed)
        return false;
    setPacketGeometry(packet, image->size(), image->maximumUV(), d->matrices[d->projection] * model,
                      flip, topScale, topAnchor);
    packet.texture = image;
    packet.palette = palette;
    return true;
}

bool Renderer::glRenderPacketTiled(RenderPacket &packet, QPoint tiles, QSizeF step,
                                   QMatrix4x4 const &model, Texture const *image,
                                   Texture const *palette, uchar flip)
{
    if (tiles.x() == 0 && tiles.y() == 0)
        return glRenderPacket(packet, model, image, palette, flip, 1.0f, 0.5f);
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d || !image || !image->glId())
        return false;
    static bool const nonPowerOfTwo = hasOpenGLFeature(NPOTTextures);
    bool const repeat = canRepeatByTexture(image->size(), image->maximumUV(), step, nonPowerOfTwo);
    setTiledPacketGeometry(packet, image->size(), image->maximumUV(), tiles, step,
                           d->matrices[d->projection] * model, flip, repeat);
    packet.texture = image;
    packet.palette = palette;
    return true;
}

bool Renderer::glCullRenderPacket(RenderPacket const &packet, QRectF area)
{
    float minX = 999999.0f, minY = 999999.0f, maxX = -999999.0f, maxY = -999999.0f;
    for (QVector2D const &v : packet.vertices) {
        minX = std::min(minX, v.x());
        minY = std::min(minY, v.y());
        maxX = std::max(maxX, v.x());
        maxY = std::max(maxY, v.y());
    }
    QPointF a = packet.matrix.map(QPointF(minX, minY));
    QPointF b = packet.matrix.map(QPointF(maxX, maxY));
    a.setY(-a.y());
    b.setY(-b.y());
    return !QRectF(a, b).normalized().intersects(area);
}

void Renderer::glDrawImage(RenderPacket const &packet)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d || !packet.texture)
        return;
    ShaderBlock &block =
        packet.texture->type() == Texture::Indexed ? d->indexedPrograms : d->imagePrograms;
    QOGLShaderProgram *const program = block.programs[packet.effect & 3];
    if (!program)
        return;
    if (program != d->currentProgram) {
        glUseProgram(program->programId());
        d->currentProgram = program;
        program->setUniformValue(block.image, 0);
        if (packet.palette)
            program->setUniformValue(block.palette, 1);
    }
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, packet.texture->glId());
    if (packet.palette && packet.palette != d->boundPalette) {
        d->boundPalette = packet.palette;
        glActiveTexture(GL_TEXTURE1);
        if (packet.palette->glId())
            glBindTexture(GL_TEXTURE_2D, packet.palette->glId());
        glActiveTexture(GL_TEXTURE0);
    }
    program->setUniformValue(block.mask, packet.mask ? 1.0f : 0.0f);
    program->setUniformValue(block.opacity, packet.opacity);
    program->setUniformValue(block.matrix, packet.matrix);
    if (d->widget)
        d->widget->emitCustomShaderUniformValues(program);
    program->enableAttributeArray(block.position);
    program->setAttributeArray(block.position, GL_FLOAT, packet.vertices.constData(), 2);
    program->enableAttributeArray(block.texCoord);
    program->setAttributeArray(block.texCoord, GL_FLOAT, packet.texCoords.constData(), 4);
    glDrawArrays(primitives[packet.primitive % 3], 0, GLsizei(packet.vertices.size()));
    program->disableAttributeArray(block.texCoord);
    program->disableAttributeArray(block.position);
}

bool Renderer::glSetBlend(bool on)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d)
        return false;
    if (d->blendEnabled == on)
        return on;
    d->blendEnabled = on;
    if (on) {
        glEnable(GL_BLEND);
    } else {
        glDisable(GL_BLEND);
        d->blendEquation = 0;
        d->blendSource = d->blendDestination = -1;
    }
    return on;
}

void Renderer::glSetBlendEquation(BlendEquation equation)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d)
        return;
    GLenum const value = equation == ReverseSubtract ? equations[1] : equations[0];
    if (d->blendEquation == int(value))
        return;
    d->blendEquation = int(value);
    glBlendEquation(value);
}

void Renderer::glSetBlendFunction(BlendFactor source, BlendFactor destination)
{
    GLRenderWidgetPrivate *const d = glPrivate();
    if (!d)
        return;
    if (d->blendSource == int(source) && d->blendDestination == int(destination))
        return;
    d->blendSource = int(source);
    d->blendDestination = int(destination);
    glBlendFunc(factors[source & 7], factors[destination & 7]);
}

void Renderer::glSetBlendColor(QColor const &color)
{
    if (glPrivate())
        glBlendColor(color.redF(), color.greenF(), color.blueF(), color.alphaF());
}

RenderWidgetBase::~RenderWidgetBase() = default;

} // namespace Kenro
