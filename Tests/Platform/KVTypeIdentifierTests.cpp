// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTypeIdentifier.h"
#include "KVImageSource.h"

#include <gtest/gtest.h>

TEST(KVTypeIdentifier, PathsAndExtensionsGiveOneIdentifierTheReaderKnowsForPhotosOnly) {
    const QStringList readable = KVImageSource::copyTypeIdentifiers();
    const struct {
        const char *path;
        const char *identifier;
        bool readable;
    } cases[] = {{"/photos/IMG_0001.jpg", "image/jpeg", true},
                 {"/photos/IMG_0001.jpeg", "image/jpeg", true},
                 // The system's globs ignore case: upper-case known extensions keep their type.
                 {"/photos/IMG_0001.JPG", "image/jpeg", true},
                 {"/photos/scan.tif", "image/tiff", true},
                 {"/photos/scan.TIFF", "image/tiff", true},
                 {"/photos/IMG_0001.CR2", "image/x-canon-cr2", true},
                 {"/photos/DSC_0001.NEF", "image/x-nikon-nef", true},
                 {"/photos/a.b/DSC_0001.dng", "image/x-adobe-dng", true},
                 {"/photos/DSCF0001.raf", "image/x-fuji-raf", true},
                 {"/photos/P0001.rw2", "image/x-panasonic-rw2", true},
                 // Extensions the system knows as nothing: "dyn." and the extension as written.
                 {"/photos/CF000001.iiq", "dyn.iiq", false},
                 {"/photos/CF000001.IIQ", "dyn.IIQ", false},
                 {"/photos/x.Srw", "dyn.Srw", false},
                 {"/photos/x.3fr", "dyn.3fr", false},
                 // A name without extension is plain data.
                 {"/photos/DSC00001", "application/octet-stream", false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        const QString identifier = KVTypeIdentifier::forPath(QString::fromUtf8(c.path));
        EXPECT_EQ(identifier.toStdString(), c.identifier);
        EXPECT_EQ(readable.contains(identifier), c.readable);
        const QString extension = QString::fromUtf8(c.path).section('/', -1).section('.', 1);
        if (!extension.isEmpty()) {
            EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(extension), identifier);
        }
    }
    // The reader's list holds image types only, each once.
    EXPECT_FALSE(readable.contains(KVTypeIdentifier::forPath(QStringLiteral("/photos/x.cap"))));
    for (const QString &type : readable)
        EXPECT_TRUE(type.startsWith(QLatin1String("image/"))) << type.toStdString();
    EXPECT_EQ(readable.size(), QSet<QString>(readable.begin(), readable.end()).size());
}
