// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QImage>
#include <QString>

// A picture of the application's own, by the name the drawing code knows it by
// ("Display", "ButtonSync_Normal"...). Each is decoded once and kept for the life of the
// process; a name that is not there gives a null image (and one log line), never a crash.
class KVBundleImage {
public:
    static const QImage &named(const QString &name);
};
