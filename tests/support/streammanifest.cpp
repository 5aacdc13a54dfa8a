#include "streammanifest.h"

#include "testdata.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace KenroTest {

QList<StreamEntry> streamManifest(QString const &root, QString const &format)
{
    QString const folder = root + QStringLiteral("/streams/");
    QList<StreamEntry> entries;
    QByteArray const json = readFile(folder + QStringLiteral("manifest.json"));
    for (QJsonValue const &value : QJsonDocument::fromJson(json).array()) {
        QJsonObject const o = value.toObject();
        StreamEntry e;
        e.file = o.value(QLatin1String("file")).toString();
        e.path = folder + e.file;
        e.format = o.value(QLatin1String("format")).toString();
        e.width = o.value(QLatin1String("width")).toInt();
        e.height = o.value(QLatin1String("height")).toInt();
        e.pixelsSha1 = o.value(QLatin1String("pixelsSha1")).toString().toLatin1();
        e.paletteSha1 = o.value(QLatin1String("paletteSha1")).toString().toLatin1();
        if (format.isEmpty() || e.format == format)
            entries.append(e);
    }
    return entries;
}

} // namespace KenroTest
