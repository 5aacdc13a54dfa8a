#include <kenro/editors/interface/interface.h>

#include <QAction>
#include <QMenu>

#ifdef Q_OS_WIN
#include <QLibrary>
#endif

namespace Kenro {

namespace {

Interface *globalInterface = nullptr;

#ifdef Q_OS_WIN
// Per-monitor DPI awareness where the system offers it; a missing function is no fault.
struct DpiAwareness
{
    using SetContext = void *(__stdcall *)(void *);

    DpiAwareness()
    {
        setContext = reinterpret_cast<SetContext>(
            QLibrary::resolve(QStringLiteral("user32"), "SetThreadDpiAwarenessContext"));
        if (setContext)
            previous = setContext(reinterpret_cast<void *>(-4));
    }

    SetContext setContext = nullptr;
    void *previous = nullptr;
};

DpiAwareness const dpiAwareness;
#endif

} // namespace

Translator::~Translator() = default;

Interface *Interface::instance()
{
    return globalInterface;
}

Interface::~Interface() = default;

int Interface::showMessage(int id, QWidget *parent)
{
    messageText(id);
    return 0;
}

QString Interface::applicationName()
{
    return QString();
}

QWidget *Interface::actionControl(QString const &key, QAction *action, QMenu *menu)
{
    if (menu)
        menu->addAction(action);
    ActionInfo info;
    info.kind = ActionInfo::PlainAction;
    info.object = action;
    return registerAction(key, info);
}

QPoint Interface::scaleToDPI(QPoint const &point)
{
    return QPoint(scaleToDPI(point.x()), scaleToDPI(point.y()));
}

QRect Interface::scaleToDPI(QRect const &rect)
{
    int const left = scaleToDPI(rect.left());
    int const top = scaleToDPI(rect.top());
    int const width = scaleToDPI(rect.width());
    int const height = scaleToDPI(rect.height());
    return QRect(QPoint(left, top), QPoint(left + width - 1, top + height - 1));
}

} // namespace Kenro

void setGlobalInterface(Kenro::Interface *interface)
{
    Kenro::globalInterface = interface;
}
