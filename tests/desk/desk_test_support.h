#pragma once

// A desk model on real parts: the master clock on a controllable wall clock and without a
// time server, the peer link on loopback, and system services that record what they are
// asked to do.

#include "base/qt_text.h"
#include "desk/desk_model.h"
#include "desk/live_services.h"
#include "live/master_clock.h"
#include "live/peer_link.h"
#include "platform/system_services.h"
#include "session/session_doc.h"
#include "support/media_fixtures.h"
#include "support/qt_support.h"

#include <QSettings>
#include <QTest>

#include <memory>
#include <vector>

namespace korvalume::testing {

class RecordingServices : public SystemServices {
public:
    struct Hold : AwakeHold {
        explicit Hold(int& holds) : holds_(holds) { ++holds_; }
        ~Hold() override { --holds_; }
        int& holds_;
    };

    void notify(const QString&, const QString&) override {}
    void allowNotifications() override {}
    void buzz(Feedback) override {}
    std::unique_ptr<AwakeHold> keepAwake(const QString& reason) override {
        awakeReasons.push_back(reason);
        return std::make_unique<Hold>(holds);
    }
    void showInFileBrowser(const QString& path) override { shown.push_back(path); }

    std::vector<QString> awakeReasons;
    std::vector<QString> shown;
    int holds = 0; // awake holds currently kept
};

// One desk on its own folder with everything it depends on. `wallClock` is the machine's
// clock as the master clock sees it; sessions are saved to `sessionsFolder`, else to one in
// the desk's own folder.
struct Desk {
    explicit Desk(QString sessions = {}, double wall = 1'700'000'000)
        : wallClock(wall),
          sessionsFolder(sessions.isEmpty() ? QString::fromStdString(dir.file("Korvalume Sessions"))
                                            : sessions) {}

    DeskModel& operator*() { return model; }
    DeskModel* operator->() { return &model; }

    static constexpr const char* deviceID = "DE5C0000-0000-4000-8000-000000000001";
    QCoreApplication& app = application();
    fixtures::TempDir dir;
    double wallClock;
    QString sessionsFolder;
    QSettings settings{QString::fromStdString(dir.file("settings.ini")), QSettings::IniFormat};
    // No time server: every sample comes back empty at once.
    MasterClock clock{{.wallClock = [this] { return wallClock; },
                       .sampler = [](QObject*, MasterClock::SampleDone done) { done({}); },
                       .settings = &settings}};
    PeerLink link{{"STUDIO MAC", deviceID, PeerLink::Discovery::manual,
                   QHostAddress(QHostAddress::LocalHost)}};
    RecordingServices services;
    MasterClockService clockService{clock};
    PeerLinkService linkService{link};
    DeskModel model{DeskServices{&clockService, &linkService, &services, deviceID, sessionsFolder}};

    const SessionDoc& doc() const { return *model.document().doc(); }
    // Waits until no card folder is being read.
    bool cardsRead(int waitMs = 20'000) {
        return QTest::qWaitFor([this] { return model.planner().readingIDs().isEmpty(); }, waitMs);
    }
};

} // namespace korvalume::testing
