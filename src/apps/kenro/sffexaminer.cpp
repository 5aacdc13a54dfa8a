#include "sffexaminer.h"

#include "spritearchives.h"

#include <QMap>
#include <QSet>

#include <unordered_set>

namespace Kenro::Cli {

namespace {

// How the image of a sprite is stored, as the reader left it.
QString storedFormat(Ikemen::SffContent const &content, Ikemen::SffImage const &image)
{
    if (content.version == Ikemen::SffVersion::V101)
        return QStringLiteral("PCX");
    return SpriteArchives::formatName(image.storedFormat);
}

} // namespace

bool SffExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "SFF";
}

bool SffExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    Ikemen::SffContent content;
    if (!SpriteArchives::read(path, content, why))
        return false;
    report.kind = QStringLiteral("SFF sprite archive");
    QSet<quint16> groups;
    QMap<QString, int> formats;
    std::unordered_set<Ikemen::SffImage const *> images;
    int linked = 0;
    int trueColor = 0;
    for (Ikemen::SffSpriteData const &sprite : std::as_const(content.sprites)) {
        groups.insert(sprite.group);
        QImage const image = sprite.image ? sprite.image->image : QImage();
        if (sprite.image && !images.insert(sprite.image.get()).second) {
            ++linked;
        } else if (sprite.image) {
            ++formats[storedFormat(content, *sprite.image)];
        }
        if (!image.isNull() && image.format() != QImage::Format_Indexed8)
            ++trueColor;
        report.parts.append({QStringLiteral("%1,%2").arg(sprite.group).arg(sprite.number), 0,
                             int(qint64(image.width()) * image.height()), QStringLiteral("pixel")});
    }
    QStringList formatList;
    for (auto it = formats.cbegin(); it != formats.cend(); ++it)
        formatList.append(QStringLiteral("%1 %2").arg(it.key()).arg(it.value()));
    report.facts = {{QStringLiteral("version"), SpriteArchives::versionName(content.version)},
                    {QStringLiteral("sprites"), int(content.sprites.size())},
                    {QStringLiteral("palettes"), int(content.palettes.size())},
                    {QStringLiteral("groups"), int(groups.size())},
                    {QStringLiteral("linked sprites"), linked},
                    {QStringLiteral("true-colour sprites"), trueColor},
                    {QStringLiteral("formats"), formatList.join(QStringLiteral(", "))}};
    return true;
}

} // namespace Kenro::Cli
