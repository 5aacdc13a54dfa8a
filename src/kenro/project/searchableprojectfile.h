#pragma once

#include <kenro/project/projectfile.h>

namespace Kenro {

class PropertyItem;

/**
 * A project file made of items, searched and replaced through the
 * "Identifier" property of each item.
 */
class KENRO_EXPORT SearchableProjectFile : public ProjectFile
{
public:
    /**
     * Matches the "Identifier" of the items. Flag 8 finds all; otherwise the
     * first match from the current item on, backward with flag 1, from the
     * far end with flag 4, wrapping round with flag 2 (not with flag 4).
     */
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    /**
     * Writes \a replacement into the "Identifier" of each result's item, with
     * "%1", "%2"... standing for its captures. Two or more results make one
     * change.
     */
    void replace(QList<SearchResult> const &results, QString const &replacement) override;

    virtual unsigned int itemCount() const = 0;
    virtual int currentItem() const = 0;
    /// The item whose properties are searched, or null.
    virtual PropertyItem *item(unsigned int index) const = 0;
};

} // namespace Kenro
