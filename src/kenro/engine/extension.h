#pragma once

#include <kenro/kenro_export.h>

#include <QList>
#include <QString>

class QIODevice;
class QImage;

namespace Kenro {

class Archive;
class Engine;

/**
 * A format handler from an extension library. The manager sorts each into
 * the list of its type and ends it with release() at shutdown, before the
 * library that holds its code is unloaded.
 *
 * The order of the virtual operations is part of the contract with
 * extension libraries: release, the destructor, type, format, description,
 * then the operation of the type.
 */
class KENRO_EXPORT Extension
{
public:
    enum Type : int {
        /// Archive formats: ArchiveExtension.
        ArchiveFormat = 0,
        /// Image readers: ImageReaderExtension.
        ImageReader = 1,
        /// Image writers: ImageWriterExtension.
        ImageWriter = 2,
        PaletteReader = 3,
        PaletteWriter = 4,
        SoundReader = 5,
        SoundWriter = 6,
        /// Open to the host.
        HostType7 = 7,
        /// Open to the host.
        HostType8 = 8,
        /// Animation formats to read: EngineExtension.
        AnimationReader = 9,
        /// Animation formats to write: EngineExtension.
        AnimationWriter = 10,
        /// Open to the host.
        HostType11 = 11,
        /// Open to the host.
        HostType12 = 12,
        /// Open to the host.
        HostType13 = 13,
        /// Open to the host.
        HostType14 = 14,
        /// Sound bank formats: EngineExtension.
        SoundBank = 15,
        /// Kinds told apart by description() instead of format().
        Described = 16,
    };
    static constexpr int TypeCount = 17;

    /// Ends the object; the manager calls it at shutdown.
    virtual void release() = 0;
    virtual ~Extension();
    virtual Type type() const = 0;
    /// The upper-case file suffix handled, such as "ZIP".
    virtual char const *format() const = 0;
    /// What a file dialog shows for the format.
    virtual char const *description() const = 0;
};

/// Type 0: archives of a file format.
class KENRO_EXPORT ArchiveExtension : public Extension
{
public:
    Type type() const override;
    /// An archive over \a fileName; \a mode 0 writes, 1 reads. Null on failure.
    virtual Archive *create(QString const &fileName, int mode) = 0;
};

/// Type 1: reads an image of the format.
class KENRO_EXPORT ImageReaderExtension : public Extension
{
public:
    Type type() const override;
    virtual bool read(QIODevice *device, QImage &image) = 0;
};

/// Type 2: writes an image in the format.
class KENRO_EXPORT ImageWriterExtension : public Extension
{
public:
    Type type() const override;
    virtual bool write(QImage const &image, QIODevice *device) = 0;
};

/// Types 9, 10 and 15: formats that may serve a single engine.
class KENRO_EXPORT EngineExtension : public Extension
{
public:
    /// The identifier of the only engine served, or null for all.
    virtual char const *engine() const = 0;
};

/**
 * Marks the life of the extension libraries: made early by the host, it
 * loads every shared library of a directory and lets each register its
 * extensions; ended last, it releases the extensions and then unloads the
 * libraries. The lists themselves live from their first use, with or
 * without a manager.
 */
class KENRO_EXPORT ExtensionManager
{
public:
    /// Loads every shared library in \a directory that exports registerExtension.
    explicit ExtensionManager(QString const &directory);
    /// Releases all extensions, each list from its back, then unloads the libraries.
    ~ExtensionManager();

    ExtensionManager(ExtensionManager const &) = delete;
    ExtensionManager &operator=(ExtensionManager const &) = delete;

    /// Appends \a extension to the list of its type unless one there has the
    /// same format() (description() for type 16), compared as pointers.
    static void add(Extension *extension);
    static QList<Extension *> const &list(Extension::Type type);

    /// The extensions of \a type whose format() equals \a format, in list order.
    static QList<Extension *> byFormat(Extension::Type type, char const *format);
    /// The file-dialog filter of types 9, 10 and 15 for \a engine: the
    /// extensions that serve every engine or that one, joined by ";;".
    static QString filters(Extension::Type type, Engine const *engine);
    /// An archive over \a fileName from the archive format of its suffix, or
    /// the file system when no extension has that format. \a mode 0 writes,
    /// 1 reads.
    static Archive *archiveFor(QString const &fileName, int mode);
};

} // namespace Kenro

/// The one function an extension library exports.
using KenroRegisterExtension = void (*)(QString const &directory);
