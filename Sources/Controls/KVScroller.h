// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPointer>
#include <QScrollBar>

// The horizontal scroll bar of a timeline: a pale slot without arrows and a rounded knob. A
// wheel turn without any sideways movement is handed to `parent` (the camera list), so that
// turning the wheel over a timeline's bar scrolls the list rather than the timeline.
class KVScroller : public QScrollBar {
    Q_OBJECT
    // Named after the view it forwards to; the accessors avoid QObject::parent/setParent.
    Q_PROPERTY(QWidget *parent READ parentView WRITE setParentView)

public:
    explicit KVScroller(QWidget *parent = nullptr);

    QWidget *parentView() const { return m_parentView; }
    void setParentView(QWidget *view) { m_parentView = view; }

    static const QColor &slotColor();
    static const QColor &borderColor();

protected:
    void wheelEvent(QWheelEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    // Both rectangles are in y-up coordinates of the widget.
    void drawKnobSlot(QPainter &painter, const QRectF &slotRect);
    void drawKnob(QPainter &painter, const QRectF &knobRect);
    QRectF flipped(const QRectF &rect) const;

    // Not owned: the list outlives its rows, and a vanished one is simply no longer told.
    QPointer<QWidget> m_parentView;
};
