#include "app/kit.h"

#include <QFontDatabase>

namespace korvalume::palette {

namespace {
QColor grey(float white) {
    return QColor::fromRgbF(white, white, white, 1.0f);
}
} // namespace

const QColor& ink() {
    static const QColor colour = grey(0.06f);
    return colour;
}
const QColor& paper() {
    static const QColor colour = grey(0.98f);
    return colour;
}
const QColor& rule() {
    static const QColor colour = grey(0.83f);
    return colour;
}
const QColor& recRed() {
    static const QColor colour = QColor::fromRgbF(0.88f, 0.13f, 0.10f, 1.0f);
    return colour;
}
const QColor& amber() {
    static const QColor colour = QColor::fromRgbF(0.96f, 0.65f, 0.14f, 1.0f);
    return colour;
}
const QColor& signalGreen() {
    static const QColor colour = QColor::fromRgbF(0.24f, 0.96f, 0.56f, 1.0f);
    return colour;
}
const QColor& darkRule() {
    static const QColor colour = grey(0.3f);
    return colour;
}

QFont mono(qreal pointSize, QFont::Weight weight) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(pointSize);
    font.setWeight(weight);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::Monospace);
    return font;
}

} // namespace korvalume::palette

namespace korvalume {

QFont Kit::mono(qreal pointSize, int weight) const {
    return palette::mono(pointSize, static_cast<QFont::Weight>(weight));
}

QFont Kit::monoTracked(qreal pointSize, int weight, qreal tracking) const {
    QFont font = palette::mono(pointSize, static_cast<QFont::Weight>(weight));
    font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    return font;
}

} // namespace korvalume
