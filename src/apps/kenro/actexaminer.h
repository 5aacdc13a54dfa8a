#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// ACT palette files: 256 colours.
class ActExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
