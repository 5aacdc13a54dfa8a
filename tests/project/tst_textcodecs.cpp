#include <kenro/project/textcodecs.h>

#include "testdata.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTest>
#include <QTextCodec>

using Kenro::TextCodecs;

namespace {} // namespace

class TestTextCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void numberedList()
    {
        QVERIFY(TextCodecs::count() > 10);
        QCOMPARE(TextCodecs::index("system"), 0);
        QCOMPARE(TextCodecs::index("SYSTEM"), 0);
        QCOMPARE(TextCodecs::index("no such codec"), 0);
        QCOMPARE(TextCodecs::index(nullptr), 0);
        QCOMPARE(TextCodecs::name(0), QStringLiteral("System"));
        QCOMPARE(TextCodecs::name(-4), QStringLiteral("System"));
        int const utf8 = TextCodecs::index("UTF-8");
        QVERIFY(utf8 > 0);
        QCOMPARE(TextCodecs::name(utf8), QStringLiteral("UTF-8"));
        for (int i = 1; i < TextCodecs::count(); ++i) {
            QString const name = TextCodecs::name(i);
            QVERIFY(name != QLatin1String("System"));
            // The list may name a codec twice; the first place answers.
            QCOMPARE(TextCodecs::name(TextCodecs::index(name.toLatin1().constData())), name);
        }
    }

    void detection()
    {
        int codec = -1;
        QCOMPARE(TextCodecs::stringFromData("plain ascii\r\n", &codec),
                 QStringLiteral("plain ascii\r\n"));
        QVERIFY(codec > 0);

        // A byte-order mark settles it.
        QByteArray const utf16 = QByteArray("\xff\xfe", 2) + QByteArray("a\0b\0", 4);
        codec = -1;
        QCOMPARE(TextCodecs::stringFromData(utf16, &codec), QStringLiteral("ab"));
        QCOMPARE(TextCodecs::name(codec), QStringLiteral("UTF-16LE"));

        // A chosen codec is used as it is; 0 is the system's.
        codec = TextCodecs::index("ISO-8859-1");
        QCOMPARE(TextCodecs::stringFromData("caf\xe9", &codec), QStringLiteral("caf\u00e9"));
        QCOMPARE(TextCodecs::name(codec), QStringLiteral("ISO-8859-1"));
        codec = 0;
        TextCodecs::stringFromData("x", &codec);
        QCOMPARE(codec, TextCodecs::index(QTextCodec::codecForLocale()->name().constData()));
        QCOMPARE(
            TextCodecs::stringToData(QStringLiteral("caf\u00e9"), TextCodecs::index("ISO-8859-1")),
            QByteArray("caf\xe9"));
        QCOMPARE(TextCodecs::stringToData(QStringLiteral("\u00e9"), TextCodecs::index("UTF-8")),
                 QByteArray("\xc3\xa9"));
    }

    void realTexts()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const folder = data + QStringLiteral("/text/");
        struct Case
        {
            char const *file;
            char const *codec;
        };
        Case const cases[] = {{"sjis_constants.cns", "Shift_JIS"},
                              {"eucjp_constants.cns", "EUC-JP"},
                              {"utf8_constants.cns", "UTF-8"},
                              {"latin1_info.def", "ISO-8859-1"},
                              {"utf16le_bom_info.def", "UTF-16LE"}};
        QMap<QString, QString> texts;
        for (Case const &item : cases) {
            QByteArray const bytes = KenroTest::readFile(folder + QLatin1String(item.file));
            QVERIFY2(!bytes.isEmpty(), item.file);
            int codec = -1;
            bool mark = false;
            QString const text = TextCodecs::stringFromData(bytes, &codec, &mark);
            QVERIFY2(codec > 0, item.file);
            QCOMPARE(mark, bytes.startsWith("\xff\xfe"));
            QCOMPARE(QTextCodec::codecForName(TextCodecs::name(codec).toLatin1())->name(),
                     QTextCodec::codecForName(item.codec)->name());
            QVERIFY2(!text.contains(QChar::ReplacementCharacter), item.file);
            // Written back with the index it reported, the bytes are the same.
            QCOMPARE(TextCodecs::stringToData(text, codec, mark), bytes);
            texts.insert(QString::fromLatin1(item.file), text);
        }
        // The same constants, whatever the encoding.
        QCOMPARE(texts.value(QStringLiteral("sjis_constants.cns")),
                 texts.value(QStringLiteral("utf8_constants.cns")));
        QCOMPARE(texts.value(QStringLiteral("eucjp_constants.cns")),
                 texts.value(QStringLiteral("utf8_constants.cns")));
        QVERIFY(texts.value(QStringLiteral("utf8_constants.cns")).contains(QChar(0x3042)) ||
                texts.value(QStringLiteral("utf8_constants.cns")).size() > 0);
        QCOMPARE(texts.value(QStringLiteral("latin1_info.def")),
                 texts.value(QStringLiteral("utf16le_bom_info.def")));
    }

    void byteOrderMarksRoundTrip()
    {
        QByteArray const samples[] = {QByteArray("\xef\xbb\xbf; kfm\r\n", 10),
                                      QByteArray("; no mark\r\n"), QByteArray("\xff\xfe;\0a\0", 6),
                                      QByteArray("\xfe\xff\0;\0a", 6)};
        for (QByteArray const &bytes : samples) {
            int codec = -1;
            bool mark = false;
            QString const text = TextCodecs::stringFromData(bytes, &codec, &mark);
            QVERIFY(!text.startsWith(QChar(0xfeff)));
            QCOMPARE(mark,
                     bytes.startsWith("\xef\xbb\xbf") || bytes.startsWith("\xff\xfe") ||
                         bytes.startsWith("\xfe\xff"));
            QCOMPARE(TextCodecs::stringToData(text, codec, mark), bytes);
        }
        // Latin-1 bytes that happen to look like a mark are not one.
        int latin1 = TextCodecs::index("ISO-8859-1");
        bool mark = true;
        TextCodecs::stringFromData(QByteArray("\xef\xbb\xbf"), &latin1, &mark);
        QVERIFY(!mark);
    }

    void garbageAndTruncatedBytes()
    {
        QRandomGenerator random(1122);
        for (int round = 0; round < 200; ++round) {
            QByteArray bytes(random.bounded(1, 2048), Qt::Uninitialized);
            for (char &byte : bytes)
                byte = char(random.bounded(256));
            int codec = -1;
            TextCodecs::stringFromData(bytes, &codec);
            QVERIFY(codec >= 0 && codec < TextCodecs::count());
        }
        // Multi-byte sequences cut in the middle.
        QByteArray const japanese = QTextCodec::codecForName("Shift_JIS")
                                        ->fromUnicode(QStringLiteral("\u3042\u3044\u3046"));
        for (int cut = 0; cut <= japanese.size(); ++cut) {
            int codec = -1;
            TextCodecs::stringFromData(japanese.left(cut), &codec);
            codec = TextCodecs::index("Shift_JIS");
            TextCodecs::stringFromData(japanese.left(cut), &codec);
        }
        QByteArray const bom("\xff\xfe"
                             "a",
                             3);
        int codec = -1;
        TextCodecs::stringFromData(bom, &codec);
        QCOMPARE(TextCodecs::name(codec), QStringLiteral("UTF-16LE"));
        codec = -1;
        QCOMPARE(TextCodecs::stringFromData(QByteArray(), &codec), QString());
    }
};

QTEST_GUILESS_MAIN(TestTextCodecs)
#include "tst_textcodecs.moc"
