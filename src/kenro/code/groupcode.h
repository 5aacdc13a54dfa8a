#pragma once

#include <kenro/code/codenode.h>

#include <QList>

namespace Kenro {

class ValueCode;

/**
 * A section heading of a script file, holding the values that follow it.
 * When it goes, its values move to the section above.
 */
class KENRO_EXPORT GroupCode : public ParentCode, public NamedCode
{
public:
    /// Inserts a value line at \a index of the section; the extension writes it.
    virtual ValueCode *insertValue(unsigned int index, QString const &name,
                                   QString const &value) = 0;
    /// Appends a value line to the section; the extension writes it.
    virtual ValueCode *addValue(QString const &name, QString const &value) = 0;

    /// The section kind, an extension's number.
    unsigned int subType() const;
    QList<ValueCode *> const &values() const;
    unsigned int valueCount() const;
    /// The value at \a index, or null.
    ValueCode *valueAt(unsigned int index) const;
    /// Removes the value at \a index with its lines.
    void removeValue(unsigned int index);
    /// The first value named \a name, or null.
    ValueCode *valueByName(QString const &name) const;
    /// The value() of the first value named \a name, or an invalid variant.
    QVariant value(QString const &name) const;

    /// The line before the next section; the last line of the document at the end.
    int lastLine() const override;
    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int index) const override;
    /// Takes a value in at \a index (clamped to the end).
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;

protected:
    /**
     * A heading made from \a block behind \a after. It gathers the values
     * that follow it up to the next section.
     */
    GroupCode(QTextBlock const &block, CodeNode *after, unsigned int subType);
    /// Hands the values to the section above, or leaves them without a parent.
    ~GroupCode() override;

private:
    QList<ValueCode *> m_values;
    unsigned int m_subType;
};

} // namespace Kenro
