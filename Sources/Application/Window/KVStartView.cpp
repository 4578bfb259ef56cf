// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVStartView.h"

#include "KVAppDelegate.h"
#include "KVBundleImage.h"
#include "KVFileName.h"
#include "KVGeometry.h"

#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>

namespace {

constexpr double kTextGap = 20.0;

// A picture's size in view points, so that a high-density rendering keeps its layout.
QSizeF pointSize(const QImage &image) {
    return image.isNull() ? QSizeF(0.0, 0.0) : image.deviceIndependentSize();
}

} // namespace

KVStartView::KVStartView(QWidget *parent)
    : QWidget(parent) {
    setAcceptDrops(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void KVStartView::setAppDelegate(KVAppDelegate *delegate) {
    m_dropHandler = [delegate](const QList<QUrl> &urls) {
        if (delegate)
            delegate->cameraSets().addNewFilesFromURLs(urls);
    };
}

QColor KVStartView::backgroundColor() {
    static const QColor color = QColor::fromRgbF(0.89f, 0.91f, 0.93f, 1.0f);
    return color;
}

QColor KVStartView::colorForText() {
    static const QColor color = QColor::fromRgbF(109.0f / 255.0f, 117.0f / 255.0f, 127.0f / 255.0f);
    return color;
}

const QImage &KVStartView::backgroundImage() {
    return KVBundleImage::named(QStringLiteral("CameraImage"));
}

const QString &KVStartView::backgroundText() {
    static const QString text = tr("Drag the photos that you want to sync here");
    return text;
}

const KVTextAttributes &KVStartView::backgroundTextAttributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = KVLucidaGrande(15.0);
        made.color = colorForText();
        made.hasShadow = true;
        made.shadowColor = Qt::white;
        made.shadowOffset = QPointF(1.0, -1.0);
        return made;
    }();
    return attributes;
}

KVStartView::Layout KVStartView::layoutFor(const QSizeF &bounds, const QSizeF &imageSize,
                                           const QSizeF &textSize) {
    const double W = bounds.width(), H = bounds.height();
    const double iw = imageSize.width(), ih = imageSize.height();
    const double tw = textSize.width(), th = textSize.height();
    // The block's vertical centring counts the text and the gap against the picture, as the
    // view has always placed it; the numbers are not rounded.
    const double y = (H - (ih - th - kTextGap)) * 0.5;
    Layout layout;
    layout.imageRect = QRectF((W - iw) * 0.5, y, iw, ih);
    layout.textRect = QRectF((W - tw) * 0.5, y - (th + kTextGap), tw, th);
    return layout;
}

KVStartView::Layout KVStartView::currentLayout() const {
    return layoutFor(size(), pointSize(backgroundImage()),
                     KVSizeWithAttributes(backgroundText(), backgroundTextAttributes()));
}

Qt::DropAction KVStartView::dragOperation(const QMimeData *data) {
    return data && data->hasUrls() && !data->urls().isEmpty() ? Qt::CopyAction : Qt::IgnoreAction;
}

QList<QUrl> KVStartView::droppedFileURLs(const QMimeData *data) {
    QList<QUrl> urls;
    if (!data)
        return urls;
    for (const QUrl &dropped : data->urls()) {
        // Anything that is not a local file (a web address, an empty entry) has no path.
        const QString path = KVFileName::path(dropped);
        if (!path.isEmpty())
            urls << KVFileName::url(path);
    }
    return urls;
}

void KVStartView::paintEvent(QPaintEvent *event) {
    QPainter painter(this);
    painter.fillRect(event->rect(), backgroundColor());
    const Layout layout = currentLayout();
    const double H = height();
    const QImage &image = backgroundImage();
    if (!image.isNull())
        painter.drawImage(KVFlippedRect(layout.imageRect, H), image);
    KVDrawString(painter, backgroundText(), KVFlippedRect(layout.textRect, H).topLeft(),
                 backgroundTextAttributes());
}

void KVStartView::dragEnterEvent(QDragEnterEvent *event) {
    const Qt::DropAction action = dragOperation(event->mimeData());
    if (action == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(action);
    event->accept();
}

void KVStartView::dragMoveEvent(QDragMoveEvent *event) {
    if (dragOperation(event->mimeData()) == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void KVStartView::dropEvent(QDropEvent *event) {
    if (dragOperation(event->mimeData()) == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    // Names that all lack a path still hand an empty list on, as the delegate expects.
    const QList<QUrl> urls = droppedFileURLs(event->mimeData());
    if (m_dropHandler)
        m_dropHandler(urls);
}
