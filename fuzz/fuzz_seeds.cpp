// Writes a seed corpus per decoder from the real streams listed in the test
// data manifest: fuzz_seeds <test data folder> <output folder>.
// Headerless streams get the five-byte image header of fuzz_decoder.cpp.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace {

bool write(QString const &path, QByteArray const &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QByteArray imageHeader(int width, int height)
{
    QByteArray header;
    header.append(char(width & 0xFF));
    header.append(char(width >> 8));
    header.append(char(height & 0xFF));
    header.append(char(height >> 8));
    header.append('\0'); // indexed
    return header;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList const args = app.arguments();
    if (args.size() != 3) {
        std::fprintf(stderr, "usage: fuzz_seeds <test data folder> <output folder>\n");
        return 2;
    }
    QDir const streams(args[1] + QStringLiteral("/streams"));
    QFile manifest(streams.filePath(QStringLiteral("manifest.json")));
    if (!manifest.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "fuzz_seeds: no manifest in %s\n", qPrintable(streams.path()));
        return 1;
    }
    QDir const out(args[2]);
    for (char const *name : {"lz5", "rle5", "rle8", "pcx", "sff", "snd"})
        out.mkpath(QLatin1String(name));

    int count = 0;
    QJsonArray const entries = QJsonDocument::fromJson(manifest.readAll()).array();
    for (QJsonValue const &value : entries) {
        QJsonObject const entry = value.toObject();
        QString const format = entry.value(QLatin1String("format")).toString();
        QString const file = entry.value(QLatin1String("file")).toString();
        QFile stream(streams.filePath(file));
        if (!stream.open(QIODevice::ReadOnly))
            return 1;
        QByteArray const bytes = stream.readAll();
        QString const seed = QString(file).replace(QLatin1Char('/'), QLatin1Char('_'));
        QByteArray const header = imageHeader(entry.value(QLatin1String("width")).toInt(),
                                              entry.value(QLatin1String("height")).toInt());
        bool ok = true;
        if (format == QLatin1String("pcx")) {
            ok = write(out.filePath(QStringLiteral("pcx/") + seed), bytes);
        } else if (format == QLatin1String("rle8")) {
            ok = write(out.filePath(QStringLiteral("rle8/") + seed), header + bytes);
        } else if (format == QLatin1String("lz5")) {
            // No real RLE5 stream exists; LZ5 bytes give that decoder a start.
            ok = write(out.filePath(QStringLiteral("lz5/") + seed), header + bytes) &&
                write(out.filePath(QStringLiteral("rle5/") + seed), header + bytes);
        } else {
            continue;
        }
        if (!ok)
            return 1;
        ++count;
    }
    // The smaller sprite archives, whole: each run decodes every sprite.
    QDir const game(args[1] + QStringLiteral("/game"));
    for (char const *name :
         {"stages/stage0.sff", "chars/kfm/ending.sff", "screenpack/num72.sff", "data/fight.sff"}) {
        QFile archive(game.filePath(QLatin1String(name)));
        if (!archive.open(QIODevice::ReadOnly))
            return 1;
        QString const seed =
            QLatin1String(name).mid(QLatin1String(name).lastIndexOf(QLatin1Char('/')) + 1);
        if (!write(out.filePath(QStringLiteral("sff/") + seed), archive.readAll()))
            return 1;
        ++count;
    }
    // The smaller sound bank, whole.
    QFile bank(game.filePath(QStringLiteral("chars/kfm/kfm.snd")));
    if (!bank.open(QIODevice::ReadOnly) ||
        !write(out.filePath(QStringLiteral("snd/kfm.snd")), bank.readAll()))
        return 1;
    ++count;
    std::printf("fuzz_seeds: %d seeds\n", count);
    return count > 0 ? 0 : 1;
}
