#include "filereport.h"

#include <algorithm>

namespace Kenro::Cli {

int FileReport::count(Message::Type type) const
{
    return int(std::count_if(diagnostics.cbegin(), diagnostics.cend(),
                             [type](Diagnostic const &d) { return d.type == type; }));
}

int FolderReport::count(Message::Type type) const
{
    int total = 0;
    for (FileReport const &file : files)
        total += file.count(type);
    return total;
}

} // namespace Kenro::Cli
