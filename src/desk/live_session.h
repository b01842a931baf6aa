#pragma once

#include <QObject>
#include <QStringList>

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "desk/desk_services.h"
#include "session/session_doc.h"
#include "session/session_link.h"
#include "time/frame_rate.h"
#include <memory>
#include <string>
#endif

namespace korvalume {

class AwakeHold;
class SessionDocument;

// The live session run from this desk: starting or joining it, markers, ending it,
// taking in the logs the peers send, saving the log on every change and keeping the
// machine awake meanwhile.
class LiveSession : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isLive READ isLive NOTIFY isLiveChanged)
    Q_PROPERTY(QStringList peers READ peers NOTIFY peersChanged)
    Q_PROPERTY(bool clockSynced READ clockSynced NOTIFY clockChanged)

public:
    LiveSession(SessionDocument& document, const DeskServices& services, QObject* parent = nullptr);
    ~LiveSession() override;

    bool isLive() const { return isLive_; }
    // This desk started the open session.
    bool isOwner() const;
    MasterInstant now() const;
    QStringList peers() const;
    bool clockSynced() const;

    // A new session owned by this desk, in place of whatever was open.
    void start(const std::string& typedName, const FrameRate& fps);
    // Follows a session from its join link, as a desk that does not own it.
    void join(const SessionLink& link);
    // The open log goes live: the clock, the link and the awake hold start.
    void takeUp();
    // A marker for everyone: "MARK n".
    void mark();
    // Ends the session here, for everyone when this desk owns it.
    void end();
    // Live no more; the clock and the link keep running.
    void stop();
    // Stops, and leaves the link.
    void leave();

    // A log received from a peer: combined, saved, and passed on when it added something.
    void receive(const SessionDoc& incoming, const QString& from);
    // Saves the log to the sessions folder; a failure is said on the message line until a
    // later save works.
    void autosave();
    void broadcast();

signals:
    void isLiveChanged();
    void peersChanged();
    void clockChanged();
    // A log arrived and changed the open one: `lines` say what it added.
    void received(const QString& from, const QStringList& lines);

private:
    void setLive(bool live);
    void flushSoon(bool save, bool send);

    SessionDocument& document_;
    DeskServices services_;
    bool isLive_ = false;
    std::unique_ptr<AwakeHold> awake_;
    // What received logs still ask for, done once per pass of the event loop.
    bool saveSoon_ = false;
    bool sendSoon_ = false;
    bool flushPending_ = false;
    QString autosaveFailure_; // the message of the last automatic save that failed
};

} // namespace korvalume
