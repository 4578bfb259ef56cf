// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace KVTest {
// Writes (or, with an empty value, removes) Exiv2 keys such as "Exif.Image.Make" in a file.
bool writeExif(const QString &path, const QMap<QString, QString> &values);
// The value of one Exiv2 key as stored, or a null string when absent.
QString readExif(const QString &path, const QString &key);
// Copies of a sample as folder/p00.jpg, p01.jpg..., each with its three EXIF date tags at
// 2024:06:01 12:00:00 plus i minutes, so that a shift and its undo show in every tag.
QStringList makeDatedPhotos(const QString &folder, int count,
                            const QString &sample = QStringLiteral("cameras/Canon_40D.jpg"));
// The three EXIF date tags of each file (original, digitized, modified), as Exiv2 reads them.
QMap<QString, QStringList> dateTags(const QStringList &paths);
// The same dates moved by `seconds`, for the paths in `only` (every path when it is empty).
QMap<QString, QStringList> shiftedDateTags(QMap<QString, QStringList> dates, qint64 seconds,
                                           const QStringList &only = {});
} // namespace KVTest
