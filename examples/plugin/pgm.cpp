// An extension library for Kenro: it reads and writes grey-scale images in
// the plain-text PGM form ("P2"), so that every image reader of the library
// and its hosts take .pgm files.
#include <kenro/engine/extension.h>

#include <QIODevice>
#include <QImage>
#include <QList>

namespace {

// One string for both directions: the manager tells formats apart by the
// pointer, so a format registered twice must use the same one.
char const pgmFormat[] = "PGM";
char const pgmDescription[] = "Portable grey map";

// The next number of a plain PGM, skipping white space and "#" comments.
bool readNumber(QByteArray const &bytes, qsizetype &at, int &value)
{
    while (at < bytes.size()) {
        char const c = bytes.at(at);
        if (c == '#') {
            while (at < bytes.size() && bytes.at(at) != '\n')
                ++at;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            ++at;
        } else {
            break;
        }
    }
    qsizetype const start = at;
    qint64 number = 0;
    while (at < bytes.size() && bytes.at(at) >= '0' && bytes.at(at) <= '9') {
        number = number * 10 + (bytes.at(at) - '0');
        if (number > 65535)
            return false;
        ++at;
    }
    value = static_cast<int>(number);
    return at > start;
}

class PgmReader : public Kenro::ImageReaderExtension
{
public:
    void release() override { delete this; }
    char const *format() const override { return pgmFormat; }
    char const *description() const override { return pgmDescription; }

    bool read(QIODevice *device, QImage &image) override
    {
        QByteArray const bytes = device->readAll();
        if (!bytes.startsWith("P2"))
            return false;
        qsizetype at = 2;
        int width = 0;
        int height = 0;
        int maximum = 0;
        if (!readNumber(bytes, at, width) || !readNumber(bytes, at, height) ||
            !readNumber(bytes, at, maximum) || width <= 0 || height <= 0 || maximum <= 0 ||
            qint64(width) * height > 16 * 1024 * 1024)
            return false;
        QImage grey(width, height, QImage::Format_Grayscale8);
        for (int y = 0; y < height; ++y) {
            uchar *line = grey.scanLine(y);
            for (int x = 0; x < width; ++x) {
                int value = 0;
                if (!readNumber(bytes, at, value) || value > maximum)
                    return false;
                line[x] = static_cast<uchar>(value * 255 / maximum);
            }
        }
        image = grey;
        return true;
    }
};

class PgmWriter : public Kenro::ImageWriterExtension
{
public:
    void release() override { delete this; }
    char const *format() const override { return pgmFormat; }
    char const *description() const override { return pgmDescription; }

    bool write(QImage const &image, QIODevice *device) override
    {
        if (image.isNull())
            return false;
        QImage const grey = image.convertToFormat(QImage::Format_Grayscale8);
        QByteArray text = "P2\n" + QByteArray::number(grey.width()) + ' ' +
            QByteArray::number(grey.height()) + "\n255\n";
        for (int y = 0; y < grey.height(); ++y) {
            uchar const *line = grey.constScanLine(y);
            QList<QByteArray> values;
            for (int x = 0; x < grey.width(); ++x)
                values.append(QByteArray::number(line[x]));
            text += values.join(' ') + '\n';
        }
        return device->write(text) == text.size();
    }
};

} // namespace

// The entry point: the manager calls it once, with the directory it loads
// from, right after the library is loaded.
extern "C" Q_DECL_EXPORT void registerExtension(QString const &)
{
    Kenro::ExtensionManager::add(new PgmReader);
    Kenro::ExtensionManager::add(new PgmWriter);
}
