#include "command.h"

namespace Kenro::Cli {

Command::~Command() = default;

QString Command::description() const
{
    return summary();
}

void Command::addOptions(QCommandLineParser &) const {}

} // namespace Kenro::Cli
