#include "cliinterface.h"
#include "dialogguard.h"
#include "progressbar.h"

#include "testdata.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using namespace Kenro::Cli;
using namespace Qt::Literals::StringLiterals;

// The tool's host as the library meets it, in process.
class CliHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A box is answered "no" or its only button, a file dialog cancelled.
    void boxesAreAnsweredSafely()
    {
        DialogGuard guard;
        qApp->installEventFilter(&guard);
        auto const no = QMessageBox::question(nullptr, u"Reload?"_s, u"The file changed."_s,
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        auto const ok = QMessageBox::critical(nullptr, u"Error!"_s, u"Broken."_s, QMessageBox::Ok);
        QString const file = QFileDialog::getOpenFileName(
            nullptr, u"Open"_s, QString(), QString(), nullptr, QFileDialog::DontUseNativeDialog);
        qApp->removeEventFilter(&guard);
        QVERIFY(no == QMessageBox::No && ok == QMessageBox::Ok && file.isEmpty());
        QCOMPARE(guard.answered(), 3);
    }

    // What the library sets stays in the run: the user's file is untouched.
    // A run never watches files, whatever the file says, and its jobs are
    // silent where stderr is no terminal, as under the test runner.
    void optionsFromSettingsFile()
    {
        QTemporaryDir dir;
        QString const file = dir.filePath(u"kenro.ini"_s);
        QByteArray const content =
            "[General]\nprogress=false\nenable_file_watcher=true\ncache_type=2\n";
        QVERIFY(KenroTest::writeFile(file, content));
        {
            CliInterface host(file);
            QVERIFY(Interface::instance() == &host && host.settingsDirectory() == dir.path());
            QVERIFY(!host.progressEnabled() &&
                    !host.option(u"enable_file_watcher"_s, true).toBool());
            int const cache = host.option(u"cache_type"_s, 0).toInt();
            host.setOption(u"cache_type"_s, 3);
            QCOMPARE(QList<int>({cache, host.option(u"missing"_s, 7).toInt(),
                                 host.option(u"cache_type"_s, 0).toInt()}),
                     QList<int>({2, 7, 3}));
            std::unique_ptr<ProgressJob> job(host.progressProvider()->newJob(u"Saving"_s, 0));
            QVERIFY(!static_cast<ProgressBar *>(job.get())->isVisible());
        }
        QVERIFY(Interface::instance() == nullptr && KenroTest::readFile(file) == content);
    }

    // The file named on the command line, else the environment's, else the user's.
    void settingsFileChoice()
    {
        QByteArray const saved = qgetenv("KENRO_SETTINGS");
        qputenv("KENRO_SETTINGS", "/from/environment.ini");
        QString const chosen = CliInterface::settingsFile(u"given.ini"_s) + u' ' +
            CliInterface::settingsFile(QString());
        qunsetenv("KENRO_SETTINGS");
        QCOMPARE(chosen, u"given.ini /from/environment.ini"_s);
        QVERIFY(CliInterface::settingsFile(QString()).endsWith("/kenro/kenro.ini"_L1));
        if (!saved.isNull())
            qputenv("KENRO_SETTINGS", saved);
    }
};

QTEST_MAIN(CliHostTest)
#include "tst_clihost.moc"
