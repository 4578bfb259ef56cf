#include "KVDiskDates.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

KVDiskDates::Dates KVDiskDates::read(const QStringList &paths, QString *error) {
    QProcess process;
    // -G1 and -a keep the EXIF and the XMP copy of a tag apart.
    process.start(QStringLiteral(KALVORA_EXIFTOOL),
                  QStringList{QStringLiteral("-j"), QStringLiteral("-G1"), QStringLiteral("-a"),
                              QStringLiteral("-DateTimeOriginal"), QStringLiteral("-CreateDate"),
                              QStringLiteral("-ModifyDate"), QStringLiteral("-XMP:all")} +
                      paths);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        *error = QStringLiteral("exiftool did not finish: %1").arg(process.errorString());
        return {};
    }
    QJsonParseError parseError;
    const QJsonDocument json =
        QJsonDocument::fromJson(process.readAllStandardOutput(), &parseError);
    if (!json.isArray()) {
        *error = QStringLiteral("exiftool's answer is no JSON array: %1 (%2)")
                     .arg(parseError.errorString(),
                          QString::fromLocal8Bit(process.readAllStandardError()));
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
