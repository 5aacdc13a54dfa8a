#pragma once

#include "command.h"

namespace Kenro::Cli {

/// `kenro sounds export SND DIR`: every sound of a bank as a WAV file, with a manifest.
class SoundsExportCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    QStringList arguments() const override;
    QStringList argumentHelp() const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

/// `kenro sounds build DIR SND`: a bank from a folder that `sounds export` made, or of WAV files.
class SoundsBuildCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    QStringList arguments() const override;
    QStringList argumentHelp() const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

} // namespace Kenro::Cli
