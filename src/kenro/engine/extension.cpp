#include <kenro/engine/extension.h>

#include <kenro/engine/engine.h>
#include <kenro/project/filesystemarchive.h>

#include <QDir>
#include <QFileInfo>
#include <QLibrary>

#include <array>
#include <cstring>

namespace Kenro {

namespace {

// Built at first use, whether or not a manager was made.
struct Registry
{
    std::array<QList<Extension *>, Extension::TypeCount> lists;
    QList<QLibrary *> libraries;
};

Registry &registry()
{
    static Registry instance;
    return instance;
}

bool validType(int type)
{
    return type >= 0 && type < Extension::TypeCount;
}

bool sameText(char const *a, char const *b)
{
    return a && b && std::strcmp(a, b) == 0;
}

} // namespace

Extension::~Extension() = default;

Extension::Type ArchiveExtension::type() const
{
    return ArchiveFormat;
}

Extension::Type ImageReaderExtension::type() const
{
    return ImageReader;
}

Extension::Type ImageWriterExtension::type() const
{
    return ImageWriter;
}

ExtensionManager::ExtensionManager(QString const &directory)
{
    QString const suffix =
#if defined(Q_OS_WIN)
        QStringLiteral("dll");
#elif defined(Q_OS_MACOS)
        QStringLiteral("dylib");
#else
        QStringLiteral("so");
#endif
    QStringList const pattern{QStringLiteral("*%1.%2").arg(QString(), suffix)};
    QStringList const names =
        QDir(directory).entryList(pattern, QDir::Files | QDir::NoDotAndDotDot);
    for (QString const &name : names) {
        auto *library = new QLibrary(directory + QLatin1Char('/') + name);
        auto const entry =
            reinterpret_cast<KenroRegisterExtension>(library->resolve("registerExtension"));
        if (!entry) {
            // Nothing of a library without the entry point stays mapped.
            library->unload();
            delete library;
            continue;
        }
        entry(directory);
        registry().libraries.append(library);
    }
}

ExtensionManager::~ExtensionManager()
{
    Registry &all = registry();
    for (QList<Extension *> &list : all.lists) {
        while (!list.isEmpty())
            list.takeLast()->release();
    }
    // Objects first, then their code. QLibrary no longer unloads when it is
    // deleted, so the unload is asked for; it only happens when no other
    // QLibrary holds the same library.
    while (!all.libraries.isEmpty()) {
        QLibrary *library = all.libraries.takeLast();
        library->unload();
        delete library;
    }
}

void ExtensionManager::add(Extension *extension)
{
    if (!extension || !validType(extension->type()))
        return;
    QList<Extension *> &list = registry().lists[extension->type()];
    bool const byDescription = extension->type() == Extension::Described;
    char const *identity = byDescription ? extension->description() : extension->format();
    for (Extension const *present : std::as_const(list)) {
        if ((byDescription ? present->description() : present->format()) == identity)
            return;
    }
    list.append(extension);
}

QList<Extension *> const &ExtensionManager::list(Extension::Type type)
{
    static QList<Extension *> const none;
    return validType(type) ? registry().lists[type] : none;
}

QList<Extension *> ExtensionManager::byFormat(Extension::Type type, char const *format)
{
    QList<Extension *> result;
    QList<Extension *> const all = list(type);
    for (Extension *extension : all) {
        if (sameText(extension->format(), format))
            result.append(extension);
    }
    return result;
}

QString ExtensionManager::filters(Extension::Type type, Engine const *engine)
{
    QString const identifier =
        engine ? engine->queryString(Engine::EngineIdentifier, 0) : QString();
    QStringList entries;
    bool const engineBound = type == Extension::AnimationReader ||
        type == Extension::AnimationWriter || type == Extension::SoundBank;
    QList<Extension *> const all = list(type);
    for (Extension *extension : all) {
        char const *served =
            engineBound ? static_cast<EngineExtension *>(extension)->engine() : nullptr;
        if (served && QString::fromUtf8(served) != identifier)
            continue;
        entries.append(QString::fromUtf8(extension->description()) + QStringLiteral(" (*.") +
                       QString::fromUtf8(extension->format()).toLower() + QLatin1Char(')'));
    }
    return entries.join(QStringLiteral(";;"));
}

Archive *ExtensionManager::archiveFor(QString const &fileName, int mode)
{
    QString const suffix = QFileInfo(fileName).suffix().toLower();
    QList<Extension *> const all = list(Extension::ArchiveFormat);
    for (Extension *extension : all) {
        if (QString::fromUtf8(extension->format()).toLower() == suffix)
            return static_cast<ArchiveExtension *>(extension)->create(fileName, mode);
    }
    return &FileSystemArchive::instance();
}

} // namespace Kenro
