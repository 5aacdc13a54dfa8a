#pragma once

#include <kenro/kenro_export.h>

#include <QByteArray>
#include <QString>

class QTextCodec;

namespace Kenro {

/**
 * The numbered list of text codecs that files keep in their options, and the
 * guessing of a codec from a file's bytes. Index 0 is the system locale's
 * codec; index n above 0 is entry n - 1 of the list.
 */
class KENRO_EXPORT TextCodecs
{
public:
    TextCodecs() = delete;

    /// The number of indexes: the list and the system entry.
    static int count();
    /// The index of codec \a name; 0 for "System" (any case) and for unknown names.
    static int index(char const *name);
    /// The name of codec \a index; the system entry's translated name for 0.
    static QString name(int index);
    /// The codec that detection falls back to.
    static void setDefaultCodec(int index);
    static int defaultCodec();
    /**
     * Guesses the codec of \a data: a byte-order mark, else the charset
     * detector, else UTF-8 when the bytes are valid UTF-8, else the default.
     */
    static QTextCodec *get(QByteArray const &data);
    /**
     * Decodes \a data with codec \a *codec: detected when below 0, the
     * system's for 0. \a *codec then holds the index of the codec used.
     */
    static QString stringFromData(QByteArray const &data, int *codec);
    /// Encodes \a text with codec \a codec; the system's for 0 or less.
    static QByteArray stringToData(QString const &text, int codec);

    /**
     * stringFromData() that also tells in \a byteOrderMark whether \a data
     * began with a Unicode byte-order mark, which the text leaves out.
     */
    static QString stringFromData(QByteArray const &data, int *codec, bool *byteOrderMark);
    /// stringToData() that writes a byte-order mark in front when \a byteOrderMark is true.
    static QByteArray stringToData(QString const &text, int codec, bool byteOrderMark);
};

} // namespace Kenro
