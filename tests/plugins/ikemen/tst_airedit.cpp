#include "airhelpers.h"
#include <ikemen/air/airdocument.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>

#include <QRandomGenerator>
#include <QTest>

#include <functional>

using namespace Kenro;
using Kenro::Ikemen::AirDocument;

namespace {

QString const sample = KenroTest::airSample();

AnimationCode *action(CodeDocument &document, int index)
{
    return static_cast<AnimationCode *>(document.root()->childAt(static_cast<unsigned int>(index)));
}

FrameCode *frame(CodeDocument &document, int index, int row)
{
    return action(document, index)->frameAt(static_cast<unsigned int>(row));
}

using Edit = std::function<void(CodeDocument &)>;

// \a from replaced by \a to in the sample; each must be found once.
QString changed(QString const &from, QString const &to)
{
    Q_ASSERT(sample.count(from) == 1);
    return QString(sample).replace(from, to);
}

QString fresh(QString const &text)
{
    AirDocument document;
    document.fromString(text);
    return KenroTest::describe(&document);
}

} // namespace

Q_DECLARE_METATYPE(Edit)

class TestAirEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    void editsWriteWhatAnAuthorWould_data()
    {
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("expected");
        using Blend = FrameCode::Blend;
        QTest::newRow("offset x, comment kept")
            << Edit([](CodeDocument &d) { frame(d, 0, 0)->setOffsetX(3); })
            << changed(QStringLiteral("0,0, 0,0, 5   ; stand"),
                       QStringLiteral("0,0, 3,0, 5   ; stand"));
        QTest::newRow("offset pair")
            << Edit([](CodeDocument &d) { frame(d, 1, 0)->setOffset(QPoint(-4, 7)); })
            << changed(QStringLiteral("200,0, 10,-2, 3, ,A1"),
                       QStringLiteral("200,0, -4,7, 3, ,A1"));
        QTest::newRow("offset property") << Edit([](CodeDocument &d) {
            frame(d, 1, 1)->setProperty(QStringLiteral("Offset"), QPoint(1, 2));
        }) << changed(QStringLiteral("200,1, 0,0, -1"), QStringLiteral("200,1, 1,2, -1"));
        QTest::newRow("delay") << Edit([](CodeDocument &d) {
            frame(d, 0, 1)->setDelay(-1);
        }) << changed(QStringLiteral("0,1, 0,0, 5\n"), QStringLiteral("0,1, 0,0, -1\n"));
        QTest::newRow("flip both")
            << Edit([](CodeDocument &d) { frame(d, 0, 2)->setFlipFlags(FrameCode::Both); })
            << changed(QStringLiteral("0,2, 0,0, 5, H"), QStringLiteral("0,2, 0,0, 5, HV"));
        QTest::newRow("flip off drops the field")
            << Edit([](CodeDocument &d) { frame(d, 0, 2)->setFlipFlags(FrameCode::None); })
            << changed(QStringLiteral("0,2, 0,0, 5, H"), QStringLiteral("0,2, 0,0, 5"));
        QTest::newRow("flip added")
            << Edit([](CodeDocument &d) { frame(d, 0, 1)->setFlipFlags(FrameCode::Vertical); })
            << changed(QStringLiteral("0,1, 0,0, 5\n"), QStringLiteral("0,1, 0,0, 5, V\n"));
        QTest::newRow("blend added before the comment")
            << Edit([](CodeDocument &d) { frame(d, 0, 0)->setBlend(Blend(Blend::Addition, 1, 1)); })
            << changed(QStringLiteral("0,0, 0,0, 5   ; stand"),
                       QStringLiteral("0,0, 0,0, 5, , A   ; stand"));
        QTest::newRow("blend off")
            << Edit([](CodeDocument &d) { frame(d, 1, 0)->setBlendMode(Blend::None); })
            << changed(QStringLiteral("200,0, 10,-2, 3, ,A1"), QStringLiteral("200,0, 10,-2, 3"));
        QTest::newRow("blend factors")
            << Edit([](CodeDocument &d) { frame(d, 1, 0)->setBlendDestination(0.25); })
            << changed(QStringLiteral("200,0, 10,-2, 3, ,A1"),
                       QStringLiteral("200,0, 10,-2, 3, ,AS256D64"));
        QTest::newRow("subtraction")
            << Edit([](CodeDocument &d) { frame(d, 0, 2)->setBlendMode(Blend::Subtraction); })
            << changed(QStringLiteral("0,2, 0,0, 5, H"), QStringLiteral("0,2, 0,0, 5, H, S"));
        QTest::newRow("blend AIR cannot write")
            << Edit([](CodeDocument &d) { frame(d, 1, 0)->setBlendMode(Blend::Overlay); })
            << sample;
        QTest::newRow("scale") << Edit([](CodeDocument &d) {
            frame(d, 0, 1)->setScale(QPointF(2, 0.5));
        }) << changed(QStringLiteral("0,1, 0,0, 5\n"), QStringLiteral("0,1, 0,0, 5, , , 2, 0.5\n"));
        QTest::newRow("angle writes the scale in front")
            << Edit([](CodeDocument &d) { frame(d, 0, 1)->setAngle(45); })
            << changed(QStringLiteral("0,1, 0,0, 5\n"),
                       QStringLiteral("0,1, 0,0, 5, , , 1, 1, 45\n"));
        QTest::newRow("scale back to one") << Edit([](CodeDocument &d) {
            frame(d, 0, 2)->setScaleY(3);
            frame(d, 0, 2)->setScaleY(1);
        }) << sample;
        QTest::newRow("sprite") << Edit([](CodeDocument &d) {
            frame(d, 0, 1)->setProperty(QStringLiteral("Identifier"), QStringLiteral("9, 8"));
        }) << changed(QStringLiteral("0,1, 0,0, 5\n"), QStringLiteral("9,8, 0,0, 5\n"));
        QTest::newRow("action number") << Edit([](CodeDocument &d) {
            action(d, 1)->setProperty(QStringLiteral("Identifier"), 300);
        }) << changed(QStringLiteral("[Begin Action 200]"), QStringLiteral("[Begin Action 300]"));
        QTest::newRow("box keeps its corner order")
            << Edit([](CodeDocument &d) {
                   frame(d, 0, 0)->collisionBoxes()->at(0)->setRect(QRect(-12, -80, 22, 80));
               })
            << changed(QStringLiteral(" Clsn2[0] = -10, 0, 10,-80   ; body"),
                       QStringLiteral(" Clsn2[0] = -12, 0, 10,-80   ; body"));
        QTest::newRow("first attack box of a frame")
            << Edit([](CodeDocument &d) { frame(d, 0, 0)->attackBoxes()->add(QRect(1, 2, 3, 4)); })
            << changed(QStringLiteral("0,0, 0,0, 5   ; stand"),
                       QStringLiteral("Clsn1: 1\n Clsn1[0] = 1, 2, 4, 6\n0,0, 0,0, 5   ; stand"));
        QTest::newRow("second box of its own block")
            << Edit(
                   [](CodeDocument &d) { frame(d, 1, 0)->attackBoxes()->add(QRect(0, -10, 5, 5)); })
            << changed(QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n"),
                       QStringLiteral(
                           "Clsn1: 2\n Clsn1[0] =  15,-70, 50,-60\n Clsn1[1] = 0, -10, 5, -5\n"));
        QTest::newRow("a shared box added to makes the frame its own")
            << Edit([](CodeDocument &d) {
                   frame(d, 0, 1)->collisionBoxes()->add(QRect(0, 0, 1, 1));
               })
            << changed(QStringLiteral("0,1, 0,0, 5\n"),
                       QStringLiteral("Clsn2: 2\n Clsn2[0] = -10, -80, 10, 0\n Clsn2[1] = 0, 0, 1, "
                                      "1\n0,1, 0,0, 5\n"));
        QTest::newRow("last own box removed")
            << Edit([](CodeDocument &d) { frame(d, 1, 0)->attackBoxes()->remove(0); })
            << changed(QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n"), QString());
        QTest::newRow("a shared box removed for one frame")
            << Edit([](CodeDocument &d) { frame(d, 0, 1)->collisionBoxes()->remove(0); })
            << changed(QStringLiteral("0,1, 0,0, 5\n"), QStringLiteral("Clsn2: 0\n0,1, 0,0, 5\n"));
        QTest::newRow("boxes cleared") << Edit([](CodeDocument &d) {
            frame(d, 0, 2)->collisionBoxes()->clear();
        }) << changed(QStringLiteral("Loopstart\n0,2"), QStringLiteral("Loopstart\nClsn2: 0\n0,2"));
        QTest::newRow("boxes of the frame before")
            << Edit([](CodeDocument &d) {
                   frame(d, 1, 1)->setContactBoxes(ContactBoxCode::Attack,
                                                   frame(d, 1, 0)->attackBoxes()->rects());
               })
            << changed(QStringLiteral("200,1, 0,0, -1"),
                       QStringLiteral("Clsn1: 1\n Clsn1[0] = 15, -70, 50, -60\n200,1, 0,0, -1"));
        QTest::newRow("frame added")
            << Edit([](CodeDocument &d) { QVERIFY(action(d, 0)->addFrame(-1)); })
            << changed(QStringLiteral("0,2, 0,0, 5, H\n"),
                       QStringLiteral("0,2, 0,0, 5, H\n0,0, 0,0, 1\n"));
        QTest::newRow("frame inserted as a copy with its boxes")
            << Edit([](CodeDocument &d) { QVERIFY(action(d, 1)->insertFrame(1, 0)); })
            << changed(QStringLiteral("200,1, 0,0, -1"),
                       QStringLiteral("Clsn1: 1\n Clsn1[0] = 15, -70, 50, -60\n200,0, 10,-2, 3, "
                                      ",A1\n200,1, 0,0, -1"));
        QTest::newRow("frame duplicated")
            << Edit([](CodeDocument &d) { QVERIFY(frame(d, 0, 2)->duplicate()); })
            << changed(QStringLiteral("0,2, 0,0, 5, H\n"),
                       QStringLiteral("0,2, 0,0, 5, H\n0,2, 0,0, 5, H\n"));
        QTest::newRow("frame removed, the defaults stay")
            << Edit([](CodeDocument &d) { action(d, 0)->removeFrame(0); })
            << changed(QStringLiteral("0,0, 0,0, 5   ; stand\n"), QString());
        QTest::newRow("frame removed with its own boxes")
            << Edit([](CodeDocument &d) { action(d, 1)->removeFrame(0); })
            << changed(
                   QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n200,0, 10,-2, 3, ,A1\n"),
                   QString());
        QTest::newRow("frame moved down")
            << Edit([](CodeDocument &d) { action(d, 0)->moveFrame(0, 2); })
            << changed(QStringLiteral(
                           "0,0, 0,0, 5   ; stand\n0,1, 0,0, 5\nLoopstart\n0,2, 0,0, 5, H\n"),
                       QStringLiteral(
                           "0,1, 0,0, 5\nLoopstart\n0,2, 0,0, 5, H\n0,0, 0,0, 5   ; stand\n"));
        QTest::newRow("frame moved up with its boxes")
            << Edit([](CodeDocument &d) { action(d, 1)->moveFrame(1, 0); })
            << changed(QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n200,0, 10,-2, 3, "
                                      ",A1\n200,1, 0,0, -1\n"),
                       QStringLiteral("200,1, 0,0, -1\nClsn1: 1\n Clsn1[0] =  15,-70, "
                                      "50,-60\n200,0, 10,-2, 3, ,A1\n"));
        QTest::newRow("loop point moved")
            << Edit([](CodeDocument &d) { frame(d, 0, 1)->setLoopPoint(true); })
            << changed(QStringLiteral("0,1, 0,0, 5\nLoopstart\n"),
                       QStringLiteral("Loopstart\n0,1, 0,0, 5\n"));
        QTest::newRow("loop point dropped") << Edit([](CodeDocument &d) {
            frame(d, 0, 2)->setProperty(QStringLiteral("LoopPoint"), false);
        }) << changed(QStringLiteral("Loopstart\n"), QString());
        QTest::newRow("action code")
            << Edit([](CodeDocument &d) {
                   action(d, 1)->setCode(QStringLiteral("[Begin Action 7]\n7,7, 0,0, 7\n"));
               })
            << QString(sample).replace(
                   QStringLiteral("; Punch\n[Begin Action 200]\nClsn1: 1\n Clsn1[0] =  15,-70, "
                                  "50,-60\n200,0, 10,-2, 3, ,A1\n200,1, 0,0, -1\n"),
                   QStringLiteral("[Begin Action 7]\n7,7, 0,0, 7\n\n"));
    }

    void editsWriteWhatAnAuthorWould()
    {
        QFETCH(Edit, edit);
        QFETCH(QString, expected);
        AirDocument document;
        document.fromString(sample);
        edit(document);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(document.toPlainText(), expected);
        // The model that the edit left is the one the text gives.
        QCOMPARE(KenroTest::describe(&document), fresh(expected));
        QCOMPARE(KenroTest::messagesOf(&document), QString());
        // One user action is one step of undo.
        if (expected != sample) {
            document.undo();
            QCOMPARE(document.toPlainText(), sample);
            QCOMPARE(KenroTest::describe(&document), fresh(sample));
        }
    }

    void formattingIndentsBoxes()
    {
        QString const messy = QStringLiteral(
            "  [Begin Action 1]  \nClsn2: 1\nClsn2[0] = 1,2,3,4 \n   1,1, 0,0, 1   ; c\n");
        AirDocument document;
        document.fromString(messy);
        document.formatLines(0, document.blockCount() - 1, true);
        QCOMPARE(document.toPlainText(),
                 QStringLiteral(
                     "[Begin Action 1]  \nClsn2: 1\n Clsn2[0] = 1,2,3,4 \n1,1, 0,0, 1   ; c\n"));
        document.formatLines(0, 1, false);
        QCOMPARE(document.toPlainText(),
                 QStringLiteral(
                     "[Begin Action 1]\nClsn2: 1\n Clsn2[0] = 1,2,3,4 \n1,1, 0,0, 1   ; c\n"));
        // One undo step each.
        document.undo();
        document.undo();
        QCOMPARE(document.toPlainText(), messy);
        QCOMPARE(KenroTest::describe(&document), fresh(messy));
    }

    void editsWithoutADocumentDoNothing()
    {
        AirDocument document;
        document.fromString(sample);
        QCOMPARE(action(document, 0)->frameAt(7), nullptr);
        action(document, 0)->removeFrame(9);
        action(document, 0)->moveFrame(0, 9);
        QCOMPARE(frame(document, 1, 0)->attackBoxes()->at(3), nullptr);
        frame(document, 1, 0)->attackBoxes()->remove(3);
        QCOMPARE(document.toPlainText(), sample);
    }

    // Typing, deleting and moving lines of AIR text keep the model the one a
    // fresh parse of the same text gives, animation sections included.
    void editSequencesMatchAFreshParse()
    {
        QStringList const snippets = {QStringLiteral("[Begin Action 5]"),
                                      QStringLiteral("[Begin Action 6] ; x"),
                                      QStringLiteral("1,2, 3,4, 5"),
                                      QStringLiteral("7,7, 0,0, -1, H, A"),
                                      QStringLiteral("Clsn1: 1"),
                                      QStringLiteral("Clsn2Default: 2"),
                                      QStringLiteral(" Clsn1[0] = 1,2,3,4"),
                                      QStringLiteral(" Clsn2[1] = -5,0,5,-9"),
                                      QStringLiteral("Loopstart"),
                                      QStringLiteral("; comment"),
                                      QStringLiteral("bad line"),
                                      QString()};
        QRandomGenerator random(11);
        AirDocument document;
        document.fromString(sample);
        for (int step = 0; step < 300; ++step) {
            QTextCursor cursor(&document);
            int const lines = document.blockCount();
            QTextBlock const block = document.findBlockByNumber(random.bounded(lines));
            switch (random.bounded(4)) {
            case 0: // a new line
                cursor.setPosition(block.position());
                cursor.insertText(snippets.at(random.bounded(snippets.size())) + QLatin1Char('\n'));
                break;
            case 1: // a line deleted
                cursor.setPosition(block.position());
                cursor.setPosition(
                    qMin(block.position() + block.length(), document.characterCount() - 1),
                    QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
                break;
            case 2: // a line replaced
                cursor.setPosition(block.position());
                cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
                cursor.insertText(snippets.at(random.bounded(snippets.size())));
                break;
            default: // several lines cut and pasted elsewhere
            {
                int const count = 1 + random.bounded(3);
                QTextBlock const end =
                    document.findBlockByNumber(qMin(block.blockNumber() + count, lines - 1));
                cursor.setPosition(block.position());
                cursor.setPosition(end.position(), QTextCursor::KeepAnchor);
                QString const text =
                    cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
                cursor.removeSelectedText();
                QTextBlock const target =
                    document.findBlockByNumber(random.bounded(document.blockCount()));
                cursor.setPosition(target.position());
                cursor.insertText(text);
                break;
            }
            }
            QString const incremental = KenroTest::describe(&document);
            QString const expected = fresh(document.toPlainText());
            if (incremental != expected) {
                qWarning("step %d, text:\n%s", step, qPrintable(document.toPlainText()));
                QCOMPARE(incremental, expected);
            }
        }
    }
};

QTEST_MAIN(TestAirEdit)
#include "tst_airedit.moc"
