#pragma once

#include "app/desk_types.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace korvalume {

// The live view's texts, recomputed ten times a second from the master clock (or from
// `fixedNow` in previews). Only a redraw whose texts differ notifies QML.
class LiveState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(korvalume::DeskModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(qreal fixedNow READ fixedNow WRITE setFixedNow NOTIFY nowChanged)
    Q_PROPERTY(bool hasFixedNow READ hasFixedNow WRITE setHasFixedNow NOTIFY nowChanged)
    Q_PROPERTY(qreal now READ now NOTIFY nowChanged)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString facts READ facts NOTIFY textsChanged)
    Q_PROPERTY(QString clockState READ clockState NOTIFY textsChanged)
    Q_PROPERTY(bool clockSynced READ clockSynced NOTIFY textsChanged)
    Q_PROPERTY(QString timeOfDay READ timeOfDay NOTIFY textsChanged)
    Q_PROPERTY(QString running READ running NOTIFY textsChanged)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY textsChanged)
    Q_PROPERTY(QString waitingTitle READ waitingTitle NOTIFY textsChanged)
    Q_PROPERTY(QString waitingText READ waitingText NOTIFY textsChanged)
    Q_PROPERTY(QStringList phones READ phones NOTIFY textsChanged)
    Q_PROPERTY(QString phonesEmpty READ phonesEmpty NOTIFY textsChanged)
    Q_PROPERTY(QString joinUrl READ joinUrl NOTIFY textsChanged)
    Q_PROPERTY(QString freeRunTitle READ freeRunTitle CONSTANT)
    Q_PROPERTY(QString freeRunText READ freeRunText CONSTANT)

public:
    static constexpr int redrawMs = 100;

    explicit LiveState(QObject* parent = nullptr);

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
    QVariantList rows() const { return rows_; }
    QString waitingTitle() const { return waitingTitle_; }
    QString waitingText() const { return waitingText_; }
    QStringList phones() const { return phones_; }
    QString phonesEmpty() const { return phonesEmpty_; }
    QString joinUrl() const { return joinUrl_; }
    QString freeRunTitle() const;
    QString freeRunText() const;

    // One redraw at the current `now`; the timer calls it every 0.1 s.
    Q_INVOKABLE void redraw();

signals:
    void modelChanged();
    void nowChanged();
    void textsChanged();

private:
    QPointer<DeskModel> model_;
    QTimer timer_;
    qreal fixedNow_ = 0;
    bool hasFixedNow_ = false;
    qreal now_ = 0;
    QString facts_, clockState_, timeOfDay_, running_, waitingTitle_, waitingText_, phonesEmpty_,
        joinUrl_;
    bool clockSynced_ = false;
    QVariantList rows_;
    QStringList phones_;
};

} // namespace korvalume
