#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// AIR animations: their actions, frames, contact boxes and diagnostics.
class AirInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
