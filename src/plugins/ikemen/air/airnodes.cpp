#include "airnodes.h"

#include "airline.h"

#include <kenro/code/codedocument.h>
#include <kenro/code/codenodefile.h>
#include <kenro/imaging/sprites.h>
#include <kenro/project/project.h>

#include <QTextBlock>

#include <algorithm>

using namespace Kenro;

namespace Kenro::Ikemen {

namespace {

constexpr int sectionOrFrame = CodeNode::Group | CodeNode::Animation | CodeNode::Frame;

// Replaces the text of \a node's line, line break excluded, where it differs.
void rewriteLine(CodeNode const *node, QString const &text)
{
    CodeDocument *doc = codeDocumentOf(node);
    QTextBlock const block = node->block();
    if (!doc || !block.isValid() || block.text() == text)
        return;
    QTextCursor cursor(doc);
    cursor.setPosition(block.position());
    cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
    doc->insertOnCursor(text, cursor);
}

// Removes whole lines, the last first so that the numbers of the others hold.
void removeLines(CodeDocument *doc, QList<int> lines)
{
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    for (int i = static_cast<int>(lines.size()); i-- > 0;) {
        QTextBlock const block = doc->findBlockByNumber(lines.at(i));
        if (!block.isValid())
            continue;
        QTextCursor cursor(doc);
        // The line break in front goes with the line, so that the line above
        // keeps its place and its node; the first line takes the one behind.
        if (block.previous().isValid()) {
            cursor.setPosition(block.position() - 1);
            cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
        } else {
            cursor.setPosition(block.position());
            cursor.setPosition(qMin(block.position() + block.length(), doc->characterCount() - 1),
                               QTextCursor::KeepAnchor);
        }
        doc->insertOnCursor(QString(), cursor);
    }
}

// The nodes of \a frame's own lines, from its line back to the frame before.
template<typename Visit>
void forOwnLines(CodeNode const *frame, Visit visit)
{
    for (CodeNode *node = frame->previous(); node && !(node->type() & sectionOrFrame);
         node = node->previous())
        visit(node);
}

AirValue *asValue(CodeNode *node, AirValue::Kind kind)
{
    if (!node || node->type() != CodeNode::Value)
        return nullptr;
    auto *value = dynamic_cast<AirValue *>(node);
    return value && value->kind() == kind ? value : nullptr;
}

QString boxLine(ContactBoxCode::BoxType type, int index, QRect const &rect)
{
    return QStringLiteral(" Clsn%1[%2] = %3, %4, %5, %6")
        .arg(type == ContactBoxCode::Attack ? 1 : 2)
        .arg(index)
        .arg(rect.left())
        .arg(rect.top())
        .arg(rect.left() + rect.width())
        .arg(rect.top() + rect.height());
}

QString headerLine(ContactBoxCode::BoxType type, int count)
{
    return QStringLiteral("Clsn%1: %2").arg(type == ContactBoxCode::Attack ? 1 : 2).arg(count);
}

// The header and its boxes as new text.
QString boxBlock(ContactBoxCode::BoxType type, QList<QRect> const &rects)
{
    QString text = headerLine(type, static_cast<int>(rects.size()));
    for (int i = 0; i < rects.size(); ++i)
        text += QLatin1Char('\n') + boxLine(type, i, rects.at(i));
    return text;
}

// The span of the number that starts at \a from, after blanks.
Span numberFrom(QStringView text, int from)
{
    int const codeEnd = AirLine::commentStart(text);
    int const start = AirLine::skipSpaces(text, from, codeEnd);
    int end = start;
    if (end < codeEnd && (text[end] == QLatin1Char('-') || text[end] == QLatin1Char('+')))
        ++end;
    while (end < codeEnd && AirLine::isDigit(text[end]))
        ++end;
    return {start, end};
}

// The span of the number after the first \a mark of a line's code.
Span numberAfter(QStringView text, QChar mark)
{
    int const codeEnd = AirLine::commentStart(text);
    int const at = static_cast<int>(text.left(codeEnd).indexOf(mark));
    return at < 0 ? Span{codeEnd, codeEnd} : numberFrom(text, at + 1);
}

bool hasLoopStart(CodeNode const *frame)
{
    bool found = false;
    forOwnLines(frame,
                [&found](CodeNode *node) { found = found || asValue(node, AirValue::LoopStart); });
    return found;
}

} // namespace

CodeDocument *codeDocumentOf(CodeNode const *node)
{
    return node ? qobject_cast<CodeDocument *>(node->document()) : nullptr;
}

// ---- AirAnimation

AirAnimation::AirAnimation(int number, QTextBlock const &block, CodeNode *after)
    : AnimationCode(block, after), m_number(number)
{}

int AirAnimation::number() const
{
    return m_number;
}

void AirAnimation::setNumber(int number)
{
    if (number == m_number)
        return;
    m_number = number;
    // Views and the list of actions show the new name.
    if (ParentCode *owner = parent()) {
        owner->childChanged(this);
        changed(owner, owner->childIndex(this), 0);
    }
}

QString AirAnimation::name() const
{
    return QString::number(m_number);
}

QString AirAnimation::displayName() const
{
    QString title;
    QTextBlock const above = block().previous();
    if (above.isValid()) {
        QString const text = above.text().trimmed();
        if (text.startsWith(QLatin1Char(';'))) {
            title = text.mid(1).trimmed();
            // A ruler of dashes or the like is no title.
            if (std::none_of(title.cbegin(), title.cend(),
                             [](QChar c) { return c.isLetterOrNumber(); }))
                title.clear();
        }
    }
    return title.isEmpty() ? QStringLiteral("Action %1").arg(m_number)
                           : QStringLiteral("Action %1 - %2").arg(m_number).arg(title);
}

void AirAnimation::setName(QString const &name)
{
    bool ok = false;
    int const value = name.trimmed().toInt(&ok);
    QString const text = block().text();
    QLatin1String const word("action");
    int const at = static_cast<int>(text.indexOf(word, 0, Qt::CaseInsensitive));
    if (!ok || at < 0)
        return;
    Span const number = numberFrom(text, at + static_cast<int>(word.size()));
    rewriteLine(this, AirLine::replaced(text, number, QString::number(value)));
}

QVariant AirAnimation::property(QString const &name) const
{
    if (name == QLatin1String("Identifier"))
        return QString::number(m_number);
    return AnimationCode::property(name);
}

void AirAnimation::setProperty(QString const &name, QVariant const &value)
{
    if (name == QLatin1String("Identifier"))
        setName(value.toString());
    else
        AnimationCode::setProperty(name, value);
}

int AirAnimation::loopStart() const
{
    QList<FrameCode *> const &all = frames();
    for (int i = 0; i < all.size(); ++i) {
        if (hasLoopStart(all.at(i)))
            return i;
    }
    return 0;
}

FrameCode *AirAnimation::insertFrame(unsigned int index, int copyOf)
{
    CodeDocument *doc = codeDocumentOf(this);
    if (!doc)
        return nullptr;
    FrameCode const *source = copyOf >= 0 ? frameAt(static_cast<unsigned int>(copyOf)) : nullptr;
    QString const text = source ? source->block().text() : QStringLiteral("0,0, 0,0, 1");
    QList<QRect> const attack = source ? source->attackBoxes()->rects() : QList<QRect>();
    QList<QRect> const collision = source ? source->collisionBoxes()->rects() : QList<QRect>();
    unsigned int const count = frameCount();
    unsigned int const at = qMin(index, count);
    doc->beginChange();
    if (at < count)
        doc->insertBefore(frameAt(at), text, false);
    else
        doc->insertAfter(count > 0 ? static_cast<CodeNode *>(frameAt(count - 1)) : this, text,
                         true);
    FrameCode *frame = frameAt(at);
    // A copy shows the boxes of its original, wherever the defaults stand.
    if (frame && source) {
        if (frame->attackBoxes()->rects() != attack)
            frame->setContactBoxes(ContactBoxCode::Attack, attack);
        if (frame->collisionBoxes()->rects() != collision)
            frame->setContactBoxes(ContactBoxCode::Collision, collision);
        frame = frameAt(at);
    }
    doc->endChange();
    return frameAt(at);
}

FrameCode *AirAnimation::addFrame(int copyOf)
{
    return insertFrame(frameCount(), copyOf);
}

int AirAnimation::firstLine() const
{
    int line = lineNo();
    QTextBlock above = block().previous();
    while (above.isValid()) {
        QString const text = above.text();
        int const start = AirLine::skipSpaces(text, 0, static_cast<int>(text.size()));
        if (start >= text.size() || text[start] != QLatin1Char(';'))
            break;
        --line;
        above = above.previous();
    }
    return line;
}

// ---- AirValue

AirValue::AirValue(Kind kind, Type type, QVariant const &value, QTextBlock const &block,
                   CodeNode *after)
    : ValueCode(type, block, after, value), m_kind(kind)
{}

AirValue *AirValue::header(ContactBoxCode::BoxType boxType, bool isDefault, int count,
                           QTextBlock const &block, CodeNode *after)
{
    auto *value = new AirValue(BoxHeader, Int, count, block, after);
    value->m_boxType = boxType;
    value->m_default = isDefault;
    return value;
}

AirValue::AirValue(Kind kind, QString const &what, QTextBlock const &block, CodeNode *after)
    : ValueCode(Boolean, block, after, true), m_kind(kind), m_what(what)
{}

AirValue::Kind AirValue::kind() const
{
    return m_kind;
}

ContactBoxCode::BoxType AirValue::boxType() const
{
    return m_boxType;
}

bool AirValue::isDefault() const
{
    return m_default;
}

int AirValue::count() const
{
    return m_kind == BoxHeader ? rawValue().toInt() : 0;
}

bool AirValue::update(Kind kind, ContactBoxCode::BoxType boxType, bool isDefault,
                      QVariant const &value, QString const &what)
{
    if (kind != m_kind)
        return false;
    m_boxType = boxType;
    m_default = isDefault;
    m_what = what;
    setValue(value);
    return true;
}

void AirValue::writeCount(int count)
{
    QString const text = block().text();
    Span const span = numberAfter(text, QLatin1Char(':'));
    rewriteLine(this, AirLine::replaced(text, span, QString::number(count)));
}

QString AirValue::name() const
{
    switch (m_kind) {
    case BoxHeader:
        return QStringLiteral("Clsn%1%2")
            .arg(m_boxType == ContactBoxCode::Attack ? 1 : 2)
            .arg(m_default ? QStringLiteral("Default") : QString());
    case LoopStart:
        return QStringLiteral("Loopstart");
    case Interpolate:
        return QStringLiteral("Interpolate %1").arg(m_what);
    }
    return QString();
}

void AirValue::setName(QString const &) {}

QString AirValue::valueText() const
{
    return m_kind == BoxHeader ? QString::number(count()) : QString();
}

QString AirValue::keyword(unsigned int) const
{
    return QString();
}

// ---- AirBox

AirBox::AirBox(BoxType type, int index, QRect const &corners, QTextBlock const &block,
               CodeNode *after)
    : ContactBoxCode(type, fromCorners(corners), block, after), m_index(index), m_corners(corners)
{}

QRect AirBox::fromCorners(QRect const &corners)
{
    int const left = qMin(corners.left(), corners.right());
    int const top = qMin(corners.top(), corners.bottom());
    return QRect(left, top, qAbs(corners.right() - corners.left()),
                 qAbs(corners.bottom() - corners.top()));
}

int AirBox::boxIndex() const
{
    return m_index;
}

QRect AirBox::corners() const
{
    return m_corners;
}

void AirBox::update(BoxType type, int index, QRect const &corners)
{
    m_index = index;
    m_corners = corners;
    setFields(type, fromCorners(corners));
}

void AirBox::writeIndex(int index)
{
    QString const text = block().text();
    rewriteLine(
        this, AirLine::replaced(text, numberAfter(text, QLatin1Char('[')), QString::number(index)));
}

void AirBox::setRect(QRect const &rect)
{
    QString const text = block().text();
    int const equals = static_cast<int>(text.indexOf(QLatin1Char('=')));
    if (equals < 0)
        return;
    QRect const r = rect.normalized();
    int const right = r.left() + r.width();
    int const bottom = r.top() + r.height();
    // The corners keep the order in which they were written.
    bool const swapX = m_corners.left() > m_corners.right();
    bool const swapY = m_corners.top() > m_corners.bottom();
    QMap<int, QString> changes;
    changes.insert(0, QString::number(swapX ? right : r.left()));
    changes.insert(1, QString::number(swapY ? bottom : r.top()));
    changes.insert(2, QString::number(swapX ? r.left() : right));
    changes.insert(3, QString::number(swapY ? r.top() : bottom));
    rewriteLine(this, AirLine::rewriteFields(text, equals + 1, changes, 4));
}

// ---- AirBoxes

AirBoxes::AirBoxes(ContactBoxCode::BoxType type) : ContactBoxesCode(type) {}

void AirBoxes::setFrame(AirFrame *frame)
{
    m_frame = frame;
}

AirBoxes::Source AirBoxes::source() const
{
    Source found;
    if (!m_frame)
        return found;
    // A header for this frame alone stands between the frame and the one
    // before; a default holds from its place to the end of the action.
    bool crossed = false;
    for (CodeNode *node = m_frame->previous(); node; node = node->previous()) {
        if (node->type() & (CodeNode::Group | CodeNode::Animation))
            break;
        if (node->type() == CodeNode::Frame) {
            crossed = true;
            if (found.fallback)
                break;
            continue;
        }
        AirValue *header = asValue(node, AirValue::BoxHeader);
        if (!header || header->boxType() != boxType())
            continue;
        if (!header->isDefault()) {
            if (!crossed && !found.own)
                found.own = header;
        } else if (!found.fallback) {
            found.fallback = header;
        }
        if (crossed && found.fallback)
            break;
    }
    return found;
}

QList<AirBox *> AirBoxes::boxesOf(AirValue const *header)
{
    QList<AirBox *> boxes;
    if (!header)
        return boxes;
    for (CodeNode *node = header->next(); node && node->type() == CodeNode::HitBox;
         node = node->next()) {
        boxes.append(static_cast<AirBox *>(node));
    }
    return boxes;
}

FrameCode *AirBoxes::parent() const
{
    return m_frame;
}

unsigned int AirBoxes::count() const
{
    return static_cast<unsigned int>(boxesOf(source().header()).size());
}

ContactBoxCode *AirBoxes::at(unsigned int index) const
{
    QList<AirBox *> const boxes = boxesOf(source().header());
    return index < static_cast<unsigned int>(boxes.size()) ? boxes.at(index) : nullptr;
}

ContactBoxCode *AirBoxes::add(QRect const &rect)
{
    CodeDocument *doc = codeDocumentOf(m_frame);
    if (!doc)
        return nullptr;
    Source const from = source();
    if (!from.own) {
        QList<QRect> rects = this->rects();
        rects.append(rect.normalized());
        m_frame->setContactBoxes(boxType(), rects);
        return at(static_cast<unsigned int>(rects.size() - 1));
    }
    QList<AirBox *> const boxes = boxesOf(from.own);
    int const index = static_cast<int>(boxes.size());
    doc->beginChange();
    CodeNode *anchor = boxes.isEmpty() ? static_cast<CodeNode *>(from.own) : boxes.last();
    doc->insertAfter(anchor, boxLine(boxType(), index, rect.normalized()), true);
    from.own->writeCount(index + 1);
    doc->endChange();
    return at(static_cast<unsigned int>(index));
}

void AirBoxes::remove(unsigned int index)
{
    CodeDocument *doc = codeDocumentOf(m_frame);
    Source const from = source();
    QList<AirBox *> const boxes = boxesOf(from.header());
    if (!doc || index >= static_cast<unsigned int>(boxes.size()))
        return;
    if (!from.own) {
        QList<QRect> rects = this->rects();
        rects.removeAt(index);
        m_frame->setContactBoxes(boxType(), rects);
        return;
    }
    doc->beginChange();
    for (int i = static_cast<int>(index) + 1; i < boxes.size(); ++i)
        boxes.at(i)->writeIndex(i - 1);
    if (boxes.size() == 1 && !from.fallback) {
        removeLines(doc, {from.own->lineNo(), boxes.first()->lineNo()});
    } else {
        from.own->writeCount(static_cast<int>(boxes.size()) - 1);
        removeLines(doc, {boxes.at(index)->lineNo()});
    }
    doc->endChange();
}

void AirBoxes::clear()
{
    if (m_frame && (count() > 0 || source().own))
        m_frame->setContactBoxes(boxType(), {});
}

// ---- AirFrame

AirFrame::AirFrame(Fields const &fields, QTextBlock const &block, CodeNode *after)
    : FrameCode(block, after, new AirBoxes(ContactBoxCode::Attack),
                new AirBoxes(ContactBoxCode::Collision)),
      m_fields(fields)
{
    static_cast<AirBoxes *>(attackBoxes())->setFrame(this);
    static_cast<AirBoxes *>(collisionBoxes())->setFrame(this);
}

AirFrame::Fields const &AirFrame::fields() const
{
    return m_fields;
}

void AirFrame::update(Fields const &fields)
{
    m_fields = fields;
}

QString AirFrame::blendText(Blend const &blend)
{
    switch (blend.mode) {
    case Blend::None:
        return QStringLiteral("");
    case Blend::Addition:
        if (blend.source == 1.0 && blend.destination == 1.0)
            return QStringLiteral("A");
        if (blend.source == 1.0 && blend.destination == 0.5)
            return QStringLiteral("A1");
        return QStringLiteral("AS%1D%2")
            .arg(qBound(0, qRound(blend.source * 256), 256))
            .arg(qBound(0, qRound(blend.destination * 256), 256));
    case Blend::Subtraction:
        return QStringLiteral("S");
    default:
        return QString();
    }
}

QString AirFrame::flipText(unsigned int flags)
{
    static char const *const texts[] = {"", "H", "V", "HV"};
    return QString::fromLatin1(texts[flags & Both]);
}

void AirFrame::write(QMap<int, QString> const &changes)
{
    rewriteLine(this, AirLine::rewriteFields(block().text(), 0, changes, 5));
}

Sprite *AirFrame::sprite() const
{
    // The sprites of the project that holds the animations; a file opened
    // alone has none. Sprites go by "group, image".
    CodeDocument *doc = codeDocumentOf(this);
    if (!doc)
        return nullptr;
    CodeNodeFile const *file = doc->nodeFile(CodeNode::Animation, 0);
    Project const *project = file ? file->project() : doc->project();
    auto *sprites = project ? dynamic_cast<Sprites *>(project->file(Project::Sprites)) : nullptr;
    if (!sprites)
        return nullptr;
    int const found =
        sprites->find(0, QStringLiteral("%1, %2").arg(m_fields.group).arg(m_fields.image));
    return found >= 0 ? sprites->at(static_cast<unsigned int>(found)) : nullptr;
}

void AirFrame::setSprite(QVariant const &identifier)
{
    QStringList const parts = identifier.toString().split(QLatin1Char(','));
    bool okGroup = false;
    bool okImage = false;
    int const group = parts.value(0).trimmed().toInt(&okGroup);
    int const image = parts.value(1).trimmed().toInt(&okImage);
    if (parts.size() != 2 || !okGroup || !okImage)
        return;
    write({{0, QString::number(group)}, {1, QString::number(image)}});
}

int AirFrame::offsetX() const
{
    return m_fields.x;
}

void AirFrame::setOffsetX(int x)
{
    write({{2, QString::number(x)}});
}

int AirFrame::offsetY() const
{
    return m_fields.y;
}

void AirFrame::setOffsetY(int y)
{
    write({{3, QString::number(y)}});
}

void AirFrame::setOffset(QPoint const &offset)
{
    write({{2, QString::number(offset.x())}, {3, QString::number(offset.y())}});
}

bool AirFrame::isLoopPoint() const
{
    AnimationCode const *owner = animation();
    return owner && hasLoopStart(this) && owner->loopStart() == index();
}

void AirFrame::setLoopPoint(bool loopPoint)
{
    CodeDocument *doc = codeDocumentOf(this);
    AnimationCode *owner = animation();
    if (!doc || !owner || loopPoint == isLoopPoint())
        return;
    // Every loop start of the action goes; with loopPoint one comes back
    // above this frame.
    QList<int> lines;
    for (CodeNode *node = owner->next(); node && !(node->type() & CodeNode::SectionMask);
         node = node->next()) {
        if (asValue(node, AirValue::LoopStart))
            lines.append(node->lineNo());
    }
    doc->beginChange();
    if (loopPoint) {
        int const at = firstLine();
        doc->insertBefore(this, QStringLiteral("Loopstart"), false);
        for (int &line : lines) {
            if (line >= at)
                ++line;
        }
    }
    removeLines(doc, lines);
    doc->endChange();
}

int AirFrame::delay() const
{
    return m_fields.delay;
}

void AirFrame::setDelay(int delay)
{
    write({{4, QString::number(delay)}});
}

double AirFrame::scaleX() const
{
    return m_fields.scaleX;
}

void AirFrame::setScaleX(double x)
{
    writeScaleAndAngle(x, m_fields.scaleY, m_fields.angle);
}

double AirFrame::scaleY() const
{
    return m_fields.scaleY;
}

void AirFrame::setScaleY(double y)
{
    writeScaleAndAngle(m_fields.scaleX, y, m_fields.angle);
}

QPointF AirFrame::scale() const
{
    return QPointF(m_fields.scaleX, m_fields.scaleY);
}

void AirFrame::setScale(QPointF const &scale)
{
    writeScaleAndAngle(scale.x(), scale.y(), m_fields.angle);
}

double AirFrame::angle() const
{
    return m_fields.angle;
}

void AirFrame::setAngle(double angle)
{
    writeScaleAndAngle(m_fields.scaleX, m_fields.scaleY, angle);
}

void AirFrame::writeScaleAndAngle(double x, double y, double angle)
{
    // Fields that keep their defaults stay empty at the end of the line, but
    // a scale in front of an angle is written out.
    bool const hasAngle = angle != 0.0;
    bool const hasScale = hasAngle || x != 1.0 || y != 1.0;
    write({{7, hasScale ? AirLine::realText(x) : QString()},
           {8, hasScale ? AirLine::realText(y) : QString()},
           {9, hasAngle ? AirLine::realText(angle) : QString()}});
}

bool AirFrame::isTransformed() const
{
    return m_fields.scaleX != 1.0 || m_fields.scaleY != 1.0 || m_fields.angle != 0.0;
}

unsigned char AirFrame::flipFlags() const
{
    return m_fields.flip;
}

void AirFrame::setFlipFlags(unsigned int flags)
{
    write({{5, flipText(flags)}});
}

FrameCode::Blend::Mode AirFrame::blendMode() const
{
    return m_fields.blend.mode;
}

void AirFrame::setBlendMode(Blend::Mode mode)
{
    Blend blend = m_fields.blend;
    if (blend.mode == Blend::None)
        blend = Blend(mode, 1.0, 1.0);
    blend.mode = mode;
    setBlend(blend);
}

double AirFrame::blendSource() const
{
    return m_fields.blend.source;
}

void AirFrame::setBlendSource(double source)
{
    Blend blend = m_fields.blend;
    blend.source = source;
    setBlend(blend);
}

double AirFrame::blendDestination() const
{
    return m_fields.blend.destination;
}

void AirFrame::setBlendDestination(double destination)
{
    Blend blend = m_fields.blend;
    blend.destination = destination;
    setBlend(blend);
}

FrameCode::Blend AirFrame::blend() const
{
    return m_fields.blend;
}

void AirFrame::setBlend(Blend const &blend)
{
    if (blend == m_fields.blend)
        return;
    QString const text = blendText(blend);
    if (text.isNull())
        return; // a mode that AIR cannot write
    write({{6, text}});
}

void AirFrame::setContactBoxes(ContactBoxCode::BoxType type, QList<QRect> const &rects)
{
    CodeDocument *doc = codeDocumentOf(this);
    if (!doc)
        return;
    auto const *boxes = static_cast<AirBoxes const *>(contactBoxes(type));
    AirBoxes::Source const from = boxes->source();
    QList<QRect> normalized;
    for (QRect const &rect : rects)
        normalized.append(rect.normalized());
    if (from.own) {
        QList<AirBox *> const old = AirBoxes::boxesOf(from.own);
        int const first = from.own->lineNo();
        int const last = old.isEmpty() ? first : old.last()->lineNo();
        doc->beginChange();
        if (normalized.isEmpty() && !from.fallback) {
            QList<int> lines{first};
            for (AirBox const *box : old)
                lines.append(box->lineNo());
            removeLines(doc, lines);
        } else {
            QTextCursor cursor(doc);
            QTextBlock const end = doc->findBlockByNumber(last);
            cursor.setPosition(doc->findBlockByNumber(first).position());
            cursor.setPosition(end.position() + end.length() - 1, QTextCursor::KeepAnchor);
            doc->insertOnCursor(boxBlock(type, normalized), cursor);
        }
        doc->endChange();
        return;
    }
    if (normalized == boxes->rects())
        return;
    // Boxes written for this frame alone go right above its line.
    doc->insertBefore(this, boxBlock(type, normalized), true);
}

bool AirFrame::sharesContactBoxes(ContactBoxCode::BoxType type) const
{
    AirBoxes::Source const from = static_cast<AirBoxes const *>(contactBoxes(type))->source();
    return !from.own && from.fallback;
}

FrameCode *AirFrame::duplicate()
{
    AnimationCode *owner = animation();
    int const row = index();
    return owner ? owner->insertFrame(static_cast<unsigned int>(row + 1), row) : nullptr;
}

void AirFrame::remove(bool all)
{
    CodeDocument *doc = codeDocumentOf(this);
    if (!all || !doc) {
        FrameCode::remove(all);
        return;
    }
    QList<int> lines{lineNo()};
    forOwnLines(this, [&lines](CodeNode *node) {
        AirValue const *header = asValue(node, AirValue::BoxHeader);
        if (header && !header->isDefault()) {
            lines.append(header->lineNo());
            for (AirBox const *box : AirBoxes::boxesOf(header))
                lines.append(box->lineNo());
        }
    });
    doc->beginChange();
    removeLines(doc, lines);
    doc->endChange();
}

QVariant AirFrame::property(QString const &name) const
{
    if (name == QLatin1String("Identifier"))
        return QStringLiteral("%1,%2").arg(m_fields.group).arg(m_fields.image);
    return FrameCode::property(name);
}

void AirFrame::setProperty(QString const &name, QVariant const &value)
{
    if (name == QLatin1String("Identifier"))
        setSprite(value);
    else
        FrameCode::setProperty(name, value);
}

} // namespace Kenro::Ikemen
