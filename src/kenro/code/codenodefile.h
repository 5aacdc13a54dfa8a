#pragma once

#include <kenro/code/codenode.h>
#include <kenro/project/projectfile.h>

#include <QPointer>

namespace Kenro {

class CodeDocument;

/**
 * A file made of the top-level nodes of one kind in a code document, such as
 * the animations of a script. It has no storage of its own: loading, saving,
 * undo, search and options all go to the document, and the document tells it
 * of each node of its kind that comes, goes or changes.
 *
 * Registered on a document (CodeDocument::registerNodeFile), the file and the
 * document hold each other: the document keeps the reference that it was
 * given with the file, and the file keeps one on the document. Releasing the
 * last other reference of either side ends both.
 */
class KENRO_EXPORT CodeNodeFile : public ProjectFile
{
public:
    /// A node file over \a document; it is not registered yet.
    explicit CodeNodeFile(CodeDocument *document);

    /// The document, or null once it has gone.
    CodeDocument *document() const;

    /// A top-level node of the file's kind came in as its \a index-th one.
    virtual void insertChild(CodeNode *child, unsigned int index) = 0;
    /**
     * A top-level node of the file's kind goes. It is being destroyed: only
     * its address and its CodeNode part may still be used.
     */
    virtual void removeChild(CodeNode *child) = 0;
    /// A top-level node of the file's kind changed; nothing by default.
    virtual void childChanged(CodeNode *child);

    /**
     * Passes every top-level node of \a type (of \a subType for a Group)
     * that the document holds to insertChild(), in text order, counting from 0.
     */
    void populateChilds(CodeNode::Type type, unsigned int subType);

    // ProjectFile, forwarded to the document
    /// The file's own project, or else the document's.
    Project *project() const override;
    QAbstractItemModel *model() override;
    QString fileName() const override;
    void reset() override;
    /// Loads the document; it is the document that takes note of the file on disk.
    bool fromFile(Archive &archive, QString const &path, unsigned int flags,
                  JobStats *stats) override;
    bool toFile(Archive &archive, QString const &path, unsigned int flags,
                JobStats *stats) override;
    bool isModified() const override;
    bool isEmpty() const override;
    void beginChange() override;
    void endChange() override;
    void undo() override;
    void redo() override;
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &text) override;
    using ProjectFile::option;
    QVariant option(QString const &key) const override;
    void setOption(QString const &key, QVariant const &value, bool inProject, bool global) override;
    /**
     * True only when this file is the document's one holder and the
     * document can be saved: a shared document is not saved through one of
     * its node files.
     */
    bool canSave() const override;
    /**
     * The document's capabilities without its own text undo, and with
     * HasChildren while the document is shared.
     */
    Capabilities capabilities() const override;

protected:
    /// Takes itself off the document, giving back its reference there.
    ~CodeNodeFile() override;

    /// Null: the messages stay with the document.
    Messages *fileMessages() const override;

private:
    QPointer<CodeDocument> m_document;
};

} // namespace Kenro
