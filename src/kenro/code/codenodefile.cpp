#include <kenro/code/codenodefile.h>

#include <kenro/code/codedocument.h>
#include <kenro/code/groupcode.h>

namespace Kenro {

CodeNodeFile::CodeNodeFile(CodeDocument *document) : m_document(document) {}

CodeNodeFile::~CodeNodeFile()
{
    if (m_document)
        m_document->unregisterNodeFile(this);
}

CodeDocument *CodeNodeFile::document() const
{
    return m_document;
}

void CodeNodeFile::childChanged(CodeNode *) {}

void CodeNodeFile::populateChilds(CodeNode::Type type, unsigned int subType)
{
    if (!m_document)
        return;
    RootCode *const root = m_document->root();
    unsigned int index = 0;
    for (CodeNode *node = root->next(); node; node = node->next()) {
        // Only top-level nodes: those are the ones the file hears of later.
        if (node->type() != type || node->parent() != root)
            continue;
        if (type == CodeNode::Group && static_cast<GroupCode *>(node)->subType() != subType)
            continue;
        insertChild(node, index++);
    }
}

Project *CodeNodeFile::project() const
{
    if (Project *own = ProjectFile::project())
        return own;
    return m_document ? m_document->project() : nullptr;
}

QAbstractItemModel *CodeNodeFile::model()
{
    return m_document ? m_document->model() : nullptr;
}

QString CodeNodeFile::fileName() const
{
    return m_document ? m_document->fileName() : QString();
}

void CodeNodeFile::reset()
{
    if (m_document)
        m_document->reset();
}

bool CodeNodeFile::fromFile(Archive &archive, QString const &path, unsigned int flags,
                            JobStats *stats)
{
    return m_document && m_document->fromFile(archive, path, flags, stats);
}

bool CodeNodeFile::toFile(Archive &archive, QString const &path, unsigned int flags,
                          JobStats *stats)
{
    return m_document && m_document->toFile(archive, path, flags, stats);
}

bool CodeNodeFile::isModified() const
{
    return m_document && m_document->isModified();
}

bool CodeNodeFile::isEmpty() const
{
    return !m_document || m_document->isEmpty();
}

void CodeNodeFile::beginChange()
{
    if (m_document)
        m_document->beginChange();
}

void CodeNodeFile::endChange()
{
    if (m_document)
        m_document->endChange();
}

void CodeNodeFile::undo()
{
    if (m_document)
        m_document->undo();
}

void CodeNodeFile::redo()
{
    if (m_document)
        m_document->redo();
}

QList<ProjectFile::SearchResult> CodeNodeFile::search(RegExp const &regExp,
                                                      unsigned int flags) const
{
    return m_document ? m_document->search(regExp, flags) : QList<SearchResult>();
}

void CodeNodeFile::replace(QList<SearchResult> const &results, QString const &text)
{
    if (m_document)
        m_document->replace(results, text);
}

QVariant CodeNodeFile::option(QString const &key) const
{
    return m_document ? m_document->option(key) : ProjectFile::option(key);
}

void CodeNodeFile::setOption(QString const &key, QVariant const &value, bool inProject, bool global)
{
    if (m_document)
        m_document->setOption(key, value, inProject, global);
    else
        ProjectFile::setOption(key, value, inProject, global);
}

bool CodeNodeFile::canSave() const
{
    return m_document && m_document->refCount() == 1 && m_document->canSave();
}

ProjectFile::Capabilities CodeNodeFile::capabilities() const
{
    if (!m_document)
        return {};
    Capabilities result = m_document->capabilities() & ~Capabilities(TextUndo);
    if (m_document->refCount() >= 2)
        result |= HasChildren;
    return result;
}

Messages *CodeNodeFile::fileMessages() const
{
    return nullptr;
}

} // namespace Kenro
