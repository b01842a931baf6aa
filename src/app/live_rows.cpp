#include "app/live_rows.h"

#include "base/qt_text.h"

namespace korvalume {

int LiveRowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant LiveRowsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const viewrules::LiveRow& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Name:
        return qs(row.name);
    case KindLink:
        return qs(row.kindLink);
    case Status:
        return qs(row.status);
    case Rolling:
        return row.rolling;
    case Warning:
        return row.warning;
    case Clips:
        return qs(row.clips);
    case Detail:
        return qs(row.detail);
    default:
        return {};
    }
}

QHash<int, QByteArray> LiveRowsModel::roleNames() const {
    return {{Name, "name"},       {KindLink, "kindLink"}, {Status, "status"}, {Rolling, "rolling"},
            {Warning, "warning"}, {Clips, "clips"},       {Detail, "detail"}};
}

void LiveRowsModel::show(std::vector<viewrules::LiveRow> rows) {
    const std::size_t kept = std::min(rows.size(), rows_.size());
    if (rows.size() < rows_.size()) {
        beginRemoveRows({}, static_cast<int>(kept), static_cast<int>(rows_.size()) - 1);
        rows_.resize(kept);
        endRemoveRows();
    }
    for (std::size_t i = 0; i < kept; ++i) {
        if (rows[i] == rows_[i])
            continue;
        rows_[i] = std::move(rows[i]);
        const QModelIndex changed = index(static_cast<int>(i));
        emit dataChanged(changed, changed);
    }
    if (rows.size() > kept) {
        beginInsertRows({}, static_cast<int>(kept), static_cast<int>(rows.size()) - 1);
        for (std::size_t i = kept; i < rows.size(); ++i)
            rows_.push_back(std::move(rows[i]));
        endInsertRows();
    }
}

} // namespace korvalume
