// Writes the sample character's sprite archive and sound bank into a folder:
//   kenro_sample_generator OUTDIR
// makes OUTDIR/sample.sff, OUTDIR/sample.act (the palette) and OUTDIR/sample.snd.

#include "figure.h"
#include "sounds.h"

#include <actpalette.h>
#include <ikemen/snd/sndwriter.h>
#include <sffwriter.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QSaveFile>

#include <cstdio>

namespace {

bool save(QString const &path, QByteArray const &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        std::fprintf(stderr, "kenro_sample_generator: %s: %s\n", qPrintable(path),
                     qPrintable(file.errorString()));
        return false;
    }
    std::printf("%s: %lld bytes\n", qPrintable(path), static_cast<long long>(bytes.size()));
    return true;
}

QByteArray spriteArchive(QString &error)
{
    Kenro::Ikemen::SffContent content;
    content.version = Kenro::Ikemen::SffVersion::V201;
    content.palettes.append(KenroSample::figurePalette());
    content.sprites = KenroSample::figureSprites();
    Kenro::Ikemen::SffWriter writer;
    QByteArray const bytes = writer.write(content, content.version);
    error = writer.errorString();
    return bytes;
}

QByteArray soundBank(QString &error)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    Kenro::Ikemen::SndWriter writer;
    if (!writer.write(KenroSample::sampleSounds(), &buffer)) {
        error = writer.errorString();
        return QByteArray();
    }
    return bytes;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QStringList const arguments = application.arguments();
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: kenro_sample_generator OUTDIR\n");
        return 2;
    }
    QDir const folder(arguments.at(1));
    if (!QDir().mkpath(folder.path())) {
        std::fprintf(stderr, "kenro_sample_generator: %s: cannot make the folder\n",
                     qPrintable(folder.path()));
        return 4;
    }

    QString error;
    QByteArray const sprites = spriteArchive(error);
    if (sprites.isEmpty()) {
        std::fprintf(stderr, "kenro_sample_generator: sprites: %s\n", qPrintable(error));
        return 1;
    }
    QByteArray const sounds = soundBank(error);
    if (sounds.isEmpty()) {
        std::fprintf(stderr, "kenro_sample_generator: sounds: %s\n", qPrintable(error));
        return 1;
    }
    bool const saved = save(folder.filePath(QStringLiteral("sample.sff")), sprites) &&
        save(folder.filePath(QStringLiteral("sample.act")),
             Kenro::Ikemen::writeAct(KenroSample::figurePalette().colors)) &&
        save(folder.filePath(QStringLiteral("sample.snd")), sounds);
    return saved ? 0 : 4;
}
