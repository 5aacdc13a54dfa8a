// Writes the engine's word lists of completion to the file named on the
// command line, at build time, so that the installed "completer.xml" always
// holds the names that the parser knows.
#include "scriptkeywords.h"

#include <QFile>

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    QFile file(QString::fromLocal8Bit(argv[1]));
    QByteArray const xml = Kenro::Ikemen::ScriptKeywords::completerXml();
    return file.open(QIODevice::WriteOnly) && file.write(xml) == xml.size() ? 0 : 1;
}
