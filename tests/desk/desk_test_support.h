#pragma once

// A desk model on real parts: the master clock on a controllable wall clock and without a
// time server, the peer link on loopback, and system services that record what they are
// asked to do.

#include "desk/desk_model.h"
#include "live/master_clock.h"
#include "live/peer_link.h"
#include "platform/system_services.h"
#include "session/session_doc.h"
#include "support/application.h"
#include "support/media_fixtures.h"

#include <QSettings>
#include <QTest>

#include <memory>
#include <ostream>
#include <vector>

// Failure messages show texts as text.
inline std::ostream& operator<<(std::ostream& out, const QString& text) {
    return out << text.toStdString();
}

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

// One desk with everything it depends on. `wallClock` is the machine's clock as the
// master clock sees it.
struct Desk {
    // Sessions are saved to `sessionsFolder`, else to one in the desk's own folder.
    explicit Desk(QString sessionsFolder = {}, double wallClock = 1'700'000'000);

    DeskModel& operator*() { return *model; }
    DeskModel* operator->() { return model.get(); }

    fixtures::TempDir dir;
    double wallClock;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<MasterClock> clock;
    std::unique_ptr<PeerLink> link;
    RecordingServices services;
    std::unique_ptr<DeskModel> model;
    QString sessionsFolder;
};

} // namespace korvalume::testing
