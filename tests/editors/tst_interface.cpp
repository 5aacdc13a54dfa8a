#include <kenro/editors/interface/interface.h>
#include <kenro/engine/ktranslator.h>

#include "testinterface.h"

#include <QAction>
#include <QMenu>
#include <QTest>

using namespace Kenro;

class TestInterface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void globalPointer()
    {
        QCOMPARE(Interface::instance(), nullptr);
        {
            KenroTest::TestInterface host;
            QCOMPARE(Interface::instance(), &host);
            setGlobalInterface(nullptr);
            QCOMPARE(Interface::instance(), nullptr);
            setGlobalInterface(&host);
        }
        QCOMPARE(Interface::instance(), nullptr);
    }

    void scaleToDpi()
    {
        KenroTest::TestInterface host;
        host.dpiFactor = 2;
        Interface &interface = host;
        QCOMPARE(interface.scaleToDPI(QPoint(3, -4)), QPoint(6, -8));
        // Left, top, width and height scale apart; right and bottom follow.
        QRect const scaled = interface.scaleToDPI(QRect(1, 2, 10, 20));
        QCOMPARE(scaled, QRect(2, 4, 20, 40));
        QCOMPARE(scaled.right(), 2 + 20 - 1);
        QCOMPARE(interface.scaleToDPI(QRect()), QRect(0, 0, 0, 0));
    }

    void defaultOperations()
    {
        KenroTest::TestInterface host;
        Interface &interface = host;
        QCOMPARE(interface.showMessage(0, nullptr), 0);
        QVERIFY(interface.applicationName().isEmpty());

        QMenu menu;
        QAction action(QStringLiteral("Save"));
        QCOMPARE(interface.actionControl(QStringLiteral("code_save"), &action, &menu), nullptr);
        QCOMPARE(menu.actions(), QList<QAction *>({&action}));
        QCOMPARE(host.registeredActions, QStringList({QStringLiteral("code_save")}));
        QCOMPARE(host.registeredInfos.first().kind, 12);
        QCOMPARE(host.registeredInfos.first().object, &action);
    }

    void actionTexts_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTip");
        QTest::newRow("0") << 0 << "System"
                           << "";
        QTest::newRow("3") << 3
                           << "Do you want to reload the file using the specified encoding?\nThis "
                              "will make the editor display characters using this encoding, "
                              "otherwise characters will remain unchanged and only saved using "
                              "this encoding."
                           << "";
        QTest::newRow("4") << 4 << "Code toolbar"
                           << "Show/Hide the code toolbar in all code editors";
        QTest::newRow("18") << 18 << "Go to line..."
                            << "Go to the specifed line";
        QTest::newRow("70") << 70 << "Delete all Contact boxes of current animation"
                            << "Remove all Contact boxs of current animation";
        QTest::newRow("101") << 101 << "Sprites"
                             << "";
        QTest::newRow("115") << 115 << ""
                             << "Add one or more sprites";
        QTest::newRow("171") << 171 << ""
                             << "";
        QTest::newRow("173") << 173 << ""
                             << "Import one or more sounds from another opened project...";
        QTest::newRow("174") << 174 << "Previous sound"
                             << "";
        QTest::newRow("175") << 175 << ""
                             << "";
        QTest::newRow("217") << 217 << "Emulator"
                             << "";
        QTest::newRow("218") << 218 << ""
                             << "";
        QTest::newRow("-1") << -1 << ""
                            << "";
    }

    void actionTexts()
    {
        QFETCH(int, id);
        QFETCH(QString, text);
        QFETCH(QString, toolTip);
        Translator *translator = KTranslator::instance();
        QCOMPARE(translator->text(id), text);
        QCOMPARE(translator->toolTip(id), toolTip);
    }

    void actionTableShape()
    {
        KTranslator *translator = KTranslator::instance();
        QCOMPARE(KTranslator::instance(), translator);
        int texts = 0;
        int tips = 0;
        for (int id = -5; id < 300; ++id) {
            texts += translator->text(id).isEmpty() ? 0 : 1;
            if (!translator->toolTip(id).isEmpty()) {
                ++tips;
                QVERIFY2(id >= 4 && id <= 173, qPrintable(QString::number(id)));
            }
        }
        QCOMPARE(texts, 201);
        QCOMPARE(tips, 97);
        // The host hands the same table on through its Interface.
        KenroTest::TestInterface host;
        QCOMPARE(host.text(58), QStringLiteral("Play"));
        QCOMPARE(host.toolTip(58), QStringLiteral("Play the current animation"));
    }
};

QTEST_MAIN(TestInterface)
#include "tst_interface.moc"
