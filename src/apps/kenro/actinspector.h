#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// ACT palette files: 256 colours.
class ActInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
