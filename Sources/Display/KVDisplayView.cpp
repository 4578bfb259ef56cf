// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplayView.h"

#include "KVBundleImage.h"
#include "KVDisplayImageFileDrawer.h"
#include "KVDisplayStringDrawer.h"
#include "KVDisplaySynchProgressDrawer.h"

#include <QPainter>

namespace {

// The drawers are never destroyed: an exit-time destructor could otherwise reach a queue or a
// view that went first.
template <typename Drawer> Drawer *sharedDrawer(KVDisplayView *asking) {
    static Drawer *drawer = new Drawer(asking);
    if (!drawer->view())
        drawer->setView(asking);
    return drawer;
}

// The glare as the labels' shadow would cast it: its own shape in the shadow's colour.
const QImage &blikShadowImage() {
    static const QImage shadow = [] {
        QImage image = KVDisplayView::backgroundBlikImage();
        if (image.isNull())
            return image;
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), KVDisplayDrawer::labelsShadow().color);
        return image;
    }();
    return shadow;
}

} // namespace

KVDisplayView::KVDisplayView(QWidget *parent)
    : QWidget(parent) {
}

KVDisplayView::~KVDisplayView() = default;

KVDisplayDrawer *KVDisplayView::drawer() const {
    return m_drawer.load();
}

void KVDisplayView::setDrawer(KVDisplayDrawer *drawer) {
    m_drawer.store(drawer);
}

KVDisplayImageFileDrawer *KVDisplayView::imageFileDrawer() {
    return sharedDrawer<KVDisplayImageFileDrawer>(this);
}

KVDisplayStringDrawer *KVDisplayView::stringDrawer() {
    return sharedDrawer<KVDisplayStringDrawer>(this);
}

KVDisplaySynchProgressDrawer *KVDisplayView::progressDrawer() {
    return sharedDrawer<KVDisplaySynchProgressDrawer>(this);
}

void KVDisplayView::drawImageFile(const KVImageFileRef &imageFile, const QString &cameraName) {
    imageFileDrawer()->setImageFile(imageFile, cameraName);
    makeCurrent(imageFileDrawer());
}

void KVDisplayView::drawString(const QString &string) {
    stringDrawer()->setString(string);
    makeCurrent(stringDrawer());
}

void KVDisplayView::startDrawSynchProgress(KVOperationQueue *queue) {
    setDrawer(progressDrawer());
    progressDrawer()->startWithQueue(queue);
    update();
}

void KVDisplayView::drawSyncProcess() {
    makeCurrent(progressDrawer());
}

void KVDisplayView::makeCurrent(KVDisplayDrawer *drawer) {
    setDrawer(drawer);
    update();
}

const QImage &KVDisplayView::backgroundImage() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Display"));
    return image;
}

const QImage &KVDisplayView::backgroundBlikImage() {
    static const QImage &image = KVBundleImage::named(QStringLiteral("Display_Blik"));
    return image;
}

QSize KVDisplayView::sizeHint() const {
    if (backgroundImage().isNull())
        return QWidget::sizeHint();
    return backgroundImage().deviceIndependentSize().toSize();
}

void KVDisplayView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    KVDisplayGraphicsState state{painter, std::nullopt};
    drawBackground(state);
    if (KVDisplayDrawer *current = drawer())
        current->draw(state);
    drawSpeck(state);
}

void KVDisplayView::drawBackground(KVDisplayGraphicsState &state) {
    if (!backgroundImage().isNull())
        state.painter.drawImage(QRectF(rect()), backgroundImage());
}

void KVDisplayView::drawSpeck(KVDisplayGraphicsState &state) {
    if (backgroundBlikImage().isNull())
        return;
    const QRectF whole(rect());
    if (state.shadow) {
        // Qt's y runs down, the shadow's offset up.
        const QPointF offset(state.shadow->offset.x(), -state.shadow->offset.y());
        state.painter.drawImage(whole.translated(offset), blikShadowImage());
    }
    state.painter.drawImage(whole, backgroundBlikImage());
}
