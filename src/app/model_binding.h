#pragma once

#include "base/qt_text.h"
#include "desk/desk_model.h"

#include <QPointer>
#include <QString>

#include <string>
#include <string_view>

namespace korvalume {

// Points a view object at another desk model: it stops hearing the old one and calls
// `onChange` on every change of the new one. False when it was that model already.
template <class View, class OnChange>
bool bindModel(QPointer<DeskModel>& slot, DeskModel* model, View* view, OnChange onChange) {
    if (slot == model)
        return false;
    if (slot)
        QObject::disconnect(slot, nullptr, view, nullptr);
    slot = model;
    if (slot)
        QObject::connect(slot, &DeskModel::changed, view, onChange);
    return true;
}

} // namespace korvalume
