#pragma once

#include <ikemen/script/scriptdocument.h>

namespace Kenro::Ikemen {

/**
 * A script document of a project. An unchanged document that is saved to
 * another place goes there as the bytes it was read from: written from its
 * text it would get CRLF line ends, and the author's own line ends and
 * spelling of the encoding would be lost for no edit at all.
 */
class ScriptFile : public ScriptDocument
{
    Q_OBJECT

public:
    explicit ScriptFile(short fileType = -1);

    /**
     * Copies the file byte for byte when it is unchanged, exists and \a name
     * of \a archive is another place; otherwise writes the text.
     */
    bool toFile(Archive &archive, QString const &name, unsigned int flags,
                JobStats *stats) override;

private:
    void free() override;
};

} // namespace Kenro::Ikemen
