// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSliderCell.h"

#include "KVGeometry.h"
#include "KVBundleImage.h"
#include "KVThreePartImage.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

#include <algorithm>
#include <cmath>

namespace {

const KVThreePartImage &slices() {
    static const KVThreePartImage slices{KVSliderCell::leftUnitOfImage(),
                                         KVSliderCell::centralUnitOfImage(),
                                         KVSliderCell::rightUnitOfImage()};
    return slices;
}

const QImage &lineImage() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Slider_Line"));
    return image;
}

// The groove stops short of the ends so that its caps hide under the knob at either extreme.
constexpr double kBarInset = 6.0;
constexpr double kDisabledOpacity = 0.5;

} // namespace

KVSliderCell::KVSliderCell(QWidget *parent)
    : QSlider(Qt::Horizontal, parent) {
}

QRectF KVSliderCell::leftUnitOfImage() {
    return QRectF(0, 0, 2, 5);
}

QRectF KVSliderCell::centralUnitOfImage() {
    return QRectF(2, 0, 3, 5);
}

QRectF KVSliderCell::rightUnitOfImage() {
    return QRectF(5, 0, 2, 5);
}

QString KVSliderCell::knobImageName() const {
    if (isEnabled() && isSliderDown())
        return QStringLiteral("Slider_Bulbe_Pressed");
    return QStringLiteral("Slider_Bulbe_Normal");
}

QSize KVSliderCell::sizeHint() const {
    QSize size = QSlider::sizeHint();
    const QImage &knob = KVBundleImage::named(QStringLiteral("Slider_Bulbe_Normal"));
    size.setHeight(std::max(size.height(), knob.height()));
    return size;
}

QSize KVSliderCell::minimumSizeHint() const {
    QSize size = QSlider::minimumSizeHint();
    const QImage &knob = KVBundleImage::named(QStringLiteral("Slider_Bulbe_Normal"));
    size.setHeight(std::max(size.height(), knob.height()));
    return size;
}

void KVSliderCell::paintEvent(QPaintEvent *) {
    QStyleOptionSlider option;
    initStyleOption(&option);
    // The style keeps deciding where the groove and the handle are, so that clicks and drags
    // land where the pictures are drawn.
    const QRect groove =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
    const QRect handle =
        style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(isEnabled() ? 1.0 : kDisabledOpacity);
    drawBarInside(painter, flipped(groove));
    drawKnob(painter, flipped(handle));
}

void KVSliderCell::drawBarInside(QPainter &painter, const QRectF &barRect) {
    const QImage &line = lineImage();
    if (line.isNull())
        return;
    const double height = line.height();
    const QRectF track(std::trunc(barRect.x() + kBarInset),
                       std::trunc(barRect.y() + (barRect.height() - height) * 0.5),
                       std::ceil(barRect.width() - 2.0 * kBarInset), height);
    slices().draw(painter, line, flipped(track));
}

void KVSliderCell::drawKnob(QPainter &painter, const QRectF &knobRect) {
    const QImage &knob = KVBundleImage::named(knobImageName());
    if (knob.isNull())
        return;
    const QPointF origin(std::ceil(knobRect.x() + (knobRect.width() - knob.width()) * 0.5),
                         std::trunc(knobRect.y() + (knobRect.height() - knob.height()) * 0.5));
    painter.drawImage(flipped(QRectF(origin, knob.size())), knob);
}

QRectF KVSliderCell::flipped(const QRectF &rect) const {
    return KVFlippedRect(rect, height());
}
