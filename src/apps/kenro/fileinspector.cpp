#include "fileinspector.h"

#include "actinspector.h"
#include "airinspector.h"
#include "exitcode.h"
#include "inputfile.h"
#include "progressbar.h"
#include "scriptinspector.h"
#include "sffinspector.h"
#include "sndinspector.h"
#include "soundinspector.h"

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

FileInspector::~FileInspector() = default;

void FileInspector::addMessages(Messages const *messages, FileReport &report)
{
    for (unsigned int i = 0; i < messages->count(Message::All); ++i) {
        Message const message = messages->at(i, Message::All);
        report.diagnostics.append(
            {message.type, report.path, message.line + 1, message.column + 1, message.text});
    }
}

Inspectors::Inspectors()
{
    m_inspectors.push_back(std::make_unique<ScriptInspector>());
    m_inspectors.push_back(std::make_unique<SoundInspector>());
    m_inspectors.push_back(std::make_unique<SndInspector>());
    m_inspectors.push_back(std::make_unique<AirInspector>());
    m_inspectors.push_back(std::make_unique<SffInspector>());
    m_inspectors.push_back(std::make_unique<ActInspector>());
}

Inspectors::~Inspectors() = default;

FileInspector const *Inspectors::inspectorFor(QString const &path) const
{
    QByteArray const suffix = fileExtension(path);
    for (auto const &inspector : m_inspectors) {
        if (inspector->handles(suffix))
            return inspector.get();
    }
    return nullptr;
}

QString Inspectors::unsupportedReason(QString const &path, bool quietForOthers)
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

int Inspectors::inspectFile(QString const &path, FileReport &report, QString &why) const
{
    why = unreadableFileReason(path);
    if (!why.isEmpty())
        return InputError;
    FileInspector const *inspector = inspectorFor(path);
    if (!inspector) {
        why = unsupportedReason(path, false);
        return InputError;
    }
    report.path = path;
    return inspector->inspect(path, report, why) ? Success : InputError;
}

bool Inspectors::inspectFolder(QString const &path, FolderReport &report, bool progress) const
{
    if (!QFileInfo(path).isDir() || !QFileInfo(path).isReadable())
        return false;
    report.path = path;
    QStringList names;
    QDirIterator walk(path, QDir::Files | QDir::NoDotAndDotDot | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext())
        names.append(walk.next());
    std::sort(names.begin(), names.end());

    ProgressBar bar(QStringLiteral("Inspecting"), progress);
    bar.setMaximum(unsigned(names.size()));
    for (QString const &name : std::as_const(names)) {
        bar.incrementValue();
        if (!inspectorFor(name)) {
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
        if (inspectFile(name, file, why) != Success) {
            file = FileReport();
            file.path = name;
            file.kind = QStringLiteral("unreadable");
            file.diagnostics.append({Message::Error, name, 1, 1, why});
        }
        report.files.append(file);
    }
    return true;
}

} // namespace Kenro::Cli
