#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// AIR animations: their actions, frames, contact boxes and diagnostics.
class AirExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
