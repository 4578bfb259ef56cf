// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// The date tags of photos as exiftool reads them back from disk, EXIF and XMP alike, so that
// what the program wrote is judged by another reader than its own.
class KVDiskDates {
public:
    // File name -> "group:tag" -> value, for every tag whose name holds "Date".
    using Dates = QMap<QString, QMap<QString, QString>>;

    static Dates read(const QStringList &paths, QString *error);

    // Every date tag of every listed file equal to its expected wall-clock time; otherwise a
    // description of the first few differences. XMP values may carry a zone after the time.
    static QString differences(const Dates &dates, const QMap<QString, QString> &expected);
};
