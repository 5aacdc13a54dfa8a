// Writes a large ZIP through the ZIP plug-in, says "closing" on standard
// output just before the archive is written out, and exits when done.
// Arguments: the plug-in folder, the target, the size in MiB.
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>

#include <QCoreApplication>
#include <QRandomGenerator>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList const args = app.arguments();
    if (args.size() < 4)
        return 2;
    Kenro::ExtensionManager manager(args.at(1));
    Kenro::Archive *archive = Kenro::ExtensionManager::archiveFor(args.at(2), 0);
    if (!archive || archive == &Kenro::FileSystemArchive::instance())
        return 1;

    // Random bytes do not compress, so writing them out takes a while.
    QRandomGenerator random(42);
    int const parts = args.at(3).toInt();
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (int i = 0; i < parts; ++i) {
        random.fillRange(reinterpret_cast<quint32 *>(chunk.data()), chunk.size() / 4);
        QIODevice *device =
            archive->openFile(QStringLiteral("part%1.bin").arg(i), QIODevice::WriteOnly);
        if (!device)
            return 1;
        device->write(chunk);
        archive->closeFile(device);
    }
    std::printf("closing\n");
    std::fflush(stdout);
    archive->release();
    return 0;
}
