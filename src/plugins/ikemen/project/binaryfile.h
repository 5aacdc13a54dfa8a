#pragma once

#include <kenro/project/messages.h>
#include <kenro/project/projectfile.h>

#include <QByteArray>

namespace Kenro::Ikemen {

/**
 * A file of the content held as its bytes, for the types that have no class
 * of their own yet: it reads and writes them unchanged, so that a project
 * saved elsewhere keeps them whole.
 */
class BinaryFile : public ProjectFile
{
public:
    BinaryFile();

    /// The bytes as read or set.
    QByteArray const &data() const;
    /// Replaces the bytes; the file counts as modified.
    void setData(QByteArray const &data);

    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    /// Writes the bytes to \a name of \a archive; false when it cannot be opened.
    bool toFile(Archive &archive, QString const &name, unsigned int flags,
                JobStats *stats) override;
    /// Reads all of \a name of \a archive; false when it cannot be opened.
    bool fromFile(Archive &archive, QString const &name, unsigned int flags,
                  JobStats *stats) override;
    QString fileName() const override;
    /// Bytes have nothing to search.
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &replacement) override;

protected:
    /// Replaces the bytes; the file counts as modified when \a modified is set.
    void setData(QByteArray const &data, bool modified);
    Messages *fileMessages() const override;

private:
    void free() override;

    QByteArray m_data;
    QString m_name;
    bool m_modified = false;
    SimpleMessages m_messages;
};

} // namespace Kenro::Ikemen
