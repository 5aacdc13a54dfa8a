// A minimal host of the Kenro library: it prints what the library offers and
// walks a content folder through the file-system archive, naming the format
// key of each file and copying the folder into a scratch directory with the
// library's safe-replace writes. With --plugins DIR it loads the extension
// libraries of DIR first, lists what they registered, and reads every image
// that an extension's reader takes.
//
//   kenro-host-example [--plugins DIR] FOLDER
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/extension.h>
#include <kenro/engine/ktranslator.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/version.h>

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTextStream>

#include <memory>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);

    // This host has no user interface: the library works with a null Interface.
    setGlobalInterface(nullptr);

    out << "Kenro " << KENRO_VERSION_STRING << "\n";
    Kenro::KTranslator *texts = Kenro::KTranslator::instance();
    int labels = 0;
    for (int id = 0; id < 218; ++id)
        labels += texts->text(id).isEmpty() ? 0 : 1;
    out << "action texts: " << labels << " (for instance \"" << texts->text(58) << "\": \""
        << texts->toolTip(58) << "\")\n";

    QStringList arguments = app.arguments().mid(1);
    QString plugins;
    if (arguments.value(0) == QLatin1String("--plugins")) {
        if (arguments.size() < 2) {
            err << "kenro-host-example: --plugins needs a directory\n";
            return 2;
        }
        plugins = arguments.at(1);
        arguments = arguments.mid(2);
    }
    // The manager lives as long as anything may use an extension.
    std::unique_ptr<Kenro::ExtensionManager> extensions;
    if (!plugins.isEmpty()) {
        extensions = std::make_unique<Kenro::ExtensionManager>(plugins);
        for (int type = 0; type < Kenro::Extension::TypeCount; ++type) {
            for (Kenro::Extension *extension :
                 Kenro::ExtensionManager::list(static_cast<Kenro::Extension::Type>(type)))
                out << "extension: type " << type << ", " << extension->format() << ", "
                    << extension->description() << "\n";
        }
    }

    QString const folder = arguments.value(0, QStringLiteral("."));
    Kenro::FileSystemArchive &archive = Kenro::FileSystemArchive::instance();
    if (!archive.directoryExists(folder)) {
        err << "kenro-host-example: no such folder: " << folder << "\n";
        return 1;
    }
    QTemporaryDir scratch;
    if (!scratch.isValid()) {
        err << "kenro-host-example: cannot make a scratch folder\n";
        return 1;
    }

    QString const base = QDir(folder).absolutePath() + QLatin1Char('/');
    int copied = 0;
    QDirIterator files(folder, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QString const path = QFileInfo(files.next()).absoluteFilePath();
        QString const relative = Kenro::absolutePathToRelative(path, base);
        QByteArray const key = Kenro::fileExtension(path);
        out << QString::fromLatin1(key.isEmpty() ? QByteArray("-") : key).leftJustified(6)
            << relative << "\n";
        if (!Kenro::copyFile(archive, path, archive, scratch.filePath(relative))) {
            err << "kenro-host-example: cannot copy " << relative << "\n";
            return 1;
        }
        ++copied;

        // Images that only an extension reads.
        for (Kenro::Extension *reader :
             Kenro::ExtensionManager::byFormat(Kenro::Extension::ImageReader, key.constData())) {
            QFile file(path);
            QImage image;
            if (file.open(QIODevice::ReadOnly) &&
                static_cast<Kenro::ImageReaderExtension *>(reader)->read(&file, image)) {
                out << "      read by an extension: " << image.width() << " x " << image.height()
                    << " pixels\n";
                break;
            }
        }
    }
    out << copied << " files copied through the archive\n";
    return 0;
}
