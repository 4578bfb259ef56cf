// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTestExif.h"

#include "KVFileName.h"
#include "KVTestSupport.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <exiv2/exiv2.hpp>

#include <stdexcept>

namespace KVTest {

bool writeExif(const QString &path, const QMap<QString, QString> &values) {
    try {
        Exiv2::Image::AutoPtr image =
            Exiv2::ImageFactory::open(KVFileName::encode(path).toStdString());
        image->readMetadata();
        Exiv2::ExifData &exif = image->exifData();
        for (auto it = values.begin(); it != values.end(); ++it) {
            const Exiv2::ExifKey key(it.key().toStdString());
            auto found = exif.findKey(key);
            if (found != exif.end())
                exif.erase(found);
            if (!it.value().isEmpty())
                exif[it.key().toStdString()] = it.value().toStdString();
        }
        image->writeMetadata();
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

QString readExif(const QString &path, const QString &key) {
    try {
        Exiv2::Image::AutoPtr image =
            Exiv2::ImageFactory::open(KVFileName::encode(path).toStdString());
        image->readMetadata();
        const Exiv2::ExifData &exif = image->exifData();
        auto found = exif.findKey(Exiv2::ExifKey(key.toStdString()));
        if (found == exif.end())
            return {};
        return QString::fromStdString(found->toString());
    } catch (const std::exception &) {
        return {};
    }
}

namespace {
const QString dateFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");
const QStringList dateKeys = {QStringLiteral("Exif.Photo.DateTimeOriginal"),
                              QStringLiteral("Exif.Photo.DateTimeDigitized"),
                              QStringLiteral("Exif.Image.DateTime")};
} // namespace

QStringList makeDatedPhotos(const QString &folder, int count, const QString &sample) {
    QDir().mkpath(folder);
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString path = folder + QStringLiteral("/p%1.jpg").arg(i, 2, 10, QLatin1Char('0'));
        QFile::remove(path);
        if (!QFile::copy(samplePath(sample), path))
            throw std::runtime_error("could not copy " + sample.toStdString());
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QMap<QString, QString> tags;
        for (const QString &key : dateKeys)
            tags.insert(key,
                        QDateTime(QDate(2024, 6, 1), QTime(12, i % 60, 0)).toString(dateFormat));
        if (!writeExif(path, tags))
            throw std::runtime_error("could not date " + path.toStdString());
        paths << path;
    }
    return paths;
}

QMap<QString, QStringList> dateTags(const QStringList &paths) {
    QMap<QString, QStringList> result;
    for (const QString &path : paths) {
        QStringList tags;
        for (const QString &key : dateKeys)
            tags << readExif(path, key);
        result.insert(path, tags);
    }
    return result;
}

QMap<QString, QStringList> shiftedDateTags(QMap<QString, QStringList> dates, qint64 seconds,
                                           const QStringList &only) {
    for (auto it = dates.begin(); it != dates.end(); ++it) {
        if (!only.isEmpty() && !only.contains(it.key()))
            continue;
        for (QString &date : it.value()) {
            QDateTime wallClock = QDateTime::fromString(date, dateFormat);
            wallClock.setTimeSpec(Qt::UTC);
            date = wallClock.addSecs(seconds).toString(dateFormat);
        }
    }
    return dates;
}

} // namespace KVTest
