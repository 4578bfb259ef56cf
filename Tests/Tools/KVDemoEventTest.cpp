#include "KVCameraSets.h"
#include "KVHeadlessUserInterface.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <set>

namespace {

const QString timeFormat = QStringLiteral("yyyy:MM:dd HH:mm:ss");

int runDemo(const QStringList &arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(KALVORA_DEMO_EVENT), arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    return process.exitCode();
}

QJsonObject offsets(const QString &folder) {
    return QJsonDocument::fromJson(KVTest::readFile(folder + QStringLiteral("/.offsets.json")))
        .object();
}

QStringList photoNames(const QString &folder) {
    return QDir(folder).entryList({QStringLiteral("*.JPG")}, QDir::Files, QDir::Name);
}

// One event for the tests that only read it.
class KVDemoEventTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = new QTemporaryDir;
        ASSERT_EQ(runDemo({folder->filePath(QStringLiteral("event")), QStringLiteral("--seed"),
                           QStringLiteral("7")}),
                  0);
    }
    static void TearDownTestSuite() {
        delete folder;
        folder = nullptr;
    }
    static QString eventPath() { return folder->filePath(QStringLiteral("event")); }

    static QTemporaryDir *folder;
};
QTemporaryDir *KVDemoEventTest::folder = nullptr;

} // namespace

TEST_F(KVDemoEventTest, ModelReadsFourCamerasWhoseDatesMinusClockErrorsAreTheTrueMoments) {
    KVHeadlessUserInterface ui;
    KVCameraSets model(&ui);
    const KVModelResult result =
        model.addedAndSortedImageFiles({QUrl::fromLocalFile(eventPath())}, {});
    // Every photo is taken, and the hidden list of answers is passed over without a complaint.
    EXPECT_TRUE(result.notAddedFiles.isEmpty());
    ASSERT_TRUE(result.files);
    std::set<QString> keys;
    for (const auto &[key, files] : *result.files)
        keys.insert(key);
    EXPECT_EQ(keys, (std::set<QString>{"Oriel OX-5 OX5-204417", "Oriel OX-5 OX5-318862",
                                       "Tamura T20 T20A0918", "Velmont Velmont Pix 3"}));

    const QJsonObject root = offsets(eventPath());
    EXPECT_EQ(root["reference"].toString(), "Oriel OX-5 OX5-204417");
    std::set<qint64> clockErrors;
    for (const QJsonValue &camera : root["cameras"].toArray()) {
        const QString key = camera["key"].toString();
        const qint64 clockError = camera["clockError"].toInteger();
        clockErrors.insert(clockError);
        EXPECT_EQ(camera["offset"].toInteger(), -clockError);
        ASSERT_TRUE(result.files->count(key)) << qPrintable(key);
        const std::vector<KVImageFileRef> &files = result.files->at(key);
        EXPECT_GE(files.size(), 30u);
        EXPECT_LE(files.size(), 80u);
        const QJsonArray photos = camera["photos"].toArray();
        ASSERT_EQ(qsizetype(files.size()), photos.size());
        // Both lists run by time: the n-th record is the n-th listed photo.
        for (size_t i = 0; i < files.size(); ++i) {
            const QJsonValue photo = photos[qsizetype(i)];
            EXPECT_EQ(files[i]->name(), photo["file"].toString());
            EXPECT_EQ(files[i]->creationDate().addSecs(-clockError),
                      QDateTime::fromString(photo["moment"].toString(), timeFormat))
                << qPrintable(files[i]->name());
            EXPECT_EQ(QFileInfo(files[i]->path()).lastModified(), files[i]->creationDate());
        }
        // The embedded thumbnail is what the model shows, not a reduction of the picture.
        EXPECT_EQ(files.front()->thumbnailData().size(), QSize(160, 107));
    }
    EXPECT_EQ(clockErrors.size(), 4u);
    EXPECT_TRUE(clockErrors.count(0));
}

TEST_F(KVDemoEventTest, SceneListsOnePhotoPerCameraAtTheSharedMoment) {
    const QJsonObject root = offsets(eventPath());
    QMap<QString, qint64> clockErrors;
    for (const QJsonValue &camera : root["cameras"].toArray())
        clockErrors[camera["key"].toString()] = camera["clockError"].toInteger();
    const QJsonArray scenes = root["scenes"].toArray();
    ASSERT_GE(scenes.size(), 8);
    int scenesOfEveryCamera = 0;
    for (const QJsonValue &scene : scenes) {
        const QDateTime moment = QDateTime::fromString(scene["moment"].toString(), timeFormat);
        const QJsonObject photos = scene["photos"].toObject();
        EXPECT_GE(photos.size(), 3) << qPrintable(scene["name"].toString());
        scenesOfEveryCamera += photos.size() == clockErrors.size();
        for (auto it = photos.begin(); it != photos.end(); ++it) {
            ASSERT_TRUE(clockErrors.contains(it.key()));
            const KVImageFileRef file = KVImageFile::initWithURL(
                QUrl::fromLocalFile(eventPath() + QLatin1Char('/') + it.value().toString()));
            ASSERT_TRUE(file) << qPrintable(it.value().toString());
            EXPECT_EQ(file->fullCameraName(), it.key());
            EXPECT_EQ(file->creationDate().addSecs(-clockErrors[it.key()]), moment);
        }
    }
    EXPECT_GE(scenesOfEveryCamera, 1);
}

TEST(KVDemoEvent, SameSeedWritesTheSameFilesAndFullFoldersNeedForce) {
    QTemporaryDir folder;
    const QString again = folder.filePath(QStringLiteral("again"));
    ASSERT_EQ(runDemo({again, QStringLiteral("--seed"), QStringLiteral("7")}), 0);
    QTemporaryDir reference;
    const QString first = reference.filePath(QStringLiteral("first"));
    ASSERT_EQ(runDemo({first, QStringLiteral("--seed=7")}), 0);
    const QStringList names = photoNames(first);
    ASSERT_EQ(names, photoNames(again));
    for (const QString &name : names + QStringList{QStringLiteral(".offsets.json")})
        EXPECT_EQ(KVTest::readFile(first + '/' + name), KVTest::readFile(again + '/' + name))
            << qPrintable(name);

    // Not over an event already there, unless forced; then the new event replaces the old one
    // and leaves other files alone.
    QFile note(again + QStringLiteral("/notes.txt"));
    ASSERT_TRUE(note.open(QIODevice::WriteOnly));
    note.close();
    EXPECT_EQ(runDemo({again, QStringLiteral("--seed"), QStringLiteral("8")}), 1);
    EXPECT_EQ(KVTest::readFile(again + QStringLiteral("/.offsets.json")),
              KVTest::readFile(first + QStringLiteral("/.offsets.json")));
    ASSERT_EQ(
        runDemo({again, QStringLiteral("--seed"), QStringLiteral("8"), QStringLiteral("--force")}),
        0);
    const QJsonObject root = offsets(again);
    EXPECT_EQ(root["seed"].toInteger(), 8);
    qsizetype listed = 0;
    for (const QJsonValue &camera : root["cameras"].toArray())
        listed += camera["photos"].toArray().size();
    EXPECT_EQ(photoNames(again).size(), listed);
    EXPECT_NE(photoNames(again), names);
    EXPECT_TRUE(QFile::exists(note.fileName()));

    EXPECT_EQ(runDemo({}), 2);
    EXPECT_EQ(runDemo({folder.filePath(QStringLiteral("x")), QStringLiteral("--seed"),
                       QStringLiteral("seven")}),
              2);
    EXPECT_EQ(runDemo({note.fileName()}), 1);
}
