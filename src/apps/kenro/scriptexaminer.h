#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// DEF, CNS, CMD and ST scripts: their sections, values and diagnostics.
class ScriptExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
