#include "desk/camera_list_model.h"

#include "desk/desk_model.h"
#include "sync/placed_clip.h"

namespace korvalume {

namespace {

const char* roleKey(int role) {
    switch (role) {
    case CameraListModel::CameraIdRole:
        return "cameraId";
    case CameraListModel::NameRole:
        return "name";
    case CameraListModel::KindRole:
        return "kind";
    case CameraListModel::FolderRole:
        return "folder";
    case CameraListModel::ReadingRole:
        return "reading";
    case CameraListModel::PlannedRole:
        return "planned";
    case CameraListModel::ClipsRole:
        return "clips";
    case CameraListModel::WarningsRole:
        return "warnings";
    default:
        return nullptr;
    }
}

QVariantList clipRows(const CameraPlan& plan) {
    QVariantList clips;
    for (const auto& clip : plan.clips) {
        clips.append(QVariantMap{
            {"name", QString::fromStdString(clip.file.name())},
            {"method", QString::fromUtf8(label(clip.method))},
            {"start", clip.start ? QVariant(*clip.start) : QVariant()},
            {"note", QString::fromStdString(clip.note.value_or(std::string()))},
        });
    }
    return clips;
}

} // namespace

CameraListModel::CameraListModel(const DeskModel& desk, QObject* parent)
    : QAbstractListModel(parent), desk_(desk) {}

int CameraListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

QVariant CameraListModel::data(const QModelIndex& index, int role) const {
    const char* key = roleKey(role);
    if (!index.isValid() || index.row() >= rows_.size() || key == nullptr)
        return {};
    return rows_[index.row()].value(QString::fromLatin1(key));
}

QHash<int, QByteArray> CameraListModel::roleNames() const {
    QHash<int, QByteArray> names;
    for (int role = CameraIdRole; role <= WarningsRole; ++role)
        names.insert(role, roleKey(role));
    return names;
}

void CameraListModel::refresh() {
    QList<QVariantMap> rows;
    if (const auto& doc = desk_.doc()) {
        for (const auto& camera : doc->activeCameras()) {
            const auto folder = desk_.folders().find(camera.id);
            const auto plan = desk_.plans().find(camera.id);
            QStringList warnings;
            QVariantList clips;
            if (plan != desk_.plans().end()) {
                clips = clipRows(plan->second);
                for (const auto& warning : plan->second.warnings)
                    warnings.append(QString::fromStdString(warning));
            }
            rows.append(QVariantMap{
                {"cameraId", QString::fromStdString(camera.id.string())},
                {"name", QString::fromStdString(camera.name)},
                {"kind", QString::fromUtf8(caseName(camera.kind))},
                {"folder", folder == desk_.folders().end()
                               ? QString()
                               : QString::fromStdString(folder->second)},
                {"reading", desk_.isReading(camera.id)},
                {"planned", plan != desk_.plans().end()},
                {"clips", clips},
                {"warnings", warnings},
            });
        }
    }
    if (rows == rows_)
        return;
    // Rows keep their place when only their content changed, so views keep their state.
    if (rows.size() == rows_.size()) {
        rows_ = std::move(rows);
        emit dataChanged(index(0), index(int(rows_.size()) - 1));
        return;
    }
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

} // namespace korvalume
