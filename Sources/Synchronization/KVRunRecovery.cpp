// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVRunRecovery.h"

#include "KVDateTags.h"
#include "KVPhotoWriter.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {

// The capture date the photo has now, as EXIF text; empty when it cannot be read.
QString currentDateText(const QString &path) {
    const std::optional<KVDateTags> tags = KVDateTags::read(path);
    return tags ? tags->captureDateText() : QString();
}

} // namespace

qsizetype KVRunRecovery::Result::count(Photo::Result result) const {
    return std::count_if(photos.begin(), photos.end(),
                         [result](const Photo &photo) { return photo.result == result; });
}

std::vector<KVRunRecord> KVRunRecovery::interruptedRuns(Mode mode) {
    std::vector<KVRunRecord> runs = KVRunRecord::interrupted();
    QSet<QString> open;
    for (const KVRunRecord &run : runs)
        open.insert(run.id);
    std::erase_if(runs, [&](const KVRunRecord &run) {
        return run.kind == KVRunKind::ChangeBack && open.contains(run.of);
    });
    // What was done last is undone first.
    if (mode == Mode::ChangeBack)
        std::reverse(runs.begin(), runs.end());
    return runs;
}

QString KVRunRecovery::describe(const std::vector<KVRunRecord> &runs) {
    QString text;
    for (const KVRunRecord &run : runs) {
        const qsizetype touched = std::count_if(run.entries.begin(), run.entries.end(),
                                                [](const auto &entry) { return entry.touched; });
        text += QCoreApplication::translate(
                    "KVRunRecovery", "%1 of %2 photos, started %3: %4 photos may have changed\n")
                    .arg(KVRunRecord::kindText(run.kind))
                    .arg(run.entries.size())
                    .arg(run.started.toLocalTime().toString(Qt::ISODate))
                    .arg(touched);
    }
    return text;
}

KVRunRecovery::Result KVRunRecovery::settle(const KVRunRecord &run, Mode mode,
                                            const QString &toolPath) {
    Result result;
    result.runId = run.id;
    result.kind = run.kind;
    std::unique_ptr<KVRunJournal> journal = KVRunJournal::takeOver(run);
    if (!journal)
        return result;
    const std::optional<KVRunRecord> current = KVRunRecord::read(run.filePath);
    if (!current)
        return result;

    KVPhotoWriter writer(toolPath);
    // The journal's dates stay those of the run, so that settling again after a crash judges
    // by the same two dates; the line after each photo says where it ended.
    const KVPhotoWriter::WillChange proceed = [](const QString &, const QString &) { return true; };
    QSet<QString> folders;
    for (size_t index = 0; index < current->entries.size(); ++index) {
        const KVJournalEntry &entry = current->entries[index];
        const int line = static_cast<int>(index);
        const QString path = entry.identity.path;
        folders.insert(QFileInfo(path).absolutePath());
        const bool finishing = mode == Mode::Finish;
        if (!entry.touched && (!finishing || entry.state != KVJournalEntry::State::Planned))
            continue;
        Photo photo{path, Photo::Result::Kept, {}};
        std::optional<QString> expected;
        qint64 seconds = 0;
        const QString now = currentDateText(path);
        if (!entry.touched) {
            // Never reached: finishing changes it as the run would have.
            seconds = entry.seconds;
            if (!entry.oldDateText.isEmpty())
                expected = entry.oldDateText;
        } else if (now == (finishing ? entry.newDateText : entry.oldDateText)) {
            result.photos.push_back(photo);
            if (finishing) {
                KVWriteOutcome kept{KVWriteOutcome::Status::Changed,
                                    entry.oldDateText,
                                    entry.newDateText,
                                    {},
                                    path,
                                    {}};
                kept.identity = KVPhotoWriter::identityOf(path).value_or(KVPhotoIdentity{path});
                journal->didChange(line, kept);
            } else
                journal->didNotChange(
                    line, QCoreApplication::translate("KVRunRecovery",
                                                      "Not changed before the run was cut off."));
            continue;
        } else if (now == (finishing ? entry.oldDateText : entry.newDateText)) {
            seconds = finishing ? entry.seconds : -entry.seconds;
            expected = now;
        } else {
            photo.result = Photo::Result::Failed;
            photo.reason = now.isEmpty()
                               ? QCoreApplication::translate("KVRunRecovery",
                                                             "The photo's date cannot be read.")
                               : QCoreApplication::translate(
                                     "KVRunRecovery",
                                     "The photo's date (%1) is neither the one before the run (%2) "
                                     "nor the one after it (%3).")
                                     .arg(now, entry.oldDateText, entry.newDateText);
            result.photos.push_back(photo);
            continue;
        }
        const std::optional<KVPhotoIdentity> identity = KVPhotoWriter::identityOf(path);
        KVWriteOutcome outcome;
        if (identity)
            outcome = writer.shiftDates(*identity, seconds, proceed, expected);
        else
            outcome.reason = QCoreApplication::translate(
                "KVRunRecovery", "The file is missing or is not a plain file.");
        photo.result = outcome.changed() ? Photo::Result::Moved : Photo::Result::Failed;
        photo.reason = outcome.reason;
        result.photos.push_back(photo);
        if (outcome.changed() && !finishing) {
            journal->didNotChange(line,
                                  QCoreApplication::translate(
                                      "KVRunRecovery", "Changed back after the run was cut off."),
                                  outcome.identity);
        } else if (outcome.changed()) {
            journal->didChange(line, outcome);
        }
    }
    for (const QString &folder : folders)
        KVPhotoWriter::removeLeftovers(folder);

    // A change-back cut off with this run is settled by it.
    for (const KVRunRecord &other : KVRunRecord::interrupted()) {
        if (other.kind == KVRunKind::ChangeBack && other.of == run.id) {
            if (std::unique_ptr<KVRunJournal> changeBack = KVRunJournal::takeOver(other))
                changeBack->close(KVRunRecord::End::Recovered);
        }
    }
    result.settled = journal->close(KVRunRecord::End::Recovered);
    return result;
}

std::vector<KVRunRecovery::Result> KVRunRecovery::settleAll(Mode mode, const QString &toolPath) {
    std::vector<Result> results;
    for (const KVRunRecord &run : interruptedRuns(mode))
        results.push_back(settle(run, mode, toolPath));
    return results;
}
