// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVTypeIdentifier.h"
#include "KVImageSource.h"

#include <gtest/gtest.h>

TEST(KVTypeIdentifier, EveryPhotoExtensionInAnyCaseIsReadableAndOthersAreNot) {
    const QStringList readable = KVImageSource::copyTypeIdentifiers();
    const QStringList &extensions = KVTypeIdentifier::photoExtensions();
    ASSERT_EQ(extensions.size(), 41);
    for (const QString &extension : extensions) {
        QString mixed = extension;
        mixed[0] = mixed[0].toUpper();
        for (const QString &spelling : {extension, extension.toUpper(), mixed}) {
            SCOPED_TRACE(spelling.toStdString());
            const QString type = KVTypeIdentifier::forPath("/photos/a.b/IMG_0001." + spelling);
            EXPECT_TRUE(readable.contains(type)) << type.toStdString();
            EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(spelling), type);
        }
    }
    const struct {
        const char *path;
        const char *identifier;
    } cases[] = {{"/photos/IMG_0001.JPG", "image/jpeg"},
                 {"/photos/scan.Tif", "image/tiff"},
                 // Ours, whatever the desktop calls a network capture.
                 {"/photos/CF000001.CAP", "image/x-dcraw"},
                 {"/photos/SDIM0001.x3f", "image/x-dcraw"},
                 // Other extensions: "dyn." and the extension as written; none is read.
                 {"/photos/notes.Txt", "dyn.Txt"},
                 {"/photos/clip.mp4", "dyn.mp4"},
                 {"/photos/DSC00001", "application/octet-stream"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        const QString identifier = KVTypeIdentifier::forPath(QString::fromUtf8(c.path));
        EXPECT_EQ(identifier.toStdString(), c.identifier);
        EXPECT_EQ(readable.contains(identifier), identifier.startsWith("image/"));
    }
}
