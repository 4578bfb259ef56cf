// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDateTags.h"

#include "KVFileName.h"
#include "KVImageSource.h"

#include <QDateTime>
#include <QFile>
#include <QTimeZone>

#include <exiv2/exiv2.hpp>

namespace {

// The same tags, named once for Exiv2 and once for the tool, in the same order.
constexpr std::array<const char *, KVDateTags::count> exiv2Keys = {
    "Exif.Image.DateTime",       "Exif.Photo.DateTimeOriginal", "Exif.Photo.DateTimeDigitized",
    "Xmp.exif.DateTimeOriginal", "Xmp.xmp.CreateDate",          "Xmp.exif.DateTimeDigitized"};
constexpr std::array<const char *, KVDateTags::count> toolTags = {
    "-EXIF:ModifyDate",      "-EXIF:DateTimeOriginal", "-EXIF:CreateDate",
    "-XMP:DateTimeOriginal", "-XMP:CreateDate",        "-XMP:DateTimeDigitized"};

const QString kDateFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

// "2011-01-02T03:04:05+01:00" and "2011:01:02 03:04:05" both become "2011:01:02 03:04:05"; the
// zone XMP may carry is not part of the wall-clock date.
QString normalized(QString text) {
    text = text.trimmed();
    if (text.size() >= 19 && text.at(4) == QLatin1Char('-') && text.at(10) == QLatin1Char('T')) {
        text.truncate(19);
        text[4] = QLatin1Char(':');
        text[7] = QLatin1Char(':');
        text[10] = QLatin1Char(' ');
    }
    return text.left(19);
}

QDateTime parsed(const QString &dateText) {
    const QString text = dateText.trimmed();
    if (text.size() != 19)
        return {};
    const QDate date = QDate::fromString(text.left(10), QStringLiteral("yyyy:MM:dd"));
    const QTime time = QTime::fromString(text.mid(11), QStringLiteral("HH:mm:ss"));
    if (!date.isValid() || !time.isValid() || text.at(10) != QLatin1Char(' '))
        return {};
    return QDateTime(date, time, QTimeZone::utc());
}

} // namespace

QString KVDateTags::captureDateText() const {
    if (parsed(texts[1]).isValid())
        return texts[1];
    if (parsed(texts[2]).isValid())
        return texts[2];
    return {};
}

bool KVDateTags::allAre(const QString &dateText) const {
    for (const QString &text : texts) {
        if (text != dateText)
            return false;
    }
    return true;
}

std::optional<KVDateTags> KVDateTags::read(const QString &path) {
    KVImageSource::initializeLibraries();
    try {
        Exiv2::Image::AutoPtr image =
            Exiv2::ImageFactory::open(KVFileName::encode(path).toStdString(), false);
        if (!image.get())
            return std::nullopt;
        image->readMetadata();
        KVDateTags tags;
        const Exiv2::ExifData &exif = image->exifData();
        const Exiv2::XmpData &xmp = image->xmpData();
        for (size_t i = 0; i < count; ++i) {
            const std::string key = exiv2Keys[i];
            std::string value;
            if (key.rfind("Exif.", 0) == 0) {
                const auto found = exif.findKey(Exiv2::ExifKey(key));
                if (found != exif.end())
                    value = found->toString();
            } else {
                const auto found = xmp.findKey(Exiv2::XmpKey(key));
                if (found != xmp.end())
                    value = found->toString();
            }
            tags.texts[i] = normalized(QString::fromStdString(value));
        }
        return tags;
    } catch (const Exiv2::AnyError &) {
    } catch (const std::exception &) {
    }
    return std::nullopt;
}

std::vector<std::string> KVDateTags::toolArguments(const QString &dateText) {
    std::vector<std::string> arguments;
    const std::string text = dateText.toStdString();
    for (const char *tag : toolTags)
        arguments.push_back(std::string(tag) + '=' + text);
    return arguments;
}

QString KVDateTags::shifted(const QString &dateText, qint64 seconds) {
    const QDateTime date = parsed(dateText);
    if (!date.isValid())
        return {};
    const QDateTime result = date.addSecs(seconds);
    if (!result.isValid() || result.date().year() < 1 || result.date().year() > 9999)
        return {};
    return result.toString(kDateFormat);
}
