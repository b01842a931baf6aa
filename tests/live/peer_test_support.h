#pragma once

#include "live/peer_link.h"
#include "live/peer_protocol.h"
#include "session/session_doc.h"

#include <QCoreApplication>
#include <QTest>

#include <string>
#include <vector>

// Shared by the peer-link tests: one Qt application for the process, sample logs, and a
// link that records what it receives and what goes wrong.
namespace korvalume::peer_test {

inline QCoreApplication& application() {
    static int argc = 1;
    static char name[] = "peer_tests";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

// A live log of `session` with `markers` marker events, owned by `owner`.
inline SessionDoc sampleLog(const Uuid& session, const std::string& owner, int markers = 1) {
    SessionDoc doc;
    doc.id = session;
    doc.name = "DAY 1";
    doc.fps = FrameRate{25, false};
    doc.startedAt = 1'700'000'000.0;
    doc.ownerID = owner;
    for (int i = 0; i < markers; ++i) {
        SyncEvent marker;
        marker.id = Uuid::random();
        marker.kind = SyncEvent::Kind::marker;
        marker.at = doc.startedAt + i;
        marker.label = owner + " MARK " + std::to_string(i + 1);
        doc.events.push_back(marker);
    }
    return doc;
}

// A link (on loopback without discovery unless told otherwise) that keeps every log and problem it
// sees.
struct RecordingLink {
    RecordingLink(const QString& displayName, const QString& deviceID,
                  std::optional<SessionDoc> current = std::nullopt)
        : RecordingLink(PeerLink::Options{displayName, deviceID, PeerLink::Discovery::manual,
                                          QHostAddress(QHostAddress::LocalHost)},
                        std::move(current)) {}

    RecordingLink(PeerLink::Options options, std::optional<SessionDoc> current)
        : link(std::move(options)) {
        application();
        link.setOnReceive([this](const SessionDoc& doc, const QString& from) {
            received.push_back(doc);
            senders.push_back(from);
        });
        link.setCurrent([this] { return currentLog; });
        currentLog = std::move(current);
        QObject::connect(&link, &PeerLink::peerProblem, &link,
                         [this](const QString& peer, const QString& what) {
                             problems.push_back(peer + QStringLiteral(": ") + what);
                         });
    }

    // Announces `other` to this link, as discovery would.
    void find(const RecordingLink& other) {
        link.connectTo(QHostAddress(QHostAddress::LocalHost), other.link.listeningPort(),
                       other.link.peerName());
    }

    PeerLink link;
    std::optional<SessionDoc> currentLog;
    std::vector<SessionDoc> received;
    std::vector<QString> senders; // who sent each received log
    std::vector<QString> problems;
};

constexpr int linkWaitMs = 10'000;

} // namespace korvalume::peer_test
