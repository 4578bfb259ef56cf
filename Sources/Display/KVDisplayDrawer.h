// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVStringDrawing.h"

#include <QColor>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QRectF>

#include <optional>

class KVDisplayView;
class QImage;
class QPainter;

// A shadow as the labels cast it. The offset is lower-left-origin: (0, -1) is one pixel down.
struct KVShadow {
    QPointF offset;
    QColor color;
};

// One paint of the display as its layers share it, like a graphics context: the painter, and
// a shadow a drawer left set for everything painted after it.
struct KVDisplayGraphicsState {
    QPainter &painter;
    std::optional<KVShadow> shadow;
};

// Paints the content of the display between its background and its glare. Drawers are shared
// for the life of the program, so they only point at their view and never own it.
class KVDisplayDrawer : public QObject {
    Q_OBJECT
public:
    explicit KVDisplayDrawer(KVDisplayView *view);
    ~KVDisplayDrawer() override;

    static const QColor &labelsColor();
    static const KVShadow &labelsShadow();
    static const QFont &labelsFont();

    virtual void draw(KVDisplayGraphicsState &state) = 0;

    KVDisplayView *view() const;
    void setView(KVDisplayView *view);

protected:
    // The view's bounds, lower-left-origin; empty without a view.
    QRectF bounds() const;
    // Turns a rectangle of the drawing geometry into the view's coordinates.
    QRectF flipped(const QRectF &rect) const;
    // Draws part of a picture into the view. The source is lower-left-origin within the
    // picture, in its natural units; a null picture or an empty target draws nothing.
    static void drawPicture(QPainter &painter, const QImage &picture, const QRectF &source,
                            const QRectF &target);

private:
    QPointer<KVDisplayView> m_view;
};
