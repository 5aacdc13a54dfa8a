#include <kenro/project/pathhelpers.h>

#include <kenro/project/archive.h>

#include <QFileInfo>
#include <QIODevice>
#include <QRandomGenerator>

namespace Kenro {

void skipRead(QIODevice *device, unsigned int count)
{
    char buffer[256];
    while (count > 0) {
        unsigned int const chunk = count < sizeof(buffer) ? count : sizeof(buffer);
        device->read(buffer, chunk);
        count -= chunk;
    }
}

bool copyFile(Archive &source, QString const &sourceName, Archive &target,
              QString const &targetName)
{
    if (sourceName == targetName)
        return false;
    QIODevice *in = source.openFile(sourceName, QIODevice::ReadOnly);
    if (!in)
        return false;
    QIODevice *out = target.openFile(targetName, QIODevice::WriteOnly);
    if (!out) {
        source.closeFile(in);
        return false;
    }
    QByteArray buffer(0x20000, Qt::Uninitialized);
    while (!in->atEnd()) {
        qint64 const got = in->read(buffer.data(), buffer.size());
        if (got <= 0)
            break; // a failing read would never reach the end
        out->write(buffer.constData(), got);
    }
    source.closeFile(in);
    target.closeFile(out);
    return true;
}

QString fixFileCase(QString const &basePath, Archive &archive, QString const &relativePath)
{
    if (archive.fileExists(basePath + relativePath))
        return archive.absoluteFileName(basePath + relativePath);

    QStringList components = relativePath.split(QLatin1Char('/'));
    QString current = basePath;
    for (int i = 0; i < components.size(); ++i) {
        bool const last = i == components.size() - 1;
        QString component = components.at(i);
        QStringList const names =
            archive.entries(current, last ? QDir::Files : QDir::Dirs, QDir::Size);
        for (QString const &name : names) {
            if (name.compare(component, Qt::CaseInsensitive) == 0) {
                component = name;
                break;
            }
        }
        if (!current.endsWith(QLatin1Char('/')))
            current += QLatin1Char('/');
        current += component;
    }
    return archive.absoluteFileName(current);
}

QByteArray fileExtension(QString const &path)
{
    return QFileInfo(path).suffix().toUpper().toLatin1();
}

QString absolutePathToRelative(QString const &path, QString const &baseDirectory)
{
    QString target = path;
    QString base = baseDirectory;
    target.replace(QLatin1Char('\\'), QLatin1Char('/'));
    base.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!base.endsWith(QLatin1Char('/')))
        base += QLatin1Char('/');

    int lastSlash = 0;
    for (int i = 0; i < base.size(); ++i) {
        if (i >= target.size() || base.at(i) != target.at(i))
            break;
        if (base.at(i) == QLatin1Char('/'))
            lastSlash = i;
    }

    int const start = lastSlash + 1;
    QString result;
    for (int i = start; i < base.size(); ++i) {
        if (base.at(i) == QLatin1Char('/'))
            result += QLatin1String("../");
    }
    if (start < 2 && base.size() < 2)
        return target;
    return result + target.mid(start);
}

QString randomString(int length)
{
    static char const characters[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    QString result;
    if (length < 1)
        return result;
    result.reserve(length);
    for (int i = 0; i < length; ++i)
        result += QLatin1Char(characters[QRandomGenerator::global()->bounded(62)]);
    return result;
}

} // namespace Kenro
