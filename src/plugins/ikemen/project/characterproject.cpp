#include "characterproject.h"

#include "palettefile.h"

#include <ikemen/sff/sffsprites.h>

#include <kenro/project/parentproject.h>

#include <QRegularExpression>

namespace Kenro::Ikemen {

CharacterProject *CharacterProject::open(ParentProject *parent, QString const &definition,
                                         QString const &gameDirectory)
{
    CharacterProject *project = openAs<CharacterProject>(parent, definition, gameDirectory);
    if (project)
        project->showPalettes();
    return project;
}

int CharacterProject::paletteSlot(QString const &key)
{
    static QRegularExpression const palette(QStringLiteral("^pal(\\d+)$"),
                                            QRegularExpression::CaseInsensitiveOption);
    QRegularExpressionMatch const match = palette.match(key);
    int const slot = match.hasMatch() ? match.captured(1).toInt() : 0;
    return slot >= 1 && slot <= PaletteSlots ? slot : 0;
}

CharacterProject::CharacterProject(ParentProject *parent, ProjectFile *mainFile,
                                   QString const &gameDirectory)
    : DefinitionProject(parent, Character, mainFile, gameDirectory)
{}

void CharacterProject::showPalettes()
{
    // The archive of [Files] "sprite"; a storyboard's sprites have their own palettes.
    SffSprites *sprites = nullptr;
    for (Reference const &reference : references()) {
        if (reference.fileType == Sprites && reference.source == fileName() && reference.exists) {
            sprites = dynamic_cast<SffSprites *>(openedFile(reference.path));
            break;
        }
    }
    if (!sprites)
        return;
    // A missing file is a message of the project already, and a file that
    // holds no palette one of the file: the archive's own palette stays.
    for (Reference const &reference : references()) {
        int const slot = paletteSlot(reference.key);
        if (reference.fileType != Palettes || reference.source != fileName() || slot == 0)
            continue;
        if (auto *file = dynamic_cast<PaletteFile *>(openedFile(reference.path)))
            file->showIn(*sprites, slot);
    }
}

} // namespace Kenro::Ikemen
