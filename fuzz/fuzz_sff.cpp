// libFuzzer target for the sprite archive reader of the IKEMEN GO plug-in:
// the input is a whole archive. Whatever is taken must write again, in both
// versions where they can hold it, and read back with as many sprites.
#include "sffreader.h"
#include "sffwriter.h"

#include <cstdint>
#include <cstdlib>

using namespace Kenro::Ikemen;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size)
{
    QByteArray const bytes =
        QByteArray::fromRawData(reinterpret_cast<char const *>(data), qsizetype(size));
    SffReader reader;
    SffContent content;
    if (!reader.read(bytes, content)) {
        if (reader.errorString().isEmpty())
            abort();
        return 0;
    }
    for (SffVersion version : {SffVersion::V201, SffVersion::V101}) {
        SffWriter writer;
        QByteArray const written = writer.write(content, version);
        if (written.isEmpty())
            continue; // a version that cannot hold the content says so
        SffContent again;
        if (!reader.read(written, again) || again.sprites.size() != content.sprites.size())
            abort();
    }
    return 0;
}
