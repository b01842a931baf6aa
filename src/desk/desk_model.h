#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace korvalume {

// Only declared here: moc reads this header and stumbles over the standard library's
// C++20 headers that the session types bring in.
struct SessionDoc;
struct SessionLink;
struct CameraPlan;
struct ClipFile;
struct FrameRate;
struct MasterInstant;
struct Uuid;
class MasterClock;
class PeerLink;
class SystemServices;
class AwakeHold;

// The one model of the desk: the open session log, the card folder and placement plan of
// each camera, and the live session. Views and the command line read its state and call
// its actions; every rule of the flow lives here. Everything runs on the thread that owns
// the model; only card folders are read elsewhere.
class DeskModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes the one desk model")

    Q_PROPERTY(bool hasDoc READ hasDoc NOTIFY docChanged)
    Q_PROPERTY(QString sessionName READ sessionName NOTIFY docChanged)
    Q_PROPERTY(QString sessionID READ sessionID NOTIFY docChanged)
    Q_PROPERTY(QString joinLink READ joinLink NOTIFY docChanged)
    Q_PROPERTY(int logCount READ logCount NOTIFY logCountChanged)
    Q_PROPERTY(QVariantMap folders READ folderMap NOTIFY foldersChanged)
    Q_PROPERTY(QStringList reading READ readingIDs NOTIFY readingChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool hasImportReport READ hasImportReport NOTIFY importReportChanged)
    Q_PROPERTY(QStringList importReport READ importReport NOTIFY importReportChanged)
    Q_PROPERTY(QUrl savedTo READ savedTo NOTIFY savedToChanged)
    Q_PROPERTY(bool isLive READ isLive NOTIFY isLiveChanged)
    Q_PROPERTY(bool isOwner READ isOwner NOTIFY docChanged)
    Q_PROPERTY(bool canExport READ canExport NOTIFY plansChanged)
    Q_PROPERTY(QStringList connectedPeers READ connectedPeers NOTIFY peersChanged)
    Q_PROPERTY(bool clockSynced READ clockSynced NOTIFY clockChanged)
    Q_PROPERTY(QString openPanelText READ openPanelText CONSTANT)
    Q_PROPERTY(QString savePanelText READ savePanelText CONSTANT)
    Q_PROPERTY(QString exportPanelText READ exportPanelText CONSTANT)
    Q_PROPERTY(QString proposedLogName READ proposedLogName NOTIFY docChanged)
    Q_PROPERTY(QString proposedExportName READ proposedExportName NOTIFY docChanged)
    Q_PROPERTY(QString defaultSessionName READ defaultSessionName CONSTANT)

public:
    // What a real desk works with. The caller owns all of it and keeps it alive for
    // the model's life.
    struct Services {
        MasterClock* clock = nullptr;
        PeerLink* peers = nullptr;
        SystemServices* system = nullptr;
        QString deviceID;       // this machine's identity
        QString sessionsFolder; // where live logs are saved automatically
    };

    // What a preview shows in place of the clock and the link.
    struct Preview {
        QStringList peers;        // as if these were linked
        bool clockSynced = false; // as if the time server had answered
        QString deviceID;         // as if this were the machine
    };

    // A real desk: it keeps the clock, the link, the awake hold and the automatic save.
    DeskModel(const Services& services, QObject* parent = nullptr);
    // A preview, of one log or of none: nothing live is ever started. Opening logs and
    // reading folders work as usual.
    DeskModel(const std::optional<SessionDoc>& doc, const Preview& preview,
              QObject* parent = nullptr);
    explicit DeskModel(const SessionDoc& doc, QObject* parent = nullptr);
    ~DeskModel() override;

    // "Korvalume Sessions" in the user's documents folder.
    static QString defaultSessionsFolder();
    // "SHOOT 15 NOV" for today.
    static QString defaultName();

    // ---- State ----
    const std::optional<SessionDoc>& doc() const;
    bool hasDoc() const;
    QString sessionName() const;
    QString sessionID() const;
    QString joinLink() const; // the web join link of the open session; empty without one
    int logCount() const { return logCount_; }
    const std::map<Uuid, std::string>& folders() const;
    QVariantMap folderMap() const;
    const std::map<Uuid, CameraPlan>& plans() const;
    bool isReading(const Uuid& cameraID) const;
    QStringList readingIDs() const;
    QString message() const { return message_; }
    bool hasImportReport() const { return importReport_.has_value(); }
    QStringList importReport() const;
    QUrl savedTo() const { return savedTo_; }
    bool isLive() const { return isLive_; }
    bool isOwner() const;
    // The plans of the active cameras that have one, in the log's camera order.
    std::vector<CameraPlan> cameraPlans() const;
    bool canExport() const;
    QStringList connectedPeers() const;
    bool clockSynced() const;
    // Master time now (the machine's clock for a preview).
    MasterInstant now() const;

    QString openPanelText() const;
    QString savePanelText() const;
    QString exportPanelText() const;
    QString proposedLogName() const;
    QString proposedExportName() const;
    QString defaultSessionName() const { return defaultName(); }
    Q_INVOKABLE QString folderPanelText(const QString& cameraName) const;

    // ---- Actions ----
    // Opens and combines logs, in order; other files are skipped without a word.
    void open(const std::vector<std::string>& paths);
    Q_INVOKABLE void open(const QList<QUrl>& files);
    // Reads a camera's card folder off this thread and plans the camera when it is done.
    void setFolder(const Uuid& cameraID, const std::string& folder);
    Q_INVOKABLE void setFolder(const QString& cameraID, const QUrl& folder);
    // Writes the Premiere XML of the placed clips and shows the file; false on failure,
    // with the reason in `message`.
    bool exportTo(const std::string& path);
    Q_INVOKABLE bool exportTo(const QUrl& file);
    // Writes the log; false on failure, with the reason in `message`.
    bool saveLogTo(const std::string& path);
    Q_INVOKABLE bool saveLogTo(const QUrl& file);
    // Shows the last saved log in the file browser.
    Q_INVOKABLE void showSaved();
    // A new live session, owned by this desk.
    void startLive(const std::string& name, const FrameRate& fps);
    Q_INVOKABLE void startLive(const QString& name, const QString& fpsLabel);
    // Takes up a live session from its join link, as a desk that does not own it.
    void join(const SessionLink& link);
    // Same, from the link's text; false when it is not a join link.
    Q_INVOKABLE bool join(const QString& link);
    Q_INVOKABLE void mark();
    // Ends the session here, for everyone when this desk owns it.
    Q_INVOKABLE void endLive();
    Q_INVOKABLE void clear();
    Q_INVOKABLE void dismissImportReport();

    // ---- Steps, public for the command line and tests ----
    // A log received from a peer; `from` names the peer for the `received` signal.
    void receive(const SessionDoc& incoming, const QString& from = {});
    void autosave();
    void replan();
    void stopLive();

signals:
    void docChanged();
    void logCountChanged();
    void foldersChanged();
    void plansChanged();
    void readingChanged();
    void messageChanged();
    void importReportChanged();
    void savedToChanged();
    void isLiveChanged();
    void peersChanged();
    void clockChanged();
    // Any of the above: for views that take the whole state again on every change.
    void changed();
    // A log arrived and changed the open one: `lines` say what it added.
    void received(const QString& from, const QStringList& lines);

private:
    struct State;

    void setDoc(std::optional<SessionDoc> doc);
    void setLogCount(int count);
    void setMessage(const QString& message);
    void setImportReport(std::optional<std::vector<std::string>> report);
    void setSavedTo(const QUrl& url);
    void setLive(bool live);
    void beginLive();
    void broadcast();
    void forwardChanges();
    void finishRead(const Uuid& cameraID, const std::string& folder,
                    const std::vector<ClipFile>& files);

    std::unique_ptr<State> state_;
    Services services_;
    const bool radios_;
    Preview preview_;
    int logCount_ = 0;
    QString message_;
    std::optional<std::vector<std::string>> importReport_;
    QUrl savedTo_;
    bool isLive_ = false;
    std::unique_ptr<AwakeHold> awake_;
    // What received logs still ask for, done once per pass of the event loop.
    bool saveSoon_ = false;
    bool sendSoon_ = false;
    bool flushPending_ = false;
};

} // namespace korvalume
