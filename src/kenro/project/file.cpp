#include "file_p.h"

#include <kenro/project/pathhelpers.h>

#include <QApplication>
#include <QMessageBox>
#include <QMetaObject>
#include <QThread>

#include <atomic>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

constexpr unsigned long retryDelay = 200;
constexpr unsigned long renameDelay = 20;
constexpr int failuresPerQuestion = 10;

char const removeTitle[] = QT_TRANSLATE_NOOP("File", "File error!");
char const removeText[] = QT_TRANSLATE_NOOP(
    "File",
    "Can't replace contents of file '%1'. Do you want to try again?\nObs.: You can delete "
    "the file and rename the temporary one manually. Seems that something is preventing "
    "the file to be replaced.");
char const renameTitle[] = QT_TRANSLATE_NOOP("File", "File rename error!");
char const renameText[] = QT_TRANSLATE_NOOP(
    "File",
    "Can't rename temporary file to '%1'. Do you want to try again?\nObs.: You can rename "
    "it manually. Seems that something is preventing the file to be renamed.");
char const discardTitle[] = QT_TRANSLATE_NOOP("File", "File remove error!");
char const discardText[] = QT_TRANSLATE_NOOP(
    "File",
    "Can't remove temporary file to '%1'. Do you want to try again?\nObs.: You can remove "
    "it manually. Seems that something is preventing the file to be removed.");

// Questions from worker threads are shown without waiting for the answer: the
// main thread may itself be waiting for the worker. One such box at a time.
std::atomic<bool> workerQuestionShown{false};

QMessageBox::StandardButton ask(QString const &title, QString const &text)
{
    auto *app = qobject_cast<QApplication *>(QCoreApplication::instance());
    if (!app)
        return QMessageBox::Ok;
    if (QThread::currentThread() == app->thread())
        return QMessageBox::question(nullptr, title, text,
                                     QMessageBox::StandardButtons(QMessageBox::Ok));
    if (!workerQuestionShown.exchange(true)) {
        QMetaObject::invokeMethod(
            app,
            [title, text] {
                QMessageBox::question(nullptr, title, text,
                                      QMessageBox::StandardButtons(QMessageBox::Ok));
                workerQuestionShown = false;
            },
            Qt::QueuedConnection);
    }
    return QMessageBox::Ok;
}

} // namespace

File::File(QString const &name) : QFile(name), m_target(name) {}

File::~File()
{
    if (fileName() != m_target.fileName())
        commit();
}

bool File::isReplacing() const
{
    return fileName() != m_target.fileName();
}

bool File::open(OpenMode mode)
{
    if (!(mode & WriteOnly) || !m_target.exists())
        return QFile::open(mode);

    setFileName(m_target.fileName() + Kenro::randomString(6));
    if (mode & ReadOnly)
        QFile::copy(m_target.fileName(), fileName());
    if (QFile::open(mode) && m_target.open(QIODevice::ReadWrite))
        return true;

    QFile::close();
    m_target.close();
    QFile::remove(fileName());
    setFileName(m_target.fileName());
    return false;
}

bool File::retry(int &failures, char const *title, char const *text)
{
    QThread::msleep(retryDelay);
    if (++failures < failuresPerQuestion)
        return true;
    failures = 0;
    QMessageBox::StandardButton answer =
        ask(QCoreApplication::translate("File", title),
            QCoreApplication::translate("File", text).arg(m_target.fileName()));
    return answer != QMessageBox::No;
}

void File::commit()
{
    m_target.close();
    flush();
#ifdef Q_OS_UNIX
    // The replacement must be on disk before the old content goes away.
    if (handle() >= 0)
        ::fdatasync(handle());
#endif

    QString const target = m_target.fileName();
    int failures = 0;
    // A target that something else took away meanwhile needs no removing.
    while (!QFile::remove(target) && QFile::exists(target)) {
        if (!retry(failures, removeTitle, removeText)) {
            discard();
            return;
        }
    }

    QThread::msleep(renameDelay);
    QFile::close();
    failures = 0;
    while (!QFile::rename(fileName(), target)) {
        if (!retry(failures, renameTitle, renameText))
            return; // the temporary file stays behind for the user
    }
    setFileName(target);
}

void File::discard()
{
    m_target.close();
    QFile::close();
    int failures = 0;
    while (!QFile::remove(fileName()) && QFile::exists(fileName())) {
        if (!retry(failures, discardTitle, discardText))
            break;
    }
    setFileName(m_target.fileName());
}
