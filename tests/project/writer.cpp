// The writer that the kill tests kill, run as "file TARGET write|readwrite"
// or as "zip TARGET PLUGINDIR".
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>

#include <cstdio>

namespace {

void say(char const *what)
{
    std::printf("%s\n", what);
    std::fflush(stdout);
}

// Opens the file through the file-system archive, writes a first part of a
// new content, says "writing", and goes on writing slowly until it is killed.
int writeFile(QString const &target, bool readWrite)
{
    auto const mode = readWrite ? QIODevice::ReadWrite : QIODevice::WriteOnly;
    QIODevice *device = Kenro::FileSystemArchive::instance().openFile(target, mode);
    if (!device || !device->seek(device->size()))
        return 1;
    QByteArray const chunk(4096, 'n');
    for (bool first = true;; first = false) {
        device->write(chunk);
        static_cast<QFileDevice *>(device)->flush();
        if (first)
            say("writing");
        QThread::msleep(5);
    }
}

// Puts 96 MiB that do not compress into a new ZIP through the plug-in, says
// "closing", and writes the ZIP out.
int writeZip(QString const &target, QString const &plugins)
{
    Kenro::ExtensionManager manager(plugins);
    Kenro::Archive *archive = Kenro::ExtensionManager::archiveFor(target, 0);
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
    say("closing");
    archive->release();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList const args = app.arguments();
    if (args.size() < 4)
        return 2;
    if (args.at(1) == QLatin1String("zip"))
        return writeZip(args.at(2), args.at(3));
    return writeFile(args.at(2), args.at(3) == QLatin1String("readwrite"));
}
