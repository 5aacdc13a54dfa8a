#include "definitionproject.h"

#include "binaryfile.h"
#include "scriptfile.h"

#include <kenro/code/codedocument.h>
#include <kenro/code/codenodefile.h>
#include <kenro/project/archive.h>
#include <kenro/project/messagelist.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/textcodecs.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

namespace Kenro::Ikemen {

namespace {

QMap<int, DefinitionProject::FileFactory> &factories()
{
    static QMap<int, DefinitionProject::FileFactory> registry;
    return registry;
}

QString folderOf(QString const &path)
{
    int const slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : path.left(slash + 1);
}

// The file type of a key of a character's [Files].
int characterFileType(QString const &key)
{
    static QRegularExpression const states(QStringLiteral("^st(\\d*|common)$"));
    static QRegularExpression const palette(QStringLiteral("^pal\\d+$"));
    QString const name = key.toLower();
    if (name == QLatin1String("sprite"))
        return Project::Sprites;
    if (name == QLatin1String("anim"))
        return Project::Animations;
    if (name == QLatin1String("sound"))
        return Project::Sounds;
    if (name == QLatin1String("cmd") || name == QLatin1String("cns") ||
        states.match(name).hasMatch())
        return Project::Scripts;
    if (palette.match(name).hasMatch())
        return DefinitionProject::Palettes;
    return DefinitionProject::Other;
}

/**
 * Looks for the file that \a written names in each of \a folders in turn,
 * case-blind as authors on other systems spell names. Gives the first that
 * exists, or the spelling beside the first folder.
 */
QString findFile(Archive &archive, QString written, QStringList const &folders, bool &exists)
{
    written.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (written.startsWith(QLatin1String("./")))
        written = written.mid(2);
    QString first;
    for (QString const &folder : folders) {
        if (folder.isEmpty())
            continue;
        QString const found = QDir::cleanPath(fixFileCase(folder, archive, written));
        if (first.isEmpty())
            first = found;
        if (archive.fileExists(found) && !archive.directoryExists(found)) {
            exists = true;
            return found;
        }
    }
    exists = false;
    return first;
}

// An entry that names a file: the file's type and the folders it is looked for in, in order.
struct Named
{
    Definition::Entry entry;
    int fileType;
    QStringList folders;
};

bool isCompactDiscTrack(QString const &value)
{
    static QRegularExpression const track(QStringLiteral("^\\d+(\\.da)?$"),
                                          QRegularExpression::CaseInsensitiveOption);
    return track.match(value).hasMatch();
}

} // namespace

void DefinitionProject::setFileFactory(int fileType, FileFactory factory)
{
    if (factory)
        factories().insert(fileType, std::move(factory));
    else
        factories().remove(fileType);
}

ProjectFile *DefinitionProject::newFile(int fileType)
{
    auto const found = factories().constFind(fileType);
    if (found != factories().constEnd() && *found) {
        if (ProjectFile *file = (*found)())
            return file;
    }
    switch (fileType) {
    case Main:
    case Scripts:
    case Animations:
    case Storyboards:
        return new ScriptFile(static_cast<short>(fileType));
    default:
        return new BinaryFile;
    }
}

QList<DefinitionProject::Reference>
DefinitionProject::findReferences(Archive &archive, QString const &definition,
                                  QString const &gameDirectory, int projectType,
                                  std::function<QString(QString const &)> const &text)
{
    auto read = [&](QString const &path) { return text ? text(path) : readText(archive, path); };
    QString game = gameDirectory;
    if (!game.isEmpty() && !game.endsWith(QLatin1Char('/')))
        game += QLatin1Char('/');
    QString const data = game.isEmpty() ? QString() : game + QStringLiteral("data/");
    QString const sound = game.isEmpty() ? QString() : game + QStringLiteral("sound/");

    QList<Reference> found;
    auto follow = [&](QString const &source, QList<Named> const &named) {
        QList<Reference> made;
        for (Named const &each : named) {
            if (each.entry.value.isEmpty())
                continue;
            Reference reference;
            reference.fileType = each.fileType;
            reference.key = each.entry.key;
            reference.written = each.entry.value;
            reference.source = source;
            reference.line = each.entry.line;
            reference.path = findFile(archive, each.entry.value, each.folders, reference.exists);
            made.append(reference);
        }
        found += made;
        return made;
    };

    QString const folder = folderOf(definition);
    Definition const main(read(definition));
    QList<Named> named;
    if (projectType == Stage) {
        for (Definition::Entry const &entry : main.entries(QStringLiteral("BGdef"))) {
            if (entry.key.compare(QLatin1String("spr"), Qt::CaseInsensitive) == 0)
                named.append({entry, Sprites, {folder, game}});
        }
        for (Definition::Entry const &entry : main.entries(QStringLiteral("Music"))) {
            if (entry.key.compare(QLatin1String("bgmusic"), Qt::CaseInsensitive) == 0 &&
                !isCompactDiscTrack(entry.value))
                named.append({entry, Music, {folder, game, sound}});
        }
        follow(definition, named);
        return found;
    }

    for (Definition::Entry const &entry : main.entries(QStringLiteral("Files")))
        named.append({entry, characterFileType(entry.key), {folder, game, data}});
    for (Definition::Entry const &entry : main.entries(QStringLiteral("Arcade"))) {
        QString const key = entry.key.toLower();
        if (key == QLatin1String("intro.storyboard") || key == QLatin1String("ending.storyboard"))
            named.append({entry, Storyboards, {folder, game}});
    }
    QList<Reference> const files = follow(definition, named);

    // A storyboard names its own sprites, sounds and music.
    for (Reference const &storyboard : files) {
        if (storyboard.fileType != Storyboards || !storyboard.exists)
            continue;
        QString const place = folderOf(storyboard.path);
        Definition const board(read(storyboard.path));
        QList<Named> inBoard;
        for (Definition::Entry const &entry : board.entries(QStringLiteral("SceneDef"))) {
            QString const key = entry.key.toLower();
            if (key == QLatin1String("spr"))
                inBoard.append({entry, Sprites, {place, game}});
            else if (key == QLatin1String("snd"))
                inBoard.append({entry, Sounds, {place, game}});
        }
        for (Definition::Section const &section : board.sections()) {
            if (!section.name.startsWith(QLatin1String("Scene "), Qt::CaseInsensitive))
                continue;
            for (Definition::Entry const &entry : section.entries) {
                if (entry.key.compare(QLatin1String("bgm"), Qt::CaseInsensitive) == 0)
                    inBoard.append({entry, Music, {place, game, sound}});
            }
        }
        follow(storyboard.path, inBoard);
    }
    return found;
}

DefinitionProject::DefinitionProject(ParentProject *parent, int type, ProjectFile *mainFile,
                                     QString const &gameDirectory)
    : Project(parent, type, mainFile, true), m_gameDirectory(gameDirectory), m_problems(mainFile)
{
    messages()->registerMessages(&m_problems);
}

DefinitionProject::~DefinitionProject() = default;

void DefinitionProject::release()
{
    if (MessageList *list = m_problems.messageList())
        list->unregisterMessages(&m_problems);
    Project::release();
    delete this;
}

QString DefinitionProject::name() const
{
    return m_definition.value(QStringLiteral("Info"), QStringLiteral("name"));
}

QString DefinitionProject::version() const
{
    return m_definition.value(QStringLiteral("Info"), QStringLiteral("versiondate"));
}

QString DefinitionProject::author() const
{
    return m_definition.value(QStringLiteral("Info"), QStringLiteral("author"));
}

QString DefinitionProject::comment() const
{
    return m_definition.value(QStringLiteral("Info"), QStringLiteral("displayname"));
}

QSize DefinitionProject::size() const
{
    // "localcoord = width, height"; a width alone stands for a 4:3 screen.
    QString const section = type() == Stage ? QStringLiteral("StageInfo") : QStringLiteral("Info");
    QStringList const values =
        m_definition.value(section, QStringLiteral("localcoord")).split(u',');
    int const width = values.value(0).trimmed().toInt();
    int const height = values.size() > 1 ? values[1].trimmed().toInt() : width * 3 / 4;
    return width > 0 && height > 0 ? QSize(width, height) : Project::size();
}

QSizeF DefinitionProject::scale() const
{
    // A stage says how its sprites are drawn; a character's scale lies in its states.
    if (type() != Stage)
        return Project::scale();
    auto factor = [this](char const *key) {
        double const value =
            m_definition.value(QStringLiteral("StageInfo"), QLatin1String(key)).toDouble();
        return value > 0 ? value : 1.0;
    };
    return QSizeF(factor("xscale"), factor("yscale"));
}

void DefinitionProject::fileList(QList<FileEntry> &list) const
{
    list += m_entries;
}

QList<DefinitionProject::Reference> const &DefinitionProject::references() const
{
    return m_references;
}

Messages *DefinitionProject::problems() const
{
    return const_cast<SimpleMessages *>(&m_problems);
}

ProjectFile *DefinitionProject::createFile(int fileType, QString const &)
{
    return newFile(fileType);
}

ProjectFile *DefinitionProject::openedFile(QString const &path) const
{
    for (ProjectFile *file : files()) {
        if (file->fileName() == path)
            return file;
    }
    return nullptr;
}

ProjectFile *DefinitionProject::readDefinition(ParentProject *parent, QString const &definition)
{
    if (!parent)
        return nullptr;
    ProjectFile *main = newFile(Main);
    if (!main->fromFile(parent->archive(), definition, 0, nullptr)) {
        main->release();
        return nullptr;
    }
    return main;
}

QString DefinitionProject::definitionText(QString const &path) const
{
    for (ProjectFile *file : files()) {
        auto *document = dynamic_cast<CodeDocument *>(file);
        if (document && file->fileName() == path)
            return document->toPlainText();
    }
    return readText(archive(), path);
}

QString DefinitionProject::readText(Archive &archive, QString const &path)
{
    QIODevice *device = archive.openFile(path, QIODevice::ReadOnly);
    if (!device)
        return QString();
    QByteArray const bytes = device->readAll();
    archive.closeFile(device);
    int codec = -1;
    return TextCodecs::stringFromData(bytes, &codec);
}

void DefinitionProject::report(Reference const &reference, Message::Type type, QString const &text)
{
    // A file named inside a storyboard is shown on the line that names the storyboard.
    int line = reference.line;
    QString where;
    if (reference.source != fileName()) {
        where = QStringLiteral(" (in %1)").arg(QFileInfo(reference.source).fileName());
        for (Reference const &other : std::as_const(m_references)) {
            if (other.path == reference.source && other.source == fileName()) {
                line = other.line;
                break;
            }
        }
    }
    m_problems.add(type, text.arg(reference.written, reference.key) + where,
                   static_cast<unsigned int>(line), 0);
}

void DefinitionProject::load()
{
    QString const main = fileName();
    m_definition = Definition(definitionText(main));
    m_references = findReferences(archive(), main, m_gameDirectory, type(),
                                  [this](QString const &path) { return definitionText(path); });
    m_entries.clear();

    QString const inside = absolutePath() + QLatin1Char('/');
    QMap<QString, ProjectFile *> opened;
    opened.insert(main, mainFile());
    QStringList unreadable;
    QStringList listed;
    m_problems.beginChange();
    for (Reference const &reference : std::as_const(m_references)) {
        if (!reference.exists) {
            // The common states are the game's, in its data folder: a character
            // kept apart from any game cannot be faulted for not holding them.
            if (m_gameDirectory.isEmpty() &&
                reference.key.compare(QLatin1String("stcommon"), Qt::CaseInsensitive) == 0) {
                report(reference, Message::Information,
                       QStringLiteral("The file '%1' named by '%2' is looked for in the game's "
                                      "data folder; no game folder lies around this character"));
                continue;
            }
            // The runtime plays no music for a missing name; other files it needs.
            report(reference, reference.fileType == Music ? Message::Warning : Message::Error,
                   QStringLiteral("The file '%1' named by '%2' does not exist"));
            continue;
        }
        if (unreadable.contains(reference.path)) {
            report(reference, Message::Error,
                   QStringLiteral("The file '%1' named by '%2' could not be read"));
            continue;
        }
        ProjectFile *file = opened.value(reference.path);
        if (!file) {
            file = createFile(reference.fileType, reference.path);
            if (!file || !file->fromFile(archive(), reference.path, 0, nullptr)) {
                if (file)
                    file->release();
                unreadable.append(reference.path);
                report(reference, Message::Error,
                       QStringLiteral("The file '%1' named by '%2' could not be read"));
                continue;
            }
            opened.insert(reference.path, file);
        }
        addFile(file, reference.fileType);
        // A view of a document's nodes leaves the messages with the document:
        // they are the file's all the same.
        if (auto *nodes = dynamic_cast<CodeNodeFile *>(file); nodes && !file->messages())
            messages()->registerMessages(nodes->document()->messages());
        if (file != mainFile() && reference.path.startsWith(inside) &&
            !listed.contains(reference.path)) {
            listed.append(reference.path);
            m_entries.append(FileEntry(reference.fileType, reference.path.mid(inside.size() - 1)));
        }
    }
    m_problems.endChange();
    // The character's own files come first in each type and stay selected.
    for (int fileType = Main; fileType <= Other; ++fileType)
        setSelectedFile(fileType, 0);
    addToParent();
}

} // namespace Kenro::Ikemen
