#include "app/sync_map_chart.h"

#include "app/kit.h"
#include "app/model_binding.h"
#include "app/view_rules.h"
#include "desk/desk_model.h"
#include "session/combining.h"
#include "session/session_doc.h"

#include <QFontMetricsF>
#include <QPainter>

namespace korvalume {

SyncMapChart::SyncMapChart(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(false);
    setImplicitHeight(2 * padding);
    connect(this, &QQuickItem::widthChanged, this, [this] { update(); });
}

void SyncMapChart::setModel(DeskModel* model) {
    if (!rebind(model_, model, this))
        return;
    if (model_) {
        connect(&model_->planner(), &CardPlanner::plansChanged, this, &SyncMapChart::relayout);
        connect(&model_->document(), &SessionDocument::replaced, this, &SyncMapChart::relayout);
        connect(&model_->document(), &SessionDocument::changed, this,
                [this](const LogChanges& changes) {
                    if (changes.markersAdded || changes.sessionChanged)
                        relayout();
                });
    }
    relayout();
    emit modelChanged();
}

int SyncMapChart::laneCount() const {
    return static_cast<int>(layout_.lanes.size());
}

void SyncMapChart::relayout() {
    const SessionDoc* doc = model_ ? model_->document().doc() : nullptr;
    layout_ =
        doc ? viewrules::chartLayout(*doc, model_->planner().lines()) : viewrules::ChartLayout{};
    const int lanes = laneCount();
    const qreal rows = lanes * laneHeight + std::max(0, lanes - 1) * rowSpacing;
    setImplicitHeight(2 * padding + rows);
    update();
    emit laidOut();
}

void SyncMapChart::paint(QPainter* painter) {
    // The frame: one point of rule around the padded stack.
    painter->setPen(QPen(palette::rule(), 1));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(QRectF(0.5, 0.5, width() - 1, height() - 1));
    const viewrules::ChartLayout& layout = layout_;

    const QFont nameFont = palette::mono(9, QFont::DemiBold);
    painter->setFont(nameFont);
    const qreal laneX = padding + nameWidth + nameGap;
    const qreal laneW = std::max<qreal>(0, width() - padding - laneX);
    qreal y = padding;
    for (const viewrules::ChartLane& lane : layout.lanes) {
        painter->setPen(palette::ink());
        const QString name = QFontMetricsF(nameFont).elidedText(QString::fromStdString(lane.name),
                                                                Qt::ElideRight, nameWidth);
        painter->drawText(QRectF(padding, y, nameWidth, laneHeight),
                          Qt::AlignLeft | Qt::AlignVCenter, name);

        painter->save();
        painter->setClipRect(QRectF(laneX, y, laneW, laneHeight));
        painter->setPen(Qt::NoPen);
        painter->fillRect(QRectF(laneX, y, laneW, laneHeight), QColor::fromRgbF(0.9f, 0.9f, 0.9f));
        for (const viewrules::ChartBar& bar : lane.bars)
            painter->fillRect(
                QRectF(laneX + bar.x * laneW, y, viewrules::barWidth(bar, laneW), laneHeight),
                palette::ink());
        for (double marker : layout.markers)
            painter->fillRect(QRectF(laneX + marker * laneW, y, viewrules::markerWidth, laneHeight),
                              palette::recRed());
        painter->restore();
        y += laneHeight + rowSpacing;
    }
}

} // namespace korvalume
