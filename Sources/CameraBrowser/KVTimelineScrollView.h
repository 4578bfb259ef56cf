// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QRectF>
#include <QWidget>

class KVCameraViewDocumentView;
class QScrollBar;

// The horizontal scroll view of a camera row: the timeline and a scroll bar under it. The
// timeline's offset is a double and its width may pass what an int holds, so the bar works in
// steps of a whole number of pixels, or of a fraction of the document when it is that wide.
class KVTimelineScrollView : public QWidget {
    Q_OBJECT
public:
    explicit KVTimelineScrollView(QWidget *parent = nullptr);
    ~KVTimelineScrollView() override;

    KVCameraViewDocumentView *documentView() const { return m_documentView; }
    QScrollBar *horizontalScrollBar() const { return m_scrollBar; }
    // The skinned KVScroller to begin with; its parentView is the row's to set. Another bar can be
    // put in: the view takes it over and deletes the old one.
    void setHorizontalScrollBar(QScrollBar *scrollBar);

    // The part of the document in view, in document coordinates (y up).
    QRectF documentVisibleRect() const;
    QSizeF contentSize() const;
    void scrollToOriginX(double x);

    // The bar's range when the document is wider than this; beyond it each step is a fraction.
    static constexpr int maxScrollRange = 1 << 30;

signals:
    // The visible origin moved or the visible area changed size.
    void boundsChanged();

private:
    void documentGeometryChanged();
    void scrollBarMoved(int value);

    KVCameraViewDocumentView *m_documentView = nullptr;
    QScrollBar *m_scrollBar = nullptr;
    double m_stepWidth = 1.0;
};
