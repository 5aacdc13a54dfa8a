#include "spritecommands.h"

#include "cliinterface.h"
#include "console.h"
#include "exitcode.h"
#include "inputfile.h"
#include "progressbar.h"
#include "reportwriter.h"
#include "spritearchives.h"

#include <kenro/imaging/imagecodecs.h>

#include <QBuffer>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include <fcntl.h>
#include <unistd.h>

namespace Kenro::Cli {

namespace {

using Ikemen::SffContent;
using Ikemen::SffImage;
using Ikemen::SffPaletteData;
using Ikemen::SffSpriteData;

QString const manifestName = QStringLiteral("sprites.json");
QString const versionOption = QStringLiteral("version");
QString const compressOption = QStringLiteral("compress");

// The colour table that an exported PNG carries: colour 0 transparent, as archives mean it.
QList<QRgb> colorTable(SffPaletteData const *palette)
{
    QList<QRgb> table;
    table.reserve(256);
    for (int i = 0; i < 256; ++i) {
        int const alpha = i == 0 ? 0 : 255;
        if (palette) {
            RGBA const &color = palette->colors[i];
            table.append(qRgba(color.r, color.g, color.b, alpha));
        } else {
            // An indexed sprite without a palette shows its indices as grey levels.
            table.append(qRgba(i, i, i, alpha));
        }
    }
    return table;
}

// The image of a sprite as it is exported: indexed ones with their palette.
QImage exportedImage(SffContent const &content, SffSpriteData const &sprite)
{
    QImage image = sprite.image->image;
    if (image.format() == QImage::Format_Indexed8)
        image.setColorTable(
            colorTable(sprite.palette >= 0 ? &content.palettes.at(sprite.palette) : nullptr));
    return image;
}

QString spriteFileName(quint16 group, quint16 number)
{
    return QStringLiteral("%1-%2.png").arg(group).arg(number);
}

// "rrggbb" for each of the \a palette's colours.
QString colorText(SffPaletteData const &palette)
{
    QByteArray bytes;
    bytes.reserve(palette.colorCount * 3);
    for (int c = 0; c < palette.colorCount; ++c) {
        RGBA const &color = palette.colors[c];
        bytes.append(char(color.r));
        bytes.append(char(color.g));
        bytes.append(char(color.b));
    }
    return QString::fromLatin1(bytes.toHex());
}

QJsonObject manifestOf(SffContent const &content, QStringList const &files)
{
    QJsonArray palettes;
    for (SffPaletteData const &palette : content.palettes)
        palettes.append(QJsonObject{{QStringLiteral("group"), palette.group},
                                    {QStringLiteral("number"), palette.number},
                                    {QStringLiteral("colors"), colorText(palette)}});
    QJsonArray sprites;
    std::unordered_map<SffImage const *, int> firstUser;
    for (int i = 0; i < content.sprites.size(); ++i) {
        SffSpriteData const &sprite = content.sprites.at(i);
        QJsonObject entry{{QStringLiteral("group"), sprite.group},
                          {QStringLiteral("number"), sprite.number},
                          {QStringLiteral("x"), sprite.axisX},
                          {QStringLiteral("y"), sprite.axisY}};
        if (sprite.palette >= 0)
            entry.insert(QStringLiteral("palette"), sprite.palette);
        if (!files.at(i).isEmpty())
            entry.insert(QStringLiteral("file"), files.at(i));
        if (sprite.image) {
            auto const first = firstUser.emplace(sprite.image.get(), i).first;
            if (first->second != i)
                entry.insert(QStringLiteral("link"), first->second);
        }
        sprites.append(entry);
    }
    QJsonObject manifest{{QStringLiteral("version"), SpriteArchives::versionName(content.version)},
                         {QStringLiteral("palettes"), palettes},
                         {QStringLiteral("sprites"), sprites}};
    if (content.version == Ikemen::SffVersion::V101)
        manifest.insert(QStringLiteral("sharedPalette"), content.sharedPalette);
    return manifest;
}

// A whole number of \a object's \a key within \a low to \a high into \a value.
bool readNumber(QJsonObject const &object, QString const &key, int low, int high, int &value)
{
    QJsonValue const json = object.value(key);
    if (!json.isDouble())
        return false;
    double const number = json.toDouble();
    value = int(number);
    return number == double(value) && value >= low && value <= high;
}

bool readPalette(QJsonObject const &object, SffPaletteData &palette)
{
    int group = 0;
    int number = 0;
    QJsonValue const colors = object.value(QStringLiteral("colors"));
    if (!readNumber(object, QStringLiteral("group"), 0, 0xFFFF, group) ||
        !readNumber(object, QStringLiteral("number"), 0, 0xFFFF, number) || !colors.isString())
        return false;
    QByteArray const hex = colors.toString().toLatin1();
    QByteArray const bytes = QByteArray::fromHex(hex);
    if (hex.size() % 6 != 0 || bytes.size() * 2 != hex.size() || bytes.size() > 256 * 3)
        return false;
    palette.group = quint16(group);
    palette.number = quint16(number);
    palette.colorCount = quint16(bytes.size() / 3);
    std::memset(palette.colors, 0, sizeof palette.colors);
    for (int c = 0; c < palette.colorCount; ++c)
        palette.colors[c] = RGBA{quint8(bytes.at(3 * c)), quint8(bytes.at(3 * c + 1)),
                                 quint8(bytes.at(3 * c + 2)), 0};
    Ikemen::setSffAlpha(palette.colors);
    return true;
}

// One sprite of the manifest as it stands there, before its image is read.
struct Entry
{
    SffSpriteData sprite;
    QString file;
    int link = -1;
};

bool isPlainName(QString const &name)
{
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) &&
        !name.contains(QLatin1Char('\\')) && name != QLatin1String("..") &&
        name != QLatin1String(".");
}

bool readEntry(QJsonObject const &object, int index, int paletteCount, Entry &entry)
{
    int group = 0;
    int number = 0;
    int x = 0;
    int y = 0;
    if (!readNumber(object, QStringLiteral("group"), 0, 0xFFFF, group) ||
        !readNumber(object, QStringLiteral("number"), 0, 0xFFFF, number) ||
        !readNumber(object, QStringLiteral("x"), -0x8000, 0x7FFF, x) ||
        !readNumber(object, QStringLiteral("y"), -0x8000, 0x7FFF, y))
        return false;
    entry.sprite.group = quint16(group);
    entry.sprite.number = quint16(number);
    entry.sprite.axisX = qint16(x);
    entry.sprite.axisY = qint16(y);
    if (object.contains(QStringLiteral("palette")) &&
        !readNumber(object, QStringLiteral("palette"), 0, paletteCount - 1, entry.sprite.palette))
        return false;
    if (object.contains(QStringLiteral("link")) &&
        !readNumber(object, QStringLiteral("link"), 0, index - 1, entry.link))
        return false;
    // Only plain names: a manifest must not reach files outside its folder.
    entry.file = object.value(QStringLiteral("file")).toString();
    return !object.contains(QStringLiteral("file")) || isPlainName(entry.file);
}

// The manifest \a path into \a content and \a entries; false with \a why when it is malformed.
bool readManifest(QString const &path, SffContent &content, QList<Entry> &entries, QString &why)
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    QJsonParseError error;
    QJsonObject const manifest = QJsonDocument::fromJson(file.readAll(), &error).object();
    if (error.error != QJsonParseError::NoError) {
        why = QStringLiteral("not valid JSON: %1 at offset %2")
                  .arg(error.errorString())
                  .arg(error.offset);
        return false;
    }
    if (!SpriteArchives::versionFromName(manifest.value(QStringLiteral("version")).toString(),
                                         content.version)) {
        why = QStringLiteral("no \"version\" of 1.01, 2.00 or 2.01");
        return false;
    }
    content.sharedPalette = manifest.value(QStringLiteral("sharedPalette")).toBool();
    QJsonValue const palettes = manifest.value(QStringLiteral("palettes"));
    QJsonValue const sprites = manifest.value(QStringLiteral("sprites"));
    if (!palettes.isArray() || !sprites.isArray()) {
        why = QStringLiteral("no \"palettes\" and \"sprites\" lists");
        return false;
    }
    for (QJsonValue const &value : palettes.toArray()) {
        SffPaletteData palette;
        if (!readPalette(value.toObject(), palette)) {
            why = QStringLiteral("palette %1 needs \"group\", \"number\" and \"colors\", up to 256 "
                                 "colours as rrggbb")
                      .arg(content.palettes.size());
            return false;
        }
        content.palettes.append(palette);
    }
    for (QJsonValue const &value : sprites.toArray()) {
        Entry entry;
        if (!readEntry(value.toObject(), int(entries.size()), int(content.palettes.size()),
                       entry)) {
            why = QStringLiteral("sprite %1 needs \"group\", \"number\", \"x\" and \"y\" in range, "
                                 "and may have a listed \"palette\", an earlier \"link\" and a "
                                 "plain \"file\" name")
                      .arg(entries.size());
            return false;
        }
        entries.append(entry);
    }
    return true;
}

// Keeps what libpng prints on stderr by itself about a damaged file out of
// the one-line errors, for as long as it lives.
class QuietStderr
{
public:
    QuietStderr()
    {
        std::fflush(stderr);
        m_saved = ::dup(STDERR_FILENO);
        int const null = ::open("/dev/null", O_WRONLY);
        if (m_saved >= 0 && null >= 0)
            ::dup2(null, STDERR_FILENO);
        if (null >= 0)
            ::close(null);
    }
    ~QuietStderr()
    {
        std::fflush(stderr);
        if (m_saved >= 0) {
            ::dup2(m_saved, STDERR_FILENO);
            ::close(m_saved);
        }
    }
    QuietStderr(QuietStderr const &) = delete;
    QuietStderr &operator=(QuietStderr const &) = delete;

private:
    int m_saved = -1;
};

// Reads PNG \a path as a sprite's image: palette indices or true colour.
bool readImage(QString const &path, QImage &image, QString &why)
{
    why = unreadableFileReason(path);
    if (!why.isEmpty())
        return false;
    QImageReader reader(path, "PNG");
    {
        QuietStderr const quiet;
        image = reader.read();
    }
    if (image.isNull()) {
        why = QStringLiteral("not a PNG image: %1").arg(reader.errorString());
        return false;
    }
    switch (image.format()) {
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        return true;
    case QImage::Format_Grayscale8: {
        // Qt loads a palette that is a grey ramp as grey levels: they are the indices.
        QImage indexed(image.size(), QImage::Format_Indexed8);
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(indexed.scanLine(y), image.constScanLine(y), size_t(image.width()));
        image = indexed;
        return true;
    }
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        image = image.convertToFormat(QImage::Format_Indexed8);
        return true;
    default:
        image = image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                              : QImage::Format_RGB32);
        return true;
    }
}

// True when \a a and \a b hold the same pixels, whatever their colour tables.
bool samePixels(QImage const &a, QImage const &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return false;
    qsizetype const lineBytes = qsizetype(a.width()) * a.depth() / 8;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.constScanLine(y), b.constScanLine(y), size_t(lineBytes)) != 0)
            return false;
    }
    return true;
}

enum class Compression { RLE8, LZ5, PNG };

// True when every pixel of indexed \a image is one of the first 32 colours,
// the only ones that an LZ5 stream's runs can hold.
bool fitsLZ5(QImage const &image)
{
    for (int y = 0; y < image.height(); ++y) {
        uchar const *line = image.constScanLine(y);
        if (std::any_of(line, line + image.width(), [](uchar index) { return index >= 32; }))
            return false;
    }
    return true;
}

// Stores the indexed \a image in \a compression ahead of the writer, which
// would otherwise choose RLE8; true-colour images stay PNG, and images of
// more than 32 colours stay RLE8 under LZ5.
bool encode(SffImage &image, Compression compression, SffPaletteData const *palette)
{
    QImage const &pixels = image.image;
    if (compression == Compression::RLE8 || pixels.isNull() ||
        pixels.format() != QImage::Format_Indexed8 ||
        (compression == Compression::LZ5 && !fitsLZ5(pixels)))
        return true;
    QByteArray stream;
    QBuffer buffer(&stream);
    buffer.open(QIODevice::WriteOnly);
    bool done = false;
    if (compression == Compression::LZ5) {
        done = saveLZ5(pixels, &buffer, true);
        image.storedFormat = Ikemen::FormatLZ5;
    } else {
        QImage shown = pixels;
        shown.setColorTable(colorTable(palette));
        done = shown.save(&buffer, "PNG");
        image.storedFormat = Ikemen::FormatPNG8;
    }
    QByteArray length(4, 0);
    quint32 const count = quint32(pixels.width()) * quint32(pixels.height());
    for (int i = 0; i < 4; ++i)
        length[i] = char(count >> (8 * i));
    image.stored = length + stream;
    image.storedDepth = 8;
    return done;
}

} // namespace

QString SpritesExportCommand::name() const
{
    return QStringLiteral("sprites export");
}

QString SpritesExportCommand::summary() const
{
    return QStringLiteral("Writes every sprite of an SFF archive as a PNG file, with a manifest.");
}

QString SpritesExportCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nEach sprite is written as \"<group>-<number>.png\": a 256-colour image with its\n"
               "palette, colour 0 transparent, or a true-colour image. The manifest sprites.json\n"
               "keeps the version, the palettes, and each sprite's axis, palette and links, so\n"
               "that 'kenro sprites build' makes the same archive again.");
}

QStringList SpritesExportCommand::arguments() const
{
    return {QStringLiteral("SFF"), QStringLiteral("DIR")};
}

QStringList SpritesExportCommand::argumentHelp() const
{
    return {QStringLiteral("The sprite archive to read."),
            QStringLiteral("The folder to write to; made when missing.")};
}

int SpritesExportCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    QString const sff = parser.positionalArguments().at(0);
    QString const folder = parser.positionalArguments().at(1);
    SffContent content;
    QString why;
    if (!SpriteArchives::read(sff, content, why))
        return Console::fail(InputError, sff, why);
    if (!prepareOutputFolder(folder, why))
        return Console::fail(OutputError, folder, why);

    QDir const dir(folder);
    QSet<QString> taken;
    QStringList files;
    ProgressBar bar(QStringLiteral("Exporting"), host.progressEnabled());
    bar.setMaximum(unsigned(content.sprites.size()));
    for (SffSpriteData const &sprite : std::as_const(content.sprites)) {
        bar.incrementValue();
        if (!sprite.image || sprite.image->image.isNull()) {
            files.append(QString());
            continue;
        }
        // An archive may hold a group and number twice: the later ones get a count.
        QString name = spriteFileName(sprite.group, sprite.number);
        for (int copy = 2; taken.contains(name); ++copy)
            name = QStringLiteral("%1-%2-%3.png").arg(sprite.group).arg(sprite.number).arg(copy);
        taken.insert(name);
        files.append(name);
        QString const path = dir.filePath(name);
        QImage const image = exportedImage(content, sprite);
        if (!saveFile(
                path, [&image](QSaveFile &file, QString &) { return image.save(&file, "PNG"); },
                why))
            return Console::fail(OutputError, path, why);
    }
    QString const manifestPath = dir.filePath(manifestName);
    QByteArray const manifest =
        QJsonDocument(manifestOf(content, files)).toJson(QJsonDocument::Indented);
    if (!saveBytes(manifestPath, manifest, why))
        return Console::fail(OutputError, manifestPath, why);
    bar.finish();
    Console::out(
        QStringLiteral("%1: %2 and %3 written to %4\n")
            .arg(sff, ReportWriter::plural(int(content.sprites.size()), QStringLiteral("sprite")),
                 ReportWriter::plural(int(content.palettes.size()), QStringLiteral("palette")),
                 folder));
    return Success;
}

QString SpritesBuildCommand::name() const
{
    return QStringLiteral("sprites build");
}

QString SpritesBuildCommand::summary() const
{
    return QStringLiteral("Makes an SFF archive of a folder that 'sprites export' wrote.");
}

QString SpritesBuildCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nThe manifest sprites.json names the sprites, their PNG files, axes, palettes\n"
               "and links; a linked sprite whose PNG was changed gets an image of its own.\n"
               "--version 1 writes 1.01, which holds only 256-colour sprites; 2 writes 2.01;\n"
               "2.00 holds no PNG images. --compress chooses how version 2 stores 256-colour\n"
               "sprites: rle8 (the default), lz5 (for sprites of the first 32 colours; others\n"
               "stay rle8) or png (2.01 only); true-colour sprites are always PNG.\n"
               "SFF is replaced only once it is completely written.");
}

QStringList SpritesBuildCommand::arguments() const
{
    return {QStringLiteral("DIR"), QStringLiteral("SFF")};
}

QStringList SpritesBuildCommand::argumentHelp() const
{
    return {QStringLiteral("The folder with sprites.json and the PNG files."),
            QStringLiteral("The sprite archive to write.")};
}

void SpritesBuildCommand::addOptions(QCommandLineParser &parser) const
{
    parser.addOption({versionOption,
                      QStringLiteral("Writes version V: 1 (1.01), 2 (2.01), or 2.00; the "
                                     "manifest's by default."),
                      QStringLiteral("V")});
    parser.addOption({compressOption,
                      QStringLiteral("Stores 256-colour sprites of version 2 as rle8, lz5 or png."),
                      QStringLiteral("C")});
}

int SpritesBuildCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    QString const folder = parser.positionalArguments().at(0);
    QString const sff = parser.positionalArguments().at(1);
    Ikemen::SffVersion version = Ikemen::SffVersion::V201;
    bool const versionSet = parser.isSet(versionOption);
    if (versionSet && !SpriteArchives::versionFromName(parser.value(versionOption), version))
        return Console::fail(UsageError, QStringLiteral("--version"),
                             QStringLiteral("'%1' is none of 1, 2, 1.01, 2.00, 2.01")
                                 .arg(parser.value(versionOption)));
    Compression compression = Compression::RLE8;
    QString const compress = parser.value(compressOption).toLower();
    if (compress == QLatin1String("lz5"))
        compression = Compression::LZ5;
    else if (compress == QLatin1String("png"))
        compression = Compression::PNG;
    else if (parser.isSet(compressOption) && compress != QLatin1String("rle8"))
        return Console::fail(
            UsageError, QStringLiteral("--compress"),
            QStringLiteral("'%1' is none of rle8, lz5, png").arg(parser.value(compressOption)));

    QFileInfo const info(folder);
    if (!info.exists())
        return Console::fail(InputError, folder, QStringLiteral("no such folder"));
    if (!info.isDir())
        return Console::fail(InputError, folder,
                             QStringLiteral("is a file, a folder was expected"));
    QDir const dir(folder);
    QString const manifestPath = dir.filePath(manifestName);
    SffContent content;
    QList<Entry> entries;
    QString why;
    if (!readManifest(manifestPath, content, entries, why))
        return Console::fail(InputError, manifestPath, why);
    if (!versionSet)
        version = content.version;
    if (parser.isSet(compressOption) && version == Ikemen::SffVersion::V101)
        return Console::fail(UsageError, QStringLiteral("--compress"),
                             QStringLiteral("version 1.01 stores every sprite as PCX"));
    if (compression == Compression::PNG && version != Ikemen::SffVersion::V201)
        return Console::fail(UsageError, QStringLiteral("--compress"),
                             QStringLiteral("png needs version 2.01"));

    ProgressBar bar(QStringLiteral("Reading"), host.progressEnabled());
    bar.setMaximum(unsigned(entries.size()));
    for (Entry &entry : entries) {
        bar.incrementValue();
        SffSpriteData &sprite = entry.sprite;
        QImage image;
        if (!entry.file.isEmpty()) {
            QString const path = dir.filePath(entry.file);
            if (!readImage(path, image, why))
                return Console::fail(InputError, path, why);
        }
        // A linked sprite shares its source's image as long as its pixels are the same.
        if (entry.link >= 0) {
            std::shared_ptr<SffImage> const &source = content.sprites.at(entry.link).image;
            if (samePixels(source->image, image)) {
                sprite.image = source;
                content.sprites.append(sprite);
                continue;
            }
        }
        sprite.image = std::make_shared<SffImage>();
        sprite.image->image = image;
        SffPaletteData const *palette =
            sprite.palette >= 0 ? &content.palettes.at(sprite.palette) : nullptr;
        if (version != Ikemen::SffVersion::V101 && !encode(*sprite.image, compression, palette))
            return Console::fail(InputError, dir.filePath(entry.file),
                                 QStringLiteral("cannot be encoded as %1").arg(compress));
        content.sprites.append(sprite);
    }
    bar.finish();
    QStringList warnings;
    int const written = SpriteArchives::write(sff, content, version, warnings, why);
    if (written != Success)
        return Console::fail(ExitCode(written), sff, why);
    for (QString const &warning : std::as_const(warnings))
        Console::warn(sff, warning);
    Console::out(QStringLiteral("%1: %2 sprites written from %3 as version %4\n")
                     .arg(sff)
                     .arg(content.sprites.size())
                     .arg(folder, SpriteArchives::versionName(version)));
    return Success;
}

} // namespace Kenro::Cli
