#include <kenro/project/textcodecs.h>

#include <kenro/editors/interface/interface.h>

#include <QCoreApplication>
#include <QList>
#include <QTextCodec>

#include <uchardet/uchardet.h>

namespace Kenro {

namespace {

struct CodecList
{
    CodecList()
    {
        QList<QByteArray> const available = QTextCodec::availableCodecs();
        for (QByteArray const &name : available) {
            if (name != "System")
                names.append(name);
        }
    }

    QList<QByteArray> names;
    int defaultIndex = 0;
};

CodecList &codecs()
{
    static CodecList list;
    return list;
}

QString systemName()
{
    if (Interface *host = Interface::instance())
        return host->text(0);
    return QCoreApplication::translate("Kenro::KTranslator", "System");
}

// The index of a codec by its own name: "System" is 0, an unknown name too.
int indexOf(QTextCodec const *codec)
{
    if (!codec)
        return 0;
    QByteArray const name = codec->name();
    if (name == "System")
        return 0;
    int const position = codecs().names.indexOf(name);
    return position < 0 ? 0 : position + 1;
}

QTextCodec *codecAt(int index)
{
    if (index > 0 && index <= codecs().names.size())
        return QTextCodec::codecForName(codecs().names.at(index - 1));
    return nullptr;
}

QTextCodec *detect(QByteArray const &data)
{
    uchardet_t detector = uchardet_new();
    QTextCodec *codec = nullptr;
    if (uchardet_handle_data(detector, data.constData(), static_cast<size_t>(data.size())) == 0) {
        uchardet_data_end(detector);
        char const *charset = uchardet_get_charset(detector);
        if (charset && *charset)
            codec = QTextCodec::codecForName(charset);
    }
    uchardet_delete(detector);
    return codec;
}

} // namespace

int TextCodecs::count()
{
    return codecs().names.size() + 1;
}

int TextCodecs::index(char const *name)
{
    if (!name)
        return 0;
    QByteArray const wanted(name);
    if (QString::fromLatin1(wanted).compare(systemName(), Qt::CaseInsensitive) == 0)
        return 0;
    int const position = codecs().names.indexOf(wanted);
    return position < 0 ? 0 : position + 1;
}

QString TextCodecs::name(int index)
{
    if (index > 0 && index <= codecs().names.size())
        return QString::fromLatin1(codecs().names.at(index - 1));
    return systemName();
}

void TextCodecs::setDefaultCodec(int index)
{
    codecs().defaultIndex = index;
}

int TextCodecs::defaultCodec()
{
    return codecs().defaultIndex;
}

QTextCodec *TextCodecs::get(QByteArray const &data)
{
    if (QTextCodec *codec = QTextCodec::codecForUtfText(data, nullptr))
        return codec;
    if (QTextCodec *codec = detect(data))
        return codec;
    QTextCodec *utf8 = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state;
    utf8->toUnicode(data.constData(), data.size(), &state);
    if (state.invalidChars < 1)
        return utf8;
    if (QTextCodec *codec = codecAt(codecs().defaultIndex))
        return codec;
    return QTextCodec::codecForLocale();
}

QString TextCodecs::stringFromData(QByteArray const &data, int *codec)
{
    int wanted = codec ? *codec : -1;
    QTextCodec *chosen = nullptr;
    if (wanted < 0)
        chosen = get(data);
    else if (wanted > 0)
        chosen = codecAt(wanted);
    if (!chosen)
        chosen = QTextCodec::codecForLocale();
    if (codec)
        *codec = indexOf(chosen);
    return chosen->toUnicode(data);
}

QByteArray TextCodecs::stringToData(QString const &text, int codec)
{
    QTextCodec *chosen = codec > 0 ? codecAt(codec) : nullptr;
    if (!chosen)
        chosen = QTextCodec::codecForLocale();
    return chosen->fromUnicode(text);
}

namespace {

QChar const byteOrderMarkCharacter(0xfeff);

} // namespace

QString TextCodecs::stringFromData(QByteArray const &data, int *codec, bool *byteOrderMark)
{
    QString const text = stringFromData(data, codec);
    if (byteOrderMark) {
        // The codec drops the mark; it was there when the bytes begin with
        // the mark as the codec writes it.
        QByteArray const mark = stringToData(QString(byteOrderMarkCharacter), codec ? *codec : 0);
        *byteOrderMark = !mark.isEmpty() && data.startsWith(mark) &&
            QTextCodec::codecForUtfText(data, nullptr) != nullptr;
    }
    return text;
}

QByteArray TextCodecs::stringToData(QString const &text, int codec, bool byteOrderMark)
{
    if (!byteOrderMark)
        return stringToData(text, codec);
    return stringToData(byteOrderMarkCharacter + text, codec);
}

} // namespace Kenro
