#pragma once

#include <kenro/code/codenode.h>
#include <kenro/code/itemmodel.h>

#include <QList>

namespace Kenro {

/**
 * The root of a script file's tree and at the same time the tree model that
 * views show. It heads the document chain, holds the top-level nodes, and
 * answers stale indexes of released nodes with invalid ones.
 */
class KENRO_EXPORT RootCode : public TreeModel, public ParentCode
{
    Q_OBJECT

public:
    explicit RootCode(short fileType = -1);
    /// Releases every node still in the chain.
    ~RootCode() override;

    /// The root is owned by its document, never by the pool: nothing to do.
    void release() override;

    short fileType() const;
    /// Sets the file type; typeChanged() follows a real change when \a signal is true.
    void setFileType(short type, bool signal);
    unsigned short version() const;
    /// Sets the version; versionChanged() follows a real change when \a signal is true.
    void setVersion(unsigned short version, bool signal);
    /// The top-level nodes.
    QList<CodeNode *> const &childs() const;
    /// True without a document; otherwise the document's option "parseCode".
    bool canParseCode() const;

    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int index) const override;
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;
    void beginInsert(ParentCode const *parent, int row) override;
    void endInsert() override;
    void beginRemove(ParentCode const *parent, int row) override;
    void endRemove() override;
    void changed(ParentCode const *parent, int row, int column) override;

    QModelIndex index(int row, int column,
                      QModelIndex const &parent = QModelIndex()) const override;
    QModelIndex parent(QModelIndex const &index) const override;
    using ParentCode::parent;
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    int columnCount(QModelIndex const &parent = QModelIndex()) const override;
    bool hasChildren(QModelIndex const &parent = QModelIndex()) const override;
    Qt::ItemFlags flags(QModelIndex const &index) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    /// The node behind \a index of this model, or null.
    static CodeNode *node(QModelIndex const &index);

Q_SIGNALS:
    void versionChanged();
    void typeChanged();

protected:
    /// Releases every node of the chain, from the last one back.
    void destroy();

private:
    QModelIndex parentIndex(ParentCode const *node) const;

    QList<CodeNode *> m_childs;
    mutable qsizetype m_hint = 0; // where childIndex() found the last child
    unsigned short m_version = 0;
    short m_fileType;

    // The parent of the row being removed, for views that ask about a node
    // that is already on its way out.
    static QModelIndex s_lastParent;
};

} // namespace Kenro
