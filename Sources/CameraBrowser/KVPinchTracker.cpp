// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVPinchTracker.h"

#include <QInputDevice>
#include <QTouchEvent>

#include <cmath>
#include <vector>

std::optional<KVPinchTracker::Step> KVPinchTracker::touchEvent(const QTouchEvent &event) {
    if (event.type() == QEvent::TouchEnd || event.type() == QEvent::TouchCancel) {
        m_previousDistance.reset();
        m_isTracking = false;
        return std::nullopt;
    }
    const QInputDevice *device = event.device();
    const bool pad = device && device->type() == QInputDevice::DeviceType::TouchPad;
    const QSizeF padSize = pad ? device->availableVirtualGeometry().size() : QSizeF();
    bool began = event.type() == QEvent::TouchBegin;
    std::vector<QPointF> points;
    for (const QEventPoint &point : event.points()) {
        if (point.state() == QEventPoint::Released)
            continue;
        if (point.state() == QEventPoint::Pressed)
            began = true;
        // A touch pad reports where on the pad, not on the screen: measured in the pad's size.
        if (pad && !padSize.isEmpty())
            points.emplace_back(point.normalizedPosition().x() * padSize.width(),
                                point.normalizedPosition().y() * padSize.height());
        else
            points.push_back(point.position());
    }
    const auto distance = [&points] {
        return std::hypot(points[0].x() - points[1].x(), points[0].y() - points[1].y());
    };
    if (began) {
        m_isTracking = false;
        m_previousDistance = points.size() == 2 ? std::optional<double>(distance()) : std::nullopt;
        return std::nullopt;
    }
    if (points.size() != 2 || !m_previousDistance)
        return std::nullopt;
    const double current = distance();
    const double delta = current - *m_previousDistance;
    // The pair stays stored, so that small movements add up until they pass the threshold.
    if (!m_isTracking && std::abs(delta) < startThreshold)
        return std::nullopt;
    m_isTracking = true;
    m_previousDistance = current;
    Step step{delta * 0.5, std::nullopt};
    if (!pad)
        step.position = (points[0] + points[1]) / 2;
    return step;
}
