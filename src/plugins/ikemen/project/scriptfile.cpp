#include "scriptfile.h"

namespace Kenro::Ikemen {

ScriptFile::ScriptFile(short fileType) : UnchangedCopy<ScriptDocument>(fileType) {}

void ScriptFile::free()
{
    delete this;
}

} // namespace Kenro::Ikemen
