// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPointF>

class QMouseEvent;

// Counts clicks as the timeline's rules need them (1, 2, 3, 4...). Qt tells a double click from a
// click but counts no further: a press soon after a double click, close to it, continues the
// count, and the double click Qt reports after it is the fourth.
class KVClickCounter {
public:
    // For a press or a double click event; anything else counts as a first click.
    int countFor(const QMouseEvent &event);

private:
    int m_count = 0;
    quint64 m_timestamp = 0;
    QPointF m_position;
};
