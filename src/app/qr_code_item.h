#pragma once

#include <QImage>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace korvalume {

// A QR code drawn module by module at the item's real pixel size, so it stays sharp on
// high-density screens.
class QrCodeItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    explicit QrCodeItem(QQuickItem* parent = nullptr);

    QString text() const { return text_; }
    void setText(const QString& text);

    void paint(QPainter* painter) override;

signals:
    void textChanged();

private:
    QString text_;
    QImage code_; // one pixel per module
};

} // namespace korvalume
