#include <kenro/imaging/imageinfo.h>

namespace Kenro {

QImage::Format imageFormatOfDepth(int bits)
{
    switch (bits) {
    case 5:
    case 8:
        return QImage::Format_Indexed8;
    case 24:
        return QImage::Format_RGB32;
    case 32:
        return QImage::Format_ARGB32;
    default:
        return QImage::Format_Invalid;
    }
}

int imageDepthOfFormat(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Indexed8:
        return 8;
    case QImage::Format_RGB32:
        return 24;
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return 32;
    default:
        return 0;
    }
}

} // namespace Kenro
