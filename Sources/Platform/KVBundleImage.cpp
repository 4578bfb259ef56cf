// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBundleImage.h"

#include "KVLog.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <map>
#include <mutex>

namespace {

// Pictures are drawn at their natural size: the slice tables count in their pixels.
QImage loadPicture(const QString &name) {
    const QString base = QStringLiteral(":/Pictures/") + name;
    if (QFile::exists(base + QStringLiteral(".png")))
        return QImage(base + QStringLiteral(".png"))
            .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QSvgRenderer renderer(base + QStringLiteral(".svg"));
    if (!renderer.isValid())
        return QImage();
    QImage image(renderer.defaultSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace

const QImage &KVBundleImage::named(const QString &name) {
    static std::mutex mutex;
    static std::map<QString, QImage> pictures;
    std::lock_guard lock(mutex);
    auto found = pictures.find(name);
    if (found == pictures.end()) {
        found = pictures.emplace(name, loadPicture(name)).first;
        if (found->second.isNull())
            KVLog(QStringLiteral("The picture \"%1\" is missing from the application").arg(name));
    }
    // A map's nodes stay where they are while others are added, and nothing is removed.
    return found->second;
}
