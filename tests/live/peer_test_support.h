#pragma once

#include "live/peer_link.h"
#include "live/peer_protocol.h"
#include "session/session_doc.h"
#include "support/qt_support.h"

#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Shared by the peer-link tests: one Qt application for the process, sample logs, and a
// link that records what it receives and what goes wrong.
namespace korvalume::peer_test {

using testing::application;

// A live log of `session` with `markers` marker events, owned by `owner`.
inline SessionDoc sampleLog(const Uuid& session, const std::string& owner, int markers = 1) {
    SessionDoc doc{
        .id = session, .name = "DAY 1", .fps = {25, false}, .startedAt = MasterInstant(1.7e9)};
    doc.ownerID = owner;
    for (int i = 0; i < markers; ++i) {
        const std::string label = owner + " MARK " + std::to_string(i + 1);
        doc.events.push_back({.id = Uuid::random(), .at = doc.startedAt + i, .label = label});
    }
    return doc;
}

// A link on loopback, without discovery, that keeps every log and problem it sees.
struct RecordingLink {
    RecordingLink(const QString& displayName, const QString& deviceID,
                  std::optional<SessionDoc> current = std::nullopt)
        : link({displayName, deviceID, PeerLink::Discovery::manual,
                QHostAddress(QHostAddress::LocalHost)}),
          currentLog(std::move(current)) {
        application();
        link.setOnReceive([this](const SessionDoc& doc, const QString& from) {
            received.push_back(doc);
            senders.push_back(from);
        });
        link.setCurrent([this] { return currentLog; });
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

class LinkTest : public ::testing::Test {
protected:
    // Links delete their connections later; let that happen inside the test.
    void TearDown() override {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    const Uuid session = Uuid::random();
};

} // namespace korvalume::peer_test
