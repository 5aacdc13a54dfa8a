#include "sffpalette.h"

#include "sffpalettes.h"

#include <cstring>

namespace Kenro::Ikemen {

namespace {
QString const identifierName = QStringLiteral("Identifier");
} // namespace

SffPalette::SffPalette(SffPalettes *owner, SffPaletteData const &data, QString const &file)
    : m_owner(owner), m_data(data), m_file(file)
{}

SffPaletteData const &SffPalette::data() const
{
    return m_data;
}

QList<QRgb> const &SffPalette::qtColorTable() const
{
    if (m_table.isEmpty()) {
        m_table.reserve(256);
        for (RGBA const &color : m_data.colors)
            m_table.append(color.toQRgb());
    }
    return m_table;
}

QString SffPalette::file() const
{
    return m_file;
}

void SffPalette::show(SffPaletteData const &data, QString const &file)
{
    quint16 const group = m_data.group;
    quint16 const number = m_data.number;
    m_data = data;
    m_data.group = group;
    m_data.number = number;
    m_file = file;
    m_table.clear();
}

QString SffPalette::label() const
{
    return QStringLiteral("%1, %2").arg(m_data.group).arg(m_data.number);
}

unsigned int SffPalette::identifier() const
{
    return (unsigned int)(m_data.group) << 16 | m_data.number;
}

bool SffPalette::setIdentifier(unsigned int identifier)
{
    if (identifier == this->identifier())
        return true;
    if (m_owner->find(0, identifier) >= 0)
        return false;
    m_data.group = quint16(identifier >> 16);
    m_data.number = quint16(identifier & 0xFFFF);
    m_owner->rowChanged(int(index()));
    return true;
}

QStringList SffPalette::propertyNames() const
{
    return {identifierName, QStringLiteral("Group"), QStringLiteral("Number"),
            QStringLiteral("Colours"), QStringLiteral("File")};
}

QVariant SffPalette::property(QString const &name) const
{
    if (name == identifierName)
        return identifier();
    if (name == QLatin1String("Group"))
        return m_data.group;
    if (name == QLatin1String("Number"))
        return m_data.number;
    if (name == QLatin1String("Colours"))
        return m_data.colorCount;
    if (name == QLatin1String("File"))
        return m_file;
    return QVariant();
}

void SffPalette::setProperty(QString const &name, QVariant const &value)
{
    bool ok = false;
    unsigned int const number = value.toUInt(&ok);
    if (name == identifierName && ok)
        setIdentifier(number);
}

Palettes *SffPalette::parent() const
{
    return m_owner;
}

unsigned int SffPalette::index() const
{
    return (unsigned int)(m_owner->indexOf(this));
}

bool SffPalette::colorTable(RGBA (&colors)[256]) const
{
    std::memcpy(colors, m_data.colors, sizeof colors);
    return true;
}

void SffPalette::setColorTable(RGBA const *colors, ShareMode)
{
    if (!colors)
        return;
    std::memcpy(m_data.colors, colors, sizeof m_data.colors);
    setSffAlpha(m_data.colors);
    m_table.clear();
    m_owner->rowChanged(int(index()));
}

Palette *SffPalette::duplicate()
{
    return m_owner->add(m_data.colors, m_owner->freeIdentifier(m_data.group), NoShare);
}

} // namespace Kenro::Ikemen
