#pragma once

#include <QFile>
#include <QString>

// The device that FileSystemArchive hands out. Writing over an existing file
// goes to a temporary sibling ("name" + six random characters) while the
// target stays open; the destructor replaces the target with it, and
// discard() throws it away. Neither path gives up while the file system
// refuses: the user is asked every tenth failure, and the box offers only Ok,
// so a failed commit blocks rather than loses data.
class File : public QFile
{
public:
    explicit File(QString const &name);
    ~File() override;

    bool open(OpenMode mode) override;

    /// Throws away what was written and leaves the target untouched.
    void discard();

    /// True while writing to a temporary file that will replace the target.
    bool isReplacing() const;

private:
    void commit();
    // Returns true when the loop should go on. The count of failures starts
    // again at zero after each question.
    bool retry(int &failures, char const *title, char const *text);

    QFile m_target;
};
