#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "base/result.h"
#include "session/combining.h"
#include "session/log_opening.h"
#include "session/session_doc.h"
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#endif

namespace korvalume {

// The open session log: the document, how many logs it combines, what combining them
// reported, where it was last saved and the one message the user is shown. Every change
// says what it changed, so plans and views redo only that.
class SessionDocument : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasDoc READ hasDoc NOTIFY replaced)
    Q_PROPERTY(int logCount READ logCount NOTIFY logCountChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(QStringList importReport READ importReport NOTIFY importReportChanged)
    Q_PROPERTY(QUrl savedTo READ savedTo NOTIFY savedToChanged)
    Q_PROPERTY(bool isModified READ isModified NOTIFY modifiedChanged)

public:
    explicit SessionDocument(QObject* parent = nullptr);

    // The open log; null without one.
    const SessionDoc* doc() const { return doc_ ? &*doc_ : nullptr; }
    bool hasDoc() const { return doc_.has_value(); }
    int logCount() const { return logCount_; }
    QString message() const { return message_; }
    bool hasImportReport() const { return importReport_.has_value(); }
    // The combining report's lines, in the user's words, over every log combined.
    QStringList importReport() const;
    QUrl savedTo() const { return savedTo_; }
    // The open log holds what no file holds yet: logs were combined, or it changed since
    // it was last saved.
    bool isModified() const { return modified_; }

    // Opens one file into the document: the first log becomes it, a log of the same session
    // is combined (and reported), anything else is refused and said in `message`.
    LogStep open(const std::string& path, Combining combining);
    // Another document, or none, in place of the open one.
    void reset(std::optional<SessionDoc> doc);
    // Combines a log that a peer sent; returns what it changed.
    LogChanges combine(const SessionDoc& incoming);
    // Adds one event the desk logged itself (a marker).
    void add(SyncEvent event);
    // Ends this device's logging; true when the log was still open.
    bool finish(std::string_view deviceID, MasterInstant at, FinishScope scope);

    // Writes the log to `path` as its file, atomically; the error names the file.
    Status saveTo(const std::string& path);
    // Where the log was just saved, whole: it is no longer modified.
    void setSavedTo(const QString& path);
    void setMessage(const QString& message);
    void dismissImportReport();

signals:
    // The whole document was replaced (or closed).
    void replaced();
    // The document changed in place, as `changes` says.
    void changed(const korvalume::LogChanges& changes);
    void logCountChanged();
    void messageChanged();
    void importReportChanged();
    void savedToChanged();
    void modifiedChanged();

private:
    void setLogCount(int count);
    void setModified(bool modified);
    void notify(const LogChanges& changes);

    std::optional<SessionDoc> doc_;
    EventIDs eventIDs_; // of doc_'s events, for combining many small logs quickly
    int logCount_ = 0;
    QString message_;
    std::optional<std::vector<CombiningReport>> importReport_;
    QUrl savedTo_;
    bool modified_ = false;
};

} // namespace korvalume
