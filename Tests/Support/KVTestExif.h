// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QMap>
#include <QString>

namespace KVTest {
// Writes (or, with an empty value, removes) Exiv2 keys such as "Exif.Image.Make" in a file.
bool writeExif(const QString &path, const QMap<QString, QString> &values);
// The value of one Exiv2 key as stored, or a null string when absent.
QString readExif(const QString &path, const QString &key);
} // namespace KVTest
