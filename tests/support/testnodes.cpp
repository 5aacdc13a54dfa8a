#include "testnodes.h"

using namespace Kenro;

namespace KenroTest {

QString TestValue::keyword(unsigned int index) const
{
    static QStringList const keywords = {QStringLiteral("none"), QStringLiteral("low"),
                                         QStringLiteral("high")};
    return keywords.value(static_cast<int>(index));
}
ValueCode *TestGroup::insertValue(unsigned int index, QString const &name, QString const &value)
{
    unsigned int const row = qMin(index, valueCount());
    CodeNode *after = row == 0 ? static_cast<CodeNode *>(this) : valueAt(row - 1);
    return new TestValue(name, ValueCode::String, QTextBlock(), after, value);
}
TestAnimation::TestAnimation(QString const &name, QTextBlock const &block, CodeNode *after)
    : ParentCode(Animation, block, after), animationName(name)
{
    insertRootChild(this);
    for (CodeNode *node = next(); node && !(node->type() & SectionMask); node = node->next()) {
        if (node->type() == Frame)
            insertChild(node, childCount());
    }
}
TestAnimation::~TestAnimation()
{
    while (!frames.isEmpty())
        removeChild(frames.last());
}
void TestAnimation::insertChild(CodeNode *child, unsigned int index)
{
    detach(child);
    int const row = qMin(static_cast<int>(index), frames.size());
    beginInsert(this, row);
    setParentOf(child, this);
    frames.insert(row, child);
    endInsert();
}
void TestAnimation::removeChild(CodeNode *child)
{
    int const row = frames.indexOf(child);
    if (row >= 0) {
        beginRemove(this, row);
        frames.removeAt(row);
    }
    setParentOf(child, nullptr);
    if (row >= 0)
        endRemove();
}
TestFrame::TestFrame(QString const &identifier, QTextBlock const &block, CodeNode *after)
    : ParentCode(Frame, block, after), identifier(identifier)
{
    auto *animation = static_cast<TestAnimation *>(previous(Animation, Group));
    if (!animation)
        return;
    // Behind the frame of the same animation that stands before it in the chain.
    unsigned int row = 0;
    for (CodeNode *node = previous(); node && node != animation; node = node->previous()) {
        if (node->type() == Frame && node->parent() == animation) {
            row = static_cast<unsigned int>(animation->childIndex(node) + 1);
            break;
        }
    }
    animation->insertChild(this, row);
}

} // namespace KenroTest
