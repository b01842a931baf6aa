#pragma once

// The desk library's types as the window's QML module knows them.
#include "desk/desk_model.h"

#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

namespace korvalume {

struct DeskModelForeign {
    Q_GADGET
    QML_FOREIGN(korvalume::DeskModel)
    QML_NAMED_ELEMENT(DeskModel)
    QML_UNCREATABLE("The application makes the one desk model")
};

} // namespace korvalume
