#include "airhelpers.h"

#include <kenro/code/animationcode.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/framecode.h>
#include <kenro/project/messages.h>

#include <QRegularExpression>
#include <QStringList>

using namespace Kenro;

namespace KenroTest {

namespace {

QRect box(int x1, int y1, int x2, int y2)
{
    return QRect(qMin(x1, x2), qMin(y1, y2), qAbs(x2 - x1), qAbs(y2 - y1));
}

QString rects(QList<QRect> const &list)
{
    QStringList parts;
    for (QRect const &r : list)
        parts.append(
            QStringLiteral("(%1 %2 %3 %4)").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()));
    return parts.join(QLatin1Char(' '));
}

} // namespace

QString airSample()
{
    return QStringLiteral("; Sample\n"
                          "[Begin Action 0]\n"
                          "Clsn2Default: 1\n"
                          " Clsn2[0] = -10, 0, 10,-80   ; body\n"
                          "0,0, 0,0, 5   ; stand\n"
                          "0,1, 0,0, 5\n"
                          "Loopstart\n"
                          "0,2, 0,0, 5, H\n"
                          "\n"
                          "; Punch\n"
                          "[Begin Action 200]\n"
                          "Clsn1: 1\n"
                          " Clsn1[0] =  15,-70, 50,-60\n"
                          "200,0, 10,-2, 3, ,A1\n"
                          "200,1, 0,0, -1\n");
}

QList<ReferenceAction> readReference(QString const &text)
{
    static QRegularExpression const heading(
        QStringLiteral("^\\[\\s*begin\\s+action\\s+(-?\\d+)\\s*\\]$"),
        QRegularExpression::CaseInsensitiveOption);
    static QRegularExpression const header(QStringLiteral("^clsn([12])(default)?\\s*:\\s*(\\d+)$"),
                                           QRegularExpression::CaseInsensitiveOption);
    static QRegularExpression const boxLine(
        QStringLiteral("^clsn([12])\\s*\\[\\s*\\d+\\s*\\]\\s*=\\s*(-?\\d+)\\s*,\\s*(-?\\d+)\\s*,"
                       "\\s*(-?\\d+)\\s*,\\s*(-?\\d+)$"),
        QRegularExpression::CaseInsensitiveOption);
    static QRegularExpression const asd(QStringLiteral("^AS(\\d+)D(\\d+)$"),
                                        QRegularExpression::CaseInsensitiveOption);
    QList<ReferenceAction> actions;
    QList<QRect> defaults[2];
    QList<QRect> pending[2];
    bool pendingSet[2] = {false, false};
    QList<QRect> *target = nullptr;
    bool loopPending = false;
    for (QString line : text.split(QLatin1Char('\n'))) {
        line = line.left(line.indexOf(QLatin1Char(';')) < 0 ? line.size()
                                                            : line.indexOf(QLatin1Char(';')));
        line = line.trimmed();
        if (line.startsWith(QChar(0xFEFF)))
            line = line.mid(1).trimmed();
        if (line.isEmpty())
            continue;
        QRegularExpressionMatch match = heading.match(line);
        if (match.hasMatch()) {
            actions.append({match.captured(1), 0, {}});
            defaults[0].clear();
            defaults[1].clear();
            pending[0].clear();
            pending[1].clear();
            pendingSet[0] = pendingSet[1] = false;
            loopPending = false;
            target = nullptr;
            continue;
        }
        if (actions.isEmpty())
            continue;
        match = header.match(line);
        if (match.hasMatch()) {
            int const type = match.captured(1).toInt() - 1;
            if (match.capturedLength(2) > 0) {
                defaults[type].clear();
                target = &defaults[type];
            } else {
                pending[type].clear();
                pendingSet[type] = true;
                target = &pending[type];
            }
            continue;
        }
        match = boxLine.match(line);
        if (match.hasMatch()) {
            if (target)
                target->append(box(match.captured(2).toInt(), match.captured(3).toInt(),
                                   match.captured(4).toInt(), match.captured(5).toInt()));
            continue;
        }
        if (line.compare(QLatin1String("loopstart"), Qt::CaseInsensitive) == 0) {
            loopPending = true;
            continue;
        }
        if (line.startsWith(QLatin1String("interpolate"), Qt::CaseInsensitive))
            continue;
        QStringList const fields = line.split(QLatin1Char(','));
        ReferenceFrame frame;
        frame.sprite = fields.value(0).trimmed() + QLatin1Char(',') + fields.value(1).trimmed();
        frame.x = fields.value(2).trimmed().toInt();
        frame.y = fields.value(3).trimmed().toInt();
        frame.delay = fields.value(4).trimmed().toInt();
        QString const flip = fields.value(5).trimmed().toUpper();
        frame.flip =
            (flip.contains(QLatin1Char('H')) ? 1 : 0) | (flip.contains(QLatin1Char('V')) ? 2 : 0);
        QString const blend = fields.value(6).trimmed().toUpper();
        if (blend == QLatin1String("A")) {
            frame.blendMode = 1;
        } else if (blend == QLatin1String("A1")) {
            frame.blendMode = 1;
            frame.blendDestination = 0.5;
        } else if (blend == QLatin1String("S")) {
            frame.blendMode = 2;
        } else if (asd.match(blend).hasMatch()) {
            frame.blendMode = 1;
            frame.blendSource = asd.match(blend).captured(1).toInt() / 256.0;
            frame.blendDestination = asd.match(blend).captured(2).toInt() / 256.0;
        }
        for (int type = 0; type < 2; ++type) {
            (type == 0 ? frame.attack : frame.collision) =
                pendingSet[type] ? pending[type] : defaults[type];
            pending[type].clear();
            pendingSet[type] = false;
        }
        target = nullptr;
        if (loopPending && actions.last().loopStart == 0)
            actions.last().loopStart = static_cast<int>(actions.last().frames.size());
        loopPending = false;
        actions.last().frames.append(frame);
    }
    return actions;
}

QString describeFrame(FrameCode const *frame)
{
    return QStringLiteral("%1 @%2,%3 t%4 f%5 b%6:%7:%8 s%9,%10 a%11 A[%12] C[%13]")
        .arg(frame->property(QStringLiteral("Identifier")).toString())
        .arg(frame->offsetX())
        .arg(frame->offsetY())
        .arg(frame->delay())
        .arg(frame->flipFlags())
        .arg(frame->blendMode())
        .arg(frame->blendSource())
        .arg(frame->blendDestination())
        .arg(frame->scaleX())
        .arg(frame->scaleY())
        .arg(frame->angle())
        .arg(rects(frame->attackBoxes()->rects()))
        .arg(rects(frame->collisionBoxes()->rects()));
}

QString describe(CodeDocument *document)
{
    QString out;
    for (CodeNode *child : document->root()->childs()) {
        if (child->type() != CodeNode::Animation) {
            out += QStringLiteral("node %1\n").arg(child->type());
            continue;
        }
        auto *animation = static_cast<AnimationCode *>(child);
        out += QStringLiteral("%1 loop %2 lines %3-%4\n")
                   .arg(animation->displayName())
                   .arg(animation->loopStart())
                   .arg(animation->firstLine())
                   .arg(animation->lastLine());
        for (FrameCode const *frame : animation->frames())
            out += QStringLiteral("  %1 line %2\n").arg(describeFrame(frame)).arg(frame->lineNo());
    }
    for (CodeNode *node = document->root()->next(); node; node = node->next()) {
        if (node->type() == CodeNode::Frame && !node->parent())
            out += QStringLiteral("loose %1\n").arg(describeFrame(static_cast<FrameCode *>(node)));
    }
    return out;
}

QString messagesOf(CodeDocument *document)
{
    QString out;
    Messages const *messages = document->messages();
    if (!messages)
        return out;
    unsigned int const count = messages->count(Message::All);
    for (unsigned int i = 0; i < count; ++i) {
        Message const message = messages->at(i, Message::All);
        out += QStringLiteral("%1:%2 %3\n").arg(message.line).arg(message.column).arg(message.text);
    }
    return out;
}

} // namespace KenroTest
