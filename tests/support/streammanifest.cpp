#include "streammanifest.h"

#include "testdata.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace KenroTest {

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

} // namespace KenroTest
