#include <kenro/editors/filedialogs.h>

#include <kenro/editors/interface/interface.h>

#include <QFileDialog>

namespace Kenro {

namespace {

bool optionSet(char const *key)
{
    Interface *host = Interface::instance();
    return host && host->option(QString::fromLatin1(key), false).toBool();
}

// Open dialogs are Qt's own unless the user asked for the platform's.
QFileDialog::Options openOptions()
{
    return optionSet("use_native_open") ? QFileDialog::Options()
                                        : QFileDialog::Options(QFileDialog::DontUseNativeDialog);
}

} // namespace

QString getExistingDirectory(QWidget *parent, QString const &title, QString const &directory)
{
    return QFileDialog::getExistingDirectory(parent, title, directory);
}

QString getOpenFileName(QWidget *parent, QString const &title, QString const &directory,
                        QString const &filter)
{
    return QFileDialog::getOpenFileName(parent, title, directory, filter, nullptr, openOptions());
}

QStringList getOpenFileNames(QWidget *parent, QString const &title, QString const &directory,
                             QString const &filter)
{
    QStringList names =
        QFileDialog::getOpenFileNames(parent, title, directory, filter, nullptr, openOptions());
    // Some native dialogs give the files in the order they were clicked.
    if (optionSet("sort_file_names"))
        names.sort();
    return names;
}

QString getSaveFileName(QWidget *parent, QString const &title, QString const &directory,
                        QString const &filter)
{
    return QFileDialog::getSaveFileName(parent, title, directory, filter);
}

} // namespace Kenro
