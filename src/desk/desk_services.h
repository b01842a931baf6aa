#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "session/session_doc.h"
#include "session/uuid.h"
#include "time/master_instant.h"
#include <functional>
#endif

namespace korvalume {

class SystemServices;

// The master clock as the desk uses it. A live desk has the real one, a preview a stand-in.
class ClockService : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual MasterInstant now() const = 0;
    // The time server answered: the clock is not just this machine's.
    virtual bool synced() const = 0;
    // A live session starts or resumes.
    virtual void begin(const Uuid& session) = 0;

signals:
    void changed();
};

// The link to the phones of a live session as the desk uses it.
class LinkService : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    // Every log a peer sends, with the peer's name.
    using Receive = std::function<void(const SessionDoc&, const QString& from)>;
    // The log to hand a newly linked peer; null when there is none.
    using Current = std::function<const SessionDoc*()>;

    virtual void start(const Uuid& session) = 0;
    virtual void stop() = 0;
    virtual void broadcast(const SessionDoc& doc) = 0;
    // The linked peers' names.
    virtual QStringList connected() const = 0;
    // Something handed to broadcast has not left this machine yet.
    virtual bool isSending() const = 0;
    // Empty functions detach the desk.
    virtual void attach(Receive receive, Current current) = 0;

signals:
    void connectedChanged();
};

// What a desk works with from outside. The caller owns all of it and keeps it alive for
// the desk's life.
struct DeskServices {
    ClockService* clock = nullptr;
    LinkService* link = nullptr;
    SystemServices* system = nullptr;
    QString deviceID;       // this machine's identity: the owner of the sessions it starts
    QString sessionsFolder; // where live logs are saved on every change; empty: never
};

} // namespace korvalume
