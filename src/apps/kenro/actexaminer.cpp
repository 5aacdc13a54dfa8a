#include "actexaminer.h"

#include "inputfile.h"

#include <ikemen/sff/actpalette.h>

#include <QFile>
#include <QSet>

namespace Kenro::Cli {

bool ActExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "ACT";
}

bool ActExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    QByteArray const bytes = file.readAll();
    RGBA colors[256];
    if (!Ikemen::readAct(bytes, colors)) {
        why = QStringLiteral("not a palette file: %1 bytes, 768 were expected").arg(bytes.size());
        return false;
    }
    QSet<quint32> distinct;
    for (RGBA const &color : colors)
        distinct.insert(quint32(color.r) << 16 | quint32(color.g) << 8 | color.b);
    report.kind = QStringLiteral("ACT palette");
    report.facts = {{QStringLiteral("colours"), 256},
                    {QStringLiteral("distinct colours"), int(distinct.size())}};
    // Longer files are read all the same; what lies past the palette is left out.
    if (bytes.size() > 768)
        report.diagnostics.append(
            {Message::Warning, path, 1, 1,
             QStringLiteral("%1 bytes past the 256 colours are left out").arg(bytes.size() - 768)});
    return true;
}

} // namespace Kenro::Cli
