// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSynchronizationOperation.h"

#include "KVKeyPath.h"
#include "KVLog.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <future>

KVSynchronizationOperation::KVSynchronizationOperation(std::vector<KVPhotoChange> changes,
                                                       std::shared_ptr<KVRunJournal> journal,
                                                       QString toolPath)
    : m_changes(std::move(changes))
    , m_journal(std::move(journal))
    , m_toolPath(std::move(toolPath))
    , m_results(m_changes.size()) {
}

KVSynchronizationOperation::KVSynchronizationOperation(double seconds,
                                                       const std::vector<KVImageFileRef> &files)
    : KVSynchronizationOperation(
          [&] {
              std::vector<KVPhotoChange> changes;
              for (const KVImageFileRef &file : files) {
                  if (file)
                      changes.push_back({file, file->identity(), std::llround(seconds), {}, -1});
              }
              return changes;
          }(),
          nullptr, KVToolPath()) {
}

KVSynchronizationOperationRef KVSynchronizationOperation::copy() const {
    auto copied = std::make_shared<KVSynchronizationOperation>(m_changes, m_journal, m_toolPath);
    std::lock_guard lock(m_mutex);
    qint64 done = 0;
    for (size_t index = 0; index < m_results.size(); ++index) {
        // What failed is tried again; what changed stays done.
        if (m_results[index] && m_results[index]->outcome.changed()) {
            copied->m_results[index] = m_results[index];
            ++done;
        }
    }
    // The count starts at what was done, not at 0: a copy still waiting for a worker would
    // otherwise pull the queue's summed count back below where the run stood.
    copied->m_processedImagesCount = done;
    return copied;
}

KVPhotoChange KVRevertingChange(const KVPhotoChangeResult &result) {
    KVPhotoChange change = result.change;
    change.identity = result.after;
    change.seconds = -result.change.seconds;
    change.expectedOldDateText = result.outcome.newDateText;
    change.journalIndex = -1;
    return change;
}

std::vector<KVPhotoChangeResult> KVSynchronizationOperation::changed() const {
    std::lock_guard lock(m_mutex);
    std::vector<KVPhotoChangeResult> results;
    for (const std::optional<KVPhotoChangeResult> &result : m_results) {
        if (result && result->outcome.changed())
            results.push_back(*result);
    }
    return results;
}

std::vector<KVPhotoChangeResult> KVSynchronizationOperation::notChanged() const {
    std::lock_guard lock(m_mutex);
    std::vector<KVPhotoChangeResult> results;
    for (const std::optional<KVPhotoChangeResult> &result : m_results) {
        if (result && result->outcome.status == KVWriteOutcome::Status::NotChanged)
            results.push_back(*result);
    }
    return results;
}

std::vector<KVPhotoChangeResult> KVSynchronizationOperation::unreached() const {
    std::lock_guard lock(m_mutex);
    std::vector<KVPhotoChangeResult> results;
    for (size_t index = 0; index < m_changes.size(); ++index) {
        const std::optional<KVPhotoChangeResult> &result = m_results[index];
        if (result && result->outcome.status != KVWriteOutcome::Status::Cancelled)
            continue;
        KVPhotoChangeResult stopped{m_changes[index], {}, m_changes[index].identity};
        stopped.outcome.path = m_changes[index].identity.path;
        stopped.outcome.reason = QCoreApplication::translate(
            "KVSynchronizationOperation", "The run was stopped before this photo was changed.");
        results.push_back(std::move(stopped));
    }
    return results;
}

void KVSynchronizationOperation::cancel() {
    KVOperation::cancel();
    std::lock_guard lock(m_mutex);
    if (m_writer)
        m_writer->cancel();
}

void KVSynchronizationOperation::setProcessedImagesCount(qint64 count) {
    m_processedImagesCount = count;
    didChangeValueForKey(KVKeyPath::processedImagesCount);
}

void KVSynchronizationOperation::main() {
    KVLogVerbose(QStringLiteral("Sync operation launched"));
    // The tool lives as long as this worker's share of the run: it is closed when the share
    // is done, and killed by a cancel.
    KVPhotoWriter writer(m_toolPath);
    std::vector<size_t> left;
    {
        std::lock_guard lock(m_mutex);
        m_writer = &writer;
        if (isCancelled())
            writer.cancel();
        for (size_t index = 0; index < m_results.size(); ++index) {
            if (!m_results[index])
                left.push_back(index);
        }
    }
    setProcessedImagesCount(static_cast<qint64>(m_changes.size() - left.size()));
    KVLogVerbose(QStringLiteral("Images to sync: %1").arg(left.size()));

    // The photo being put in place while the tool makes the next one's new version. It keeps
    // its result itself, the moment it is on disk.
    std::future<void> finishing;
    for (const size_t index : left) {
        if (isCancelled())
            break;
        KVPhotoWriter::Pending pending = beginWrite(writer, m_changes[index]);
        if (finishing.valid())
            finishing.get();
        finishing = std::async(
            std::launch::async, [this, &writer, index, pending = std::move(pending)]() mutable {
                keep(index, finishWrite(writer, m_changes[index], std::move(pending)));
            });
    }
    if (finishing.valid())
        finishing.get();
    std::lock_guard lock(m_mutex);
    m_writer = nullptr;
}

void KVSynchronizationOperation::keep(size_t index, KVPhotoChangeResult result) {
    qint64 processed = 0;
    {
        // Kept at once, so that whoever reads the changed photos of a running operation never
        // misses one that is already on disk.
        std::lock_guard lock(m_mutex);
        m_results[index] = std::move(result);
        processed = std::count_if(m_results.begin(), m_results.end(),
                                  [](const auto &kept) { return kept.has_value(); });
    }
    setProcessedImagesCount(processed);
}

KVPhotoWriter::Pending KVSynchronizationOperation::beginWrite(KVPhotoWriter &writer,
                                                              const KVPhotoChange &change) {
    std::unique_lock<std::recursive_mutex> recordLock;
    if (change.file) {
        recordLock = std::unique_lock(change.file->lock());
        if (change.file->imageState() == KVImageStateRemoved) {
            KVWriteOutcome outcome;
            outcome.path = change.identity.path;
            outcome.identity = change.identity;
            outcome.reason = QCoreApplication::translate("KVSynchronizationOperation",
                                                         "The photo was moved to the Trash.");
            return KVPhotoWriter::Pending(std::move(outcome));
        }
    }
    KVLogVerbose(QStringLiteral("Images path: %1").arg(change.identity.path));
    const int index = change.journalIndex;
    const bool journalled = m_journal && index >= 0;
    const KVPhotoWriter::WillChange willChange = [&](const QString &oldText,
                                                     const QString &newText) {
        return !journalled || m_journal->willChange(index, oldText, newText);
    };
    // The journal's line for this photo is on disk before the photo changes; flushes of
    // several photos are shared.
    KVPhotoWriter::WillReplace willReplace;
    if (journalled)
        willReplace = [journal = m_journal] { return journal->save(); };
    return writer.begin(change.identity, change.seconds, willChange, change.expectedOldDateText,
                        std::move(willReplace));
}

KVPhotoChangeResult KVSynchronizationOperation::finishWrite(KVPhotoWriter &writer,
                                                            const KVPhotoChange &change,
                                                            KVPhotoWriter::Pending pending) {
    std::unique_lock<std::recursive_mutex> recordLock;
    if (change.file)
        recordLock = std::unique_lock(change.file->lock());
    KVPhotoChangeResult result{change, writer.finish(std::move(pending)), change.identity};
    if (result.outcome.path.isEmpty())
        result.outcome.path = change.identity.path;
    if (result.outcome.changed()) {
        result.after = result.outcome.identity;
        // A record follows its file: the new identity and dates are its own from now on.
        if (change.file)
            change.file->didShiftCreationDate(result.outcome);
    }
    if (m_journal && change.journalIndex >= 0)
        m_journal->didChange(change.journalIndex, result.outcome);
    return result;
}
