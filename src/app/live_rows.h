#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

#include <vector>

#ifndef Q_MOC_RUN
#include "app/view_rules.h"
#endif

namespace korvalume {

// The live view's camera rows. Rows change one by one, so a redraw touches only the
// rows whose texts changed and the list is never rebuilt under the view.
class LiveRowsModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The live view owns its rows")

public:
    enum Role { Name = Qt::UserRole + 1, KindLink, Status, Rolling, Warning, Clips, Detail };

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Shows `rows`: rows that stay get only their changed texts, the rest are inserted
    // or removed at the end.
    void show(std::vector<viewrules::LiveRow> rows);
    const std::vector<viewrules::LiveRow>& rows() const { return rows_; }

private:
    std::vector<viewrules::LiveRow> rows_;
};

} // namespace korvalume
