#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// SFF sprite archives: version, sprites, palettes, groups and the formats of their images.
class SffInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
