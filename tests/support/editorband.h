#pragma once

#include <kenro/editors/codeeditor.h>

#include <QTextBlock>

#include <algorithm>

namespace KenroTest {

// What the band of \a editor shows on the lines in view, read from its pixels as "line:flags":
// f a fold box, r and g change bars, m a mark drawn in magenta, M the line mark.
inline QString bandSummary(Kenro::CodeEditor const &editor)
{
    QImage const image = editor.findChild<QWidget *>(QStringLiteral("extraArea"))->grab().toImage();
    int const spacing = editor.fontMetrics().lineSpacing();
    int const foldLeft = image.width() - (spacing + 1 + spacing % 2);
    QRgb const highlight = editor.palette().color(QPalette::Highlight).rgb();
    QStringList out;
    for (QTextBlock b = editor.cursorForPosition({0, 0}).block(); b.isValid(); b = b.next()) {
        QRect const line = editor.cursorRect(QTextCursor(b));
        if (!b.isVisible() || line.top() >= image.height())
            continue;
        QString flags;
        for (int y = qMax(line.top(), 0); y <= line.bottom() && y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                QRgb const p = image.pixel(x, y);
                char const flag = x >= foldLeft && qGray(p) < 100 ? 'f'
                    : p == qRgb(255, 0, 0)                        ? 'r'
                    : p == qRgb(0, 128, 0)                        ? 'g'
                    : p == qRgb(255, 0, 255)                      ? 'm'
                    : p == highlight                              ? 'M'
                                                                  : 0;
                if (flag && !flags.contains(QLatin1Char(flag)))
                    flags += QLatin1Char(flag);
            }
        }
        std::sort(flags.begin(), flags.end());
        if (!flags.isEmpty())
            out << QStringLiteral("%1:%2").arg(b.blockNumber()).arg(flags);
    }
    return out.join(QLatin1Char(' '));
}

} // namespace KenroTest
