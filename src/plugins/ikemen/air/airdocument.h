#pragma once

#include "airparser.h"

#include <kenro/code/animations.h>
#include <kenro/code/codedocument.h>

#include <ikemen/script/unchangedcopy.h>

namespace Kenro::Ikemen {

/// The actions of an AIR file as a list.
class AirAnimations final : public Kenro::Animations
{
    Q_OBJECT

public:
    using Kenro::Animations::Animations;

    /// "[Begin Action %1]".
    QString animationTemplate() const override;

protected:
    void free() override;
};

/**
 * An AIR file: the text with its parser. Actions, frames and boxes are the
 * nodes of its tree. Saved unchanged to another place, it is copied byte for
 * byte.
 */
class AirDocument final : public UnchangedCopy<Kenro::CodeDocument>
{
    Q_OBJECT

public:
    AirDocument();
    ~AirDocument() override;

    /// The list of actions, registered on the document.
    AirAnimations *animations() const;
    /**
     * A new empty AIR file, handed out as its list of actions: the caller
     * holds the one reference, and the document ends with the list.
     */
    static AirAnimations *createAnimations();

    /**
     * Indents lines \a first to \a last: box lines by one blank, all others
     * not at all. Without \a indentOnly blanks at the ends of lines go too.
     */
    void formatLines(int first, int last, bool indentOnly) override;

protected:
    void free() override;

private:
    AirParser m_parser;
};

} // namespace Kenro::Ikemen
