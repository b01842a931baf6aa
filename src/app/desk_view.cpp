#include "app/desk_view.h"

#include "app/model_binding.h"
#include "app/view_rules.h"
#include "base/qt_text.h"
#include "desk/desk_model.h"
#include "desk/desk_rules.h"
#include "desk/desk_words.h"
#include "platform/platform.h"
#include "platform/system_services.h"
#include "session/session_doc.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QVariantMap>

#include <utility>

namespace korvalume {

namespace {

constexpr auto lastFpsKey = "lastFps";
} // namespace

DeskView::DeskView(QObject* parent) : QObject(parent), name_(DeskModel::defaultName()) {
    const QVariant stored = QSettings().value(lastFpsKey);
    const std::optional<std::string> label =
        stored.isValid() ? std::optional<std::string>(stored.toString().toStdString())
                         : std::nullopt;
    const FrameRate selected = viewrules::initialRate(label);
    for (const FrameRate& rate : viewrules::rateChoices(selected)) {
        if (rate == selected)
            rateIndex_ = static_cast<int>(rates_.size());
        rates_.append(qs(rate.label()));
    }
}

void DeskView::setModel(DeskModel* model) {
    if (!rebind(model_, model, this))
        return;
    if (model_)
        connect(model_, &DeskModel::changed, this, &DeskView::changed);
    emit modelChanged();
    emit changed();
}

const SessionDoc* DeskView::doc() const {
    return model_ ? model_->document().doc() : nullptr;
}

void DeskView::setFixedNow(qreal now) {
    fixedNow_ = now;
    emit fixedNowChanged();
}

void DeskView::setHasFixedNow(bool has) {
    hasFixedNow_ = has;
    emit fixedNowChanged();
}

void DeskView::setName(const QString& name) {
    if (name_ == name)
        return;
    name_ = name;
    emit nameChanged();
}

QStringList DeskView::rateLabels() const {
    return rates_;
}
int DeskView::rateIndex() const {
    return rateIndex_;
}

void DeskView::setRateIndex(int index) {
    if (index < 0 || index >= rates_.size() || index == rateIndex_)
        return;
    rateIndex_ = index;
    emit rateChanged();
}

QString DeskView::operatorName() const {
    return platform::operatorName();
}

void DeskView::setOperatorName(const QString& name) {
    if (name.trimmed() == platform::operatorName().trimmed())
        return;
    platform::setOperatorName(name.trimmed());
    emit operatorChanged();
}

QString DeskView::peerName() const {
    return platform::displayName();
}

void DeskView::setConfirmEnd(bool up) {
    if (confirmEnd_ == up)
        return;
    confirmEnd_ = up;
    emit confirmEndChanged();
}

DeskView::Panel DeskView::panel() const {
    if (!model_)
        return Panel::Welcome;
    switch (viewrules::panel(model_->document().hasDoc(), model_->live().isLive())) {
    case viewrules::Panel::welcome:
        return Panel::Welcome;
    case viewrules::Panel::session:
        return Panel::Session;
    case viewrules::Panel::live:
        return Panel::Live;
    }
    return Panel::Welcome;
}

QVariantList DeskView::steps() const {
    QVariantList list;
    const bool hasDoc = doc() != nullptr;
    const bool live = model_ && model_->live().isLive();
    for (const viewrules::Step& step : viewrules::steps(hasDoc, live))
        list.append(QVariantMap{{"title", qs(step.title)}, {"line", qs(step.line)}});
    return list;
}

QString DeskView::message() const {
    return model_ ? model_->document().message() : QString();
}
bool DeskView::canExport() const {
    return model_ && model_->planner().canExport();
}

QString DeskView::sessionHeading() const {
    return doc() ? QStringLiteral("SESSION / ") + qs(doc()->name) : QString();
}

QString DeskView::sessionFacts() const {
    return doc() ? qs(viewrules::sessionFacts(*doc(), model_->document().logCount())) : QString();
}

QString DeskView::sessionStart() const {
    return doc() ? qs(viewrules::sessionStart(*doc())) : QString();
}

QString DeskView::savedName() const {
    if (!model_ || model_->document().savedTo().isEmpty())
        return {};
    return QFileInfo(model_->document().savedTo().toLocalFile()).fileName();
}

QVariantList DeskView::cards() const {
    QVariantList list;
    if (!doc())
        return list;
    const CardPlanner& planner = model_->planner();
    const std::vector<PlanLines> plans = planner.lines();
    for (const Camera& camera : doc()->activeCameras()) {
        const auto plan = std::find_if(plans.begin(), plans.end(), [&](const PlanLines& lines) {
            return lines.cameraID == camera.id;
        });
        const viewrules::Card card =
            viewrules::card(camera, planner.folder(camera.id), planner.isReading(camera.id),
                            plan == plans.end() ? nullptr : &*plan);
        QVariantList clips;
        for (const viewrules::CardClip& clip : card.clips)
            clips.append(QVariantMap{{"name", qs(clip.name)},
                                     {"method", qs(clip.method)},
                                     {"placed", clip.placed},
                                     {"note", qs(clip.note)}});
        QStringList warnings;
        for (const std::string& warning : card.warnings)
            warnings.append(qs(warning));
        list.append(QVariantMap{{"cameraId", qs(camera.id.string())},
                                {"name", qs(card.name)},
                                {"kindLink", qs(card.kindLink)},
                                {"folder", qs(card.folder)},
                                {"folderButton", qs(card.folderButton)},
                                {"reading", card.reading},
                                {"status", qs(card.status)},
                                {"clips", clips},
                                {"warnings", warnings}});
    }
    return list;
}

QString DeskView::reportText() const {
    if (!model_ || !model_->document().hasImportReport())
        return {};
    std::vector<std::string> lines;
    for (const QString& line : model_->document().importReport())
        lines.push_back(utf8(line));
    return qs(viewrules::combiningReport(lines));
}

QString DeskView::liveTitle() const {
    return qs(viewrules::LiveSidebar{}.title);
}
QString DeskView::liveIntro() const {
    return qs(viewrules::LiveSidebar{}.intro);
}
QString DeskView::markButton() const {
    return qs(viewrules::LiveSidebar{}.markButton);
}
QString DeskView::markLine() const {
    return qs(viewrules::LiveSidebar{}.markLine);
}
QString DeskView::liveAfter() const {
    return qs(viewrules::LiveSidebar{}.after);
}

QString DeskView::endButton() const {
    return qs(viewrules::liveSidebar(model_ && model_->live().isOwner()).endButton);
}
QString DeskView::confirmTitle() const {
    return qs(viewrules::endConfirmation(model_ && model_->live().isOwner()).title);
}
QString DeskView::confirmMessage() const {
    return qs(viewrules::endConfirmation(model_ && model_->live().isOwner()).message);
}
QString DeskView::confirmButton() const {
    return qs(viewrules::endConfirmation(model_ && model_->live().isOwner()).button);
}

QString DeskView::freeRunTitle() const {
    return qs(words::freeRunTitle);
}
QString DeskView::freeRunAdvice() const {
    return qs(words::freeRun);
}

QString DeskView::openPanelText() const {
    return qs(words::openPanelText);
}
QString DeskView::savePanelText() const {
    return qs(words::savePanelText);
}
QString DeskView::exportPanelText() const {
    return qs(words::exportPanelText);
}
QString DeskView::proposedLogName() const {
    return doc() ? qs(deskrules::proposedLogName(*doc())) : QString();
}
QString DeskView::proposedExportName() const {
    return doc() ? qs(deskrules::proposedExportName(*doc())) : QString();
}
QString DeskView::folderPanelText(const QString& cameraName) const {
    return qs(words::folderPanelText(utf8(cameraName)));
}

QUrl DeskView::proposedFile(const QString& name) const {
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QUrl::fromLocalFile(QDir(documents).filePath(name));
}

namespace {

// A local file's path as the desk takes it; empty for anything else.
std::string localPath(const QUrl& url) {
    return url.isLocalFile() ? utf8(url.toLocalFile()) : std::string();
}

} // namespace

void DeskView::startSession() {
    if (!model_ || rateIndex_ < 0 || rateIndex_ >= rates_.size())
        return;
    const QString label = rates_.at(rateIndex_);
    QSettings().setValue(lastFpsKey, label);
    model_->live().start(utf8(name_), viewrules::initialRate(utf8(label)));
}

void DeskView::openFiles(const QList<QUrl>& urls) {
    if (!model_)
        return;
    std::vector<std::string> paths;
    for (const QUrl& url : urls)
        if (url.isLocalFile())
            paths.push_back(localPath(url));
    model_->open(paths);
}

void DeskView::setFolder(const QString& cameraId, const QUrl& folder) {
    const auto id = Uuid::parse(utf8(cameraId));
    if (!model_ || !id || !folder.isLocalFile())
        return;
    if (const Status chosen = model_->planner().setFolder(*id, localPath(folder)); !chosen)
        model_->document().setMessage(qs(chosen.message()));
}

void DeskView::dropOnCard(const QString& cameraId, const QList<QUrl>& urls) {
    QList<QUrl> files;
    for (const QUrl& url : urls) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir())
            setFolder(cameraId, url);
        else
            files.append(url);
    }
    if (!files.isEmpty())
        openFiles(files);
}

void DeskView::saveLogTo(const QUrl& file) {
    if (model_ && file.isLocalFile())
        (void)model_->saveLogTo(localPath(file));
}

void DeskView::exportTo(const QUrl& file) {
    if (model_ && file.isLocalFile())
        (void)model_->exportTo(localPath(file));
}

void DeskView::showSaved() {
    const QUrl saved = model_ ? model_->document().savedTo() : QUrl();
    if (saved.isLocalFile())
        model_->services().system->showInFileBrowser(saved.toLocalFile());
}

void DeskView::mark() {
    if (model_)
        model_->live().mark();
}

void DeskView::endLive() {
    setConfirmEnd(false);
    if (model_)
        model_->live().end();
}

void DeskView::closeSession() {
    if (model_)
        model_->clear();
}

void DeskView::dismissReport() {
    if (model_)
        model_->document().dismissImportReport();
}

void DeskView::openJoinLink(const QString& link) {
    if (!model_)
        return;
    if (model_->document().isModified() && !model_->live().isLive()) {
        pendingJoin_ = link;
        emit pendingJoinChanged();
        return;
    }
    if (const Status joined = model_->join(utf8(link)); !joined)
        model_->document().setMessage(qs(joined.message()));
}

void DeskView::joinAfterAll() {
    const QString link = std::exchange(pendingJoin_, {});
    emit pendingJoinChanged();
    if (model_ && !link.isEmpty())
        if (const Status joined = model_->join(utf8(link)); !joined)
            model_->document().setMessage(qs(joined.message()));
}

void DeskView::keepOpenLog() {
    pendingJoin_.clear();
    emit pendingJoinChanged();
}

QString DeskView::joinConfirmTitle() const {
    return qs(words::joinConfirmTitle);
}
QString DeskView::joinConfirmMessage() const {
    return doc() ? qs(words::joinConfirmMessage(doc()->name)) : QString();
}
QString DeskView::joinConfirmButton() const {
    return qs(words::joinConfirmButton);
}

} // namespace korvalume
