#include <kenro/editors/editor.h>

#include <kenro/editors/interface/interface.h>

namespace Kenro {

Editor::Editor(QObject *parent) : QObject(parent), m_interface(Interface::instance()) {}

Editor::~Editor() = default;

bool Editor::isActive() const
{
    return m_active;
}

void Editor::switchToThis()
{
    if (!m_active && m_interface)
        m_interface->switchToEditor(this);
}

void Editor::setVisible(bool visible)
{
    Q_EMIT this->visible(visible);
}

void Editor::setWritable(bool writable)
{
    Q_EMIT this->writable(writable);
}

void Editor::activate()
{
    m_active = true;
}

void Editor::deactivate()
{
    m_active = false;
}

void Editor::reconfig() {}

void Editor::engineSwitched(bool) {}

void Editor::projectSwitched(Project *) {}

} // namespace Kenro
