#include <kenro/editors/workspace.h>

namespace Kenro {

Workspace::Workspace(Interface &interface, QObject *parent)
    : QObject(parent), m_interface(interface)
{}

Workspace::~Workspace() = default;

void Workspace::statusClicked() {}

void Workspace::zoomActual() {}

void Workspace::zoomFit() {}

void Workspace::zoomIn() {}

void Workspace::zoomOut() {}

} // namespace Kenro
