// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTypeIdentifier.h"

#include <QFileInfo>
#include <QMimeDatabase>

namespace {

// The MIME type the name's extension has (the glob match ignores case), else "dyn." and the
// extension as written. A name without extension is plain data.
QString identifierForName(const QString &fileName, const QString &suffix) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    if (!type.isDefault())
        return type.name();
    if (suffix.isEmpty())
        return type.name();
    return QStringLiteral("dyn.") + suffix;
}

} // namespace

namespace KVTypeIdentifier {

QString forPath(const QString &path) {
    const QFileInfo info(path);
    return identifierForName(info.fileName(), info.suffix());
}

QString preferredIdentifierForExtension(const QString &extension) {
    return identifierForName(QStringLiteral("file.") + extension, extension);
}

} // namespace KVTypeIdentifier
