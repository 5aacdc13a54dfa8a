#pragma once

#include "command.h"

namespace Kenro::Cli {

/// `kenro convert IN OUT`: a sound file to another format, rate, channel count or depth.
class ConvertCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    QStringList arguments() const override;
    QStringList argumentHelp() const override;
    void addOptions(QCommandLineParser &parser) const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

} // namespace Kenro::Cli
