#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// SFF sprite archives: version, sprites, palettes, groups and the formats of their images.
class SffExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
