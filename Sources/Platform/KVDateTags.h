// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

#include <array>
#include <optional>
#include <string>
#include <vector>

// The six tags a photo's capture date is written to, as Exiv2 reads them from a file. Dates are
// wall-clock text "yyyy:MM:dd HH:mm:ss" without a zone; XMP's form ("2011-01-02T03:04:05") is
// brought to that shape, and a tag that is absent reads as an empty text.
struct KVDateTags {
    static constexpr size_t count = 6;
    std::array<QString, count> texts;

    // The date the program shifts: DateTimeOriginal, else DateTimeDigitized; empty when
    // neither holds a date.
    QString captureDateText() const;
    // Whether every one of the six tags holds exactly this date.
    bool allAre(const QString &dateText) const;

    // Nothing when Exiv2 cannot read the file's metadata.
    static std::optional<KVDateTags> read(const QString &path);
    // The tool's arguments that set all six tags to dateText.
    static std::vector<std::string> toolArguments(const QString &dateText);

    // Wall-clock arithmetic on the text alone, so that N seconds are N seconds in every time
    // zone and across every daylight-saving change. Empty when the text is not a valid date
    // or the result leaves the years 1 to 9999.
    static QString shifted(const QString &dateText, qint64 seconds);
};
