#pragma once

#include <QByteArray>
#include <QIODevice>

namespace KenroTest {

/**
 * A read-only device that cannot seek, like a pipe, holding \a data. A pipe
 * may give fewer bytes than asked: with a \a piece above 0 no read gives more.
 */
class SequentialDevice : public QIODevice
{
public:
    /// Open for reading, with \a extra flags such as Unbuffered.
    explicit SequentialDevice(QByteArray data, OpenMode extra = NotOpen, qint64 piece = 0);
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(char const *, qint64) override { return -1; }

private:
    QByteArray m_data;
    qint64 m_piece;
    qint64 m_offset = 0;
};

} // namespace KenroTest
