#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>

#include <functional>

namespace korvalume {

// One desk window per user: a later launch hands its files to the running one over a
// local socket and exits.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    explicit SingleInstance(QString serverName, QObject* parent = nullptr);

    // The name of the user's desk socket.
    static QString defaultServerName();

    // Sends `items` (files and links) to a running desk. True when one took them.
    bool handOver(const QStringList& items) const;
    // Becomes the running desk: `received` is called with every hand-over.
    bool listen(std::function<void(const QStringList&)> received);

private:
    QString name_;
    QLocalServer server_;
    std::function<void(const QStringList&)> received_;
};

} // namespace korvalume
