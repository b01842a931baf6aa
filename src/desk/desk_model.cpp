#include "desk/desk_model.h"

#include "base/atomic_file.h"
#include "base/qt_text.h"
#include "desk/desk_rules.h"
#include "desk/desk_words.h"
#include "export/premiere_xml.h"
#include "platform/system_services.h"
#include "session/session_link.h"

#include <QDate>
#include <QDir>
#include <QStandardPaths>

namespace korvalume {

DeskModel::DeskModel(const DeskServices& services, QObject* parent)
    : QObject(parent), services_(services), document_(this), planner_(document_, this),
      live_(document_, services_, this) {
    forwardChanges();
}

DeskModel::~DeskModel() = default;

QString DeskModel::defaultSessionsFolder() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
        .filePath(QStringLiteral("Korvalume Sessions"));
}

QString DeskModel::defaultName() {
    return qs(deskrules::defaultName(QDate::currentDate()));
}

void DeskModel::forwardChanges() {
    for (const auto signal :
         {&SessionDocument::replaced, &SessionDocument::logCountChanged,
          &SessionDocument::messageChanged, &SessionDocument::importReportChanged,
          &SessionDocument::savedToChanged})
        connect(&document_, signal, this, &DeskModel::changed);
    connect(&document_, &SessionDocument::changed, this, &DeskModel::changed);
    for (const auto signal :
         {&CardPlanner::foldersChanged, &CardPlanner::plansChanged, &CardPlanner::readingChanged})
        connect(&planner_, signal, this, &DeskModel::changed);
    for (const auto signal :
         {&LiveSession::isLiveChanged, &LiveSession::peersChanged, &LiveSession::clockChanged})
        connect(&live_, signal, this, &DeskModel::changed);
}

void DeskModel::open(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        const bool hadDoc = document_.hasDoc();
        const LogStep step =
            document_.open(path, live_.isLive() ? Combining::mergeLive : Combining::merge);
        if (step == LogStep::combined && live_.isLive()) {
            live_.autosave();
            live_.broadcast();
        }
        if (!hadDoc && step == LogStep::opened &&
            deskrules::takesUpLive(*document_.doc(), live_.now()))
            live_.takeUp();
    }
}

void DeskModel::show(const SessionDoc& doc) {
    clear();
    document_.reset(doc);
    if (!doc.endedAt)
        live_.takeUp();
}

Status DeskModel::exportTo(const std::string& path) {
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return Status::failure(ErrorKind::refused, "no session log is open");
    const std::string xml = premierexml::exportDocument(*doc, planner_.cameraPlans());
    if (auto written = writeFileAtomically(path, xml); !written) {
        document_.setMessage(qs(words::exportFailed(written.message())));
        return written;
    }
    services_.system->showInFileBrowser(qs(path));
    return {};
}

Status DeskModel::saveLogTo(const std::string& path) {
    Status saved = document_.saveTo(path);
    if (!saved)
        document_.setMessage(qs(words::saveFailed(saved.message())));
    return saved;
}

Status DeskModel::join(const std::string& linkText) {
    const auto link = SessionLink::parse(QString::fromStdString(linkText).trimmed().toStdString());
    if (!link)
        return Status::failure(ErrorKind::unreadable, "not a Korvalume join link: " + linkText);
    live_.join(*link);
    return {};
}

void DeskModel::clear() {
    live_.leave();
    document_.reset(std::nullopt);
    document_.setMessage({});
    document_.setSavedTo({});
}

} // namespace korvalume
