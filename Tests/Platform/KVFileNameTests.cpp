// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVFileName.h"

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>

using namespace Qt::StringLiterals;

namespace {

// Pieces a name is made of: ASCII, valid sequences of every length, lone and stray bytes, and
// the forms a strict reader must refuse (an encoded surrogate, overlong forms, beyond U+10FFFF).
const std::vector<QByteArray> kPieces = {"a",
                                         "/",
                                         "%",
                                         " ",
                                         ".",
                                         "\xe4",
                                         "\xfc\xdf",
                                         "\xc3\xa4",
                                         "\xe2\x82\xac",
                                         "\xf0\x9f\x92\xa9",
                                         "\xf0\x90\x82\x80",
                                         "\xed\xb3\xa9",
                                         "\xed\xa0\x80",
                                         "\xc0\x80",
                                         "\xe0\x80\xaf",
                                         "\xf4\x90\x80\x80",
                                         "\xff",
                                         "\x80",
                                         "\xc3",
                                         "\xef\xbf\xbd",
                                         "\xef\xbb\xbf"};

QByteArray randomName(std::mt19937 &random) {
    QByteArray name;
    const int count = std::uniform_int_distribution<int>(0, 8)(random);
    for (int i = 0; i < count; ++i) {
        if (random() % 4 == 0)
            name += char(random() % 256);
        else
            name += kPieces[random() % kPieces.size()];
    }
    return name;
}

bool hasNoNul(const QByteArray &bytes) {
    return !bytes.contains('\0');
}

void touch(const QByteArray &path) {
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << path.toStdString();
    ::close(fd);
}

} // namespace

// Every byte string comes back as itself; valid UTF-8 is Qt's own text, and only bytes that are
// not UTF-8 are shown as replacement characters.
TEST(KVFileName, EveryByteStringComesBackExactlyAndValidNamesAreQtsOwnText) {
    std::mt19937 random(20261123);
    for (int i = 0; i < 50000; ++i) {
        QByteArray bytes = randomName(random);
        if (!hasNoNul(bytes))
            bytes.replace('\0', 'x');
        const QString text = KVFileName::decode(bytes);
        ASSERT_EQ(KVFileName::encode(text), bytes) << bytes.toHex().toStdString();
        // Qt's own reading, less its dropping of a leading byte order mark, is the yardstick.
        const QString qt =
            (bytes.startsWith("\xef\xbb\xbf") ? u"\uFEFF"_s : QString()) + QString::fromUtf8(bytes);
        const bool valid = qt.toUtf8() == bytes;
        ASSERT_EQ(KVFileName::isDecodable(bytes), valid) << bytes.toHex().toStdString();
        if (valid) {
            ASSERT_EQ(text, qt) << bytes.toHex().toStdString();
            ASSERT_EQ(KVFileName::displayed(text), text);
        } else {
            ASSERT_TRUE(KVFileName::displayed(text).contains(QChar::ReplacementCharacter));
        }
    }
    for (int byte = 1; byte < 256; ++byte) {
        const QByteArray one(1, char(byte));
        EXPECT_EQ(KVFileName::encode(KVFileName::decode(one)), one) << byte;
    }

    // A character beyond the first plane whose second half lies in the range that stands for
    // bytes (U+1F4A9 is D83D DCA9) is a character, never a byte.
    const QString pile = u"\U0001F4A9 und \U00010080.jpg"_s;
    EXPECT_EQ(KVFileName::encode(pile), pile.toUtf8());
    EXPECT_EQ(KVFileName::displayed(pile), pile);
    EXPECT_EQ(KVFileName::displayed(KVFileName::decode("/Karte/Gr\xfc\xdf"
                                                       "e/Hochzeit_\xe4.jpg")),
              u"/Karte/Gr\uFFFD\uFFFDe/Hochzeit_\uFFFD.jpg"_s);
    EXPECT_EQ(KVFileName::displayedName(KVFileName::decode("/Gr\xfc\xdf"
                                                           "e/Torte_\xe4.jpg")),
              u"Torte_\uFFFD.jpg"_s);
}

// A file manager writes the bytes of a name into its URL; the program's own URLs and Qt's give
// the same path back.
TEST(KVFileName, UrlsCarryTheBytesOfTheirPaths) {
    const QString latin1 = KVFileName::decode("/Karte/50% #1?/Hochzeit_\xe4.jpg");
    const QUrl url = KVFileName::url(latin1);
    EXPECT_TRUE(url.isLocalFile());
    EXPECT_TRUE(url.toEncoded().endsWith("/Hochzeit_%E4.jpg")) << url.toEncoded().toStdString();
    EXPECT_EQ(KVFileName::path(url), latin1);
    EXPECT_EQ(KVFileName::encode(KVFileName::path(
                  QUrl::fromEncoded("file:///Karte/Gr%FC%DFe/Hochzeit%20%E4.jpg"))),
              "/Karte/Gr\xfc\xdf"
              "e/Hochzeit \xe4.jpg");
    for (const QString &plain : {u"/a b/c.jpg"_s, u"/Fotos/Brautstrauß €.jpg"_s,
                                 u"/x/\uFFFD literal.jpg"_s, u"/50%/#1.jpg"_s}) {
        EXPECT_EQ(KVFileName::path(KVFileName::url(plain)), plain);
        EXPECT_EQ(KVFileName::path(QUrl::fromLocalFile(plain)), plain);
        EXPECT_EQ(KVFileName::url(plain), QUrl::fromLocalFile(plain));
    }
    EXPECT_TRUE(KVFileName::path(QUrl(u"https://example.org/a.jpg"_s)).isEmpty());

    const char *argv[] = {"kalvora", "list", "Hochzeit_\xe4.jpg", ""};
    EXPECT_EQ(KVFileName::arguments(4, argv),
              QStringList({u"list"_s, KVFileName::decode("Hochzeit_\xe4.jpg"), QString()}));
}

// On a real folder: the listing has the names Qt's own leaves out, and every question about a
// path reaches the file its bytes name.
TEST(KVFileName, ListingsAndQuestionsReachTheFilesTheBytesName) {
    QTemporaryDir root;
    const QByteArray base = QFile::encodeName(root.path());
    // Qt cannot remove what it cannot list.
    const auto cleanUp = qScopeGuard([&] { std::filesystem::remove_all(base.toStdString()); });
    ASSERT_EQ(::mkdir(base + "/Gr\xfc\xdf"
                             "e",
                      0755),
              0);
    touch(base + "/Hochzeit_\xe4.jpg");
    touch(base + "/Hochzeit_a.jpg");
    touch(base + "/.versteckt_\xe4.jpg");
    touch(base + "/Gr\xfc\xdf"
                 "e/Torte.jpg");
    ASSERT_EQ(::symlink("Gr\xfc\xdf"
                        "e",
                        base + "/Verkn\xfcpfung"),
              0);

    const QString folder = root.path();
    const auto names = [&](KVFileName::Hidden hidden) {
        QList<QByteArray> list;
        for (const QString &path : KVFileName::entries(folder, hidden))
            list << KVFileName::encode(path).mid(base.size() + 1);
        return list;
    };
    // Qt's own listing leaves the Latin-1 names out; this one has them, in the order of names.
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList({u"Hochzeit_a.jpg"_s}));
    EXPECT_EQ(names(KVFileName::Hidden::Skipped),
              QList<QByteArray>({"Gr\xfc\xdf"
                                 "e",
                                 "Hochzeit_a.jpg", "Hochzeit_\xe4.jpg", "Verkn\xfcpfung"}));
    EXPECT_EQ(names(KVFileName::Hidden::Included).size(), 5);
    EXPECT_TRUE(
        KVFileName::entries(folder + u"/nicht da"_s, KVFileName::Hidden::Skipped).isEmpty());

    const QString photo = KVFileName::decode(base + "/Hochzeit_\xe4.jpg");
    const QString subfolder = KVFileName::decode(base + "/Gr\xfc\xdf"
                                                        "e");
    const QString link = KVFileName::decode(base + "/Verkn\xfcpfung");
    EXPECT_TRUE(KVFileName::exists(photo) && KVFileName::isFile(photo));
    EXPECT_FALSE(KVFileName::isFolder(photo) || KVFileName::isLink(photo));
    EXPECT_TRUE(KVFileName::isFolder(subfolder) && !KVFileName::isLink(subfolder));
    EXPECT_TRUE(KVFileName::isFolder(link) && KVFileName::isLink(link));
    EXPECT_EQ(KVFileName::canonical(link + u"/Torte.jpg"_s),
              KVFileName::canonical(subfolder) + u"/Torte.jpg"_s);
    EXPECT_FALSE(KVFileName::exists(KVFileName::displayed(photo)));
    EXPECT_FALSE(KVFileName::exists(QString()));
    EXPECT_TRUE(KVFileName::canonical(folder + u"/nicht da"_s).isEmpty());

    // Relative paths are taken from the current folder, byte for byte.
    const QString current = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(KVFileName::canonical(folder)));
    const QString absolute = KVFileName::absolute(KVFileName::decode("./Gr\xfc\xdf"
                                                                     "e/../Hochzeit_\xe4.jpg"));
    QDir::setCurrent(current);
    EXPECT_EQ(absolute, KVFileName::canonical(photo));
    EXPECT_EQ(KVFileName::absolute(u"/a//b/../c.jpg"_s), u"/a/c.jpg"_s);
}
