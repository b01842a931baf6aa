#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// The interface kit: one palette, one monospaced face, one thin rule. Every view draws
// with these so the chart, the panels and the live view look alike.
namespace korvalume::palette {

// Each colour is made on first use (a thread-safe static) and shared afterwards.
const QColor& ink();
const QColor& paper();
const QColor& rule();
const QColor& recRed();
const QColor& amber();
const QColor& signalGreen();
const QColor& darkRule(); // the dark Hairline: white 0.3

// The system's fixed-width font at `pointSize` and `weight`.
QFont mono(qreal pointSize, QFont::Weight weight = QFont::Normal);

} // namespace korvalume::palette

namespace korvalume {

// The kit as QML sees it: `Kit.ink`, `Kit.mono(12, Font.Bold)`.
class Kit : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor ink READ ink CONSTANT)
    Q_PROPERTY(QColor paper READ paper CONSTANT)
    Q_PROPERTY(QColor rule READ rule CONSTANT)
    Q_PROPERTY(QColor recRed READ recRed CONSTANT)
    Q_PROPERTY(QColor amber READ amber CONSTANT)
    Q_PROPERTY(QColor signalGreen READ signalGreen CONSTANT)
    Q_PROPERTY(QColor darkRule READ darkRule CONSTANT)
    Q_PROPERTY(QColor laneGrey READ laneGrey CONSTANT)

public:
    using QObject::QObject;

    QColor ink() const { return palette::ink(); }
    QColor paper() const { return palette::paper(); }
    QColor rule() const { return palette::rule(); }
    QColor recRed() const { return palette::recRed(); }
    QColor amber() const { return palette::amber(); }
    QColor signalGreen() const { return palette::signalGreen(); }
    QColor darkRule() const { return palette::darkRule(); }
    QColor laneGrey() const { return QColor::fromRgbF(0.9f, 0.9f, 0.9f); }

    // `weight` is a QML Font.weight value (400 regular, 600 semibold, 700 bold).
    Q_INVOKABLE QFont mono(qreal pointSize, int weight = 400) const;
    // The same with tracking in points (negative tightens), for large clock digits.
    Q_INVOKABLE QFont monoTracked(qreal pointSize, int weight, qreal tracking) const;
};

} // namespace korvalume
