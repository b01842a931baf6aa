#pragma once

#include <QObject>
#include <QUrl>

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "base/result.h"
#include "desk/card_planner.h"
#include "desk/desk_services.h"
#include "desk/live_session.h"
#include "desk/session_document.h"
#include <memory>
#include <string>
#include <vector>
#endif

namespace korvalume {

struct SessionLink;

// The desk: the open document, the card planner and the live session, on the services it
// is given, and the actions that span them. The window and the command line drive it;
// each part says what changed in it.
class DeskModel : public QObject {
    Q_OBJECT

public:
    explicit DeskModel(const DeskServices& services, QObject* parent = nullptr);
    ~DeskModel() override;

    // "Korvalume Sessions" in the user's documents folder.
    static QString defaultSessionsFolder();
    // "SHOOT 15 NOV" for today.
    static QString defaultName();

    SessionDocument& document() { return document_; }
    const SessionDocument& document() const { return document_; }
    CardPlanner& planner() { return planner_; }
    const CardPlanner& planner() const { return planner_; }
    LiveSession& live() { return live_; }
    const LiveSession& live() const { return live_; }

    // ---- Actions that span the parts ----
    // Opens and combines logs, in order; other files are skipped without a word. A first
    // log that is still running and less than 18 hours old is taken up live.
    void open(const std::vector<std::string>& paths);
    // Shows `doc` as the open log, live when it is unfinished: for previews and tests.
    void show(const SessionDoc& doc);
    // Writes the timeline of the placed clips and shows the file.
    Status exportTo(const std::string& path);
    // Writes the log where the user chose.
    Status saveLogTo(const std::string& path);
    // A join link's session, followed from here.
    Status join(const std::string& linkText);
    // Nothing open any more; the combining report stays for the user to read.
    void clear();

    // Failures of the actions above also go to the document's one message line.
    const DeskServices& services() const { return services_; }

signals:
    // Something in any part changed: for views that show the whole desk at once.
    void changed();

private:
    void forwardChanges();

    DeskServices services_;
    SessionDocument document_;
    CardPlanner planner_;
    LiveSession live_;
};

} // namespace korvalume
