#include "palettefile.h"

#include <ikemen/sff/actpalette.h>
#include <ikemen/sff/sffpalette.h>
#include <ikemen/sff/sffpalettes.h>
#include <ikemen/sff/sffsprites.h>

namespace Kenro::Ikemen {

namespace {

// The colour bytes of a palette file; some tools append four more.
constexpr int ColorBytes = 768;

} // namespace

PaletteFile::PaletteFile() : m_problems(this) {}

bool PaletteFile::isPalette() const
{
    return data().size() >= ColorBytes;
}

bool PaletteFile::colors(RGBA (&colors)[256]) const
{
    return readAct(data(), colors);
}

SffPalette *PaletteFile::showIn(SffSprites &sprites, int slot)
{
    RGBA table[256];
    if (slot < 0 || slot > 0xFFFF || !colors(table))
        return nullptr;
    m_sprites = &sprites;
    auto *palettes = static_cast<SffPalettes *>(sprites.palettes());
    return palettes->showFile(table, fileName(), 1u << 16 | unsigned(slot));
}

QList<SffPalette *> PaletteFile::palettes() const
{
    return palettesOf(fileName());
}

QList<SffPalette *> PaletteFile::palettesOf(QString const &name) const
{
    QList<SffPalette *> found;
    if (!m_sprites || name.isEmpty())
        return found;
    auto *palettes = static_cast<SffPalettes *>(m_sprites->palettes());
    for (unsigned int i = 0; i < palettes->count(); ++i) {
        if (palettes->palette(i)->file() == name)
            found.append(palettes->palette(i));
    }
    return found;
}

QByteArray PaletteFile::bytesToWrite() const
{
    QByteArray bytes = data();
    if (!isPalette())
        return bytes;
    QByteArray const stored = bytes.left(ColorBytes);
    // Of several slots that show one file, the first edited one is written.
    for (SffPalette const *palette : palettes()) {
        RGBA table[256];
        palette->colorTable(table);
        QByteArray const written = writeAct(table);
        if (written != stored) {
            bytes.replace(0, ColorBytes, written);
            break;
        }
    }
    return bytes;
}

void PaletteFile::showColors(QList<SffPalette *> const &palettes)
{
    RGBA table[256];
    if (!m_sprites || !colors(table))
        return;
    auto *owner = static_cast<SffPalettes *>(m_sprites->palettes());
    for (SffPalette *palette : palettes)
        owner->showFile(table, fileName(), palette->identifier());
}

bool PaletteFile::isModified() const
{
    return BinaryFile::isModified() || bytesToWrite() != data();
}

void PaletteFile::reset()
{
    BinaryFile::reset();
    m_problems.clear();
}

bool PaletteFile::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    QByteArray const previous = data();
    bool const wasModified = BinaryFile::isModified();
    QByteArray const bytes = bytesToWrite();
    if (bytes != previous)
        setData(bytes, true);
    QList<SffPalette *> const shown = palettes();
    bool const written = BinaryFile::toFile(archive, name, flags, stats);
    if (!written || (flags & Copy)) {
        // The file itself still holds what it held: the edit stays to be saved.
        setData(previous, wasModified);
        return written;
    }
    showColors(shown);
    return true;
}

bool PaletteFile::fromFile(Archive &archive, QString const &name, unsigned int flags,
                           JobStats *stats)
{
    QList<SffPalette *> const shown = palettes();
    if (!BinaryFile::fromFile(archive, name, flags, stats))
        return false;
    m_problems.clear();
    if (!isPalette()) {
        m_problems.add(Message::Warning,
                       QStringLiteral("%1 holds no palette: it has %2 bytes, a palette %3")
                           .arg(name.mid(name.lastIndexOf(QLatin1Char('/')) + 1))
                           .arg(data().size())
                           .arg(ColorBytes),
                       0, 0);
    }
    if (!(flags & Copy))
        showColors(shown);
    return true;
}

Messages *PaletteFile::fileMessages() const
{
    return const_cast<SimpleMessages *>(&m_problems);
}

} // namespace Kenro::Ikemen
