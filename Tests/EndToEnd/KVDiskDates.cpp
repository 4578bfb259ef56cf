// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDiskDates.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include "KVTestSupport.h"

KVDiskDates::Dates KVDiskDates::read(const QStringList &paths, QString *error) {
    // -G1 and -a keep the EXIF and the XMP copy of a tag apart; -q -q keeps warnings out of
    // the JSON.
    QByteArray output;
    const int status = KVTest::runProgram(
        QStringLiteral(KALVORA_EXIFTOOL),
        QStringList{QStringLiteral("-q"), QStringLiteral("-q"), QStringLiteral("-j"),
                    QStringLiteral("-G1"), QStringLiteral("-a"),
                    QStringLiteral("-DateTimeOriginal"), QStringLiteral("-CreateDate"),
                    QStringLiteral("-ModifyDate"), QStringLiteral("-XMP:all")} +
            paths,
        &output);
    if (status < 0) {
        *error = QStringLiteral("exiftool did not run");
        return {};
    }
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(output, &parseError);
    if (!json.isArray()) {
        *error = QStringLiteral("exiftool's answer is no JSON array: %1 (%2)")
                     .arg(parseError.errorString(), QString::fromLocal8Bit(output.left(2000)));
        return {};
    }
    Dates dates;
    for (const QJsonValue &entry : json.array()) {
        const QJsonObject object = entry.toObject();
        QMap<QString, QString> &tags =
            dates[QFileInfo(object[QStringLiteral("SourceFile")].toString()).fileName()];
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (it.key().contains(QLatin1String("Date")))
                tags.insert(it.key(), it.value().toString());
        }
    }
    return dates;
}

QString KVDiskDates::differences(const Dates &dates, const QMap<QString, QString> &expected) {
    // The three EXIF tags the cameras wrote must always be there; XMP ones once the program
    // has written a file.
    static const QStringList exifTags{QStringLiteral("ExifIFD:DateTimeOriginal"),
                                      QStringLiteral("ExifIFD:CreateDate"),
                                      QStringLiteral("IFD0:ModifyDate")};
    QStringList found;
    int count = 0;
    for (auto file = expected.begin(); file != expected.end(); ++file) {
        const QMap<QString, QString> tags = dates.value(file.key());
        QStringList wrong;
        for (const QString &tag : exifTags) {
            if (!tags.contains(tag))
                wrong << tag + QStringLiteral(" missing");
        }
        for (auto tag = tags.begin(); tag != tags.end(); ++tag) {
            if (tag.value().left(19) != file.value())
                wrong << QStringLiteral("%1 %2").arg(tag.key(), tag.value());
        }
        if (wrong.isEmpty())
            continue;
        if (++count <= 5) {
            found << QStringLiteral("%1: expected %2, found %3")
                         .arg(file.key(), file.value(), wrong.join(QStringLiteral(", ")));
        }
    }
    if (count > 5)
        found << QStringLiteral("… %1 files in all").arg(count);
    return found.join(QLatin1Char('\n'));
}
