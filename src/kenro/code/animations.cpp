#include <kenro/code/animationcode.h>
#include <kenro/code/animations.h>
#include <kenro/code/codedocument.h>

#include <QTextBlock>

namespace Kenro {

namespace {

// The text of a selection with its paragraph separators as line breaks.
QString plainText(QTextCursor const &cursor)
{
    return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

// What goes in front of text appended to \a document, so that it starts on
// a line of its own with a blank line above.
QString separatorAtEnd(CodeDocument const *document)
{
    QString const text = document->toPlainText();
    if (text.trimmed().isEmpty())
        return QString();
    if (!text.endsWith(QLatin1Char('\n')))
        return QStringLiteral("\n\n");
    return text.endsWith(QLatin1String("\n\n")) ? QString() : QStringLiteral("\n");
}

} // namespace

Animations::Animations(CodeDocument *document) : CodeNodeFile(document) {}

unsigned int Animations::count() const
{
    return static_cast<unsigned int>(m_animations.size());
}

AnimationCode *Animations::at(unsigned int index) const
{
    return index < count() ? m_animations.at(index) : nullptr;
}

int Animations::indexOf(AnimationCode const *animation) const
{
    return static_cast<int>(m_animations.indexOf(const_cast<AnimationCode *>(animation)));
}

QList<AnimationCode *> const &Animations::animations() const
{
    return m_animations;
}

int Animations::find(unsigned int start, QVariant const &id) const
{
    QString const wanted = id.toString();
    for (unsigned int i = start; i < count(); ++i) {
        if (m_animations.at(i)->property(QStringLiteral("Identifier")).toString() == wanted)
            return static_cast<int>(i);
    }
    return -1;
}

AnimationCode *Animations::add(QString const &id)
{
    CodeDocument *doc = document();
    if (!doc)
        return nullptr;
    doc->insert(separatorAtEnd(doc) + animationTemplate().arg(id) + QLatin1Char('\n'));
    return m_animations.isEmpty() ? nullptr : m_animations.last();
}

AnimationCode *Animations::insert(unsigned int index, QString const &id)
{
    CodeDocument *doc = document();
    if (index >= count() || !doc)
        return add(id);
    // A blank line parts the new heading from the animation below it.
    doc->insertBefore(at(index), animationTemplate().arg(id) + QLatin1Char('\n'), false);
    return at(index);
}

AnimationCode *Animations::duplicate(unsigned int index, QString const &newId)
{
    CodeDocument *doc = document();
    AnimationCode const *source = at(index);
    if (!doc || !source)
        return nullptr;
    QString text = plainText(source->selectAll());
    AnimationCode const *following = at(index + 1);
    if (!newId.isEmpty()) {
        QString const identifier = source->property(QStringLiteral("Identifier")).toString();
        QString const oldHeading = animationTemplate().arg(identifier);
        text = text.trimmed();
        int const at = static_cast<int>(text.indexOf(oldHeading, 0, Qt::CaseInsensitive));
        if (at >= 0)
            text.replace(at, oldHeading.size(), animationTemplate().arg(newId));
        // A blank line parts the copy from the animation below it.
        text += following ? QStringLiteral("\n\n") : QStringLiteral("\n");
    }
    if (!text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    if (following) {
        QTextCursor cursor(doc);
        cursor.setPosition(doc->findBlockByNumber(following->firstLine()).position());
        doc->insertOnCursor(text, cursor);
    } else {
        doc->insert(separatorAtEnd(doc) + text);
    }
    return at(index + 1);
}

void Animations::remove(unsigned int index)
{
    if (AnimationCode *animation = at(index))
        animation->remove(true);
}

void Animations::move(unsigned int from, unsigned int to)
{
    CodeDocument *doc = document();
    if (from >= count() || to >= count() || !doc)
        return;
    AnimationCode *animation = m_animations.at(from);
    QTextCursor section = animation->selectAll();
    // The line break in front goes along, so that the text closes up.
    int const end = section.selectionEnd();
    section.setPosition(qMax(section.selectionStart() - 1, 0));
    section.setPosition(end, QTextCursor::KeepAnchor);
    // Blank lines are laid anew at the new place: one after the section.
    QString text = plainText(section);
    while (text.startsWith(QLatin1Char('\n')))
        text.remove(0, 1);
    while (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    m_moving = true;
    int const destination = static_cast<int>(to > from ? to + 1 : to);
    // A move to where the row stands is no move to a view.
    bool const published = beginMoveRows(QModelIndex(), static_cast<int>(from),
                                         static_cast<int>(from), QModelIndex(), destination);
    beginChange();
    m_animations.removeAt(from);
    animation->remove(true);
    if (to == count())
        doc->insert(separatorAtEnd(doc) + text + QLatin1Char('\n'));
    else
        doc->insertBefore(m_animations.at(to), text + QLatin1Char('\n'), false);
    endChange();
    if (published)
        endMoveRows();
    m_moving = false;
}

int Animations::compare(unsigned int a, unsigned int b) const
{
    AnimationCode const *first = at(a);
    AnimationCode const *second = at(b);
    if (!first || !second)
        return 1;
    QString const left = first->property(QStringLiteral("Identifier")).toString();
    QString const right = second->property(QStringLiteral("Identifier")).toString();
    bool leftNumber = false;
    bool rightNumber = false;
    qlonglong const leftValue = left.toLongLong(&leftNumber, 10);
    qlonglong const rightValue = right.toLongLong(&rightNumber, 10);
    if (leftNumber && rightNumber)
        return leftValue < rightValue ? -1 : 1;
    if (!leftNumber && !rightNumber)
        return QString::compare(left, right, Qt::CaseInsensitive) < 0 ? -1 : 1;
    return 1;
}

void Animations::beginChange()
{
    CodeNodeFile::beginChange();
}

void Animations::endChange()
{
    CodeNodeFile::endChange();
}

int Animations::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_animations.size());
}

QVariant Animations::data(QModelIndex const &index, int role) const
{
    CodeDocument const *doc = document();
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= m_animations.size() ||
        (doc && doc->isCodeBeingChanged()))
        return QVariant();
    return m_animations.at(index.row())->displayName();
}

void Animations::insertChild(CodeNode *child, unsigned int index)
{
    if (!child || child->type() != CodeNode::Animation)
        return;
    int const row = qMin(static_cast<int>(index), static_cast<int>(m_animations.size()));
    if (!m_moving)
        beginInsertRows(QModelIndex(), row, row);
    m_animations.insert(row, static_cast<AnimationCode *>(child));
    if (!m_moving)
        endInsertRows();
}

void Animations::removeChild(CodeNode *child)
{
    // Only the address of a node on its way out may be used.
    int row = 0;
    while (row < m_animations.size() && static_cast<CodeNode *>(m_animations.at(row)) != child)
        ++row;
    if (row == m_animations.size())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_animations.removeAt(row);
    endRemoveRows();
}

void Animations::childChanged(CodeNode *child)
{
    int const row = static_cast<int>(m_animations.indexOf(static_cast<AnimationCode *>(child)));
    if (row >= 0 && !m_moving)
        Q_EMIT dataChanged(index(row), index(row));
}

} // namespace Kenro
