#include <kenro/project/messagelist.h>
#include <kenro/project/messages.h>

#include "testinterface.h"
#include "testproject.h"

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Kenro;
using KenroTest::TestProject;
using KenroTest::TextFile;

namespace {

TextFile *named(QString const &name)
{
    auto *file = new TextFile;
    file->name = name;
    return file;
}

QStringList column(QAbstractItemModel const &model, int column)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values << model.index(row, column).data().toString();
    return values;
}

} // namespace

class TestMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void countsAndLookups()
    {
        SimpleMessages messages(nullptr);
        QAbstractItemModelTester tester(&messages,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        messages.add(Message::Warning, QStringLiteral("w1"), 3, 1);
        messages.add(Message::Error, QStringLiteral("e1"), 4, 2);
        messages.add(Message::Warning, QStringLiteral("w2"), 5, 3);
        messages.add(Message::All, QStringLiteral("kept as an error"), 6, 0);
        QCOMPARE(messages.count(Message::All), 4u);
        QCOMPARE(messages.count(Message::Warning), 2u);
        QCOMPARE(messages.count(Message::Error), 2u);
        QCOMPARE(messages.count(Message::Information), 0u);
        QCOMPARE(messages.rowCount(), 4);
        QCOMPARE(messages.at(1, Message::Warning).text, QStringLiteral("w2"));
        QCOMPARE(messages.at(1, Message::All).text, QStringLiteral("e1"));
        QCOMPARE(messages.at(1, Message::All).line, 4u);

        // Past the end: the empty message of type All.
        Message const none = messages.at(5, Message::Warning);
        QCOMPARE(none.type, Message::All);
        QCOMPARE(none.line, 0u);
        QCOMPARE(none.column, 0u);
        QVERIFY(none.text.isEmpty());
        QVERIFY(messages.at(4, Message::All).text.isEmpty());

        QCOMPARE(column(messages, 0),
                 QStringList({QStringLiteral("w1"), QStringLiteral("e1"), QStringLiteral("w2"),
                              QStringLiteral("kept as an error")}));
        messages.clear();
        QCOMPARE(messages.rowCount(), 0);
        QCOMPARE(messages.count(Message::Warning), 0u);
    }

    void projectMergesTheFilesDiagnostics()
    {
        KenroTest::TestInterface host;
        TestProject project(nullptr, 0, nullptr, false);
        MessageList *list = project.messages();
        QAbstractItemModelTester tester(list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy updates(list, &MessageList::updated);

        TextFile *cns = named(QStringLiteral("/game/chars/kfm/kfm.cns"));
        TextFile *air = named(QStringLiteral("/game/chars/kfm/kfm.air"));
        project.addFile(cns, Project::Scripts);
        project.addFile(air, Project::Animations);
        QCOMPARE(list->sources().size(), 2);

        cns->diagnostics.add(Message::Error, QStringLiteral("unknown state"), 9, 0);
        air->diagnostics.add(Message::Warning, QStringLiteral("deprecated"), 0, 4);
        cns->diagnostics.add(Message::Information, QStringLiteral("note"), 2, 0);
        QCOMPARE(list->rowCount(), 3);
        QCOMPARE(list->columnCount(), 3);
        QCOMPARE(list->errorCount(), 1u);
        QCOMPARE(list->warningCount(), 1u);
        QCOMPARE(list->informationCount(), 1u);
        // Sources in order, each in its own order.
        QCOMPARE(column(*list, 0),
                 QStringList({QStringLiteral("unknown state"), QStringLiteral("note"),
                              QStringLiteral("deprecated")}));
        QCOMPARE(column(*list, 1),
                 QStringList({QStringLiteral("kfm.cns"), QStringLiteral("kfm.cns"),
                              QStringLiteral("kfm.air")}));
        QCOMPARE(list->index(0, 2).data(), QVariant(10u));
        Messages const *source = nullptr;
        QCOMPARE(list->messageAt(2, source).text, QStringLiteral("deprecated"));
        QCOMPARE(source, &air->diagnostics);
        list->messageAt(3, source);
        QCOMPARE(source, nullptr);

        // Icons come from the host by type, in the first column only.
        host.iconRequests.clear();
        QVERIFY(!list->index(0, 0).data(Qt::DecorationRole).value<QIcon>().isNull());
        list->index(1, 0).data(Qt::DecorationRole);
        list->index(2, 0).data(Qt::DecorationRole);
        QCOMPARE(host.iconRequests,
                 QStringList({QStringLiteral("error"), QStringLiteral("information"),
                              QStringLiteral("warning")}));
        QVERIFY(list->index(0, 1).data(Qt::DecorationRole).value<QIcon>().isNull());
        QVERIFY(!list->index(0, 0).data(Qt::ToolTipRole).isValid());

        // The filter keeps one type.
        list->setFilter(Message::Information);
        QCOMPARE(column(*list, 0), QStringList({QStringLiteral("note")}));
        list->setFilter(Message::All);
        QCOMPARE(list->rowCount(), 3);

        // A change updates the list once, when it closes.
        updates.clear();
        cns->diagnostics.beginChange();
        cns->diagnostics.beginChange();
        for (int i = 0; i < 5; ++i)
            cns->diagnostics.add(Message::Error, QStringLiteral("e%1").arg(i), i, 0);
        cns->diagnostics.endChange();
        QCOMPARE(updates.count(), 0);
        QCOMPARE(list->errorCount(), 1u);
        cns->diagnostics.endChange();
        QCOMPARE(updates.count(), 1);
        QCOMPARE(list->errorCount(), 6u);
        QCOMPARE(list->rowCount(), 8);

        // A file that leaves takes its rows along.
        project.removeFile(cns);
        QCOMPARE(list->rowCount(), 1);
        QCOMPARE(list->errorCount(), 0u);
        project.release();
        QCOMPARE(list->rowCount(), 0);
    }

    void destroyedMessagesLeaveTheList()
    {
        MessageList list(nullptr);
        QAbstractItemModelTester tester(&list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto first = std::make_unique<SimpleMessages>(nullptr);
        SimpleMessages second(nullptr);
        list.registerMessages(first.get());
        list.registerMessages(&second);
        list.registerMessages(&second); // once only
        first->add(Message::Error, QStringLiteral("gone soon"), 0, 0);
        second.add(Message::Warning, QStringLiteral("stays"), 1, 0);
        QCOMPARE(list.rowCount(), 2);
        QCOMPARE(list.index(1, 1).data().toString(), QString()); // no file
        first.reset();
        QCOMPARE(list.rowCount(), 1);
        QCOMPARE(list.index(0, 0).data().toString(), QStringLiteral("stays"));
        QCOMPARE(list.sources().size(), 1);
    }

    void builtInIconsWithoutAHost()
    {
        QCOMPARE(Interface::instance(), nullptr);
        for (Message::Type type : {Message::Error, Message::Warning, Message::Information}) {
            QIcon const icon = MessageList::typeIcon(type);
            QVERIFY(!icon.isNull());
            QVERIFY(!icon.pixmap(16, 16).isNull());
        }
        QVERIFY(MessageList::typeIcon(Message::Warning).pixmap(16).toImage() !=
                MessageList::typeIcon(Message::Error).pixmap(16).toImage());
        SimpleMessages messages(nullptr);
        messages.add(Message::Information, QStringLiteral("i"), 0, 0);
        QVERIFY(!messages.index(0).data(Qt::DecorationRole).value<QIcon>().isNull());
    }
};

QTEST_MAIN(TestMessages)
#include "tst_messages.moc"
