// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRunJournal.h"

#include "KVTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using State = KVJournalEntry::State;

class KVRunJournalTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_saved = qgetenv("XDG_STATE_HOME");
        qputenv("XDG_STATE_HOME", QFile::encodeName(m_state.filePath("state")));
    }
    void TearDown() override { qputenv("XDG_STATE_HOME", m_saved); }

    static std::vector<KVJournalEntry> plan(int count, qint64 seconds = 60) {
        std::vector<KVJournalEntry> entries;
        for (int i = 0; i < count; ++i) {
            KVJournalEntry entry;
            entry.identity = {QStringLiteral("/photos/%1 \"quoted\"\n.jpg").arg(i),
                              dev_t(0xFFFFFFFFull + i), ino_t(0xFFFFFFFFFFFFull + i)};
            entry.seconds = seconds;
            entry.oldDateText = QStringLiteral("2024:06:01 12:00:0%1").arg(i);
            entry.newDateText = QStringLiteral("2024:06:01 12:01:0%1").arg(i);
            entries.push_back(entry);
        }
        return entries;
    }
    static std::unique_ptr<KVRunJournal> create(KVRunKind kind, int count, const QString &of = {}) {
        QString error;
        std::unique_ptr<KVRunJournal> journal = KVRunJournal::create(kind, plan(count), of, &error);
        EXPECT_TRUE(journal) << qPrintable(error);
        return journal;
    }
    static KVWriteOutcome changed(const QString &oldText, const QString &newText, ino_t inode) {
        KVWriteOutcome outcome{KVWriteOutcome::Status::Changed, oldText, newText, {}, {}, {}};
        outcome.identity = {QString(), 7, inode};
        return outcome;
    }

    QTemporaryDir m_state;
    QByteArray m_saved;
};

} // namespace

TEST_F(KVRunJournalTest, EveryStepOfARunReadsBackWithItsDatesIdentitiesAndReasons) {
    std::unique_ptr<KVRunJournal> journal = create(KVRunKind::Shift, 4);
    ASSERT_TRUE(journal);
    // Dates read under the lock may differ from the plan's (another run came first).
    ASSERT_TRUE(journal->willChange(0, "2024:06:01 12:02:00", "2024:06:01 12:03:00"));
    journal->didChange(0, changed("2024:06:01 12:02:00", "2024:06:01 12:03:00", 991));
    ASSERT_TRUE(journal->willChange(1, "2024:06:01 12:00:01", "2024:06:01 12:01:01"));
    KVWriteOutcome refused;
    refused.reason = "Error: Writing this type of RAW file is not supported";
    journal->didChange(1, refused);
    ASSERT_TRUE(journal->willChange(2, "2024:06:01 12:00:02", "2024:06:01 12:01:02"));

    // While the run goes its journal is open and held: nothing to recover.
    std::optional<KVRunRecord> record = KVRunRecord::read(journal->filePath());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->end, KVRunRecord::End::Open);
    EXPECT_TRUE(record->isLocked());
    EXPECT_TRUE(KVRunRecord::interrupted().empty());

    ASSERT_TRUE(journal->close(KVRunRecord::End::Abandoned));
    record = KVRunRecord::read(journal->filePath());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->kind, KVRunKind::Shift);
    EXPECT_EQ(record->end, KVRunRecord::End::Abandoned);
    ASSERT_EQ(record->entries.size(), 4u);
    const std::vector<KVJournalEntry> planned = plan(4);
    for (size_t i = 0; i < 4; ++i) {
        // Paths with quotes and newlines, and numbers past 2^53, come back exactly.
        EXPECT_EQ(record->entries[i].identity.path, planned[i].identity.path);
        EXPECT_EQ(record->entries[i].identity.device, planned[i].identity.device);
        EXPECT_EQ(record->entries[i].identity.inode, planned[i].identity.inode);
        EXPECT_EQ(record->entries[i].seconds, 60);
    }
    const auto &entries = record->entries;
    EXPECT_EQ(entries[0].state, State::Changed);
    EXPECT_EQ(entries[0].oldDateText, "2024:06:01 12:02:00");
    EXPECT_EQ(entries[0].newDateText, "2024:06:01 12:03:00");
    EXPECT_EQ(entries[0].identityAfter().inode, 991u);
    EXPECT_EQ(entries[0].identityAfter().path, planned[0].identity.path);
    EXPECT_EQ(entries[1].state, State::NotChanged);
    EXPECT_EQ(entries[1].reason, refused.reason);
    EXPECT_EQ(entries[1].identityAfter().inode, planned[1].identity.inode);
    EXPECT_EQ(entries[2].state, State::Writing);
    EXPECT_TRUE(entries[2].touched);
    EXPECT_EQ(entries[3].state, State::Planned);
    EXPECT_FALSE(entries[3].touched);
    EXPECT_EQ(record->countIn(State::Changed), 1);

    // After the end nothing more is written.
    EXPECT_FALSE(journal->willChange(3, "a", "b"));
}

TEST_F(KVRunJournalTest, ARunCutOffMidLineIsInterruptedAndKeepsEveryWholeLine) {
    QString path;
    {
        std::unique_ptr<KVRunJournal> journal = create(KVRunKind::Sync, 2);
        ASSERT_TRUE(journal);
        path = journal->filePath();
        ASSERT_TRUE(journal->willChange(0, "2024:06:01 12:00:00", "2024:06:01 12:01:00"));
        // Gone without an end, as after kill -9: the lock goes with the process's descriptor.
    }
    // The last line was being written when the process died.
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(R"({"photo":1,"state":"wri)");
    file.close();

    const std::vector<KVRunRecord> interrupted = KVRunRecord::interrupted();
    ASSERT_EQ(interrupted.size(), 1u);
    EXPECT_EQ(interrupted[0].entries[0].state, State::Writing);
    EXPECT_EQ(interrupted[0].entries[1].state, State::Planned);

    // Taking it over ends the cut line, so what is appended next reads back.
    std::unique_ptr<KVRunJournal> taken = KVRunJournal::takeOver(interrupted[0]);
    ASSERT_TRUE(taken);
    // Held by the one who took it over: no second taker.
    EXPECT_FALSE(KVRunJournal::takeOver(interrupted[0]));
    taken->didNotChange(1, "kept");
    ASSERT_TRUE(taken->close(KVRunRecord::End::Recovered));
    const std::optional<KVRunRecord> settled = KVRunRecord::read(path);
    ASSERT_TRUE(settled);
    EXPECT_EQ(settled->end, KVRunRecord::End::Recovered);
    EXPECT_EQ(settled->entries[1].reason, "kept");
    EXPECT_TRUE(KVRunRecord::interrupted().empty());
    // Settled runs are not taken over again.
    EXPECT_FALSE(KVRunJournal::takeOver(*settled));
}

TEST_F(KVRunJournalTest, JournalsArePrivateToTheUserAndNeverWrittenThroughALink) {
    std::unique_ptr<KVRunJournal> journal = create(KVRunKind::Shift, 1);
    ASSERT_TRUE(journal);
    struct stat info;
    ASSERT_EQ(::stat(QFile::encodeName(KVRunJournal::folder()).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    ASSERT_EQ(::stat(QFile::encodeName(journal->filePath()).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    EXPECT_TRUE(journal->filePath().startsWith(m_state.filePath("state/kalvora/journal/")));
    // No half-made journal under its hidden name is left beside it.
    EXPECT_EQ(QDir(KVRunJournal::folder()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    journal->close(KVRunRecord::End::Finished);

    // A folder that is a link to somewhere else is refused, and the run must not start.
    QTemporaryDir elsewhere;
    const QString linked = m_state.filePath("linked");
    QDir().mkpath(linked + "/kalvora");
    ASSERT_TRUE(QFile::link(elsewhere.path(), linked + "/kalvora/journal"));
    qputenv("XDG_STATE_HOME", QFile::encodeName(linked));
    QString error;
    EXPECT_FALSE(KVRunJournal::create(KVRunKind::Shift, plan(1), {}, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(QDir(elsewhere.path()).isEmpty());
}

// Undo takes the newest run that changed photos and is not undone; an undo is not undone by
// another, it steps further back.
TEST_F(KVRunJournalTest, TheRunToUndoIsTheNewestThatChangedPhotosAndIsNotUndone) {
    const auto run = [](KVRunKind kind, KVRunRecord::End end, int changed, const QString &id,
                        const QString &of = {}) {
        KVRunRecord record;
        record.id = id;
        record.kind = kind;
        record.of = of;
        record.end = end;
        record.entries.resize(2);
        for (int i = 0; i < changed; ++i)
            record.entries[size_t(i)].state = State::Changed;
        return record;
    };
    using End = KVRunRecord::End;
    const KVRunRecord shift = run(KVRunKind::Shift, End::Finished, 2, "a");
    const KVRunRecord sync = run(KVRunKind::Sync, End::Finished, 1, "b");
    const KVRunRecord undoOfSync = run(KVRunKind::Undo, End::Finished, 1, "c", "b");
    const KVRunRecord redoOfUndo = run(KVRunKind::Redo, End::Finished, 1, "d", "c");
    const struct {
        std::vector<KVRunRecord> runs;
        QString expected;
    } cases[] = {
        {{}, {}},
        {{shift}, "a"},
        {{shift, sync}, "b"},
        {{shift, sync, undoOfSync}, "a"},
        {{shift, sync, undoOfSync, redoOfUndo}, "d"},
        // A cancelled undo undid nothing.
        {{shift, sync, run(KVRunKind::Undo, End::Cancelled, 0, "c", "b")}, "b"},
        // Cancelled, cut off, settled at a later start, changing nothing, or a change-back.
        {{shift, run(KVRunKind::Sync, End::Cancelled, 2, "x")}, "a"},
        {{shift, run(KVRunKind::Sync, End::Open, 2, "x")}, "a"},
        {{shift, run(KVRunKind::Sync, End::Recovered, 2, "x")}, "a"},
        {{shift, run(KVRunKind::Sync, End::Finished, 0, "x")}, "a"},
        {{shift, run(KVRunKind::ChangeBack, End::Finished, 2, "x", "a")}, "a"},
        // A run abandoned for an unplugged disk changed what it changed.
        {{shift, run(KVRunKind::Sync, End::Abandoned, 1, "x")}, "x"},
    };
    for (const auto &[runs, expected] : cases) {
        const std::optional<KVRunRecord> found = KVLastUndoableRun(runs);
        EXPECT_EQ(found ? found->id : QString(), expected) << runs.size() << " runs";
    }
}
