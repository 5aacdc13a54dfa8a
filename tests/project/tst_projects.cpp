#include <kenro/code/propertyitem.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>
#include <kenro/project/searchableprojectfile.h>

#include "memoryarchive.h"
#include "testdata.h"
#include "testinterface.h"
#include "testproject.h"

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::readFile;
using KenroTest::TestProject;
using KenroTest::TextFile;

namespace {

TextFile *named(QString const &name, bool *freed = nullptr)
{
    auto *file = new TextFile;
    file->name = name;
    file->freed = freed;
    return file;
}

// The texts of a column of a table, separated by '|'.
QString column(QAbstractItemModel const &model, int column)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values << model.index(row, column).data().toString();
    return values.join(u'|');
}

// A file of items, searched through their "Identifier".
struct ItemFile : SearchableProjectFile
{
    struct Item : PropertyItem
    {
        explicit Item(QString const &id) : id(id) {}
        QString id;
        QStringList propertyNames() const override { return {u"Identifier"_s}; }
        QVariant property(QString const &key) const override
        {
            return key == "Identifier"_L1 ? QVariant(id) : QVariant();
        }
        void setProperty(QString const &, QVariant const &) override {}
    };
    QList<Item> items;
    int current = 0;
    bool isEmpty() const override { return items.isEmpty(); }
    unsigned int itemCount() const override { return items.size(); }
    int currentItem() const override { return current; }
    PropertyItem *item(unsigned int i) const override
    {
        return i < unsigned(items.size()) ? const_cast<Item *>(&items[i]) : nullptr;
    }
    Messages *fileMessages() const override { return nullptr; }
    void free() override { delete this; }
};

} // namespace

class TestProjects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toFileAndFromFileSwapArchivesAndTellTheParent()
    {
        KenroTest::MemoryArchive root, other;
        KenroTest::TestParentProject parent(u"/game/"_s, root);
        QSignalSpy saved(&parent, &ParentProject::fileSaved);
        QSignalSpy opened(&parent, &ParentProject::fileOpened);
        auto *file = new TextFile;
        TestProject project(&parent, 0, nullptr, false);
        QCOMPARE(root.refCount(), 3u); // the parent's and the project's
        project.addFile(file, Project::Scripts);
        QVERIFY(file->toFile(other, u"a/s.cns"_s, 0, nullptr));
        QVERIFY(&file->archive() == &other && other.refCount() == 2);
        QVERIFY(file->fileExists() && !file->isReadOnly() && file->displayName() == "s.cns"_L1);
        // A copy keeps the present archive and tells nobody; reading one still
        // reports the opening.
        QVERIFY(file->toFile(root, u"copy.cns"_s, ProjectFile::Copy, nullptr));
        QVERIFY(file->fromFile(root, u"copy.cns"_s, ProjectFile::Copy, nullptr));
        QVERIFY(&file->archive() == &other && saved.count() == 1);
        QVERIFY(file->fromFile(root, u"copy.cns"_s, 0, nullptr));
        QVERIFY(&file->archive() == &root && other.refCount() == 1 && opened.count() == 2);
        // The project gives back its reference, and through the file the file's.
        project.release();
        QVERIFY(root.refCount() == 2 && root.flushes == 1);
    }

    void fileLists()
    {
        KenroTest::MemoryArchive archive;
        KenroTest::TestParentProject parent(u"/game/"_s, archive);
        TestProject project(&parent, 0, nullptr, false);
        project.addToParent();
        QStringList log;
        connect(&project, &Project::fileAdded, [&](ProjectFile const *file, int type) {
            log << u"+%1 %2"_s.arg(file->fileName()).arg(type);
        });
        connect(&project, &Project::fileRemoved, [&](ProjectFile const *file, int type) {
            log << u"-%1 %2"_s.arg(file->fileName()).arg(type);
        });
        connect(&parent, &ParentProject::fileAdded,
                [&](ProjectFile *file) { log << u'+' + file->fileName(); });
        connect(&parent, &ParentProject::fileClosed,
                [&](ProjectFile *file) { log << u'x' + file->fileName(); });
        QCOMPARE(project.file(Project::Sprites), nullptr);
        TextFile *a = named(u"a"_s), *b = named(u"b"_s), *c = named(u"c"_s);
        QVERIFY(project.addFile(a, Project::Sprites) && project.addFile(b, Project::Sprites));
        QVERIFY(!project.addFile(b, Project::Sprites) && !project.addFile(b, 32));
        QVERIFY(project.addFile(b, 31)); // one file under two types
        project.setSelectedFile(Project::Sprites, 0);
        QVERIFY(project.addFile(c, Project::Sprites)); // a new file becomes the selected one
        QCOMPARE(project.file(Project::Sprites), c);
        project.setSelectedFile(Project::Sprites, 9);
        QCOMPARE(project.file(Project::Sprites), a); // out of range: the first
        project.moveFile(Project::Sprites, 2, 0);
        project.moveFile(Project::Sprites, 0, 3); // out of range: nothing
        QCOMPARE(project.filesByType(Project::Sprites), (QList<ProjectFile *>{c, a, b}));
        QCOMPARE(project.fileID(b), Project::FileTypes(0x80000002u));
        QVERIFY(project.isEmpty() && !project.isModified());
        b->content = "x";
        b->modified = true;
        QVERIFY(!project.isEmpty() && project.isModified());
        for (TextFile *file : {a, b, c})
            project.removeFile(file);
        log.clear();
        bool freed = false;
        TextFile *shared = named(u"s"_s, &freed);
        project.addFile(shared, Project::Sprites);
        project.addFile(shared, Project::Animations);
        project.removeFile(Project::Sprites, 0); // leaving one of two types keeps the file
        QVERIFY(!freed);
        project.addFile(shared, Project::Sprites);
        // Removing the file itself: the parent hears first, then each type, then -1.
        project.removeFile(shared);
        QVERIFY(freed);
        QCOMPARE(log.join(u','), "+s 1,+s,+s 3,+s,-s 1,+s 1,+s,xs,-s 1,-s 3,-s -1"_L1);
        log.clear();
        freed = false;
        project.addFile(named(u"o"_s, &freed), Project::Sounds);
        project.removeFile(Project::Sounds, 0); // the last type closes and releases
        QVERIFY(freed);
        // takeFile keeps the reference and always ends with -1, even for a stranger.
        TextFile *kept = named(u"k"_s), *stranger = named(u"z"_s);
        project.addFile(kept, Project::Scripts);
        QCOMPARE(project.takeFile(kept), kept);
        project.takeFile(stranger);
        QCOMPARE(kept->refCount() + stranger->refCount(), 2u);
        kept->release();
        stranger->release();
        project.addFile(named(u"l"_s), Project::Scripts);
        project.release(); // closes its files through the parent
        QCOMPARE(log.join(u','), "+o 2,+o,-o 2,xo,+k 4,+k,-k 4,-k -1,-z -1,+l 4,+l,xl"_L1);
        QCOMPARE(parent.refCount(), 0u);
    }

    void reloadAndSaveAll()
    {
        QTemporaryDir dir;
        QString const kfm = dir.path() + u"/game/chars/kfm/"_s;
        QMap<QString, QByteArray> const files{
            {u"kfm.def"_s, "[Files]"}, {u"kfm.air"_s, "[Begin]"},
            {u"kfm.cns"_s, "[State]"}, {u"kfm.sff"_s, QByteArray(300000, 's')},
            {u"kfm.snd"_s, "snd"},     {u"sub/extra.st"_s, "st"}};
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY(KenroTest::writeFile(kfm + it.key(), it.value()));
        KenroTest::TestParentProject parent(dir.path() + u"/game/"_s,
                                            FileSystemArchive::instance());
        QList<TextFile *> open;
        for (QString const &name : u"kfm.def kfm.air kfm.cns kfm.sff gone.cns"_s.split(u' ')) {
            open << named(kfm + name);
            open.last()->fromFile(FileSystemArchive::instance(), kfm + name, 0, nullptr);
        }
        TestProject project(&parent, 0, open[0], true);
        QCOMPARE(project.basePath(), u"chars/kfm"_s);
        project.entries = {{Project::Animations, u"/kfm.air"_s},
                           {Project::Scripts, u"/kfm.cns"_s},
                           {Project::Sprites, u"/kfm.sff"_s},
                           {Project::Sounds, u"/kfm.snd"_s},
                           {Project::Scripts, u"/sub/extra.st"_s}};
        for (TextFile *file : open.mid(1))
            project.addFile(file, Project::Scripts);
        TextFile *air = open[1];
        open[4]->content = "in memory"; // its file is not on disk
        QVERIFY(KenroTest::writeFile(kfm + u"kfm.air"_s, "[Begin 1]"));
        project.reload(); // reads what exists again
        QCOMPARE(air->content + open[4]->content, QByteArray("[Begin 1]in memory"));
        project.removeFile(open[4]);
        air->content = "edited";
        air->modified = true;
        // A copy writes the modified file from memory and copies the rest byte for byte.
        QStringList names;
        QVERIFY(
            project.saveAll(FileSystemArchive::instance(), dir.path() + u"/copy"_s, true, &names));
        QCOMPARE(names.join(u' '), "/kfm.def /kfm.air /kfm.cns /kfm.sff /kfm.snd /sub/extra.st"_L1);
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QCOMPARE(readFile(dir.path() + u"/copy/chars/kfm/"_s + it.key()),
                     it.key() == "kfm.air"_L1 ? "edited" : it.value());
        QCOMPARE(open[1]->writes + open[2]->writes + open[3]->writes, 1);
        QVERIFY(air->fileName() == kfm + u"kfm.air"_s && air->isModified()); // a copy moves nothing
        // Saving moves the open files into another archive, which a read-only
        // one refuses; the main file is the caller's to write.
        KenroTest::MemoryArchive zip;
        zip.readOnly = true;
        QVERIFY(!project.saveAll(zip, u"out"_s, false, nullptr));
        QCOMPARE(&air->archive(), &FileSystemArchive::instance());
        zip.readOnly = false;
        QVERIFY(project.saveAll(zip, u"out"_s, false, nullptr));
        QVERIFY(&air->archive() == &zip && &project.mainFile()->archive() == &zip &&
                &project.archive() == &zip);
        QVERIFY(air->fileName() == "out/chars/kfm/kfm.air"_L1 && !air->isModified());
        QCOMPARE(zip.files.keys().join(u' '),
                 "out/chars/kfm/kfm.air out/chars/kfm/kfm.cns out/chars/kfm/kfm.sff "
                 "out/chars/kfm/kfm.snd out/chars/kfm/sub/extra.st"_L1);
        QCOMPARE(zip.files.value(u"out/chars/kfm/kfm.air"_s), QByteArray("edited"));
        project.release();
        QVERIFY(zip.refCount() == 1 && zip.flushes == 1);
    }

    void messages()
    {
        KenroTest::TestInterface host;
        TestProject project(nullptr, 0, nullptr, false);
        MessageList *list = project.messages();
        QAbstractItemModelTester tester(list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy updates(list, &MessageList::updated);
        TextFile *cns = named(u"/game/kfm/kfm.cns"_s), *air = named(u"/game/kfm/kfm.air"_s);
        project.addFile(cns, Project::Scripts);
        project.addFile(air, Project::Animations);
        cns->diagnostics.add(Message::Error, u"unknown state"_s, 9, 0);
        air->diagnostics.add(Message::Warning, u"deprecated"_s, 0, 4);
        cns->diagnostics.add(Message::All, u"kept as an error"_s, 5, 0);
        cns->diagnostics.add(Message::Information, u"note"_s, 2, 0);
        QCOMPARE(cns->diagnostics.at(1, Message::Error).text +
                     cns->diagnostics.at(9, Message::All).text,
                 u"kept as an error"_s); // past the end: the empty message
        QCOMPARE(list->errorCount() * 100 + list->warningCount() * 10 + list->informationCount(),
                 211u);
        // Sources in order, each in its own order; lines count from one.
        QCOMPARE(column(*list, 0) + u' ' + column(*list, 1) + u' ' + column(*list, 2),
                 "unknown state|kept as an error|note|deprecated kfm.cns|kfm.cns|kfm.cns|kfm.air "
                 "10|6|3|1"_L1);
        Messages const *source = nullptr;
        QVERIFY(list->messageAt(3, source).text == "deprecated"_L1 && source == &air->diagnostics);
        // Icons come from the host by type, in the first column only.
        host.iconRequests.clear();
        for (int row = 0; row < 4; ++row)
            QVERIFY(!list->index(row, 0).data(Qt::DecorationRole).value<QIcon>().isNull());
        QCOMPARE(host.iconRequests.join(u' '), "error error information warning"_L1);
        QVERIFY(list->index(0, 1).data(Qt::DecorationRole).value<QIcon>().isNull());
        list->setFilter(Message::Information); // the filter keeps one type
        QCOMPARE(column(*list, 0), "note"_L1);
        list->setFilter(Message::All);
        // A change updates the list once, when it closes.
        updates.clear();
        cns->diagnostics.beginChange();
        cns->diagnostics.beginChange();
        cns->diagnostics.add(Message::Error, u"e"_s, 1, 0);
        cns->diagnostics.endChange();
        int const inner = updates.count();
        cns->diagnostics.endChange();
        QVERIFY(inner == 0 && updates.count() == 1 && list->rowCount() == 5);
        project.removeFile(cns); // a file that leaves takes its rows along
        QCOMPARE(list->rowCount(), 1);
        project.release();
        QCOMPARE(list->rowCount(), 0);
    }

    // Rows are named "pattern current flags"; flags: 1 backward, 2 wrap, 4 from the far end,
    // 8 all. A wrap ends at the current item.
    void search_data()
    {
        QTest::addColumn<QString>("found");
        for (QString const &row :
             u"alpha 0 0=2|alpha 4 0=|alpha 4 2=0|gamma 3 2=3|gamma 3 0=|alpha 4 4=0|zzz 2 6=|"
             u"alpha 2 1=0|alpha 0 1=|alpha 0 3=4|gamma 3 3=3|alpha 0 5=4|alpha 3 8=0 2 4|"
             u"a$ 3 9=0 1 3|beta 9 2=1|.* -1 3="_s.split(u'|'))
            QTest::newRow(qPrintable(row.section(u'=', 0, 0))) << row.section(u'=', 1);
    }

    void search()
    {
        QFETCH(QString, found);
        QStringList const in = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
        ItemFile file;
        for (QString const &id :
             (in[1] == "-1"_L1 ? QString() : u"alpha beta alpha2 gamma alpha3"_s)
                 .split(u' ', Qt::SkipEmptyParts))
            file.items.append(ItemFile::Item(id));
        file.current = in[1].toInt();
        QStringList items;
        for (ProjectFile::SearchResult const &result : file.search(RegExp(in[0]), in[2].toUInt()))
            items.append(QString::number(result.item));
        QCOMPARE(items.join(u' '), found);
    }
};

QTEST_MAIN(TestProjects)
#include "tst_projects.moc"
