#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

namespace korvalume {

// One desk window per user: a later launch hands its files to the running one over a
// local socket and exits.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(QString serverName, QObject* parent = nullptr);

    // The name of the user's desk socket.
    static QString defaultServerName();

    // Sends `items` (files and links) to a running desk. Its answer, one line saying what it
    // holds now, when one took them (empty when it took them but did not answer in time);
    // nothing when none is running.
    std::optional<QString> handOver(const QStringList& items) const;
    // Becomes the running desk: `received` is called with every hand-over and answers it.
    bool listen(std::function<QString(const QStringList&)> received);

private:
    QString name_;
    QLocalServer server_;
    std::function<QString(const QStringList&)> received_;
};

} // namespace korvalume
