#pragma once

#include <kenro/code/codenode.h>

#include <QList>

namespace Kenro {

class FrameCode;

/**
 * An animation: a section of a script file whose frames are lines of the
 * section. It places itself among the top-level nodes and gathers the
 * frames that follow it; when it goes, its frames move to the animation
 * above. The extension's class writes new frames into the text.
 */
class KENRO_EXPORT AnimationCode : public ParentCode, public NamedCode
{
public:
    /// The index of the frame to which the player returns at the end.
    virtual int loopStart() const = 0;
    /**
     * Writes a new frame at \a index (at the end when past it): a copy of the
     * frame at \a copyOf, or a plain frame when there is none. The new frame,
     * or null.
     */
    virtual FrameCode *insertFrame(unsigned int index, int copyOf) = 0;
    /// insertFrame() at the end.
    virtual FrameCode *addFrame(int copyOf) = 0;

    QList<FrameCode *> const &frames() const;
    unsigned int frameCount() const;
    /// The frame at \a index, or null.
    FrameCode *frameAt(unsigned int index) const;
    /// The row of \a frame, or -1.
    int indexOfFrame(FrameCode const *frame) const;
    unsigned int selectedFrame() const;
    void setSelectedFrame(unsigned int index);
    /// Removes the frame at \a index with its lines; out of range does nothing.
    void removeFrame(unsigned int index);
    /**
     * Moves the frame at \a from to row \a to, as a copy written at the new
     * place and the removal of the old one, in one change; out of range does
     * nothing.
     */
    void moveFrame(unsigned int from, unsigned int to);
    /// The section's text, trimmed.
    QString code() const;
    /// Replaces the section's text by \a code, trimmed, and a blank line.
    void setCode(QString const &code);

    /// The line before the next section; the last line of the document at the end.
    int lastLine() const override;
    unsigned int childCount() const override;
    int childIndex(CodeNode *child) const override;
    CodeNode *childAt(unsigned int index) const override;
    /// Takes a frame in at \a index (clamped to the end).
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;

    /// Those of a named node, then "Identifier".
    QStringList propertyNames() const override;

protected:
    /**
     * A heading made from \a block behind \a after. It takes its place among
     * the top-level nodes and gathers the frames up to the next section.
     */
    AnimationCode(QTextBlock const &block, CodeNode *after);
    /// Hands the frames to the animation above, or leaves them without a parent.
    ~AnimationCode() override;

private:
    QList<FrameCode *> m_frames;
    unsigned int m_selectedFrame = 0;
};

} // namespace Kenro
