#pragma once

#include "app/desk_types.h"
#include "app/live_rows.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#ifndef Q_MOC_RUN
#include "session/camera.h"
#include "session/camera_activity.h"
#include "session/combining.h"
#include <unordered_map>
#include <vector>
#endif

namespace korvalume {

// The live view's texts. What the log saw of each camera is kept and redone only for the
// cameras a change touches; a redraw, ten times a second, only words it at the new time
// (or at `fixedNow` in previews), and only texts that differ notify QML.
class LiveState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(korvalume::DeskModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(qreal fixedNow READ fixedNow WRITE setFixedNow NOTIFY nowChanged)
    Q_PROPERTY(bool hasFixedNow READ hasFixedNow WRITE setHasFixedNow NOTIFY nowChanged)
    Q_PROPERTY(qreal now READ now NOTIFY nowChanged)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString facts READ facts NOTIFY headerChanged)
    Q_PROPERTY(QString clockState READ clockState NOTIFY headerChanged)
    Q_PROPERTY(bool clockSynced READ clockSynced NOTIFY headerChanged)
    Q_PROPERTY(QString timeOfDay READ timeOfDay NOTIFY headerChanged)
    Q_PROPERTY(QString running READ running NOTIFY headerChanged)
    Q_PROPERTY(korvalume::LiveRowsModel* rows READ rows CONSTANT)
    Q_PROPERTY(QString waitingTitle READ waitingTitle NOTIFY camerasChanged)
    Q_PROPERTY(QString waitingText READ waitingText NOTIFY camerasChanged)
    Q_PROPERTY(QStringList phones READ phones NOTIFY phonesChanged)
    Q_PROPERTY(QString phonesEmpty READ phonesEmpty NOTIFY phonesChanged)
    Q_PROPERTY(QString joinUrl READ joinUrl NOTIFY joinUrlChanged)
    Q_PROPERTY(QString freeRunTitle READ freeRunTitle CONSTANT)
    Q_PROPERTY(QString freeRunText READ freeRunText CONSTANT)

public:
    static constexpr int redrawMs = 100;

    explicit LiveState(QObject* parent = nullptr);
    ~LiveState() override;

    DeskModel* model() const { return model_; }
    void setModel(DeskModel* model);
    qreal fixedNow() const { return fixedNow_; }
    void setFixedNow(qreal now);
    bool hasFixedNow() const { return hasFixedNow_; }
    void setHasFixedNow(bool has);
    qreal now() const { return now_; }

    QString title() const;
    QString facts() const { return facts_; }
    QString clockState() const { return clockState_; }
    bool clockSynced() const { return clockSynced_; }
    QString timeOfDay() const { return timeOfDay_; }
    QString running() const { return running_; }
    LiveRowsModel* rows() { return &rows_; }
    QString waitingTitle() const;
    QString waitingText() const;
    QStringList phones() const { return phones_; }
    QString phonesEmpty() const;
    QString joinUrl() const { return joinUrl_; }
    QString freeRunTitle() const;
    QString freeRunText() const;

    // One redraw at the current `now`; the timer calls it every 0.1 s.
    Q_INVOKABLE void redraw();
    // The master clock's time of day as the session's timecode, read at this moment. The
    // view asks on every frame it draws, so the clock on screen is never a frame late.
    Q_INVOKABLE QString clockText() const;

signals:
    void modelChanged();
    void nowChanged();
    void headerChanged();
    void camerasChanged();
    void phonesChanged();
    void joinUrlChanged();

private:
    void rebuild();
    void follow(const LogChanges& changes);
    void updatePhones();

    QPointer<DeskModel> model_;
    QTimer timer_;
    qreal fixedNow_ = 0;
    bool hasFixedNow_ = false;
    qreal now_ = 0;
    QString facts_, clockState_, timeOfDay_, running_, joinUrl_;
    bool clockSynced_ = false;
    QStringList phones_;
    LiveRowsModel rows_;
    // What the log saw, kept between changes.
    std::vector<Camera> cameras_; // active, in the log's order
    std::unordered_map<Uuid, CameraActivity> activity_;
    std::size_t markers_ = 0;
};

} // namespace korvalume
