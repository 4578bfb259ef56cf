// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVScroller.h"

#include "KVGeometry.h"
#include "KVScrollerStyle.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include <algorithm>

namespace {

// One layout for every scroller. A widget does not own its style and still looks at it while
// it is destroyed, so the style lives with the application rather than with any one scroller.
QStyle *scrollerStyle() {
    static QPointer<KVScrollerStyle> style;
    if (!style) {
        style = new KVScrollerStyle;
        style->setParent(QCoreApplication::instance());
    }
    return style;
}

} // namespace

KVScroller::KVScroller(QWidget *parent)
    : QScrollBar(Qt::Horizontal, parent) {
    setStyle(scrollerStyle());
}

const QColor &KVScroller::slotColor() {
    static const QColor color = QColor::fromRgbF(0.988, 0.988, 0.988, 1.0);
    return color;
}

const QColor &KVScroller::borderColor() {
    static const QColor color = QColor::fromRgbF(0.788, 0.788, 0.788, 1.0);
    return color;
}

void KVScroller::wheelEvent(QWheelEvent *event) {
    if (event->angleDelta().x() != 0 || event->pixelDelta().x() != 0) {
        QScrollBar::wheelEvent(event);
        return;
    }
    // Accepted either way: left unaccepted, the turn would climb to the timeline, which zooms.
    event->accept();
    if (!m_parentView)
        return;
    QWheelEvent forwarded(m_parentView->mapFromGlobal(event->globalPosition()),
                          event->globalPosition(), event->pixelDelta(), event->angleDelta(),
                          event->buttons(), event->modifiers(), event->phase(), event->inverted(),
                          event->source(), event->pointingDevice());
    QApplication::sendEvent(m_parentView, &forwarded);
}

void KVScroller::paintEvent(QPaintEvent *) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRect slot =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarGroove, this);
    const QRect knob =
        style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    QPainter painter(this);
    drawKnobSlot(painter, flipped(slot));
    // Nothing to scroll, nothing to grab: the bare slot says so.
    if (isEnabled() && maximum() > minimum())
        drawKnob(painter, flipped(knob));
}

void KVScroller::drawKnobSlot(QPainter &painter, const QRectF &slotRect) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.fillRect(flipped(slotRect), slotColor());
    painter.fillRect(flipped(QRectF(slotRect.x(), slotRect.y(), slotRect.width(), 1.0)),
                     borderColor());
    painter.fillRect(flipped(QRectF(slotRect.x(), slotRect.y() + slotRect.height() - 1.0,
                                    slotRect.width(), 1.0)),
                     borderColor());
    painter.restore();
}

void KVScroller::drawKnob(QPainter &painter, const QRectF &knobRect) {
    static const QColor normalColor = QColor::fromRgbF(0.62, 0.65, 0.69, 1.0);
    static const QColor pressedColor = QColor::fromRgbF(0.47, 0.51, 0.56, 1.0);
    // Clear of the border lines and of the ends, like an overlay knob floating in its slot.
    const QRectF knob = knobRect.adjusted(2.0, 3.0, -2.0, -3.0);
    if (knob.width() <= 0.0 || knob.height() <= 0.0)
        return;
    const double radius = std::min(knob.width(), knob.height()) * 0.5;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isSliderDown() ? pressedColor : normalColor);
    painter.drawRoundedRect(flipped(knob), radius, radius);
    painter.restore();
}

QRectF KVScroller::flipped(const QRectF &rect) const {
    return KVFlippedRect(rect, height());
}
