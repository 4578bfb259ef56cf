// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageFile.h"
#include "KVOperation.h"
#include "KVPhotoWriter.h"
#include "KVRunJournal.h"

#include <QString>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class KVSynchronizationOperation;
using KVSynchronizationOperationRef = std::shared_ptr<KVSynchronizationOperation>;

// One photo's part of a run: which file, by how much, and (for undo, redo and changing back)
// the date it must have for the change to apply.
struct KVPhotoChange {
    // The window's record of the photo, brought up to date after the write; null where there
    // is none (the command line's undo).
    KVImageFileRef file;
    KVPhotoIdentity identity;
    qint64 seconds = 0;
    std::optional<QString> expectedOldDateText;
    // The photo's place in the run's journal.
    int journalIndex = -1;
};

// What became of one change.
struct KVPhotoChangeResult {
    KVPhotoChange change;
    KVWriteOutcome outcome;
    // The file after the write (a replaced photo is a new file).
    KVPhotoIdentity after;
};

// The change that moves a changed photo back: by minus its shift, and only while it still has
// the date it was given.
KVPhotoChange KVRevertingChange(const KVPhotoChangeResult &result);

// One worker of a run: writes its share of the run's photos one after the other through a tool
// process of its own, journals each, and keeps what became of it, so that a cancel can change
// exactly the changed photos back, each by its own shift. While the tool makes a photo's new
// version, the one before is saved, checked and put in place on a second thread: the tool
// never waits for the disk.
// Observable keys: "processedImagesCount", "isFinished" (announced on the worker thread).
class KVSynchronizationOperation : public KVOperation {
public:
    KVSynchronizationOperation(std::vector<KVPhotoChange> changes,
                               std::shared_ptr<KVRunJournal> journal, QString toolPath);
    // Every photo shifted by the same seconds, without a journal, through the tool at
    // KVToolPath().
    KVSynchronizationOperation(double seconds, const std::vector<KVImageFileRef> &files);

    // A fresh operation over the photos not yet changed, keeping what was done, so that a run
    // interrupted midway continues where it stopped.
    KVSynchronizationOperationRef copy() const;
    std::vector<KVPhotoChangeResult> changed() const;
    std::vector<KVPhotoChangeResult> notChanged() const;
    // The photos it never came to, or whose write a cancel ended, as not changed.
    std::vector<KVPhotoChangeResult> unreached() const;
    qsizetype imageFilesCount() const { return static_cast<qsizetype>(m_changes.size()); }
    qint64 processedImagesCount() const { return m_processedImagesCount.load(); }

    // Also ends the photo being written: its tool is killed and the photo stays as it was.
    void cancel() override;

protected:
    void main() override;

private:
    // The first half of a photo's write, up to the tool's new version; the second half puts it
    // in place and journals the outcome.
    KVPhotoWriter::Pending beginWrite(KVPhotoWriter &writer, const KVPhotoChange &change);
    KVPhotoChangeResult finishWrite(KVPhotoWriter &writer, const KVPhotoChange &change,
                                    KVPhotoWriter::Pending pending);
    void keep(size_t index, KVPhotoChangeResult result);
    void setProcessedImagesCount(qint64 count);

    const std::vector<KVPhotoChange> m_changes;
    const std::shared_ptr<KVRunJournal> m_journal;
    const QString m_toolPath;
    mutable std::mutex m_mutex;
    // By index into m_changes.
    std::vector<std::optional<KVPhotoChangeResult>> m_results;
    KVPhotoWriter *m_writer = nullptr;
    std::atomic<qint64> m_processedImagesCount{0};
};
