// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVLinkButtonCell.h"

#include <QDesktopServices>
#include <QMouseEvent>
#include <QPainter>
#include <QUrl>

KVLinkButtonCell::KVLinkButtonCell(QWidget *parent)
    : KVLinkButtonCell(QString(), QString(), parent) {
}

KVLinkButtonCell::KVLinkButtonCell(const QString &title, const QString &alternateTitle,
                                   QWidget *parent)
    : QAbstractButton(parent)
    , m_alternateTitle(alternateTitle) {
    setText(title);
    // Qt shows a widget's cursor exactly while the pointer is over it.
    setCursor(Qt::PointingHandCursor);
}

const QColor &KVLinkButtonCell::linkColor() {
    static const QColor color = QColor::fromRgbF(0.098, 0.308, 0.78, 1.0);
    return color;
}

void KVLinkButtonCell::setHighlighted(bool isHighlighted) {
    if (m_isHighlighted == isHighlighted)
        return;
    m_isHighlighted = isHighlighted;
    update();
}

QSize KVLinkButtonCell::sizeHint() const {
    const QFontMetrics metrics(titleFont());
    return QSize(metrics.horizontalAdvance(text()) + 2, metrics.height());
}

void KVLinkButtonCell::enterEvent(QEnterEvent *event) {
    setHighlighted(true);
    QAbstractButton::enterEvent(event);
}

void KVLinkButtonCell::leaveEvent(QEvent *event) {
    setHighlighted(false);
    QAbstractButton::leaveEvent(event);
}

void KVLinkButtonCell::mousePressEvent(QMouseEvent *event) {
    // Opened on the press, before any tracking: the link reacts at once even if the click is
    // later dragged off and cancelled.
    if (event->button() == Qt::LeftButton && isEnabled() && !m_alternateTitle.isEmpty()) {
        const QUrl url(m_alternateTitle.trimmed(), QUrl::StrictMode);
        if (url.isValid() && !url.scheme().isEmpty())
            QDesktopServices::openUrl(url);
    }
    QAbstractButton::mousePressEvent(event);
}

void KVLinkButtonCell::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setFont(titleFont());
    painter.setPen(linkColor());
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
}

QFont KVLinkButtonCell::titleFont() const {
    QFont titleFont = font();
    titleFont.setUnderline(m_isHighlighted);
    return titleFont;
}
