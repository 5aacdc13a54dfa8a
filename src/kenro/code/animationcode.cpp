#include <kenro/code/animationcode.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/framecode.h>

#include <QTextDocument>

namespace Kenro {

AnimationCode::AnimationCode(QTextBlock const &block, CodeNode *after)
    : ParentCode(Animation, block, after)
{
    insertRootChild(this);
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() & SectionMask)
            break;
        if (node->type() == Frame)
            insertChild(node, childCount());
        else if (node->type() == Value && node->parent())
            node->parent()->removeChild(node); // a section above no longer reaches it
    }
}

AnimationCode::~AnimationCode()
{
    // Leaves the root while it is still an animation, so that whoever hears
    // of the removal can still read its kind.
    detach(this);
    // The values that the heading kept from the section above go back to it,
    // as a fresh reading of the text would place them.
    if (auto *section = static_cast<ParentCode *>(previous(Group, Animation))) {
        for (CodeNode *node = next(); node && !(node->type() & SectionMask); node = node->next()) {
            if (node->type() == Value && !node->parent())
                section->insertChild(node, section->childCount());
        }
    }
    if (m_frames.isEmpty())
        return;
    auto *above = static_cast<AnimationCode *>(previous(Animation, Group));
    if (above) {
        while (!m_frames.isEmpty())
            above->insertChild(m_frames.first(), above->childCount());
    } else {
        while (!m_frames.isEmpty())
            removeChild(m_frames.last());
    }
}

QList<FrameCode *> const &AnimationCode::frames() const
{
    return m_frames;
}

unsigned int AnimationCode::frameCount() const
{
    return static_cast<unsigned int>(m_frames.size());
}

FrameCode *AnimationCode::frameAt(unsigned int index) const
{
    return index < frameCount() ? m_frames.at(index) : nullptr;
}

int AnimationCode::indexOfFrame(FrameCode const *frame) const
{
    return static_cast<int>(m_frames.indexOf(const_cast<FrameCode *>(frame)));
}

unsigned int AnimationCode::selectedFrame() const
{
    return m_selectedFrame;
}

void AnimationCode::setSelectedFrame(unsigned int index)
{
    m_selectedFrame = index;
}

void AnimationCode::removeFrame(unsigned int index)
{
    if (FrameCode *frame = frameAt(index))
        frame->remove(true);
}

void AnimationCode::moveFrame(unsigned int from, unsigned int to)
{
    unsigned int const count = frameCount();
    if (from >= count || to >= count || from == to)
        return;
    auto *code = qobject_cast<CodeDocument *>(document());
    if (code)
        code->beginChange();
    // The copy goes in first, so that the frame's state is read before its
    // lines go; below the old place the rows shift by one.
    unsigned int const at = to > from ? to + 1 : to;
    if (insertFrame(at, static_cast<int>(from)))
        removeFrame(to > from ? from : from + 1);
    if (code)
        code->endChange();
}

QString AnimationCode::code() const
{
    // Lines come out of a selection with paragraph separators.
    return selectAll()
        .selectedText()
        .replace(QChar::ParagraphSeparator, QLatin1Char('\n'))
        .trimmed();
}

void AnimationCode::setCode(QString const &code)
{
    auto *doc = qobject_cast<CodeDocument *>(document());
    if (!doc)
        return;
    doc->insertOnCursor(code.trimmed() + QStringLiteral("\n\n"), selectAll());
}

int AnimationCode::lastLine() const
{
    QTextDocument const *doc = document();
    if (!doc)
        return -1;
    for (CodeNode const *node = next(); node; node = node->next()) {
        if (node->type() & SectionMask)
            return node->firstLine() - 1;
    }
    return doc->blockCount();
}

unsigned int AnimationCode::childCount() const
{
    return frameCount();
}

int AnimationCode::childIndex(CodeNode *child) const
{
    return rowIn(m_frames, child);
}

CodeNode *AnimationCode::childAt(unsigned int index) const
{
    return frameAt(index);
}

void AnimationCode::insertChild(CodeNode *child, unsigned int index)
{
    if (child && child->type() == Frame)
        insertInto(m_frames, child, index);
}

void AnimationCode::removeChild(CodeNode *child)
{
    removeFrom(m_frames, child);
}

QStringList AnimationCode::propertyNames() const
{
    QStringList names = NamedCode::propertyNames();
    names.append(QStringLiteral("Identifier"));
    return names;
}

} // namespace Kenro
