// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplayStringDrawer.h"

KVDisplayStringDrawer::KVDisplayStringDrawer(KVDisplayView *view)
    : KVDisplayDrawer(view) {
}

QString KVDisplayStringDrawer::string() const {
    return m_string;
}

void KVDisplayStringDrawer::setString(const QString &string) {
    m_string = string;
}

void KVDisplayStringDrawer::draw(KVDisplayGraphicsState &state) {
    if (m_string.isNull() || !view())
        return;
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = labelsFont();
        made.color = labelsColor();
        made.hasShadow = true;
        made.shadowColor = labelsShadow().color;
        made.shadowOffset = labelsShadow().offset;
        made.alignment = Qt::AlignHCenter;
        return made;
    }();
    // The shadow stays set for the glare painted after the message; the display has always
    // looked like that.
    state.shadow = labelsShadow();
    drawInCenterOfRect(state.painter, m_string, flipped(bounds()), attributes);
}
