// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraSets.h"

#include "KVFileName.h"
#include "KVHeadlessUserInterface.h"
#include "KVParseDeadline.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class KVCameraSetsTest : public ::testing::Test {
protected:
    KVCameraSetsTest()
        : m_model(&m_ui) {}

    // Adds through the same entry as a drop, and waits for the result to be installed.
    void add(const QStringList &paths) {
        const int reloads = m_ui.browserReloadCount();
        m_model.openFiles(paths);
        ASSERT_TRUE(KVTest::waitFor([&] { return m_ui.browserReloadCount() > reloads; }));
        // The refusal report is queued just before the installation.
        QCoreApplication::processEvents();
    }

    QMap<QString, QString> refusals() const {
        QMap<QString, QString> reasons;
        for (const auto &report : m_ui.fileReports()) {
            for (const QVariantMap &record : report.records) {
                EXPECT_EQ(record.value("name").toString(),
                          KVFileName::displayedName(record.value("path").toString()));
                reasons.insert(record.value("name").toString(), record.value("error").toString());
            }
        }
        return reasons;
    }

    QStringList paths(int camera) const {
        QStringList list;
        for (const KVImageFileRef &file : m_model.imagesForCameraWithIndex(camera))
            list << QFileInfo(file->path()).fileName();
        return list;
    }

    KVHeadlessUserInterface m_ui;
    KVCameraSets m_model;
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(KVCameraSetsTest, FolderWalkFilesPhotosByCameraAndReportsEveryRefusedFile) {
    const QString root = m_folder.path() + "/event";
    KVTest::copySamples({"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg"}, root);
    KVTest::copySamples({"cameras/Sony_HDR-HC3.jpg", "cameras/PaintTool_sample.jpg"},
                        root + "/deeper/still deeper");
    KVTest::copySamples({"cameras/Pentax_K10D.jpg"}, root + "/.hidden");
    KVTest::copySamples({"cameras/Olympus_C8080WZ.jpg"}, root);
    QFile::rename(root + "/Olympus_C8080WZ.jpg", root + "/.secret.jpg");
    QFile notes(root + "/notes.txt");
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("not a photo");
    notes.close();
    // A link to a folder is not entered, so a loop of links cannot trap the walk.
    ASSERT_TRUE(QFile::link(root, root + "/deeper/loop"));

    add({root});

    EXPECT_EQ(m_model.sortedCameras(),
              QStringList({"Canon Canon EOS 40D", "NIKON CORPORATION NIKON D70", "SONY HDR-HC3"}));
    EXPECT_EQ(m_model.numberOfCamerasInBrowser(), 3);
    // Hidden files and folders are skipped without a word.
    EXPECT_EQ(refusals(),
              (QMap<QString, QString>{{"notes.txt", "Unsupported file format."},
                                      {"PaintTool_sample.jpg", "No EXIF date and camera found."},
                                      {"loop", "Unsupported file format."}}));

    EXPECT_FALSE(m_ui.isLocked());
    EXPECT_FALSE(m_ui.isStartViewShown());
    EXPECT_EQ(m_ui.calls().mid(0, 3),
              QStringList({"lock", "startView:0", "display:Adding photos…"}));
    EXPECT_EQ(m_ui.displayedText(),
              "Double-click a photo that\nhas correct time and date information\nor set \"base\" "
              "time and date manually");
}

TEST_F(KVCameraSetsTest, AddingAgainKeepsLoadedPhotosAndSkipsDuplicatesSilently) {
    const QStringList first =
        KVTest::copySamples({"cameras/Canon_40D.jpg"}, m_folder.path() + "/a");
    add(first);
    EXPECT_EQ(m_ui.displayedText(),
              "Add photos taken with another camera\nor set \"base\" time and date manually");
    const KVImageFileRef loaded = m_model.imagesForCameraWithIndex(0).at(0);

    const QStringList second = KVTest::copySamples(
        {"cameras/Canon_40D.jpg", "cameras/Sony_HDR-HC3.jpg"}, m_folder.path() + "/b");
    add(first + second + first);

    ASSERT_EQ(m_model.numberOfCamerasInBrowser(), 2);
    EXPECT_EQ(m_model.imagesForCameraWithIndex(0).size(), 2u);
    EXPECT_EQ(m_model.imagesForCameraWithIndex(1).size(), 1u);
    // The record already shown stays the same object.
    EXPECT_EQ(m_model.imagesForCameraWithIndex(0).at(0), loaded);
    EXPECT_TRUE(refusals().isEmpty());
}

TEST_F(KVCameraSetsTest, PhotosAreOrderedByDateThenPathAndCamerasByRawKey) {
    const QString folder = m_folder.path();
    const QStringList copies = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder);
    ASSERT_EQ(copies.size(), 1);
    struct Photo {
        const char *name;
        const char *make;
        const char *date;
    } photos[] = {
        {"c.jpg", "acme", "2020:01:01 10:00:00"},     {"b.jpg", "acme", "2020:01:01 10:00:00"},
        {"a.jpg", "acme", "2020:01:01 10:00:01"},     {"z.jpg", "acme", "2019:12:31 23:59:59"},
        {"upper.jpg", "ACME", "2020:01:01 10:00:00"}, {"none.jpg", "", "2020:01:01 10:00:00"},
    };
    for (const Photo &photo : photos) {
        const QString path = folder + "/" + photo.name;
        ASSERT_TRUE(QFile::copy(copies[0], path));
        ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Image.Make", photo.make},
                                             {"Exif.Image.Model", "X1"},
                                             {"Exif.Photo.DateTimeOriginal", photo.date}}));
    }
    QFile::remove(copies[0]);
    add({folder});

    // Upper case sorts before lower case in the plain order.
    EXPECT_EQ(m_model.sortedCameras(), QStringList({"ACME X1", "X1", "acme X1"}));
    EXPECT_EQ(paths(2), QStringList({"z.jpg", "b.jpg", "c.jpg", "a.jpg"}));
    EXPECT_EQ(m_model.nameForCameraWithIndex(0), "ACME X1");
    EXPECT_EQ(m_model.toolTipForCameraWithIndex(0), "X1\nACME");
    EXPECT_EQ(m_model.toolTipForCameraWithIndex(1), "X1");
}

TEST_F(KVCameraSetsTest, TwoBodiesOfOneModelAreToldApartByTheEndOfTheirSerials) {
    const QString folder = m_folder.path();
    const QStringList copies = KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder);
    ASSERT_EQ(copies.size(), 1);
    struct Photo {
        const char *name;
        const char *model;
        const char *serial;
    } photos[] = {
        {"first.jpg", "OX-5", "4410318862"},
        {"second.jpg", "OX-5", "4410207731"},
        {"short.jpg", "OX-5", "77"},
        {"other.jpg", "OX-9", "4410555555"},
    };
    for (const Photo &photo : photos) {
        const QString path = folder + "/" + photo.name;
        ASSERT_TRUE(QFile::copy(copies[0], path));
        ASSERT_TRUE(KVTest::writeExif(path, {{"Exif.Image.Make", "Oriel"},
                                             {"Exif.Image.Model", photo.model},
                                             {"Exif.Photo.BodySerialNumber", photo.serial}}));
    }
    QFile::remove(copies[0]);
    add({folder});
    ASSERT_EQ(m_model.numberOfCamerasInBrowser(), 4);
    QStringList names;
    for (int i = 0; i < m_model.numberOfCamerasInBrowser(); ++i)
        names << m_model.nameForCameraWithIndex(i);
    // A name no other camera shares stays plain.
    EXPECT_EQ(names, QStringList({"Oriel OX-5 · …207731", "Oriel OX-5 · …318862", "Oriel OX-5 · 77",
                                  "Oriel OX-9"}));
    EXPECT_EQ(m_model.distinctCameraName(m_model.imagesForCameraWithIndex(1).front()),
              "Oriel OX-5 · …318862");
}

TEST_F(KVCameraSetsTest, EveryPhotoExtensionInEitherCaseIsReadByItsContent) {
    const QString folder = m_folder.path();
    const QString jpeg = KVTest::samplePath("cameras/Canon_40D.jpg");
    QStringList expected;
    // A photo under each of the names: the content decides, not what the desktop calls it.
    for (const QString &extension : KVCameraSets::supportedFileExtensions()) {
        for (const QString &name : {"lower." + extension, "UPPER." + extension.toUpper()}) {
            ASSERT_TRUE(QFile::copy(jpeg, folder + "/" + name));
            expected << name;
        }
    }
    // Real raw files with upper-case names, and one under another raw format's name.
    const std::pair<const char *, const char *> raws[] = {
        {"raw/DNG.dng", "DNG.DNG"},        {"raw/FujiFilm.raf", "DSCF0001.RAF"},
        {"raw/Nikon.nef", "DSC_0001.NEF"}, {"raw/Panasonic.rw2", "P0001.RW2"},
        {"raw/Nikon.nef", "SAM_0001.SRW"}, {"raw/SigmaDP2.x3f", "SDIM0001.X3F"}};
    for (const auto &[sample, name] : raws) {
        ASSERT_TRUE(QFile::copy(KVTest::samplePath(sample), folder + "/" + name));
        expected << name;
    }
    ASSERT_TRUE(QFile::copy(jpeg, folder + "/unlisted.xyz"));
    add({folder});

    QStringList loaded;
    for (int camera = 0; camera < m_model.numberOfCamerasInBrowser(); ++camera)
        loaded << paths(camera);
    loaded.sort();
    expected.sort();
    EXPECT_EQ(loaded, expected);
    EXPECT_EQ(refusals(), (QMap<QString, QString>{{"unlisted.xyz", "Unsupported file format."}}));
}

TEST_F(KVCameraSetsTest, BrokenAndStrippedFilesAreRefusedWithAReasonNeverACrash) {
    // The damaged Phase One file sends LibRaw round a loop: a short limit stops it.
    KVParseDeadline::setLimit(std::chrono::seconds(1));
    add({KVTest::samplePath("broken"), KVTest::samplePath("raw"), KVTest::samplePath("tiff")});
    KVParseDeadline::setLimit(std::chrono::seconds(10));
    const QMap<QString, QString> reasons = refusals();
    const QStringList valid = {"Unsupported file format.", "No EXIF date and camera found.",
                               "No EXIF thumbnail found.", "Reading the file took too long.",
                               "The file is damaged: it declares a larger picture than it holds."};
    for (auto it = reasons.begin(); it != reasons.end(); ++it) {
        SCOPED_TRACE(it.key().toStdString());
        EXPECT_TRUE(valid.contains(it.value()));
    }
    int files = 0;
    for (const char *folder : {"broken", "raw", "tiff"})
        files += QDir(KVTest::samplePath(folder)).entryList(QDir::Files).size();
    int loaded = 0;
    for (int i = 0; i < m_model.numberOfCamerasInBrowser(); ++i) {
        for (const KVImageFileRef &file : m_model.imagesForCameraWithIndex(i)) {
            ++loaded;
            EXPECT_TRUE(file->creationDate().isValid());
            EXPECT_FALSE(file->thumbnail().isNull());
        }
    }
    // Every file is accounted for: loaded or refused with a reason.
    EXPECT_EQ(loaded + reasons.size(), files);
    // Damaged picture data with intact metadata still makes a photo; the rest is refused by
    // the first thing missing.
    EXPECT_FALSE(reasons.contains("corrupted.jpg"));
    EXPECT_EQ(reasons.value("image01137.jpg"), "No EXIF date and camera found.");
    EXPECT_EQ(reasons.value("CanonRaw.cr2"), "No EXIF thumbnail found.");
    EXPECT_EQ(reasons.value("Red.r3d"), "No EXIF date and camera found.");
    EXPECT_EQ(reasons.value("PhaseOne-hang.iiq"), "Reading the file took too long.");
    EXPECT_EQ(reasons.value("PhaseOne-oversized.iiq"), "No EXIF date and camera found.");
    EXPECT_EQ(reasons.value("Nikon-oversized.nef"),
              "The file is damaged: it declares a larger picture than it holds.");
}

// Names written by an old card in Latin-1 are not valid UTF-8: they are kept byte for byte, in a
// folder of such a name too, read like any other, and shown with replacement characters.
TEST_F(KVCameraSetsTest, NamesThatAreNotUtf8AreReadAndKeptByteForByte) {
    const QString folder = m_folder.path() + "/card";
    const QStringList copies = KVTest::copySamples(
        {"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg", "cameras/Pentax_K10D.jpg"}, folder);
    const QByteArray bytes = QFile::encodeName(folder);
    const QByteArray latin1 = bytes + "/Hochzeit_\xe4.jpg";
    const QByteArray latin1Folder = bytes + "/Gr\xfc\xdf"
                                            "e";
    const QByteArray hidden = bytes + "/.versteckt_\xe4.jpg";
    // Qt cannot remove what it cannot list.
    const auto cleanUp = qScopeGuard([&] {
        for (const QByteArray &name : {latin1, latin1Folder + "/Torte.jpg", hidden})
            ::unlink(name);
        ::rmdir(latin1Folder);
    });
    // Names made as the card wrote them, byte for byte; one hidden, as any name with a dot.
    ASSERT_EQ(::rename(QFile::encodeName(copies[1]), latin1), 0);
    ASSERT_EQ(::mkdir(latin1Folder, 0755), 0);
    ASSERT_EQ(::rename(QFile::encodeName(copies[2]), latin1Folder + "/Torte.jpg"), 0);
    ASSERT_EQ(::rename(QFile::encodeName(copies[0]), hidden), 0);
    KVTest::copySamples({"cameras/Canon_40D.jpg"}, folder);

    // The folder, and the same photo given by its bytes as a command line gives it.
    add({folder, KVFileName::decode(latin1)});
    EXPECT_TRUE(m_ui.fileReports().empty());
    ASSERT_EQ(m_model.numberOfCamerasInBrowser(), 3);
    QList<QByteArray> native;
    QStringList shown;
    for (int camera = 0; camera < 3; ++camera) {
        for (const KVImageFileRef &file : m_model.imagesForCameraWithIndex(camera)) {
            native << KVFileName::encode(file->path());
            shown << file->name();
            EXPECT_FALSE(file->thumbnailData().isNull()) << qPrintable(file->name());
        }
    }
    std::sort(native.begin(), native.end());
    EXPECT_EQ(native,
              QList<QByteArray>({bytes + "/Canon_40D.jpg", latin1Folder + "/Torte.jpg", latin1}));
    shown.sort();
    EXPECT_EQ(shown,
              QStringList({"Canon_40D.jpg", QStringLiteral("Hochzeit_\uFFFD.jpg"), "Torte.jpg"}));

    // Gone is gone, by its bytes: the check that removes vanished photos finds the others.
    ASSERT_EQ(::unlink(latin1), 0);
    m_model.reloadModel();
    ASSERT_TRUE(KVTest::waitFor([&] { return m_model.numberOfCamerasInBrowser() == 2; }));
}

// Two drops in quick succession, a second launch handing over files, a reload between them:
// each runs on the sets the one before left, so no photo of any is lost.
TEST_F(KVCameraSetsTest, ImportsQueuedBackToBackEachKeepTheOthersPhotos) {
    const QStringList a = KVTest::copySamples({"cameras/Canon_40D.jpg", "cameras/Nikon_D70.jpg"},
                                              m_folder.path() + "/a");
    const QStringList b = KVTest::copySamples(
        {"cameras/Sony_HDR-HC3.jpg", "cameras/Pentax_K10D.jpg"}, m_folder.path() + "/b");
    const QStringList c =
        KVTest::copySamples({"cameras/Olympus_C8080WZ.jpg"}, m_folder.path() + "/c");
    const int reloads = m_ui.browserReloadCount();
    m_model.openFiles({m_folder.path() + "/a"});
    m_model.openFiles({m_folder.path() + "/b"});
    m_model.reloadModel();
    m_model.openFiles(c);
    ASSERT_TRUE(KVTest::waitFor([&] { return m_ui.browserReloadCount() >= reloads + 4; }));
    EXPECT_EQ(m_model.numberOfCamerasInBrowser(), 5);
    EXPECT_FALSE(m_model.isProcessingPathes());
    // The next import starts from what is shown.
    add({m_folder.path() + "/a"});
    EXPECT_EQ(m_model.numberOfCamerasInBrowser(), 5);
}

// A link to a folder that the user gives is walked, once, under the folder's own path; links
// met inside folders are not followed.
TEST_F(KVCameraSetsTest, AGivenLinkToAFolderIsWalkedOnceAndInnerLinksAreNot) {
    const QString real = m_folder.path() + "/card";
    KVTest::copySamples({"cameras/Canon_40D.jpg"}, real);
    KVTest::copySamples({"cameras/Nikon_D70.jpg"}, m_folder.path() + "/elsewhere");
    ASSERT_TRUE(QFile::link(m_folder.path() + "/elsewhere", real + "/inner"));
    ASSERT_TRUE(QFile::link(real, m_folder.path() + "/link"));
    add({m_folder.path() + "/link", real});
    ASSERT_EQ(m_model.numberOfCamerasInBrowser(), 1);
    EXPECT_EQ(m_model.imagesForCameraWithIndex(0).size(), 1u);
    EXPECT_EQ(m_model.imagesForCameraWithIndex(0).at(0)->path(), real + "/Canon_40D.jpg");
    EXPECT_EQ(refusals(), (QMap<QString, QString>{{"inner", "Unsupported file format."}}));
}

TEST_F(KVCameraSetsTest, ReloadDropsTrashedAndDeletedPhotosAndEmptiedCameras) {
    const QStringList copies = KVTest::copySamples(
        {"cameras/Canon_40D.jpg", "cameras/Canon_PowerShot_S40.jpg", "cameras/Sony_HDR-HC3.jpg"},
        m_folder.path());
    add(copies);
    ASSERT_EQ(m_model.numberOfCamerasInBrowser(), 3);
    KVImageFileRef sony = m_model.imagesForCameraWithIndex(2).at(0);
    sony->setImageState(KVImageStateRemoved);
    ASSERT_TRUE(QFile::remove(copies[0]));

    const int reloads = m_ui.browserReloadCount();
    m_model.reloadModel();
    ASSERT_TRUE(KVTest::waitFor([&] { return m_ui.browserReloadCount() > reloads; }));
    EXPECT_EQ(m_model.sortedCameras(), QStringList({"Canon Canon PowerShot S40"}));
    EXPECT_FALSE(m_ui.isLocked());
}

TEST_F(KVCameraSetsTest, RemovingAllShowsTheStartViewAgain) {
    add(KVTest::copySamples({"cameras/Canon_40D.jpg"}, m_folder.path()));
    const KVImageFileRef file = m_model.imagesForCameraWithIndex(0).at(0);
    m_model.removeFiles();
    EXPECT_EQ(m_model.numberOfCamerasInBrowser(), 0);
    EXPECT_TRUE(m_ui.isStartViewShown());
    EXPECT_EQ(m_ui.displayedText(), "No photos to sync");
    EXPECT_EQ(m_ui.popoverCloseCount(), 1);
    // The model no longer follows the photo it let go of.
    EXPECT_FALSE(file->hasObserver(&m_model, "imageState"));
}

TEST_F(KVCameraSetsTest, InstalledPhotosAreObservedAndStateChangesAnnounceAvailability) {
    class Watcher : public KVObserver {
    public:
        void observeValueForKeyPath(const QString &keyPath, KVObservable *) override {
            keys << keyPath;
        }
        QStringList keys;
    } watcher;
    m_model.addObserver(&watcher, "isSynchronizationPossible");
    m_model.addObserver(&watcher, "isProcessingPathes");
    add(KVTest::copySamples({"cameras/Canon_40D.jpg"}, m_folder.path()));
    EXPECT_TRUE(watcher.keys.contains("isSynchronizationPossible"));
    EXPECT_TRUE(watcher.keys.contains("isProcessingPathes"));
    watcher.keys.clear();
    m_model.imagesForCameraWithIndex(0).at(0)->setImageState(KVImageStateEtalon);
    EXPECT_EQ(watcher.keys, QStringList({"isSynchronizationPossible"}));
    m_model.removeObserver(&watcher);
}
