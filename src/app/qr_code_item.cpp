#include "app/qr_code_item.h"

#include "platform/platform.h"

#include <QPainter>
#include <QQuickWindow>

#include <cmath>

namespace korvalume {

QrCodeItem::QrCodeItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(false);
    setSmooth(false);
}

void QrCodeItem::setText(const QString& text) {
    if (text_ == text)
        return;
    text_ = text;
    code_ = text_.isEmpty() ? QImage() : platform::qrCode(text_);
    update();
    emit textChanged();
}

void QrCodeItem::paint(QPainter* painter) {
    if (code_.isNull())
        return;
    // Whole device pixels per module: every module edge lands on a pixel edge.
    const qreal dpr = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const qreal side = std::min(width(), height()) * dpr;
    // The image has a fixed number of pixels per module; scale whole modules, not pixels.
    const int modules = std::max(code_.width() / platform::qrModulePixels, 1);
    const qreal module = std::max<qreal>(1, std::floor(side / modules)) / dpr;
    const qreal drawn = module * modules;
    const QPointF origin((width() - drawn) / 2, (height() - drawn) / 2);
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter->drawImage(QRectF(origin, QSizeF(drawn, drawn)), code_);
}

} // namespace korvalume
