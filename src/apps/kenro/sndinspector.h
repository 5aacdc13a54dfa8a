#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// SND sound banks: their sounds, groups and what the reader found odd.
class SndInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
