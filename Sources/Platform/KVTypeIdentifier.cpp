// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTypeIdentifier.h"

#include <QFileInfo>
#include <QHash>

namespace KVTypeIdentifier {

const QStringList &photoExtensions() {
    static const QStringList extensions = {
        QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("tiff"),
        QStringLiteral("tif"), QStringLiteral("3fr"),  QStringLiteral("ari"),
        QStringLiteral("arw"), QStringLiteral("bay"),  QStringLiteral("crw"),
        QStringLiteral("cr2"), QStringLiteral("cap"),  QStringLiteral("dcs"),
        QStringLiteral("dcr"), QStringLiteral("dng"),  QStringLiteral("drf"),
        QStringLiteral("eip"), QStringLiteral("erf"),  QStringLiteral("fff"),
        QStringLiteral("iiq"), QStringLiteral("k25"),  QStringLiteral("kdc"),
        QStringLiteral("mef"), QStringLiteral("mos"),  QStringLiteral("mrw"),
        QStringLiteral("nef"), QStringLiteral("nrw"),  QStringLiteral("obm"),
        QStringLiteral("orf"), QStringLiteral("pef"),  QStringLiteral("ptx"),
        QStringLiteral("pxn"), QStringLiteral("r3d"),  QStringLiteral("raf"),
        QStringLiteral("raw"), QStringLiteral("rwl"),  QStringLiteral("rw2"),
        QStringLiteral("rwz"), QStringLiteral("sr2"),  QStringLiteral("srf"),
        QStringLiteral("srw"), QStringLiteral("x3f"),
    };
    return extensions;
}

QString preferredIdentifierForExtension(const QString &extension) {
    // Built once, on first use from any thread (a function-local static is set up exactly once).
    static const QHash<QString, QString> identifiers = [] {
        QHash<QString, QString> table;
        for (const QString &known : photoExtensions())
            table.insert(known, cameraRaw);
        for (const char *name : {"jpg", "jpeg"})
            table.insert(QString::fromLatin1(name), jpeg);
        for (const char *name : {"tif", "tiff"})
            table.insert(QString::fromLatin1(name), tiff);
        return table;
    }();
    if (extension.isEmpty())
        return QStringLiteral("application/octet-stream");
    return identifiers.value(extension.toLower(), QStringLiteral("dyn.") + extension);
}

QString forPath(const QString &path) {
    return preferredIdentifierForExtension(QFileInfo(path).suffix());
}

} // namespace KVTypeIdentifier
