// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVLockView.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <array>
#include <cmath>
#include <numbers>

namespace {

constexpr double kSpinnerSize = 32.0;
constexpr int kStepInterval = 83; // a full turn a second

const QColor &veilColor() {
    static const QColor color = QColor::fromRgbF(0.5f, 0.5f, 0.5f, 1.0f);
    return color;
}

// By age: the spoke at the current step is the darkest; the older ones fade behind it.
const std::array<QPen, KVLockView::kSpokeCount> &spokePens() {
    static const std::array<QPen, KVLockView::kSpokeCount> pens = [] {
        std::array<QPen, KVLockView::kSpokeCount> made;
        for (int age = 0; age < KVLockView::kSpokeCount; ++age) {
            QColor color = QColor::fromRgbF(0.1f, 0.1f, 0.1f);
            color.setAlphaF(1.0f - float(age) / KVLockView::kSpokeCount * 0.85f);
            made[age] = QPen(color, 3.0, Qt::SolidLine, Qt::RoundCap);
        }
        return made;
    }();
    return pens;
}

} // namespace

KVLockView::KVLockView(QWidget *parent)
    : QWidget(parent) {
    m_spinTimer.setInterval(kStepInterval);
    connect(&m_spinTimer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % kSpokeCount;
        update(spinnerRect().toAlignedRect().adjusted(-1, -1, 1, 1));
    });
    // Clicks under the veil must not reach the window or the list beneath it.
    setAttribute(Qt::WA_NoMousePropagation);
    setMouseTracking(true);
}

void KVLockView::updateAnimation() {
    const bool shouldRun = parentWidget() != nullptr && isVisible();
    if (shouldRun && !m_spinTimer.isActive())
        m_spinTimer.start();
    else if (!shouldRun)
        m_spinTimer.stop();
}

QRectF KVLockView::spinnerRect() const {
    return QRectF((width() - kSpinnerSize) * 0.5, (height() - kSpinnerSize) * 0.5, kSpinnerSize,
                  kSpinnerSize);
}

void KVLockView::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    // The whole veil, indicator included, is drawn at half opacity, like a translucent layer.
    painter.setOpacity(0.5);
    painter.fillRect(event->rect(), veilColor());

    const QRectF spinner = spinnerRect();
    if (!event->rect().intersects(spinner.toAlignedRect()))
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(spinner.center());
    const double outer = kSpinnerSize * 0.5;
    for (int spoke = 0; spoke < kSpokeCount; ++spoke) {
        painter.setPen(spokePens()[(m_step - spoke + kSpokeCount) % kSpokeCount]);
        const double angle = 2.0 * std::numbers::pi * spoke / kSpokeCount;
        const QPointF direction(std::sin(angle), -std::cos(angle));
        painter.drawLine(direction * outer * 0.5, direction * (outer - 2.0));
    }
}

void KVLockView::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    updateAnimation();
}

void KVLockView::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    updateAnimation();
}

void KVLockView::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ParentChange)
        updateAnimation();
}

void KVLockView::mousePressEvent(QMouseEvent *event) {
    event->accept();
}
void KVLockView::mouseReleaseEvent(QMouseEvent *event) {
    event->accept();
}
void KVLockView::mouseDoubleClickEvent(QMouseEvent *event) {
    event->accept();
}
void KVLockView::mouseMoveEvent(QMouseEvent *event) {
    event->accept();
}
void KVLockView::wheelEvent(QWheelEvent *event) {
    event->accept();
}
void KVLockView::contextMenuEvent(QContextMenuEvent *event) {
    event->accept();
}
