// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVChildProcess.h"
#include "KVFakeTool.h"
#include "KVPhotoWriter.h"
#include "KVRunRecord.h"
#include "KVTestExif.h"
#include "KVTestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

// kalvora-cli run from an application folder of the test's own, whose tool is the real one or
// a stand-in, with the journals in a state folder of the test's own.
class KVRunFaultTest : public ::testing::Test {
protected:
    // A running kalvora-cli: its process id (from the shell that became it) and its output.
    struct Run {
        std::unique_ptr<KVChildProcess> process = std::make_unique<KVChildProcess>();
        pid_t pid = -1;
        std::thread reader;
        QByteArray output;
        int status = -1;
        // Waits for the end; false when it does not come by the deadline.
        bool finish(std::chrono::milliseconds deadline = 120s) {
            const bool ended =
                KVTest::waitFor([&] { return ::kill(pid, 0) != 0 || isZombie(); }, deadline);
            if (!ended)
                return false;
            reader.join();
            const int wait = process->wait();
            status = WIFEXITED(wait) ? WEXITSTATUS(wait) : 128 + WTERMSIG(wait);
            return true;
        }
        bool isZombie() const {
            const QByteArray stat = KVTest::readFile(QStringLiteral("/proc/%1/stat").arg(pid));
            const qsizetype end = stat.lastIndexOf(')');
            return end > 0 && end + 2 < stat.size() && stat[end + 2] == 'Z';
        }
        QJsonObject json() const { return QJsonDocument::fromJson(output).object(); }
        // A run a failed check left behind is ended, never left to the next test.
        ~Run() {
            if (!reader.joinable())
                return;
            ::kill(pid, SIGKILL);
            reader.join();
            process->wait();
        }
    };

    void SetUp() override {
        ASSERT_TRUE(m_root.isValid());
        m_frameworks = m_root.filePath("Kalvora.app/Contents/Frameworks");
        const QString programs = m_root.filePath("Kalvora.app/Contents/MacOS");
        QDir().mkpath(m_frameworks);
        QDir().mkpath(programs);
        m_cli = programs + "/kalvora-cli";
        // The program finds its tool beside itself: a link would lead it back to the build's.
        ASSERT_TRUE(::link(KALVORA_CLI, QFile::encodeName(m_cli).constData()) == 0 ||
                    QFile::copy(KALVORA_CLI, m_cli));
        m_savedState = qgetenv("XDG_STATE_HOME");
        m_savedRuntime = qgetenv("XDG_RUNTIME_DIR");
        qputenv("XDG_STATE_HOME", QFile::encodeName(m_root.filePath("state")));
        QDir().mkpath(m_root.filePath("runtime"));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_root.filePath("runtime")));
    }
    void TearDown() override {
        if (m_tool)
            m_tool->openGate();
        qputenv("XDG_STATE_HOME", m_savedState);
        qputenv("XDG_RUNTIME_DIR", m_savedRuntime);
    }

    void useRealTool() { ASSERT_TRUE(QFile::link(KALVORA_EXIFTOOL, m_frameworks + "/exiftool")); }
    KVTest::FakeTool &useFakeTool(int passing = INT_MAX, int holding = INT_MAX) {
        m_tool = std::make_unique<KVTest::FakeTool>(m_frameworks, passing, holding);
        return *m_tool;
    }

    // With `errors`, the messages come with the output; otherwise they (and the log) go away.
    std::unique_ptr<Run> start(const QStringList &arguments, bool errors = false) {
        auto run = std::make_unique<Run>();
        const QString pidFile = m_root.filePath(QStringLiteral("pid-%1").arg(++m_runs));
        // The shell notes its process id and becomes kalvora-cli.
        const std::string script =
            std::string("echo $$ > \"$0\"; exec \"$@\" ") + (errors ? "2>&1" : "2>/dev/null");
        std::vector<std::string> words{"/bin/sh", "-c", script, pidFile.toStdString(),
                                       m_cli.toStdString()};
        for (const QString &argument : arguments)
            words.push_back(argument.toStdString());
        if (!run->process->start(words))
            return run;
        KVTest::waitFor([&] { return QFile(pidFile).size() > 0; }, 10s);
        run->pid = KVTest::readFile(pidFile).trimmed().toInt();
        run->reader = std::thread([process = run->process.get(), output = &run->output] {
            char buffer[4096];
            while (const size_t count = process->read(buffer, sizeof buffer))
                output->append(buffer, static_cast<qsizetype>(count));
        });
        return run;
    }
    std::unique_ptr<Run> cli(const QStringList &arguments, bool errors = false) {
        std::unique_ptr<Run> run = start(arguments, errors);
        EXPECT_TRUE(run->finish()) << qPrintable(arguments.join(' '));
        return run;
    }

    // Anything in the folder but the photos, and anything left in the runtime folder.
    QStringList strays(const QString &folder, const QStringList &photos) const {
        QStringList found;
        for (const QString &name :
             QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
            if (!photos.contains(QDir(folder).filePath(name)))
                found << name;
        for (const QString &name :
             QDir(m_root.filePath("runtime"))
                 .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
            found << "runtime/" + name;
        return found;
    }
    static QStringList undecodable(const QStringList &photos) {
        QStringList broken;
        for (const QString &photo : photos)
            if (QImage(photo).isNull())
                broken << photo;
        return broken;
    }
    static QStringList paths(const QJsonValue &photos) {
        QStringList list;
        for (const QJsonValue &photo : photos.toArray())
            list << photo["path"].toString();
        return list;
    }

    QTemporaryDir m_root;
    QString m_frameworks;
    QString m_cli;
    std::unique_ptr<KVTest::FakeTool> m_tool;
    QByteArray m_savedState;
    QByteArray m_savedRuntime;
    int m_runs = 0;
};

// A raw file the tool refuses among photos it can write: the run says so and exits 1, and
// undo puts every date back; the refused file is never touched.
TEST_F(KVRunFaultTest, ARefusedRawFileIsReportedWithTheToolsWordsAndUndoRestoresEveryDate) {
    useRealTool();
    const QString folder = m_root.filePath("event");
    QStringList photos = KVTest::makeDatedPhotos(folder, 4);
    const QString raw = KVTest::copySamples({"raw/Nikon.nef"}, folder).first();
    const QByteArray rawBytes = KVTest::readFile(raw);
    const QMap<QString, QStringList> before = KVTest::dateTags(photos);

    const std::unique_ptr<Run> shift = cli({"shift", "--seconds", "3600", "--json", folder});
    EXPECT_EQ(shift->status, 1);
    const QJsonObject shifted = shift->json();
    EXPECT_EQ(paths(shifted["changed"]).size(), 4);
    ASSERT_EQ(paths(shifted["notChanged"]), QStringList{raw});
    const QString reason = shifted["notChanged"][0]["reason"].toString();
    EXPECT_TRUE(reason.contains("StripByteCounts")) << qPrintable(reason);
    EXPECT_FALSE(reason.contains("-execute") || reason.contains("/proc/")) << qPrintable(reason);
    EXPECT_EQ(KVTest::dateTags(photos), KVTest::shiftedDateTags(before, 3600));
    EXPECT_EQ(KVTest::readFile(raw), rawBytes);

    const std::unique_ptr<Run> undo = cli({"undo", "--json"});
    EXPECT_EQ(undo->status, 0);
    QStringList movedBack = paths(undo->json()["movedBack"]);
    movedBack.sort();
    EXPECT_EQ(movedBack, photos);
    EXPECT_EQ(KVTest::dateTags(photos), before);
    EXPECT_EQ(KVTest::readFile(raw), rawBytes);

    // The history tells both runs, the first one undone; a second undo has nothing to do.
    const QJsonArray runs = cli({"history", "--json"})->json()["runs"].toArray();
    ASSERT_EQ(runs.size(), 2);
    EXPECT_EQ(runs[0]["kind"].toString(), "shift");
    EXPECT_TRUE(runs[0]["undone"].toBool());
    EXPECT_EQ(runs[0]["notChanged"].toInt(), 1);
    EXPECT_EQ(runs[1]["kind"].toString(), "undo");
    const std::unique_ptr<Run> again = cli({"undo"});
    EXPECT_EQ(again->status, 0);
    EXPECT_EQ(KVTest::dateTags(photos), before);
    EXPECT_TRUE(strays(folder, photos << raw).isEmpty());
}

TEST_F(KVRunFaultTest, CtrlCWithAHungToolEndsWithinFiveSecondsLeavingNoToolAndThePhotosIntact) {
    const QString folder = m_root.filePath("event");
    const QStringList photos = KVTest::makeDatedPhotos(folder, 8);
    const QMap<QString, QStringList> before = KVTest::dateTags(photos);
    // One photo goes through; then every worker's tool hangs, deaf to SIGTERM, until killed.
    // The change-back draws the tickets after those.
    const int workers = static_cast<int>(std::thread::hardware_concurrency());
    const KVTest::FakeTool &tool = useFakeTool(1, workers);
    tool.closeGate();
    std::unique_ptr<Run> shift = start({"shift", "--seconds", "60", "--json", folder});
    ASSERT_GT(shift->pid, 0);
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.ticketsDrawn() == 1 + workers; }, 60s));
    // The photo that went through is put in place while the next one's tool already hangs.
    ASSERT_TRUE(KVTest::waitFor([&] { return KVTest::dateTags(photos) != before; }, 60s));

    ASSERT_EQ(::kill(shift->pid, SIGINT), 0);
    ASSERT_TRUE(shift->finish(5s)) << "still running 5 s after Ctrl-C";
    EXPECT_EQ(shift->status, 128 + SIGINT);
    EXPECT_EQ(tool.aliveCount(), 0);
    const QJsonObject result = shift->json();
    EXPECT_TRUE(result["cancelled"].toBool());
    EXPECT_EQ(paths(result["changed"]).size(), 1);
    EXPECT_EQ(paths(result["changedBack"]), paths(result["changed"]));
    EXPECT_EQ(KVTest::dateTags(photos), before);
    EXPECT_TRUE(undecodable(photos).isEmpty());
    EXPECT_TRUE(strays(folder, photos).isEmpty()) << qPrintable(strays(folder, photos).join(' '));
}

// 20 runs of a 30-photo shift, each killed with SIGKILL at another moment and followed by a
// recovery: every photo always ends with its original dates, whole, and nothing is left over.
TEST_F(KVRunFaultTest, TwentyKillsAtRandomMomentsEachFollowedByRecoverLeaveEveryPhotoAsItWas) {
    const QString folder = m_root.filePath("event");
    const QStringList photos = KVTest::makeDatedPhotos(folder, 30);
    const QMap<QString, QStringList> before = KVTest::dateTags(photos);
    const KVTest::FakeTool &tool = useFakeTool();
    QRandomGenerator random(20261123);
    int recovered = 0;
    for (int kill = 0; kill < 20; ++kill) {
        SCOPED_TRACE(kill);
        const int drawn = tool.ticketsDrawn();
        // As the tool takes one of the 30 photos, or a moment after; the first one is at
        // the very start.
        const int target = drawn + static_cast<int>(random.bounded(30));
        const size_t runsBefore = KVRunRecord::all().size();
        std::unique_ptr<Run> shift = start({"shift", "--seconds", "3600", folder});
        ASSERT_GT(shift->pid, 0);
        if (kill > 0) {
            KVTest::waitFor([&] { return tool.ticketsDrawn() >= target || shift->isZombie(); },
                            60s);
            std::this_thread::sleep_for(std::chrono::microseconds(random.bounded(20000)));
        }
        ::kill(shift->pid, SIGKILL);
        ASSERT_TRUE(shift->finish());
        // The tools end with the program that started them.
        ASSERT_TRUE(KVTest::waitFor([&] { return tool.aliveCount() == 0; }, 30s));

        // A kill that comes once the run has ended, even before the process has, finds it
        // finished: then undo, not recover, is what puts the dates back.
        const std::vector<KVRunRecord> runs = KVRunRecord::all();
        const bool finished =
            runs.size() > runsBefore && runs.back().end == KVRunRecord::End::Finished;
        if (shift->status == 0 || finished) {
            EXPECT_EQ(cli({"undo"})->status, 0);
        } else {
            EXPECT_EQ(shift->status, 128 + SIGKILL);
            const std::unique_ptr<Run> recover = cli({"recover", "--json"});
            EXPECT_EQ(recover->status, 0) << recover->output.constData();
            recovered += recover->json()["runs"].toArray().size();
        }
        EXPECT_EQ(KVTest::dateTags(photos), before);
        EXPECT_TRUE(undecodable(photos).isEmpty());
        EXPECT_TRUE(strays(folder, photos).isEmpty())
            << qPrintable(strays(folder, photos).join(' '));
        // Nothing is left to recover, and the next command runs.
        EXPECT_EQ(cli({"recover", "--json"})->json()["runs"].toArray().size(), 0);
    }
    // Most kills came while the run was going (a kill before its journal leaves nothing to do).
    EXPECT_GE(recovered, 10);
    RecordProperty("recoveredRuns", recovered);
}

// Two runs over the same photos at once come one after the other: both shifts land, on every
// photo of every camera, or one refuses and changes nothing; never a camera split.
TEST_F(KVRunFaultTest, TwoConcurrentShiftsAddUpOnEveryPhotoOrOneRefuses) {
    useRealTool();
    const QString folder = m_root.filePath("event");
    QStringList photos = KVTest::makeDatedPhotos(folder + "/canon", 6);
    photos += KVTest::makeDatedPhotos(folder + "/nikon", 6, "cameras/Nikon_D70.jpg");
    const QMap<QString, QStringList> before = KVTest::dateTags(photos);
    for (const auto &[first, second] : {std::pair{60, 60}, std::pair{60, 3600}}) {
        SCOPED_TRACE(second);
        const QMap<QString, QStringList> dated = KVTest::dateTags(photos);
        std::unique_ptr<Run> one = start({"shift", "--seconds", QString::number(first), folder});
        std::unique_ptr<Run> two = start({"shift", "--seconds", QString::number(second), folder});
        ASSERT_TRUE(one->finish());
        ASSERT_TRUE(two->finish());
        EXPECT_TRUE(one->status == 0 || two->status == 0);
        const qint64 total = (one->status == 0 ? first : 0) + (two->status == 0 ? second : 0);
        EXPECT_EQ(KVTest::dateTags(photos), KVTest::shiftedDateTags(dated, total));
    }
    EXPECT_NE(KVTest::dateTags(photos), before);
}

// A shift needs room for a private copy of the largest photo per worker beside the photos: on a
// disk without it nothing starts, and the message names the folder and the room needed.
TEST_F(KVRunFaultTest, AShiftWithoutRoomForItsCopiesChangesNothingAndSaysWhere) {
    useRealTool();
    const QString volume = m_root.filePath("card");
    QDir().mkpath(volume);
    if (KVTest::runProgram("mount", {"-t", "tmpfs", "-o", "size=34m", "tmpfs", volume}) != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root (CI runs as root)";
    const QStringList photos = KVTest::makeDatedPhotos(volume + "/DCIM", 3);
    QFile filler(volume + "/filler");
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly));
    ASSERT_EQ(filler.write(QByteArray(3 << 20, '\1')), 3 << 20);
    filler.close();
    const QMap<QString, QByteArray> before = [&] {
        QMap<QString, QByteArray> bytes;
        for (const QString &photo : photos)
            bytes.insert(photo, KVTest::readFile(photo));
        return bytes;
    }();

    const std::unique_ptr<Run> shift = cli({"shift", "--seconds", "60", volume}, true);
    EXPECT_EQ(shift->status, 1);
    EXPECT_TRUE(shift->output.contains(QFile::encodeName(volume + "/DCIM")))
        << shift->output.constData();
    EXPECT_TRUE(shift->output.contains("No photo was changed")) << shift->output.constData();
    for (const QString &photo : photos)
        EXPECT_EQ(KVTest::readFile(photo), before.value(photo)) << qPrintable(photo);
    // Nothing was begun, so nothing is left to undo or recover.
    EXPECT_TRUE(cli({"history", "--json"})->json()["runs"].toArray().isEmpty());
    KVTest::runProgram("umount", {volume});
}

// The commands that tell of runs speak the user's language: what undo moved back, the history's
// headings, kinds and states, and what recover did with a run cut off by a kill.
TEST_F(KVRunFaultTest, UndoHistoryAndRecoverSpeakTheUsersLanguage) {
    const QString folder = m_root.filePath("event");
    const QStringList photos = KVTest::makeDatedPhotos(folder, 3);
    const QMap<QString, QStringList> before = KVTest::dateTags(photos);
    // The first six photos handed to the tool pass; later ones wait while the gate is shut.
    const KVTest::FakeTool &tool = useFakeTool(6);
    ASSERT_EQ(cli({"shift", "--seconds", "60", folder})->status, 0);

    const QByteArray savedLanguage = qgetenv("LANGUAGE"), savedAll = qgetenv("LC_ALL"),
                     savedLang = qgetenv("LANG");
    qputenv("LANGUAGE", "");
    qputenv("LC_ALL", "de_DE.UTF-8");
    qputenv("LANG", "de_DE.UTF-8");
    const auto english = [](const QString &text) {
        for (const char *word : {"moved back", "photos", "Started", "Not changed", "undone",
                                 "shift", "changed back", "cut off", "finished"}) {
            if (text.contains(QLatin1String(word)))
                return QString::fromLatin1(word);
        }
        return QString();
    };

    const std::unique_ptr<Run> undo = cli({"undo"});
    EXPECT_EQ(undo->status, 0);
    const QString undone = QString::fromUtf8(undo->output);
    EXPECT_TRUE(undone.contains("Rückgängig machen: Verschiebung vom ")) << qPrintable(undone);
    EXPECT_TRUE(undone.contains("3 von 3 Fotos zurückverschoben.")) << qPrintable(undone);
    EXPECT_EQ(english(undone), QString()) << qPrintable(undone);
    EXPECT_EQ(KVTest::dateTags(photos), before);

    // A shift killed while the tool holds its first photo is left for recover.
    tool.closeGate();
    std::unique_ptr<Run> shift = start({"shift", "--seconds", "3600", folder});
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.isHolding(); }, 60s));
    ::kill(shift->pid, SIGKILL);
    ASSERT_TRUE(shift->finish());
    ASSERT_TRUE(KVTest::waitFor([&] { return tool.aliveCount() == 0; }, 30s));
    tool.openGate();

    const std::unique_ptr<Run> history = cli({"history"}, true);
    EXPECT_EQ(history->status, 0);
    const QString table = QString::fromUtf8(history->output);
    const QStringList lines = table.split('\n', Qt::SkipEmptyParts);
    const qsizetype heading =
        lines.indexOf(QRegularExpression("^Begonnen +Lauf +Art +Fotos +"
                                         "Geändert +Nicht geändert +Zustand$"));
    ASSERT_GE(heading, 0) << qPrintable(table);
    ASSERT_EQ(lines.size(), heading + 4) << qPrintable(table);
    EXPECT_TRUE(lines[heading + 1].contains(
        QRegularExpression(" Verschiebung +3 +3 +0 +beendet, rückgängig gemacht$")))
        << qPrintable(lines[heading + 1]);
    EXPECT_TRUE(lines[heading + 2].contains(QRegularExpression(" Rückgängig +3 +3 +0 +beendet$")))
        << qPrintable(lines[heading + 2]);
    EXPECT_TRUE(lines[heading + 3].contains(QRegularExpression(" Verschiebung +3 +0 +0 +offen$")))
        << qPrintable(lines[heading + 3]);
    // Each column starts where its heading does.
    EXPECT_EQ(lines[heading + 1].indexOf(" Verschiebung") + 1, lines[heading].indexOf("Art"));
    EXPECT_TRUE(table.contains("Ein Lauf wurde vor seinem Ende abgebrochen")) << qPrintable(table);
    EXPECT_EQ(english(table), QString()) << qPrintable(table);

    const std::unique_ptr<Run> recover = cli({"recover"});
    EXPECT_EQ(recover->status, 0);
    const QString recovered = QString::fromUtf8(recover->output);
    EXPECT_TRUE(recovered.contains(QRegularExpression("^Verschiebung \\S+: zurückgesetzt\n")))
        << qPrintable(recovered);
    EXPECT_EQ(english(recovered), QString()) << qPrintable(recovered);
    EXPECT_EQ(QString::fromUtf8(cli({"recover"})->output), "Kein Lauf wurde abgebrochen.\n");

    qputenv("LANGUAGE", savedLanguage);
    qputenv("LC_ALL", savedAll);
    qputenv("LANG", savedLang);
    EXPECT_EQ(KVTest::dateTags(photos), before);
    EXPECT_TRUE(strays(folder, photos).isEmpty()) << qPrintable(strays(folder, photos).join(' '));
}

} // namespace
