#pragma once

#include "app/desk_types.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

#ifndef Q_MOC_RUN
#include "app/view_rules.h"
#endif

namespace korvalume {

// The sync map: one lane per camera with its placed clips as ink bars, and the
// session's markers as red lines across every lane. Draws only; the layout is worked out
// when the plans or the markers change, not on every paint.
class SyncMapChart : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(korvalume::DeskModel* model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(int laneCount READ laneCount NOTIFY laidOut)

public:
    static constexpr qreal padding = 14;
    static constexpr qreal rowSpacing = 6;
    static constexpr qreal laneHeight = 18;
    static constexpr qreal nameWidth = 70;
    static constexpr qreal nameGap = 10;

    explicit SyncMapChart(QQuickItem* parent = nullptr);

    DeskModel* model() const { return model_; }
    void setModel(DeskModel* model);
    int laneCount() const;

    void paint(QPainter* painter) override;

signals:
    void modelChanged();
    void laidOut();

private:
    void relayout();

    QPointer<DeskModel> model_;
    viewrules::ChartLayout layout_;
};

} // namespace korvalume
