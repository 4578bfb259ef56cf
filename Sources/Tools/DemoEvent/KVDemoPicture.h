// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVDemoEvent.h"

#include <QImage>

// The picture of one demo shot: the true moment as a clock face and as text, the scene and the
// camera, large enough to match shots of one moment across cameras by eye.
class KVDemoPicture {
public:
    static const QSize size;

    // Needs a QGuiApplication for its fonts.
    static QImage draw(const KVDemoEvent &event, const KVDemoEvent::Shot &shot);

private:
    static void drawBackground(QPainter &painter, const QColor &color, quint32 grain);
    static void drawClock(QPainter &painter, const QPointF &center, qreal radius, QTime time);
};
