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

// The tool's host as the library meets it, in process.
class CliHostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void boxesAreAnsweredSafely()
    {
        DialogGuard guard;
        qApp->installEventFilter(&guard);
        QCOMPARE(QMessageBox::question(nullptr, QStringLiteral("Reload?"),
                                       QStringLiteral("The file changed."),
                                       QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::No);
        QCOMPARE(QMessageBox::critical(nullptr, QStringLiteral("Configuration error!"),
                                       QStringLiteral("Broken."), QMessageBox::Ok),
                 QMessageBox::Ok);
        QCOMPARE(QFileDialog::getOpenFileName(nullptr, QStringLiteral("Open"), QString(), QString(),
                                              nullptr, QFileDialog::DontUseNativeDialog),
                 QString());
        QCOMPARE(guard.answered(), 3);
        qApp->removeEventFilter(&guard);
    }

    void optionsFromSettingsFile()
    {
        QTemporaryDir dir;
        QString const file = dir.filePath(QStringLiteral("kenro.ini"));
        QByteArray const content =
            "[General]\nprogress=false\nenable_file_watcher=true\ncache_type=2\n";
        QVERIFY(KenroTest::writeFile(file, content));
        {
            CliInterface host(file);
            QCOMPARE(Interface::instance(), &host);
            QCOMPARE(host.settingsDirectory(), dir.path());
            QCOMPARE(host.option(QStringLiteral("cache_type"), 0).toInt(), 2);
            QCOMPARE(host.option(QStringLiteral("missing"), 7).toInt(), 7);
            QVERIFY(!host.progressEnabled());
            // A run never watches files, whatever the file says.
            QCOMPARE(host.option(QStringLiteral("enable_file_watcher"), true).toBool(), false);
            host.setOption(QStringLiteral("cache_type"), 3);
            QCOMPARE(host.option(QStringLiteral("cache_type"), 0).toInt(), 3);
            // Jobs are silent where stderr is no terminal, as under the test runner.
            std::unique_ptr<ProgressJob> job(
                host.progressProvider()->newJob(QStringLiteral("Saving"), 0));
            QVERIFY(!static_cast<ProgressBar *>(job.get())->isVisible());
        }
        QCOMPARE(Interface::instance(), nullptr);
        // What the library set stays in the run: the user's file is untouched.
        QCOMPARE(KenroTest::readFile(file), content);
    }

    void settingsFileChoice()
    {
        QByteArray const saved = qgetenv("KENRO_SETTINGS");
        qputenv("KENRO_SETTINGS", "/from/environment.ini");
        QCOMPARE(CliInterface::settingsFile(QStringLiteral("given.ini")),
                 QStringLiteral("given.ini"));
        QCOMPARE(CliInterface::settingsFile(QString()), QStringLiteral("/from/environment.ini"));
        qunsetenv("KENRO_SETTINGS");
        QVERIFY(CliInterface::settingsFile(QString()).endsWith(QStringLiteral("/kenro/kenro.ini")));
        if (!saved.isNull())
            qputenv("KENRO_SETTINGS", saved);
    }
};

QTEST_MAIN(CliHostTest)
#include "tst_clihost.moc"
