#pragma once

#include "command.h"

namespace Kenro::Cli {

/// `kenro sprites export SFF DIR`: every sprite of an archive as a PNG file, with a manifest.
class SpritesExportCommand : public Command
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    QStringList arguments() const override;
    QStringList argumentHelp() const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

/// `kenro sprites build DIR SFF`: an archive from a folder that `sprites export` made.
class SpritesBuildCommand : public Command
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
