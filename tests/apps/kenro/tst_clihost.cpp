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
        QCOMPARE(QMessageBox::question(nullptr, u"Reload?"_s, u"The file changed."_s,
                                       QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::No);
        QCOMPARE(QMessageBox::critical(nullptr, u"Error!"_s, u"Broken."_s, QMessageBox::Ok),
                 QMessageBox::Ok);
        QCOMPARE(QFileDialog::getOpenFileName(nullptr, u"Open"_s, QString(), QString(), nullptr,
                                              QFileDialog::DontUseNativeDialog),
                 QString());
        QCOMPARE(guard.answered(), 3);
        qApp->removeEventFilter(&guard);
    }

    void optionsFromSettingsFile()
    {
        QTemporaryDir dir;
        QString const file = dir.filePath(u"kenro.ini"_s);
        QByteArray const content =
            "[General]\nprogress=false\nenable_file_watcher=true\ncache_type=2\n";
        QVERIFY(KenroTest::writeFile(file, content));
        {
            CliInterface host(file);
            QCOMPARE(Interface::instance(), &host);
            QCOMPARE(host.settingsDirectory(), dir.path());
            QCOMPARE(host.option(u"cache_type"_s, 0).toInt(), 2);
            QCOMPARE(host.option(u"missing"_s, 7).toInt(), 7);
            QVERIFY(!host.progressEnabled());
            // A run never watches files, whatever the file says.
            QCOMPARE(host.option(u"enable_file_watcher"_s, true).toBool(), false);
            host.setOption(u"cache_type"_s, 3);
            QCOMPARE(host.option(u"cache_type"_s, 0).toInt(), 3);
            // Jobs are silent where stderr is no terminal, as under the test runner.
            std::unique_ptr<ProgressJob> job(host.progressProvider()->newJob(u"Saving"_s, 0));
            QVERIFY(!static_cast<ProgressBar *>(job.get())->isVisible());
        }
        QCOMPARE(Interface::instance(), nullptr);
        // What the library set stays in the run: the user's file is untouched.
        QCOMPARE(KenroTest::readFile(file), content);
    }

    // The file named on the command line, else the environment's, else the user's.
    void settingsFileChoice()
    {
        QByteArray const saved = qgetenv("KENRO_SETTINGS");
        qputenv("KENRO_SETTINGS", "/from/environment.ini");
        QCOMPARE(CliInterface::settingsFile(u"given.ini"_s), u"given.ini"_s);
        QCOMPARE(CliInterface::settingsFile(QString()), u"/from/environment.ini"_s);
        qunsetenv("KENRO_SETTINGS");
        QVERIFY(CliInterface::settingsFile(QString()).endsWith("/kenro/kenro.ini"_L1));
        if (!saved.isNull())
            qputenv("KENRO_SETTINGS", saved);
    }
};

QTEST_MAIN(CliHostTest)
#include "tst_clihost.moc"
