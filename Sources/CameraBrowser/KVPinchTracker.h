// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QPointF>

#include <optional>

class QTouchEvent;

// Turns a two-finger pinch into zoom steps: the change of the distance between the fingers,
// once it has passed a threshold, in halves.
class KVPinchTracker {
public:
    static constexpr double startThreshold = 10.0;

    struct Step {
        double delta;
        // Where the fingers are on a touch screen; none on a touch pad (the pointer is used).
        std::optional<QPointF> position;
    };
    // A step to zoom by, or none while the fingers have not moved far enough.
    std::optional<Step> touchEvent(const QTouchEvent &event);

    bool isTracking() const { return m_isTracking; }

private:
    std::optional<double> m_previousDistance;
    bool m_isTracking = false;
};
