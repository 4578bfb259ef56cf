#include "KVTypeIdentifier.h"
#include "KVImageSource.h"

#include <QFileInfo>

#include <gtest/gtest.h>

#include <cctype>
#include <string>

struct IdentifierCase {
    const char *path;
    const char *identifier;
};

class KVTypeIdentifierPathTest : public ::testing::TestWithParam<IdentifierCase> {};

TEST_P(KVTypeIdentifierPathTest, ForPath) {
    EXPECT_EQ(KVTypeIdentifier::forPath(QString::fromUtf8(GetParam().path)).toStdString(),
              GetParam().identifier);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, KVTypeIdentifierPathTest,
    ::testing::Values(
        IdentifierCase{"/photos/IMG_0001.jpg", "image/jpeg"},
        IdentifierCase{"/photos/IMG_0001.jpeg", "image/jpeg"},
        // The system's globs ignore case: upper-case known extensions keep their type.
        IdentifierCase{"/photos/IMG_0001.JPG", "image/jpeg"},
        IdentifierCase{"/photos/scan.tif", "image/tiff"},
        IdentifierCase{"/photos/scan.TIFF", "image/tiff"},
        IdentifierCase{"/photos/IMG_0001.CR2", "image/x-canon-cr2"},
        IdentifierCase{"/photos/DSC_0001.nef", "image/x-nikon-nef"},
        IdentifierCase{"/photos/a.b/DSC_0001.dng", "image/x-adobe-dng"},
        // Extensions the system knows as nothing: "dyn." and the extension as written.
        IdentifierCase{"/photos/CF000001.iiq", "dyn.iiq"},
        IdentifierCase{"/photos/CF000001.IIQ", "dyn.IIQ"},
        IdentifierCase{"/photos/x.3fr", "dyn.3fr"}, IdentifierCase{"/photos/x.Srw", "dyn.Srw"},
        // A name without extension is plain data.
        IdentifierCase{"/photos/DSC00001", "application/octet-stream"}),
    [](const ::testing::TestParamInfo<IdentifierCase> &info) {
        std::string name = QFileInfo(QString::fromUtf8(info.param.path)).fileName().toStdString();
        for (char &character : name)
            if (!std::isalnum(static_cast<unsigned char>(character)))
                character = '_';
        return name;
    });

TEST(KVTypeIdentifier, PreferredIdentifierForExtension) {
    EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(QStringLiteral("jpg")),
              QStringLiteral("image/jpeg"));
    EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(QStringLiteral("JPEG")),
              QStringLiteral("image/jpeg"));
    EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(QStringLiteral("raf")),
              QStringLiteral("image/x-fuji-raf"));
    EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(QStringLiteral("mef")),
              QStringLiteral("dyn.mef"));
    EXPECT_EQ(KVTypeIdentifier::preferredIdentifierForExtension(QStringLiteral("MEF")),
              QStringLiteral("dyn.MEF"));
}

TEST(KVTypeIdentifier, PathAndExtensionAgree) {
    for (const char *extension : {"jpg", "JPG", "tif", "cr2", "nef", "iiq", "X3F", "rw2"}) {
        const QString ext = QString::fromLatin1(extension);
        EXPECT_EQ(KVTypeIdentifier::forPath(QStringLiteral("/tmp/photo.") + ext),
                  KVTypeIdentifier::preferredIdentifierForExtension(ext))
            << extension;
    }
}

TEST(KVTypeIdentifier, ReadableTypesMatchIdentifiersOfPhotoFiles) {
    // The model accepts a file when its identifier is among the reader's types.
    const QStringList readable = KVImageSource::copyTypeIdentifiers();
    for (const char *path : {"/p/a.jpg", "/p/a.JPG", "/p/a.jpeg", "/p/a.tif", "/p/a.tiff",
                             "/p/a.cr2", "/p/a.NEF", "/p/a.dng", "/p/a.raf", "/p/a.rw2"})
        EXPECT_TRUE(readable.contains(KVTypeIdentifier::forPath(QString::fromLatin1(path))))
            << path;
    EXPECT_FALSE(readable.contains(KVTypeIdentifier::forPath(QStringLiteral("/p/a.iiq"))));
    EXPECT_FALSE(readable.contains(KVTypeIdentifier::forPath(QStringLiteral("/p/a.cap"))));
}
