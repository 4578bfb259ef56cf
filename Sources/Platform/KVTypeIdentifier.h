// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>
#include <QStringList>

// The photo types the program accepts, by file name. A name only says what to try: the reader
// decides by the content (Exiv2's and LibRaw's own detection). The desktop's MIME database is
// not asked: it knows most camera raw formats as nothing, and ".cap" as a network capture.
namespace KVTypeIdentifier {
inline const QString jpeg = QStringLiteral("image/jpeg");
inline const QString tiff = QStringLiteral("image/tiff");
inline const QString cameraRaw = QStringLiteral("image/x-dcraw");

// The 41 extensions of photo files, in lower case; a name matches them in any case.
const QStringList &photoExtensions();
// The identifier of the name's extension in any case: jpeg, tiff or cameraRaw for the photo
// extensions; for any other extension "dyn." and the extension as written, like the platform's
// dynamic identifiers; "application/octet-stream" for a name without extension.
QString forPath(const QString &path);
// The identifier a bare extension maps to, by the same rule.
QString preferredIdentifierForExtension(const QString &extension);
} // namespace KVTypeIdentifier
