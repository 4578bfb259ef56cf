// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTestExif.h"

#include <exiv2/exiv2.hpp>

namespace KVTest {

bool writeExif(const QString &path, const QMap<QString, QString> &values) {
    try {
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path.toStdString());
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
        Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path.toStdString());
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

} // namespace KVTest
