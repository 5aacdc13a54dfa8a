#pragma once

#include <ikemen/script/scriptdocument.h>
#include <ikemen/script/unchangedcopy.h>

namespace Kenro::Ikemen {

/**
 * A script document of a project. An unchanged document that is saved to
 * another place goes there as the bytes it was read from.
 */
class ScriptFile : public UnchangedCopy<ScriptDocument>
{
    Q_OBJECT

public:
    explicit ScriptFile(short fileType = -1);

private:
    void free() override;
};

} // namespace Kenro::Ikemen
