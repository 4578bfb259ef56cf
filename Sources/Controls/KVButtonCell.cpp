// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVButtonCell.h"

#include "KVGeometry.h"
#include "KVBundleImage.h"
#include "KVThreePartImage.h"

#include <QPainter>

namespace {

// Room on each side of the title, inside the caps.
constexpr int kKVTitleMargin = 12;

const KVThreePartImage &slices() {
    static const KVThreePartImage slices{KVButtonCell::leftUnitOfImage(),
                                         KVButtonCell::centralUnitOfImage(),
                                         KVButtonCell::rightUnitOfImage()};
    return slices;
}

} // namespace

KVButtonCell::KVButtonCell(QWidget *parent)
    : QPushButton(parent) {
}

KVButtonCell::KVButtonCell(const QString &title, QWidget *parent)
    : QPushButton(title, parent) {
}

QRectF KVButtonCell::leftUnitOfImage() {
    return QRectF(0, 0, 4, 32);
}

QRectF KVButtonCell::centralUnitOfImage() {
    return QRectF(4, 0, 3, 32);
}

QRectF KVButtonCell::rightUnitOfImage() {
    return QRectF(7, 0, 4, 32);
}

void KVButtonCell::setMouseOverButton(bool isMouseOverButton) {
    if (m_isMouseOverButton == isMouseOverButton)
        return;
    m_isMouseOverButton = isMouseOverButton;
    update();
}

QString KVButtonCell::imageName() const {
    // A disabled button never looks pressable, whatever the pointer does.
    if (!isEnabled())
        return QStringLiteral("ButtonSync_Disabled");
    if (isDown())
        return QStringLiteral("ButtonSync_Pressed");
    if (m_isMouseOverButton)
        return QStringLiteral("ButtonSync_Over");
    return QStringLiteral("ButtonSync_Normal");
}

QSize KVButtonCell::sizeHint() const {
    // The caps are drawn unscaled; a button as high as its picture keeps them crisp. It is as
    // wide as its title needs, in any language.
    return {widthForTitle(text()), static_cast<int>(leftUnitOfImage().height())};
}

int KVButtonCell::widthForTitle(const QString &title) const {
    const int caps = static_cast<int>(leftUnitOfImage().width() + rightUnitOfImage().width());
    return fontMetrics().horizontalAdvance(title) + caps + 2 * kKVTitleMargin;
}

void KVButtonCell::enterEvent(QEnterEvent *event) {
    setMouseOverButton(true);
    QPushButton::enterEvent(event);
}

void KVButtonCell::leaveEvent(QEvent *event) {
    setMouseOverButton(false);
    QPushButton::leaveEvent(event);
}

void KVButtonCell::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    const QRectF frame(0, 0, width(), height());
    drawInterior(painter, frame);
    drawTitle(painter, frame);
}

void KVButtonCell::drawInterior(QPainter &painter, const QRectF &frame) {
    const QImage &image = KVBundleImage::named(imageName());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    slices().draw(painter, image, KVFlippedRect(frame, height()));
    painter.restore();
}

void KVButtonCell::drawTitle(QPainter &painter, const QRectF &frame) {
    const QString title = text();
    if (title.isEmpty())
        return;
    static const QColor shadowColor = QColor::fromRgbF(1.0, 1.0, 1.0, 0.5);
    static const QColor enabledColor = QColor::fromRgbF(0.2, 0.2, 0.2, 1.0);
    static const QColor disabledColor = QColor::fromRgbF(0.2, 0.2, 0.2, 0.5);
    // The shadow lies one pixel below the title: (0, -1) with y up.
    const QRectF titleRect = KVFlippedRect(frame, height());
    painter.save();
    painter.setFont(font());
    painter.setPen(shadowColor);
    painter.drawText(titleRect.translated(0, 1), Qt::AlignCenter | Qt::TextSingleLine, title);
    painter.setPen(isEnabled() ? enabledColor : disabledColor);
    painter.drawText(titleRect, Qt::AlignCenter | Qt::TextSingleLine, title);
    painter.restore();
}
