#pragma once

#include <QList>
#include <QString>

namespace Kenro::Ikemen {

/**
 * The sections and "key = value" lines of a definition file, read as the
 * runtime reads them: names of sections and keys compare case-blind, a ';'
 * outside quotes starts a comment, and values lose their surrounding blanks
 * and double quotes. Lines of other shapes are passed over.
 */
class Definition
{
public:
    /// One "key = value" line.
    struct Entry
    {
        QString key; ///< as written
        QString value; ///< without comment, blanks and quotes
        int line = 0; ///< zero-based
    };

    /// One "[name]" heading and the lines below it.
    struct Section
    {
        QString name; ///< as written, without brackets and blanks
        int line = 0;
        QList<Entry> entries;
    };

    Definition() = default;
    /// Reads \a text; anything that is no section or entry is skipped.
    explicit Definition(QString const &text);

    QList<Section> const &sections() const;
    /// The entries of every section named \a name, in order.
    QList<Entry> entries(QString const &section) const;
    /// The first entry \a key of section \a section, or null when there is none.
    Entry const *entry(QString const &section, QString const &key) const;
    /// The value of entry \a key in \a section; empty when missing.
    QString value(QString const &section, QString const &key) const;

private:
    QList<Section> m_sections;
};

} // namespace Kenro::Ikemen
