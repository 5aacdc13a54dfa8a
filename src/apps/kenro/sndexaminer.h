#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// SND sound banks: their sounds, groups and what the reader found odd.
class SndExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
