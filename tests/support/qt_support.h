#pragma once

// What every Qt test needs: the application, and texts shown as text when a check fails.

#include <QCoreApplication>
#include <QString>

#include <ostream>

inline std::ostream& operator<<(std::ostream& out, const QString& text) {
    return out << text.toStdString();
}

namespace korvalume::testing {

// The process's Qt application: the one a test made already (a window test makes a GUI
// one), else a plain one, made on first use.
inline QCoreApplication& application() {
    static int argc = 1;
    static char name[] = "korvalume_tests";
    static char* argv[] = {name, nullptr};
    if (auto* existing = QCoreApplication::instance())
        return *existing;
    static QCoreApplication app(argc, argv);
    return app;
}

} // namespace korvalume::testing
