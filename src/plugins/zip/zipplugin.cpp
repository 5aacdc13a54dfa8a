// The ZIP archive format for Kenro: backups written as one .zip file and
// read back from it.
#include "ziparchive.h"

#include <kenro/engine/extension.h>

namespace {

// One string for every registration: the manager tells formats apart by the
// pointer, so loading the library twice must not add the format twice.
char const zipFormat[] = "ZIP";
char const zipDescription[] = "ZIP archives";

class ZipExtension final : public Kenro::ArchiveExtension
{
public:
    void release() override { delete this; }
    char const *format() const override { return zipFormat; }
    char const *description() const override { return zipDescription; }

    /// Mode 0 makes an archive that writes a new ZIP at \a fileName; mode 1
    /// reads the ZIP there, or gives null when it cannot be read.
    Kenro::Archive *create(QString const &fileName, int mode) override
    {
        if (fileName.isEmpty())
            return nullptr;
        switch (mode) {
        case 0:
            return KenroZip::ZipArchive::createWriter(fileName);
        case 1:
            return KenroZip::ZipArchive::openReader(fileName);
        default:
            return nullptr;
        }
    }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(QString const &directory)
{
    Q_UNUSED(directory);
    auto *extension = new ZipExtension;
    Kenro::ExtensionManager::add(extension);
    if (!Kenro::ExtensionManager::list(Kenro::Extension::ArchiveFormat).contains(extension))
        delete extension; // turned away: this format is registered already
}
