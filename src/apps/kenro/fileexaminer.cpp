#include "fileexaminer.h"

#include "actexaminer.h"
#include "airexaminer.h"
#include "exitcode.h"
#include "inputfile.h"
#include "progressbar.h"
#include "scriptexaminer.h"
#include "sffexaminer.h"
#include "sndexaminer.h"
#include "soundexaminer.h"

#include <kenro/project/pathhelpers.h>

#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

namespace Kenro::Cli {

namespace {

// Content kinds that the tool will read once their formats are in.
struct Pending
{
    char const *suffix;
    char const *kind;
};

Pending const pendingKinds[] = {{"AIR", "AIR animations"}};

} // namespace

FileExaminer::~FileExaminer() = default;

void FileExaminer::addMessages(Messages const *messages, FileReport &report)
{
    for (unsigned int i = 0; i < messages->count(Message::All); ++i) {
        Message const message = messages->at(i, Message::All);
        report.diagnostics.append(
            {message.type, report.path, message.line + 1, message.column + 1, message.text});
    }
}

Examiners::Examiners()
{
    m_examiners.push_back(std::make_unique<ScriptExaminer>());
    m_examiners.push_back(std::make_unique<SoundExaminer>());
    m_examiners.push_back(std::make_unique<SndExaminer>());
    m_examiners.push_back(std::make_unique<AirExaminer>());
    m_examiners.push_back(std::make_unique<SffExaminer>());
    m_examiners.push_back(std::make_unique<ActExaminer>());
}

Examiners::~Examiners() = default;

FileExaminer const *Examiners::examinerFor(QString const &path) const
{
    QByteArray const suffix = fileExtension(path);
    for (auto const &examiner : m_examiners) {
        if (examiner->handles(suffix))
            return examiner.get();
    }
    return nullptr;
}

QString Examiners::unsupportedReason(QString const &path, bool quietForOthers)
{
    QByteArray const suffix = fileExtension(path);
    for (Pending const &pending : pendingKinds) {
        if (suffix == pending.suffix)
            return QStringLiteral("not supported yet: %1").arg(QLatin1String(pending.kind));
    }
    if (quietForOthers)
        return QString();
    return suffix.isEmpty()
        ? QStringLiteral("unknown file kind (no suffix)")
        : QStringLiteral("unknown file kind '.%1'").arg(QString::fromLatin1(suffix.toLower()));
}

int Examiners::examineFile(QString const &path, FileReport &report, QString &why) const
{
    why = unreadableFileReason(path);
    if (!why.isEmpty())
        return InputError;
    FileExaminer const *examiner = examinerFor(path);
    if (!examiner) {
        why = unsupportedReason(path, false);
        return InputError;
    }
    report.path = path;
    return examiner->examine(path, report, why) ? Success : InputError;
}

bool Examiners::examineFolder(QString const &path, FolderReport &report, bool progress) const
{
    if (!QFileInfo(path).isDir() || !QFileInfo(path).isReadable())
        return false;
    report.path = path;
    QStringList const names = folderFiles(path);
    ProgressBar bar(QStringLiteral("Examining"), progress);
    bar.setMaximum(unsigned(names.size()));
    examineFiles(names, report, bar);
    return true;
}

QStringList Examiners::folderFiles(QString const &path)
{
    QStringList names;
    QDirIterator walk(path, QDir::Files | QDir::NoDotAndDotDot | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext())
        names.append(walk.next());
    std::sort(names.begin(), names.end());
    return names;
}

void Examiners::examineFiles(QStringList const &names, FolderReport &report,
                             JobStats &progress) const
{
    for (QString const &name : names) {
        progress.incrementValue();
        if (!examinerFor(name)) {
            QString const reason = unsupportedReason(name, true);
            if (reason.isEmpty())
                ++report.otherFiles;
            else
                report.skipped.append({name, reason});
            continue;
        }
        FileReport file;
        QString why;
        // A file of a known kind that cannot be read is an error of the folder's content.
        if (examineFile(name, file, why) != Success) {
            file = FileReport();
            file.path = name;
            file.kind = QStringLiteral("unreadable");
            file.diagnostics.append({Message::Error, name, 1, 1, why});
        }
        report.files.append(file);
    }
}

} // namespace Kenro::Cli
