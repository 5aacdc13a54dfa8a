#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// DEF, CNS, CMD and ST scripts: their sections, values and diagnostics.
class ScriptInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
