// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPointF>

// What a camera row keeps of itself while it is out of view: the zoom slider, and where the
// timeline was scrolled to. A value, so that it can be read from anywhere.
struct KVRestoreDate {
    double minValue = 0;
    double maxValue = 0;
    double currentValue = 0;
    // Kept for completeness; a row coming back is zoomed about its slider value, not scrolled here.
    QPointF leftEdge;
};
