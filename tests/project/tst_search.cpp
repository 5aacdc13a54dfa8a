#include <kenro/code/propertyitem.h>
#include <kenro/project/searchableprojectfile.h>

#include <QTest>

using namespace Kenro;

namespace {

class Item : public PropertyItem
{
public:
    explicit Item(QString const &identifier) : identifier(identifier) {}
    QString identifier;
    QStringList propertyNames() const override { return {QStringLiteral("Identifier")}; }
    QVariant property(QString const &name) const override
    {
        return name == QLatin1String("Identifier") ? QVariant(identifier) : QVariant();
    }
    void setProperty(QString const &name, QVariant const &value) override
    {
        if (name == QLatin1String("Identifier"))
            identifier = value.toString();
    }
};

class ItemFile : public SearchableProjectFile
{
public:
    explicit ItemFile(QStringList const &names)
    {
        for (QString const &name : names)
            items.append(Item(name));
    }
    QList<Item> items;
    int current = 0;
    int changesOpened = 0;
    int changesClosed = 0;

    bool isEmpty() const override { return items.isEmpty(); }
    unsigned int itemCount() const override { return items.size(); }
    int currentItem() const override { return current; }
    PropertyItem *item(unsigned int index) const override
    {
        return index < unsigned(items.size()) ? const_cast<Item *>(&items[index]) : nullptr;
    }
    void beginChange() override { ++changesOpened; }
    void endChange() override { ++changesClosed; }

protected:
    Messages *fileMessages() const override { return nullptr; }

private:
    void free() override { delete this; }
};

QList<int> itemsOf(QList<ProjectFile::SearchResult> const &results)
{
    QList<int> found;
    for (ProjectFile::SearchResult const &result : results)
        found.append(result.item);
    return found;
}

QStringList const names = {QStringLiteral("alpha"), QStringLiteral("beta"),
                           QStringLiteral("alpha2"), QStringLiteral("gamma"),
                           QStringLiteral("alpha3")};

} // namespace

class TestSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void searchFlags_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("current");
        QTest::addColumn<unsigned int>("flags");
        QTest::addColumn<QList<int>>("found");
        QTest::newRow("forward") << "alpha" << 0 << 0u << QList<int>{2};
        QTest::newRow("forward again") << "alpha" << 2 << 0u << QList<int>{4};
        QTest::newRow("forward at the end") << "alpha" << 4 << 0u << QList<int>{};
        QTest::newRow("forward wraps") << "alpha" << 4 << 2u << QList<int>{0};
        QTest::newRow("wrap ends at the current item") << "gamma" << 3 << 2u << QList<int>{3};
        QTest::newRow("no wrap misses the current item") << "gamma" << 3 << 0u << QList<int>{};
        QTest::newRow("from the start") << "alpha" << 4 << 4u << QList<int>{0};
        QTest::newRow("from the start does not wrap") << "zzz" << 2 << 6u << QList<int>{};
        QTest::newRow("backward") << "alpha" << 2 << 1u << QList<int>{0};
        QTest::newRow("backward at the start") << "alpha" << 0 << 1u << QList<int>{};
        QTest::newRow("backward wraps") << "alpha" << 0 << 3u << QList<int>{4};
        QTest::newRow("backward wrap reaches the current item")
            << "gamma" << 3 << 3u << QList<int>{3};
        QTest::newRow("backward from the end") << "alpha" << 0 << 5u << QList<int>{4};
        QTest::newRow("all") << "alpha" << 3 << 8u << QList<int>{0, 2, 4};
        QTest::newRow("all wins over backward") << "a$" << 3 << 9u << QList<int>{0, 1, 3};
        QTest::newRow("current past the end") << "beta" << 9 << 2u << QList<int>{1};
    }

    void searchFlags()
    {
        QFETCH(QString, pattern);
        QFETCH(int, current);
        QFETCH(unsigned int, flags);
        QFETCH(QList<int>, found);
        ItemFile file(names);
        file.current = current;
        QCOMPARE(itemsOf(file.search(RegExp(pattern), flags)), found);
    }

    void searchOverNothing()
    {
        ItemFile file({});
        QVERIFY(file.search(RegExp(QStringLiteral(".*")), 8).isEmpty());
        QVERIFY(file.search(RegExp(QStringLiteral(".*")), 3).isEmpty());
    }

    void resultsCarryMatchAndCaptures()
    {
        ItemFile file({QStringLiteral("x"), QStringLiteral("my_alpha7")});
        QList<ProjectFile::SearchResult> results =
            file.search(RegExp(QStringLiteral("(al)(pha)(\\d)")), 8);
        QCOMPARE(results.size(), 1);
        ProjectFile::SearchResult const &result = results.first();
        QCOMPARE(result.line, 0);
        QCOMPARE(result.item, 1);
        QCOMPARE(result.position, 3);
        QCOMPARE(result.length, 6);
        QCOMPARE(result.text, QStringLiteral("my_alpha7"));
        QCOMPARE(result.captures,
                 QStringList({QStringLiteral("al"), QStringLiteral("pha"), QStringLiteral("7")}));
    }

    void replaceWithCaptures()
    {
        ItemFile file(names);
        RegExp const regExp(QStringLiteral("(alpha)(\\d*)"));
        QList<ProjectFile::SearchResult> results = file.search(regExp, 8);
        QCOMPARE(results.size(), 3);
        file.replace(results, QStringLiteral("%2_%1"));
        QCOMPARE(file.items[0].identifier, QStringLiteral("_alpha"));
        QCOMPARE(file.items[2].identifier, QStringLiteral("2_alpha"));
        QCOMPARE(file.items[4].identifier, QStringLiteral("3_alpha"));
        QCOMPARE(file.changesOpened, 1);
        QCOMPARE(file.changesClosed, 1);
    }

    void singleReplaceMakesNoChangeBracket()
    {
        ItemFile file(names);
        QList<ProjectFile::SearchResult> results =
            file.search(RegExp(QStringLiteral("(g)(am)(ma)")), 0);
        QCOMPARE(results.size(), 1);
        // Fewer placeholders than captures: the rest stay unused.
        file.replace(results, QStringLiteral("<%1>"));
        QCOMPARE(file.items[3].identifier, QStringLiteral("<g>"));
        QCOMPARE(file.changesOpened, 0);

        // No placeholder at all: the template as it stands.
        file.replace(results, QStringLiteral("plain"));
        QCOMPARE(file.items[3].identifier, QStringLiteral("plain"));
    }

    void replaceSkipsVanishedItems()
    {
        ItemFile file(names);
        QList<ProjectFile::SearchResult> results = file.search(RegExp(QStringLiteral("alpha")), 8);
        file.items.removeLast();
        file.replace(results, QStringLiteral("z"));
        QCOMPARE(file.items[0].identifier, QStringLiteral("z"));
        QCOMPARE(file.items[2].identifier, QStringLiteral("z"));
        QCOMPARE(file.items.size(), 4);
    }

    void regExpWalksAllMatches()
    {
        RegExp const digits(QStringLiteral("\\d+"));
        QString const text = QStringLiteral("a1 b22 c333");
        RegExp::Match match;
        QList<int> positions;
        for (bool ok = digits.first(text, match); ok; ok = digits.next(text, match))
            positions.append(match.position);
        QCOMPARE(positions, QList<int>({1, 4, 8}));
        QCOMPARE(match.position, -1);

        // Empty matches step one character, so the walk ends.
        RegExp const empty(QStringLiteral("x*"));
        int steps = 0;
        for (bool ok = empty.first(QStringLiteral("abc"), match); ok && steps < 10;
             ok = empty.next(QStringLiteral("abc"), match))
            ++steps;
        QCOMPARE(steps, 4);
    }
};

QTEST_GUILESS_MAIN(TestSearch)
#include "tst_search.moc"
