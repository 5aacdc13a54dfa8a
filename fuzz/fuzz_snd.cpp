// libFuzzer target for the sound bank reader of the IKEMEN GO plug-in: the
// input is a whole bank. Whatever is taken must write again and read back
// with the same members.
#include "sndreader.h"
#include "sndwriter.h"

#include <QBuffer>

#include <cstdint>
#include <cstdlib>

using namespace Kenro::Ikemen;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size)
{
    QByteArray const bytes =
        QByteArray::fromRawData(reinterpret_cast<char const *>(data), qsizetype(size));
    SndReader reader;
    if (!reader.read(bytes)) {
        if (reader.errorString().isEmpty())
            abort();
        return 0;
    }
    SndBank const bank = reader.takeBank();
    QByteArray written;
    QBuffer buffer(&written);
    buffer.open(QIODevice::WriteOnly);
    SndWriter writer;
    if (!writer.write(bank, &buffer)) {
        if (writer.errorString().isEmpty())
            abort();
        return 0; // too large for the offsets of the format, and said so
    }
    if (written.size() != SndWriter::fileSize(bank))
        abort();
    SndReader again;
    if (!again.read(written) || again.bank().members.size() != bank.members.size())
        abort();
    for (qsizetype i = 0; i < bank.members.size(); ++i) {
        SndMember const &before = bank.members.at(i);
        SndMember const &after = again.bank().members.at(i);
        if (before.group != after.group || before.number != after.number ||
            before.wav() != after.wav())
            abort();
    }
    return 0;
}
