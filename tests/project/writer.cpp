// The writer that the kill tests kill. "file TARGET write|readwrite" opens the
// file through the file-system archive, writes a first part of a new content,
// says "writing" and goes on writing slowly. "zip TARGET PLUGINDIR" puts 96 MiB
// that do not compress into a new ZIP through the plug-in, says "closing" and
// writes the ZIP out.
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // each line reaches the test whole
    QStringList const args = app.arguments();
    if (args.size() < 4)
        return 2;
    if (args[1] == QLatin1String("file")) {
        auto const mode =
            args[3] == QLatin1String("readwrite") ? QIODevice::ReadWrite : QIODevice::WriteOnly;
        QIODevice *device = Kenro::FileSystemArchive::instance().openFile(args[2], mode);
        if (!device || !device->seek(device->size()))
            return 1;
        for (bool first = true;; first = false) {
            device->write(QByteArray(4096, 'n'));
            static_cast<QFileDevice *>(device)->flush();
            if (first)
                std::printf("writing\n");
            QThread::msleep(5);
        }
    }
    Kenro::ExtensionManager manager(args[3]);
    Kenro::Archive *archive = Kenro::ExtensionManager::archiveFor(args[2], 0);
    if (!archive || archive == &Kenro::FileSystemArchive::instance())
        return 1;
    QRandomGenerator random(42);
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (int i = 0; i < 96; ++i) {
        random.fillRange(reinterpret_cast<quint32 *>(chunk.data()), chunk.size() / 4);
        QIODevice *device =
            archive->openFile(QStringLiteral("part%1.bin").arg(i), QIODevice::WriteOnly);
        if (!device)
            return 1;
        device->write(chunk);
        archive->closeFile(device);
    }
    std::printf("closing\n");
    archive->release();
    return 0;
}
