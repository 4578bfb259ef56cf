// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVClickCounter.h"

#include <QApplication>
#include <QMouseEvent>

int KVClickCounter::countFor(const QMouseEvent &event) {
    const bool continues =
        m_count > 0 && event.timestamp() >= m_timestamp &&
        event.timestamp() - m_timestamp <= quint64(QApplication::doubleClickInterval()) &&
        (event.position() - m_position).manhattanLength() <= QApplication::startDragDistance();
    int count = 1;
    if (event.type() == QEvent::MouseButtonDblClick)
        count = continues ? m_count + 1 : 2;
    else if (event.type() == QEvent::MouseButtonPress && continues && m_count % 2 == 0)
        count = m_count + 1;
    m_count = count;
    m_timestamp = event.timestamp();
    m_position = event.position();
    return count;
}
