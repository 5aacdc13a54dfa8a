#include "streammanifest.h"

#include "testdata.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace KenroTest {

QString StreamEntry::summary() const
{
    int const qtFormat =
        format == QLatin1String("png32") ? QImage::Format_ARGB32 : QImage::Format_Indexed8;
    return QString::asprintf("%dx%d %d %s", width, height, qtFormat, pixelsSha1.constData());
}
QList<StreamEntry> streamManifest(QString const &root)
{
    QString const folder = root + QStringLiteral("/streams/");
    QList<StreamEntry> entries;
    QByteArray const json = readFile(folder + QStringLiteral("manifest.json"));
    for (QJsonValue const &value : QJsonDocument::fromJson(json).array()) {
        QJsonObject const o = value.toObject();
        auto text = [&o](char const *key) { return o.value(QLatin1String(key)).toString(); };
        entries.append({folder + text("file"), text("file"), text("format"),
                        o.value(QLatin1String("width")).toInt(),
                        o.value(QLatin1String("height")).toInt(), text("pixelsSha1").toLatin1(),
                        text("paletteSha1").toLatin1()});
    }
    return entries;
}
QString imageSummary(QImage const &image)
{
    QImage const bytes = image.format() == QImage::Format_Indexed8
        ? image
        : image.convertToFormat(QImage::Format_RGBA8888);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (int y = 0; y < bytes.height(); ++y)
        hash.addData(
            QByteArrayView(bytes.constScanLine(y), qsizetype(bytes.width()) * bytes.depth() / 8));
    return QString::asprintf("%dx%d %d %s", image.width(), image.height(), int(image.format()),
                             hash.result().toHex().constData());
}
QByteArray paletteSha1(QList<QRgb> const &colors)
{
    QByteArray rgb;
    for (QRgb color : colors)
        rgb += QByteArray(1, char(qRed(color))) + char(qGreen(color)) + char(qBlue(color));
    return QCryptographicHash::hash(rgb, QCryptographicHash::Sha1).toHex();
}

} // namespace KenroTest
