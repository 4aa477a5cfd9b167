#include "workspace.h"

namespace Zorn {

Workspace::Workspace(QObject *parent) : QObject(parent), active(false) {}

Workspace::~Workspace() = default;

void Workspace::engineSwitched(bool) {}

void Workspace::activate()
{
    active = true;
}

void Workspace::deactivate()
{
    active = false;
}

bool Workspace::isActive() const
{
    return active;
}

void Workspace::statusClicked() {}

} // namespace Zorn
