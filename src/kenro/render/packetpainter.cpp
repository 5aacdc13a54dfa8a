#include <kenro/render/packetpainter.h>

#include <algorithm>
#include <cmath>

namespace Kenro {

namespace {

struct Color
{
    float r, g, b, a;
};

struct Vertex
{
    double x, y; // image pixels, y down
    double u, v;
};

float clamp01(float value)
{
    return std::min(1.0f, std::max(0.0f, value));
}

uchar toByte(float value)
{
    return uchar(std::lround(clamp01(value) * 255.0f));
}

Color factor(Renderer::BlendFactor f, Color const &s, Color const &d, Color const &c)
{
    switch (f) {
    case Renderer::Zero:
        return {0, 0, 0, 0};
    case Renderer::One:
        return {1, 1, 1, 1};
    case Renderer::SourceColor:
        return s;
    case Renderer::DestinationColor:
        return d;
    case Renderer::SourceAlpha:
        return {s.a, s.a, s.a, s.a};
    case Renderer::OneMinusSourceAlpha:
        return {1 - s.a, 1 - s.a, 1 - s.a, 1 - s.a};
    case Renderer::ConstantColor:
        return c;
    case Renderer::ConstantAlpha:
        return {c.a, c.a, c.a, c.a};
    }
    return {0, 0, 0, 0};
}

// Edge function of the pixel centre (x, y) against the edge a -> b.
double edge(Vertex const &a, Vertex const &b, double x, double y)
{
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

// Whether a pixel centre exactly on the edge a -> b belongs to the triangle:
// the top-left rule, for a triangle wound clockwise on the screen (y down), so
// that a top edge runs right and a left edge runs up.
bool ownsEdge(Vertex const &a, Vertex const &b)
{
    double const dx = b.x - a.x;
    double const dy = b.y - a.y;
    return (dy == 0.0 && dx > 0.0) || dy < 0.0;
}

} // namespace

PacketPainter::PacketPainter(QImage *target) : m_target(target) {}

void PacketPainter::draw(Renderer::RenderPacket const &packet, QImage const &image,
                         RGBA const *palette)
{
    Texture::ImageData data;
    Texture::dataFromImage(image, data);
    draw(packet, data, palette);
}

void PacketPainter::draw(Renderer::RenderPacket const &packet, Texture::ImageData const &data,
                         RGBA const *palette)
{
    if (!m_target || m_target->format() != QImage::Format_ARGB32_Premultiplied ||
        data.data.isEmpty() || data.textureWidth <= 0 || data.textureHeight <= 0)
        return;
    bool const indexed = data.depth <= 8;
    if (indexed && !palette)
        return;
    int const width = m_target->width();
    int const height = m_target->height();
    int const tw = data.textureWidth;
    int const th = data.textureHeight;
    int const bytes = indexed ? 1 : data.depth <= 24 ? 3 : 4;
    uchar const *texels = reinterpret_cast<uchar const *>(data.data.constData());
    Color const constant{float(m_blend.constant.redF()), float(m_blend.constant.greenF()),
                         float(m_blend.constant.blueF()), float(m_blend.constant.alphaF())};

    // The vertices in image pixels: clip space to the viewport, y down.
    qsizetype const count = std::min(packet.vertices.size(), packet.texCoords.size());
    std::vector<Vertex> vertices;
    vertices.reserve(size_t(count));
    for (qsizetype i = 0; i < count; ++i) {
        QVector4D const clip =
            packet.matrix * QVector4D(packet.vertices[i].x(), packet.vertices[i].y(), 0.0f, 1.0f);
        double const w = clip.w() != 0.0f ? double(clip.w()) : 1.0;
        QVector4D const &t = packet.texCoords[i];
        double const q = t.w() != 0.0f ? double(t.w()) : 1.0;
        vertices.push_back(Vertex{(double(clip.x()) / w + 1.0) * 0.5 * width,
                                  (1.0 - double(clip.y()) / w) * 0.5 * height, double(t.x()) / q,
                                  double(t.y())});
    }

    auto shade = [&](double u, double v, Color &out) {
        // Nearest texel, repeated beyond the texture.
        int tx = int(std::floor(u * tw)) % tw;
        int ty = int(std::floor(v * th)) % th;
        if (tx < 0)
            tx += tw;
        if (ty < 0)
            ty += th;
        uchar const *texel = texels + (qsizetype(ty) * tw + tx) * bytes;
        Color c;
        if (indexed) {
            RGBA const &p = palette[*texel];
            c = {p.r / 255.0f, p.g / 255.0f, p.b / 255.0f, p.a / 255.0f};
        } else if (bytes == 3) {
            c = {texel[0] / 255.0f, texel[1] / 255.0f, texel[2] / 255.0f, 1.0f};
        } else {
            c = {texel[0] / 255.0f, texel[1] / 255.0f, texel[2] / 255.0f, texel[3] / 255.0f};
        }
        if (!packet.mask)
            c.a = 1.0f;
        if (c.a == 0.0f)
            return false;
        switch (packet.effect) {
        case Renderer::Grayscale:
            c.g = c.b = c.r;
            break;
        case Renderer::Lighter:
            c.r += 0.5f, c.g += 0.5f, c.b += 0.5f;
            break;
        case Renderer::Darker:
            c.r -= 0.5f, c.g -= 0.5f, c.b -= 0.5f;
            break;
        default:
            break;
        }
        if (indexed)
            c.a *= packet.opacity;
        else
            c = {c.r * packet.opacity, c.g * packet.opacity, c.b * packet.opacity,
                 c.a * packet.opacity};
        out = {clamp01(c.r), clamp01(c.g), clamp01(c.b), clamp01(c.a)};
        return true;
    };

    auto blend = [&](QRgb &pixel, Color const &s) {
        if (!m_blend.enabled) {
            pixel = qRgba(toByte(s.r), toByte(s.g), toByte(s.b), toByte(s.a));
            return;
        }
        Color const d{qRed(pixel) / 255.0f, qGreen(pixel) / 255.0f, qBlue(pixel) / 255.0f,
                      qAlpha(pixel) / 255.0f};
        Color const sf = factor(m_blend.source, s, d, constant);
        Color const df = factor(m_blend.destination, s, d, constant);
        float const sign = m_blend.equation == Renderer::ReverseSubtract ? -1.0f : 1.0f;
        // Reverse subtract takes the source from the destination.
        auto mix = [sign](float sv, float sfv, float dv, float dfv) {
            return dv * dfv + sign * sv * sfv;
        };
        pixel = qRgba(toByte(mix(s.r, sf.r, d.r, df.r)), toByte(mix(s.g, sf.g, d.g, df.g)),
                      toByte(mix(s.b, sf.b, d.b, df.b)), toByte(mix(s.a, sf.a, d.a, df.a)));
    };

    auto triangle = [&](Vertex a, Vertex b, Vertex c) {
        double area = edge(a, b, c.x, c.y);
        if (area == 0.0)
            return;
        if (area < 0.0) {
            std::swap(b, c);
            area = -area;
        }
        int const x0 = std::max(0, int(std::floor(std::min({a.x, b.x, c.x}))));
        int const x1 = std::min(width - 1, int(std::ceil(std::max({a.x, b.x, c.x}))));
        int const y0 = std::max(0, int(std::floor(std::min({a.y, b.y, c.y}))));
        int const y1 = std::min(height - 1, int(std::ceil(std::max({a.y, b.y, c.y}))));
        bool const ownsBC = ownsEdge(b, c), ownsCA = ownsEdge(c, a), ownsAB = ownsEdge(a, b);
        for (int y = y0; y <= y1; ++y) {
            QRgb *line = reinterpret_cast<QRgb *>(m_target->scanLine(y));
            double const cy = y + 0.5;
            for (int x = x0; x <= x1; ++x) {
                double const cx = x + 0.5;
                double const wa = edge(b, c, cx, cy);
                double const wb = edge(c, a, cx, cy);
                double const wc = edge(a, b, cx, cy);
                if (wa < 0.0 || wb < 0.0 || wc < 0.0)
                    continue;
                if ((wa == 0.0 && !ownsBC) || (wb == 0.0 && !ownsCA) || (wc == 0.0 && !ownsAB))
                    continue;
                double const u = (wa * a.u + wb * b.u + wc * c.u) / area;
                double const v = (wa * a.v + wb * b.v + wc * c.v) / area;
                Color s;
                if (shade(u, v, s))
                    blend(line[x], s);
            }
        }
    };

    size_t const n = vertices.size();
    switch (packet.primitive) {
    case Renderer::Triangles:
        for (size_t i = 0; i + 2 < n; i += 3)
            triangle(vertices[i], vertices[i + 1], vertices[i + 2]);
        break;
    case Renderer::TriangleFan:
        for (size_t i = 1; i + 1 < n; ++i)
            triangle(vertices[0], vertices[i], vertices[i + 1]);
        break;
    default:
        for (size_t i = 0; i + 2 < n; ++i)
            triangle(vertices[i], vertices[i + 1], vertices[i + 2]);
        break;
    }
}

} // namespace Kenro
