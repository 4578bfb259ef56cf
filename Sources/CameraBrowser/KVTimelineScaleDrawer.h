// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QRect>

class KVTimelineLayout;
class QPainter;

// Draws a timeline's background, axis line, ticks and unit labels for a dirty area of the
// visible part (widget coordinates; the widget is as wide as what is visible).
class KVTimelineScaleDrawer {
public:
    static void draw(QPainter &painter, const KVTimelineLayout &layout, const QRect &dirty,
                     const QSize &widgetSize);
};
