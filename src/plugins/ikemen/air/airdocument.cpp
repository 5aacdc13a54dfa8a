#include "airdocument.h"

#include "airline.h"

#include <kenro/project/project.h>

#include <QTextBlock>

using namespace Kenro;

namespace Kenro::Ikemen {

QString AirAnimations::animationTemplate() const
{
    return QStringLiteral("[Begin Action %1]");
}

void AirAnimations::free()
{
    delete this;
}

AirDocument::AirDocument() : UnchangedCopy<CodeDocument>(Project::Animations)
{
    setParser(&m_parser);
    registerNodeFile(new AirAnimations(this), CodeNode::Animation, 0);
}

AirAnimations *AirDocument::animations() const
{
    return static_cast<AirAnimations *>(nodeFile(CodeNode::Animation, 0));
}

AirAnimations *AirDocument::createAnimations()
{
    auto *document = new AirDocument;
    AirAnimations *file = document->animations();
    file->addRef();
    document->release();
    return file;
}

AirDocument::~AirDocument()
{
    setParser(nullptr);
}

void AirDocument::free()
{
    delete this;
}

void AirDocument::formatLines(int first, int last, bool indentOnly)
{
    beginChange();
    for (int line = qMax(first, 0); line <= last; ++line) {
        QTextBlock const block = findBlockByNumber(line);
        if (!block.isValid())
            break;
        QString const text = block.text();
        int const start = AirLine::skipSpaces(text, 0, static_cast<int>(text.size()));
        if (start >= text.size())
            continue;
        bool const isBox =
            text.mid(start, 4).compare(QLatin1String("clsn"), Qt::CaseInsensitive) == 0 &&
            text.indexOf(QLatin1Char('['), start) > 0 &&
            text.indexOf(QLatin1Char('['), start) < AirLine::commentStart(text);
        QString result = (isBox ? QStringLiteral(" ") : QString()) + text.mid(start);
        if (!indentOnly) {
            while (!result.isEmpty() && AirLine::isSpace(result.back()))
                result.chop(1);
        }
        if (result == text)
            continue;
        QTextCursor cursor(this);
        cursor.setPosition(block.position());
        cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
        insertOnCursor(result, cursor);
    }
    endChange();
}

} // namespace Kenro::Ikemen
