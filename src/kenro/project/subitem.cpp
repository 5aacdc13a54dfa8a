#include <kenro/project/subitem.h>

#include <QStringList>

namespace Kenro {

bool SubItem::parse(QString const &text, SubItem &out)
{
    QStringList const parts = text.split(QLatin1Char(','));
    if (parts.size() != 2)
        return false;
    bool ok = false;
    int const first = parts.at(0).trimmed().toInt(&ok, 10);
    out.first = first;
    if (!ok)
        return false;
    out.second = parts.at(1).trimmed().toInt(&ok, 10);
    return ok;
}

} // namespace Kenro
