#pragma once

#include <kenro/code/propertyitem.h>
#include <kenro/project/object.h>

#include <QList>
#include <QTextBlock>
#include <QTextCursor>
#include <QVariant>

#include <cstddef>

class QTextDocument;

namespace Kenro {

class ParentCode;

/**
 * A typed node of a script file's tree, tied to the line it was made from.
 * All nodes of a document also stand in one chain in text order, the root
 * first. Nodes live in a process-wide pool: made with new, ended with
 * release(), never deleted, so that a stale pointer can be recognised.
 */
class KENRO_EXPORT CodeNode : public Object
{
public:
    /// Node types; a bit mask, so that sets of types test with one and.
    enum Type { Root = 1, Group = 2, Value = 4, Animation = 8, Frame = 16, HitBox = 32 };
    /// Group or Animation: a heading that begins a section.
    static constexpr int SectionMask = Group | Animation;
    /// Animation or Frame.
    static constexpr int AnimationMask = Animation | Frame;

    /// Returns the node to the pool, after running its destructor.
    void release() override;

    /// The first line of the node: lineNo() unless a class says otherwise.
    virtual int firstLine() const;
    /// The last line of the node: lineNo() unless a class says otherwise.
    virtual int lastLine() const;
    /// The document of the node's block, or null without a valid block.
    virtual QTextDocument *document() const;
    /**
     * Removes the node's line (with \a all, every line of the node) through
     * the document, whose parser then drops the node. Without a document the
     * node (with \a all, and its children) is released at once.
     */
    virtual void remove(bool all);
    /// The value of the node changed; nothing by default.
    virtual void valueChanged(QVariant const &value);
    /// Passes a change of row \a row of \a parent up towards the root.
    virtual void changed(ParentCode const *parent, int row, int column);

    CodeNode::Type type() const;
    QTextBlock const &block() const;
    /**
     * The zero-based number of the first block along the chain, starting
     * with this node; -1 where the chain ends first.
     */
    int lineNo() const;
    ParentCode *parent() const;
    CodeNode *previous() const;
    CodeNode *next() const;
    /**
     * The first node of \a type along the parents (previous, next: the
     * chain), beginning with the first neighbour; null at the end or at a
     * node whose type has a bit of \a stopMask in common. The type test
     * comes first.
     */
    ParentCode *parent(Type type, int stopMask) const;
    CodeNode *previous(Type type, int stopMask) const;
    CodeNode *next(Type type, int stopMask) const;
    /// A cursor selecting the node's own line, line break included.
    QTextCursor select() const;
    /// A cursor from the start of firstLine() to the end of lastLine().
    QTextCursor selectAll() const;
    /// The text of selectAll().
    QString code() const;
    /// False for a node that went back to the pool.
    bool isValid() const;
    /**
     * False for a null node or one that went back to the pool. A block that
     * was made again for a new node counts as valid.
     */
    static bool isValid(CodeNode const *node);

    /// Nodes come from the pool.
    static void *operator new(std::size_t size);
    /// Only a constructor that fails gives memory back this way.
    static void operator delete(void *pointer);
    /// Construction in place, as for any class.
    static void *operator new(std::size_t, void *place) noexcept { return place; }
    static void operator delete(void *, void *) noexcept {}

    /// Bytes taken from the system by the pool so far.
    static std::size_t poolBytes();

protected:
    /// A node of \a type made from \a block, linked into the chain behind \a after.
    CodeNode(Type type, QTextBlock const &block, CodeNode *after);
    /// Unlinks the node from its parent and the chain.
    ~CodeNode() override;

    /**
     * Rewrites the node's line with \a text through the document, keeping a
     * trailing comment and, where the document asks for it, the spacing.
     */
    void change(QString const &text);
    /// The allocation of every node class.
    static void *allocate(unsigned int size);
    /**
     * Merges \a text into \a oldText word by word, keeping the old spacing
     * and the old comment that starts with \a commentMarker; empty where
     * nothing merged.
     */
    static QString mergeFormatting(QString const &oldText, QString const &text,
                                   QString const &commentMarker);
    /**
     * The line that replaces \a oldText: \a text merged into the old spacing
     * when \a preserve asks for it, else \a text with the old trailing
     * comment (from \a commentMarker on) behind one blank.
     */
    static QString rewrittenLine(QString const &oldText, QString const &text, bool preserve,
                                 QString const &commentMarker);

private:
    friend class ParentCode;
    friend class RootCode;
    friend class CodeDocumentPrivate;

    template<typename Node, typename Link>
    static Node *search(Node *node, Link link, Type type, int stopMask);

    // Roots are not pooled; they tell the pool while they live.
    static void registerRoot(CodeNode const *root, bool live);

    QTextBlock m_block;
    ParentCode *m_parent = nullptr;
    CodeNode *m_previous = nullptr;
    CodeNode *m_next = nullptr;
    Type m_type;
};

/// A node that can have children.
class KENRO_EXPORT ParentCode : public CodeNode
{
public:
    virtual unsigned int childCount() const;
    /// The row of \a child, or -1.
    virtual int childIndex(CodeNode *child) const;
    /// The child at \a index, or null.
    virtual CodeNode *childAt(unsigned int index) const;
    /// Detaches \a child from its old parent and makes this its parent.
    virtual void insertChild(CodeNode *child, unsigned int index);
    /// Clears the parent of \a child.
    virtual void removeChild(CodeNode *child);
    /// A child's value changed; nothing by default.
    virtual void childChanged(CodeNode *child);
    // Notifications, passed up towards the root, which tells its views.
    virtual void beginInsert(ParentCode const *parent, int row);
    virtual void endInsert();
    virtual void beginRemove(ParentCode const *parent, int row);
    virtual void endRemove();
    void changed(ParentCode const *parent, int row, int column) override;
    /// Adds \a text as a line behind this node's section; nothing without a code document.
    void appendValue(QString const &text);

protected:
    using CodeNode::CodeNode;

    /**
     * Puts a newly made top-level node into the root, at the place that the
     * chain dictates.
     */
    static void insertRootChild(CodeNode *child);
    /// Sets the parent link of \a child.
    static void setParentOf(CodeNode *child, ParentCode *parent);
    /// Takes \a child from its present parent, if it has one.
    static void detach(CodeNode *child);

    // The children of a section kept in a list of one node class.

    /// The row of \a child in \a list, or -1.
    template<typename Child>
    static int rowIn(QList<Child *> const &list, CodeNode const *child)
    {
        for (int i = 0; i < list.size(); ++i) {
            if (static_cast<CodeNode const *>(list.at(i)) == child)
                return i;
        }
        return -1;
    }
    /// Moves \a child into \a list at \a index (clamped to the end), telling the views.
    template<typename Child>
    void insertInto(QList<Child *> &list, CodeNode *child, unsigned int index)
    {
        detach(child);
        int const row = qMin(static_cast<int>(index), static_cast<int>(list.size()));
        beginInsert(this, row);
        setParentOf(child, this);
        list.insert(row, static_cast<Child *>(child));
        endInsert();
    }
    /// Takes \a child out of \a list and clears its parent, telling the views.
    template<typename Child>
    void removeFrom(QList<Child *> &list, CodeNode *child)
    {
        // The parent link goes inside the removal, so that views asking about
        // the row on its way out still find its parent.
        int const row = rowIn(list, child);
        if (row < 0) {
            setParentOf(child, nullptr);
            return;
        }
        beginRemove(this, row);
        list.removeAt(row);
        setParentOf(child, nullptr);
        endRemove();
    }
};

/// A node with a name, shown and searched as properties.
class KENRO_EXPORT NamedCode : public PropertyItem
{
public:
    /// An empty string by default.
    virtual QString name() const;
    /// name() by default.
    virtual QString displayName() const;
    virtual void setName(QString const &name) = 0;

    /// "DisplayName", then "Name".
    QStringList propertyNames() const override;
    QVariant property(QString const &key) const override;
    /// Only "Name" can be written.
    void setProperty(QString const &key, QVariant const &value) override;
};

} // namespace Kenro
