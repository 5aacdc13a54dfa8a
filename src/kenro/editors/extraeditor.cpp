#include <kenro/editors/extraeditor.h>

#include <kenro/editors/interface/interface.h>

namespace Kenro {

ExtraEditor::ExtraEditor(QObject *parent) : QObject(parent), m_interface(Interface::instance()) {}

ExtraEditor::~ExtraEditor() = default;

bool ExtraEditor::isActive() const
{
    return m_active;
}

void ExtraEditor::engineSwitched(bool) {}

void ExtraEditor::projectSwitched(Project *) {}

void ExtraEditor::activate()
{
    m_active = true;
}

void ExtraEditor::deactivate()
{
    m_active = false;
}

void ExtraEditor::reconfig() {}

void ExtraEditor::contentsChanged()
{
    Q_EMIT modified();
}

} // namespace Kenro
