#include "actpalette.h"

#include "sffcontent.h"

namespace Kenro::Ikemen {

bool readAct(QByteArray const &data, RGBA (&colors)[256])
{
    // Some tools append a colour count and a transparent index: 772 bytes.
    if (data.size() < 768)
        return false;
    auto const *bytes = reinterpret_cast<uchar const *>(data.constData());
    for (int i = 0; i < 256; ++i) {
        uchar const *triple = bytes + 3 * (255 - i);
        colors[i] = RGBA{triple[0], triple[1], triple[2], 255};
    }
    setSffAlpha(colors);
    return true;
}

QByteArray writeAct(RGBA const (&colors)[256])
{
    QByteArray data(768, 0);
    for (int i = 0; i < 256; ++i) {
        data[3 * (255 - i)] = char(colors[i].r);
        data[3 * (255 - i) + 1] = char(colors[i].g);
        data[3 * (255 - i) + 2] = char(colors[i].b);
    }
    return data;
}

} // namespace Kenro::Ikemen
