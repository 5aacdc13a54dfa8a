#pragma once

#include <kenro/code/groupcode.h>

namespace Kenro::Ikemen {

/**
 * A section heading "[name]". Its kind, read from the name, says how the
 * lines below it are read, and is the subType that line states carry: a
 * heading that changes kind makes the lines of its section parse again.
 */
class ScriptGroup : public GroupCode
{
public:
    /// Kinds of section; never 0, which a line state reserves.
    enum Kind : unsigned int {
        Plain = 1, ///< "name = value" lines
        Files = 2, ///< file names, as in a definition's [Files]
        StateDef = 3, ///< "[Statedef n]": the head of a state
        State = 4, ///< "[State n, label]": a state controller
        Command = 5, ///< "[Command]" of a command file
        List = 6, ///< bare lines: [Characters], [ExtraStages]
        Action = 7 ///< "[Begin Action n]": animation lines
    };

    /// A heading named \a name of \a kind, made from \a block behind \a after.
    ScriptGroup(QString const &name, Kind kind, QTextBlock const &block, CodeNode *after);

    QString name() const override;
    /// Rewrites the heading with the new name, keeping its comment.
    void setName(QString const &name) override;
    /**
     * Writes "name = value" as a line at row \a index of the section (the
     * end if past it) and gives the value that the line became, or null
     * where the document does not parse.
     */
    ValueCode *insertValue(unsigned int index, QString const &name, QString const &value) override;
    /// insertValue() at the end of the section.
    ValueCode *addValue(QString const &name, QString const &value) override;

    Kind kind() const;

private:
    QString m_name;
};

} // namespace Kenro::Ikemen
