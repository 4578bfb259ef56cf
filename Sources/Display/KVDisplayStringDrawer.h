// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVDisplayDrawer.h"

#include <QString>

// Shows a hint or message centred in the display, line by line.
class KVDisplayStringDrawer : public KVDisplayDrawer {
    Q_OBJECT
public:
    explicit KVDisplayStringDrawer(KVDisplayView *view);

    QString string() const;
    void setString(const QString &string);

    void draw(KVDisplayGraphicsState &state) override;

private:
    QString m_string;
};
