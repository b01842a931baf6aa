#include "app/desk_view.h"

#include "app/model_binding.h"
#include "app/view_rules.h"
#include "desk/desk_model.h"
#include "session/session_doc.h"
#include "sync/advice.h"
#include "sync/placed_clip.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QVariantMap>

namespace korvalume {

namespace {

std::optional<std::string> folderOf(const DeskModel& model, const Uuid& cameraID) {
    const auto found = model.folders().find(cameraID);
    return found == model.folders().end() ? std::nullopt : std::optional(found->second);
}

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
    if (!bindModel(model_, model, this, [this] { emit changed(); }))
        return;
    emit modelChanged();
    emit changed();
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

void DeskView::setConfirmEnd(bool up) {
    if (confirmEnd_ == up)
        return;
    confirmEnd_ = up;
    emit confirmEndChanged();
}

DeskView::Panel DeskView::panel() const {
    if (!model_)
        return Panel::Welcome;
    switch (viewrules::panel(model_->hasDoc(), model_->isLive())) {
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
    const bool hasDoc = model_ && model_->hasDoc();
    const bool live = model_ && model_->isLive();
    for (const viewrules::Step& step : viewrules::steps(hasDoc, live))
        list.append(QVariantMap{{"title", qs(step.title)}, {"line", qs(step.line)}});
    return list;
}

QString DeskView::message() const {
    return model_ ? model_->message() : QString();
}
bool DeskView::canExport() const {
    return model_ && model_->canExport();
}

QString DeskView::sessionHeading() const {
    const auto doc = model_ ? model_->doc() : std::nullopt;
    return doc ? QStringLiteral("SESSION / ") + qs(doc->name) : QString();
}

QString DeskView::sessionFacts() const {
    const auto doc = model_ ? model_->doc() : std::nullopt;
    return doc ? qs(viewrules::sessionFacts(*doc, model_->logCount())) : QString();
}

QString DeskView::sessionStart() const {
    const auto doc = model_ ? model_->doc() : std::nullopt;
    return doc ? qs(viewrules::sessionStart(*doc)) : QString();
}

QString DeskView::savedName() const {
    if (!model_ || model_->savedTo().isEmpty())
        return {};
    return QFileInfo(model_->savedTo().toLocalFile()).fileName();
}

QVariantList DeskView::cards() const {
    QVariantList list;
    if (!model_)
        return list;
    const auto doc = model_->doc();
    if (!doc)
        return list;
    const std::vector<CameraPlan> plans = model_->cameraPlans();
    for (const Camera& camera : doc->activeCameras()) {
        const CameraPlan* plan = nullptr;
        for (const CameraPlan& candidate : plans)
            if (candidate.camera.id == camera.id)
                plan = &candidate;
        const viewrules::Card card = viewrules::card(camera, folderOf(*model_, camera.id),
                                                     model_->isReading(camera.id), plan);
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
    if (!model_ || !model_->hasImportReport())
        return {};
    std::vector<std::string> lines;
    for (const QString& line : model_->importReport())
        lines.push_back(line.toStdString());
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
    return qs(viewrules::liveSidebar(model_ && model_->isOwner()).endButton);
}
QString DeskView::confirmTitle() const {
    return qs(viewrules::endConfirmation(model_ && model_->isOwner()).title);
}
QString DeskView::confirmMessage() const {
    return qs(viewrules::endConfirmation(model_ && model_->isOwner()).message);
}
QString DeskView::confirmButton() const {
    return qs(viewrules::endConfirmation(model_ && model_->isOwner()).button);
}

QString DeskView::freeRunTitle() const {
    return qs(advice::freeRunTitle);
}
QString DeskView::freeRunAdvice() const {
    return qs(advice::freeRun);
}

QString DeskView::openPanelText() const {
    return model_ ? model_->openPanelText() : QString();
}
QString DeskView::savePanelText() const {
    return model_ ? model_->savePanelText() : QString();
}
QString DeskView::exportPanelText() const {
    return model_ ? model_->exportPanelText() : QString();
}
QString DeskView::proposedLogName() const {
    return model_ ? model_->proposedLogName() : QString();
}
QString DeskView::proposedExportName() const {
    return model_ ? model_->proposedExportName() : QString();
}
QString DeskView::folderPanelText(const QString& cameraName) const {
    return model_ ? model_->folderPanelText(cameraName) : QString();
}

QUrl DeskView::proposedFile(const QString& name) const {
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QUrl::fromLocalFile(QDir(documents).filePath(name));
}

void DeskView::startSession() {
    if (!model_ || rateIndex_ < 0 || rateIndex_ >= rates_.size())
        return;
    const QString label = rates_.at(rateIndex_);
    QSettings().setValue(lastFpsKey, label);
    model_->startLive(name_.toStdString(), viewrules::initialRate(label.toStdString()));
}

void DeskView::openFiles(const QList<QUrl>& urls) {
    if (model_)
        model_->open(urls);
}

void DeskView::setFolder(const QString& cameraId, const QUrl& folder) {
    if (model_)
        model_->setFolder(cameraId, folder);
}

void DeskView::saveLogTo(const QUrl& file) {
    if (model_)
        model_->saveLogTo(file);
}

void DeskView::exportTo(const QUrl& file) {
    if (model_)
        model_->exportTo(file);
}

void DeskView::showSaved() {
    if (model_)
        model_->showSaved();
}

void DeskView::mark() {
    if (model_)
        model_->mark();
}

void DeskView::endLive() {
    setConfirmEnd(false);
    if (model_)
        model_->endLive();
}

void DeskView::closeSession() {
    if (model_)
        model_->clear();
}

void DeskView::dismissReport() {
    if (model_)
        model_->dismissImportReport();
}

void DeskView::openJoinLink(const QString& link) {
    if (model_)
        model_->join(link.trimmed());
}

} // namespace korvalume
