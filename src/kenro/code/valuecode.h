#pragma once

#include <kenro/code/codenode.h>

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QSize>

namespace Kenro {

/**
 * One assignment of a section: a typed value, converted on the way in and
 * readable in many shapes. Extensions derive it to say how the value is
 * written back as text.
 */
class KENRO_EXPORT ValueCode : public CodeNode, public NamedCode
{
public:
    /// The type of a value and what it is held as.
    enum Type {
        Unknown = 0, ///< anything
        String = 3, ///< QString
        Boolean = 4, ///< bool
        File = 5, ///< QString
        Date = 6, ///< QDate
        Keyword = 7, ///< uint, an index into the class's keywords
        KeywordVector = 8, ///< list of uint
        Float = 9, ///< double
        FloatVec2 = 10, ///< QPointF
        FloatVec3 = 11, ///< list of double
        FloatVec4 = 12,
        FloatVector = 13,
        Int = 14, ///< int
        IntVec2 = 15, ///< QPoint
        IntVec3 = 16, ///< list of int
        IntVec4 = 17,
        IntVector = 18
    };

    /// The value as it is meant: the keyword's text for a Keyword, else the raw value.
    virtual QVariant value() const;
    /// Stores \a value converted to the value's type; the text stays as it is.
    virtual void setValue(QVariant const &value);
    /// The value as script text.
    virtual QString valueText() const = 0;
    virtual bool asBool() const;
    virtual int asInt() const;
    virtual unsigned int asUInt() const;
    virtual QList<int> asIntVector() const;
    virtual double asReal() const;
    virtual QList<double> asRealVector() const;
    virtual QVariantList asVector() const;
    virtual QPoint asPoint() const;
    virtual QPointF asPointF() const;
    virtual QSize asSize() const;
    /// Two corners: left, top, right and bottom.
    virtual QRect asRect() const;
    /// The text of keyword \a index.
    virtual QString keyword(unsigned int index) const = 0;
    /// \a value in the form that a value of \a type holds.
    virtual QVariant convertFrom(Type type, QVariant const &value) const;
    /// Stores \a value, and tells the parent and the views.
    void valueChanged(QVariant const &value) override;

    Type valueType() const;
    QVariant const &rawValue() const;

protected:
    /**
     * A value of \a type made from \a block behind \a after, holding \a value.
     * It joins the section that the chain puts it in.
     */
    ValueCode(Type type, QTextBlock const &block, CodeNode *after, QVariant const &value);

    /**
     * \a value as text for writing back, vectors joined by \a separator and
     * one blank (a null separator leaves only the blank).
     */
    QString asString(Type type, QVariant const &value, QChar const &separator) const;

private:
    bool isScalar() const;

    Type m_valueType;
    QVariant m_rawValue;
};

} // namespace Kenro
