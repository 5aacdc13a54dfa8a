// Opens an existing file for writing through the file-system archive, writes
// part of a new content, says so on standard output, and keeps writing slowly
// until it is killed. Arguments: the file, then "write" or "readwrite".
#include <kenro/project/filesystemarchive.h>

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList const args = app.arguments();
    if (args.size() < 3)
        return 2;
    QIODevice::OpenMode mode =
        args.at(2) == QLatin1String("readwrite") ? QIODevice::ReadWrite : QIODevice::WriteOnly;
    QIODevice *device = Kenro::FileSystemArchive::instance().openFile(args.at(1), mode);
    if (!device)
        return 1;
    if (mode & QIODevice::ReadOnly)
        device->seek(device->size());
    QByteArray const chunk(4096, 'n');
    device->write(chunk);
    static_cast<QFileDevice *>(device)->flush();
    std::printf("writing\n");
    std::fflush(stdout);
    for (;;) {
        device->write(chunk);
        QThread::msleep(5);
    }
}
