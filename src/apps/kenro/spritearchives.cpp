#include "spritearchives.h"

#include "exitcode.h"
#include "inputfile.h"

#include <ikemen/sff/sffreader.h>
#include <ikemen/sff/sffwriter.h>

#include <QFile>
#include <QSaveFile>

namespace Kenro::Cli::SpriteArchives {

bool read(QString const &path, Ikemen::SffContent &content, QString &why)
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    Ikemen::SffReader reader;
    if (!reader.read(file.readAll(), content)) {
        why = QStringLiteral("not a valid SFF sprite archive: %1").arg(reader.errorString());
        return false;
    }
    return true;
}

int write(QString const &path, Ikemen::SffContent const &content, Ikemen::SffVersion version,
          QStringList &warnings, QString &why)
{
    // Encoded first: a version that cannot hold the content leaves no file at all.
    Ikemen::SffWriter writer;
    QByteArray const bytes = writer.write(content, version);
    warnings = writer.warnings();
    if (bytes.isEmpty()) {
        why = QStringLiteral("version %1 cannot hold it: %2")
                  .arg(versionName(version), writer.errorString());
        return InputError;
    }
    return saveBytes(path, bytes, why) ? Success : OutputError;
}

QString versionName(Ikemen::SffVersion version)
{
    switch (version) {
    case Ikemen::SffVersion::V101:
        return QStringLiteral("1.01");
    case Ikemen::SffVersion::V200:
        return QStringLiteral("2.00");
    case Ikemen::SffVersion::V201:
        break;
    }
    return QStringLiteral("2.01");
}

bool versionFromName(QString const &name, Ikemen::SffVersion &version)
{
    if (name == QLatin1String("1") || name == QLatin1String("1.01"))
        version = Ikemen::SffVersion::V101;
    else if (name == QLatin1String("2.00"))
        version = Ikemen::SffVersion::V200;
    // Plain "2" is the version that holds every kind of sprite.
    else if (name == QLatin1String("2") || name == QLatin1String("2.01"))
        version = Ikemen::SffVersion::V201;
    else
        return false;
    return true;
}

QString formatName(quint8 format)
{
    switch (format) {
    case Ikemen::FormatRaw:
        return QStringLiteral("raw");
    case Ikemen::FormatRLE8:
        return QStringLiteral("RLE8");
    case Ikemen::FormatRLE5:
        return QStringLiteral("RLE5");
    case Ikemen::FormatLZ5:
        return QStringLiteral("LZ5");
    case Ikemen::FormatPNG8:
        return QStringLiteral("PNG8");
    case Ikemen::FormatPNG24:
        return QStringLiteral("PNG24");
    case Ikemen::FormatPNG32:
        return QStringLiteral("PNG32");
    default:
        break;
    }
    return QStringLiteral("format %1").arg(format);
}

} // namespace Kenro::Cli::SpriteArchives
