#include "testinterface.h"

#include <kenro/editors/editor.h>
#include <kenro/engine/ktranslator.h>

#include <QCoreApplication>
#include <QIcon>
#include <QPixmap>

namespace KenroTest {

TestInterface::~TestInterface()
{
    if (Kenro::Interface::instance() == this)
        setGlobalInterface(nullptr);
}

QString TestInterface::text(int id)
{
    return Kenro::KTranslator::instance()->text(id);
}

QString TestInterface::toolTip(int id)
{
    return Kenro::KTranslator::instance()->toolTip(id);
}

QString TestInterface::messageText(int id)
{
    return id == 0 ? QStringLiteral("XML error")
                   : (id == 1 ? QStringLiteral("%1 at line %2, column %3") : QString());
}

QString TestInterface::applicationDirectory()
{
    return QCoreApplication::applicationDirPath();
}

QIcon TestInterface::icon(QString const &name)
{
    iconRequests.append(name);
    // A small square whose colour follows the name, so that icons differ.
    QPixmap pixmap(16, 16);
    pixmap.fill(QColor::fromRgb(qHash(name) & 0xffffff));
    return QIcon(pixmap);
}

void TestInterface::switchToEditor(Kenro::Editor *editor)
{
    switches.append(editor);
    if (editor == currentEditorValue)
        return;
    if (currentEditorValue)
        currentEditorValue->deactivate();
    currentEditorValue = editor;
    if (editor)
        editor->activate();
}

} // namespace KenroTest
