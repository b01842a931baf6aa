#pragma once

#include "desk/desk_model.h"

#include <QObject>
#include <QPointer>

namespace korvalume {

// Stops `view` hearing every part of the desk it was bound to.
inline void disconnectFrom(DeskModel& model, QObject* view) {
    QObject::disconnect(&model, nullptr, view, nullptr);
    QObject::disconnect(&model.document(), nullptr, view, nullptr);
    QObject::disconnect(&model.planner(), nullptr, view, nullptr);
    QObject::disconnect(&model.live(), nullptr, view, nullptr);
}

// Points `slot` at `model`, letting go of the one it held; false when it held `model`
// already. The caller then connects what it listens to.
inline bool rebind(QPointer<DeskModel>& slot, DeskModel* model, QObject* view) {
    if (slot == model)
        return false;
    if (slot)
        disconnectFrom(*slot, view);
    slot = model;
    return true;
}

} // namespace korvalume
