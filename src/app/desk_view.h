#pragma once

#include "app/desk_types.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace korvalume {

struct SessionDoc;

// The main window's view state and everything it shows outside the live view, derived
// from the desk model by the rules in view_rules.h. QML binds to these properties and
// calls these actions; it decides nothing itself.
class DeskView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(korvalume::DeskModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(qreal fixedNow READ fixedNow WRITE setFixedNow NOTIFY fixedNowChanged)
    Q_PROPERTY(bool hasFixedNow READ hasFixedNow WRITE setHasFixedNow NOTIFY fixedNowChanged)

    // View state.
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QStringList rateLabels READ rateLabels NOTIFY rateChanged)
    Q_PROPERTY(int rateIndex READ rateIndex WRITE setRateIndex NOTIFY rateChanged)
    Q_PROPERTY(bool confirmEnd READ confirmEnd WRITE setConfirmEnd NOTIFY confirmEndChanged)
    // The operator's name, kept in the settings; the phones see it from the next link on.
    Q_PROPERTY(QString operatorName READ operatorName WRITE setOperatorName NOTIFY operatorChanged)
    Q_PROPERTY(QString peerName READ peerName NOTIFY operatorChanged)

    // Derived from the model.
    Q_PROPERTY(Panel panel READ panel NOTIFY changed)
    Q_PROPERTY(QVariantList steps READ steps NOTIFY changed)
    Q_PROPERTY(QString message READ message NOTIFY changed)
    Q_PROPERTY(bool canExport READ canExport NOTIFY changed)
    Q_PROPERTY(QString sessionHeading READ sessionHeading NOTIFY changed)
    Q_PROPERTY(QString sessionFacts READ sessionFacts NOTIFY changed)
    Q_PROPERTY(QString sessionStart READ sessionStart NOTIFY changed)
    Q_PROPERTY(QString savedName READ savedName NOTIFY changed)
    Q_PROPERTY(QVariantList cards READ cards NOTIFY changed)
    Q_PROPERTY(QString reportText READ reportText NOTIFY changed)
    Q_PROPERTY(QString liveTitle READ liveTitle CONSTANT)
    Q_PROPERTY(QString liveIntro READ liveIntro CONSTANT)
    Q_PROPERTY(QString markButton READ markButton CONSTANT)
    Q_PROPERTY(QString markLine READ markLine CONSTANT)
    Q_PROPERTY(QString liveAfter READ liveAfter CONSTANT)
    Q_PROPERTY(QString endButton READ endButton NOTIFY changed)
    Q_PROPERTY(QString confirmTitle READ confirmTitle NOTIFY changed)
    Q_PROPERTY(QString confirmMessage READ confirmMessage NOTIFY changed)
    Q_PROPERTY(QString confirmButton READ confirmButton NOTIFY changed)
    Q_PROPERTY(QString freeRunTitle READ freeRunTitle CONSTANT)
    Q_PROPERTY(QString freeRunAdvice READ freeRunAdvice CONSTANT)
    Q_PROPERTY(QString openPanelText READ openPanelText NOTIFY changed)
    Q_PROPERTY(QString savePanelText READ savePanelText NOTIFY changed)
    Q_PROPERTY(QString exportPanelText READ exportPanelText NOTIFY changed)
    Q_PROPERTY(QString proposedLogName READ proposedLogName NOTIFY changed)
    Q_PROPERTY(QString proposedExportName READ proposedExportName NOTIFY changed)
    Q_PROPERTY(bool confirmJoin READ confirmJoin NOTIFY pendingJoinChanged)
    Q_PROPERTY(QString joinConfirmTitle READ joinConfirmTitle CONSTANT)
    Q_PROPERTY(QString joinConfirmMessage READ joinConfirmMessage NOTIFY changed)
    Q_PROPERTY(QString joinConfirmButton READ joinConfirmButton CONSTANT)

public:
    enum class Panel { Welcome, Session, Live };
    Q_ENUM(Panel)

    explicit DeskView(QObject* parent = nullptr);

    DeskModel* model() const { return model_; }
    void setModel(DeskModel* model);
    qreal fixedNow() const { return fixedNow_; }
    void setFixedNow(qreal now);
    bool hasFixedNow() const { return hasFixedNow_; }
    void setHasFixedNow(bool has);

    QString name() const { return name_; }
    void setName(const QString& name);
    QStringList rateLabels() const;
    int rateIndex() const;
    void setRateIndex(int index);
    bool confirmEnd() const { return confirmEnd_; }
    QString operatorName() const;
    void setOperatorName(const QString& name);
    QString peerName() const;
    void setConfirmEnd(bool up);

    Panel panel() const;
    QVariantList steps() const;
    QString message() const;
    bool canExport() const;
    QString sessionHeading() const;
    QString sessionFacts() const;
    QString sessionStart() const;
    QString savedName() const;
    QVariantList cards() const;
    QString reportText() const;
    QString liveTitle() const;
    QString liveIntro() const;
    QString markButton() const;
    QString markLine() const;
    QString liveAfter() const;
    QString endButton() const;
    QString confirmTitle() const;
    QString confirmMessage() const;
    QString confirmButton() const;
    QString freeRunTitle() const;
    QString freeRunAdvice() const;
    QString openPanelText() const;
    QString savePanelText() const;
    QString exportPanelText() const;
    QString proposedLogName() const;
    QString proposedExportName() const;
    bool confirmJoin() const { return !pendingJoin_.isEmpty(); }
    QString joinConfirmTitle() const;
    QString joinConfirmMessage() const;
    QString joinConfirmButton() const;

    // Actions, each handed to the model.
    Q_INVOKABLE void startSession();
    Q_INVOKABLE void openFiles(const QList<QUrl>& urls);
    Q_INVOKABLE void setFolder(const QString& cameraId, const QUrl& folder);
    // What was dropped on a camera's card: a folder is its card, files are opened as logs.
    Q_INVOKABLE void dropOnCard(const QString& cameraId, const QList<QUrl>& urls);
    Q_INVOKABLE void saveLogTo(const QUrl& file);
    Q_INVOKABLE void exportTo(const QUrl& file);
    Q_INVOKABLE void showSaved();
    Q_INVOKABLE void mark();
    Q_INVOKABLE void endLive();
    Q_INVOKABLE void closeSession();
    Q_INVOKABLE void dismissReport();
    // Follows a join link's session; asks first when the open log holds unsaved changes.
    Q_INVOKABLE void openJoinLink(const QString& link);
    // The answer to that question.
    Q_INVOKABLE void joinAfterAll();
    Q_INVOKABLE void keepOpenLog();
    Q_INVOKABLE QString folderPanelText(const QString& cameraName) const;
    // A file of that name in the user's documents folder, for a save panel to propose.
    Q_INVOKABLE QUrl proposedFile(const QString& name) const;

signals:
    void modelChanged();
    void fixedNowChanged();
    void nameChanged();
    void rateChanged();
    void confirmEndChanged();
    void pendingJoinChanged();
    void operatorChanged();
    void changed();

private:
    const SessionDoc* doc() const;

    QPointer<DeskModel> model_;
    qreal fixedNow_ = 0;
    bool hasFixedNow_ = false;
    QString name_;
    QStringList rates_; // labels of the rates offered, in order
    int rateIndex_ = 0;
    bool confirmEnd_ = false;
    QString pendingJoin_; // a join link waiting for the user's answer
};

} // namespace korvalume
