#pragma once

#include <kenro/code/groupcode.h>
#include <kenro/code/rootcode.h>
#include <kenro/code/valuecode.h>

#include <QStringList>

namespace KenroTest {

/// A value written as "name = value", with the keywords "none", "low" and "high".
class TestValue : public Kenro::ValueCode
{
public:
    TestValue(QString const &name, Type type, QTextBlock const &block, Kenro::CodeNode *after,
              QVariant const &value = QVariant())
        : ValueCode(type, block, after, value), valueName(name)
    {}

    QString valueName;

    QString name() const override { return valueName; }
    void setName(QString const &name) override { valueName = name; }
    QString valueText() const override { return asString(valueType(), rawValue(), QChar(',')); }
    QString keyword(unsigned int index) const override;

    using Kenro::CodeNode::change;
    using Kenro::CodeNode::rewrittenLine;
    using Kenro::ValueCode::asString;
};

/// A section heading "[name]" that places itself in the root.
class TestGroup : public Kenro::GroupCode
{
public:
    TestGroup(QString const &name, QTextBlock const &block, Kenro::CodeNode *after,
              unsigned int subType = 0)
        : GroupCode(block, after, subType), groupName(name)
    {
        insertRootChild(this);
    }

    QString groupName;
    QList<Kenro::CodeNode *> changedChildren;

    QString name() const override { return groupName; }
    void setName(QString const &name) override { groupName = name; }
    Kenro::ValueCode *insertValue(unsigned int index, QString const &name,
                                  QString const &value) override;
    Kenro::ValueCode *addValue(QString const &name, QString const &value) override
    {
        return insertValue(valueCount(), name, value);
    }
    void childChanged(Kenro::CodeNode *child) override { changedChildren.append(child); }
};

/// A heading of type Animation that places itself in the root and holds frames.
class TestAnimation : public Kenro::ParentCode, public Kenro::NamedCode
{
public:
    TestAnimation(QString const &name, QTextBlock const &block, Kenro::CodeNode *after);
    ~TestAnimation() override;

    QString animationName;
    QList<Kenro::CodeNode *> frames;

    QString name() const override { return animationName; }
    void setName(QString const &name) override { animationName = name; }
    unsigned int childCount() const override { return static_cast<unsigned int>(frames.size()); }
    int childIndex(Kenro::CodeNode *child) const override { return frames.indexOf(child); }
    Kenro::CodeNode *childAt(unsigned int index) const override { return frames.value(index); }
    void insertChild(Kenro::CodeNode *child, unsigned int index) override;
    void removeChild(Kenro::CodeNode *child) override;
};

/// A node of type Frame with an "Identifier"; joins the animation above it.
class TestFrame : public Kenro::ParentCode, public Kenro::PropertyItem
{
public:
    TestFrame(QString const &identifier, QTextBlock const &block, Kenro::CodeNode *after);

    QString identifier;

    QStringList propertyNames() const override { return {QStringLiteral("Identifier")}; }
    QVariant property(QString const &name) const override
    {
        return name == QLatin1String("Identifier") ? QVariant(identifier) : QVariant();
    }
    void setProperty(QString const &name, QVariant const &value) override
    {
        if (name == QLatin1String("Identifier"))
            identifier = value.toString();
    }
};

/// A root whose chain can be released by the test.
class TestRoot : public Kenro::RootCode
{
    Q_OBJECT

public:
    using Kenro::RootCode::destroy;
    using Kenro::RootCode::RootCode;
};

} // namespace KenroTest
