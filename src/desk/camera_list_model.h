#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace korvalume {

class DeskModel;

// One row per active camera of the open log, in the log's order: what the camera cards
// of the window show.
class CameraListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The desk model owns its camera list")

public:
    enum Role {
        CameraIdRole = Qt::UserRole + 1,
        NameRole,
        KindRole,     // "camera" or "recorder"
        FolderRole,   // the chosen card folder; empty before one is chosen
        ReadingRole,  // the folder is being read
        PlannedRole,  // the folder has been read and the camera planned
        ClipsRole,    // list of {name, method, start, note}
        WarningsRole, // list of texts
    };
    Q_ENUM(Role)

    explicit CameraListModel(const DeskModel& desk, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Takes the desk's state again.
    void refresh();

private:
    const DeskModel& desk_;
    QList<QVariantMap> rows_;
};

} // namespace korvalume
