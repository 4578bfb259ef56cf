// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTimelineScrollView.h"

#include "KVCameraViewDocumentView.h"
#include "KVScroller.h"

#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

KVTimelineScrollView::KVTimelineScrollView(QWidget *parent)
    : QWidget(parent)
    , m_documentView(new KVCameraViewDocumentView(this)) {
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_documentView, 1);
    connect(m_documentView, &KVCameraViewDocumentView::documentGeometryChanged, this,
            &KVTimelineScrollView::documentGeometryChanged);
    setHorizontalScrollBar(new KVScroller);
}

KVTimelineScrollView::~KVTimelineScrollView() = default;

void KVTimelineScrollView::setHorizontalScrollBar(QScrollBar *scrollBar) {
    if (!scrollBar || scrollBar == m_scrollBar)
        return;
    delete m_scrollBar;
    m_scrollBar = scrollBar;
    m_scrollBar->setOrientation(Qt::Horizontal);
    static_cast<QVBoxLayout *>(layout())->addWidget(m_scrollBar);
    connect(m_scrollBar, &QScrollBar::valueChanged, this, &KVTimelineScrollView::scrollBarMoved);
    documentGeometryChanged();
}

QRectF KVTimelineScrollView::documentVisibleRect() const {
    return m_documentView->visibleRect();
}

QSizeF KVTimelineScrollView::contentSize() const {
    return QSizeF(m_documentView->size());
}

void KVTimelineScrollView::scrollToOriginX(double x) {
    m_documentView->setVisibleOriginX(x);
}

void KVTimelineScrollView::documentGeometryChanged() {
    const double visibleWidth = m_documentView->width();
    const double scrollable = std::max(0.0, m_documentView->documentWidth() - visibleWidth);
    // Whole pixels while they fit an int; beyond that each step is a fraction of the document.
    m_stepWidth = scrollable > maxScrollRange ? scrollable / maxScrollRange : 1.0;
    const int maximum = scrollable > maxScrollRange ? maxScrollRange : int(std::ceil(scrollable));
    const int value = int(std::lround(m_documentView->visibleOriginX() / m_stepWidth));
    const int page = int(std::clamp(visibleWidth / m_stepWidth, 1.0, double(maxScrollRange)));
    {
        // The bar follows the document here; only a move by the user scrolls the document.
        const QSignalBlocker blocker(m_scrollBar);
        m_scrollBar->setRange(0, maximum);
        m_scrollBar->setPageStep(page);
        m_scrollBar->setSingleStep(std::max(1, int(20 / m_stepWidth)));
        m_scrollBar->setValue(value);
    }
    emit boundsChanged();
}

void KVTimelineScrollView::scrollBarMoved(int value) {
    // A step of the bar may be wider than a pixel; the document is only moved when the bar's
    // position really differs from it, so that the double offset is not rounded on every change.
    const double target = value * m_stepWidth;
    if (std::lround(m_documentView->visibleOriginX() / m_stepWidth) != value)
        m_documentView->setVisibleOriginX(target);
}
