// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVRunRecord.h"

#include <QString>

#include <memory>
#include <condition_variable>
#include <mutex>
#include <vector>

// The journal of one run while it goes: a file of its own under the user's state folder,
// private to the user, appended one JSON line at a time. The plan and each photo's dates are on
// disk (fsynced) before that photo may change, so a run cut off at any instant can be finished
// or changed back from what the file says. The journal holds an exclusive lock on its file for
// as long as it is open, which tells a later start that the run is still going on.
// Safe to use from several worker threads at once.
class KVRunJournal {
public:
    // $XDG_STATE_HOME/kalvora/journal (~/.local/state when unset).
    static QString folder();

    // Writes the header and the plan of a new run. Null, with the reason, when the journal
    // cannot be made: then the run must not start.
    static std::unique_ptr<KVRunJournal> create(KVRunKind kind,
                                                const std::vector<KVJournalEntry> &plan,
                                                const QString &of, QString *error);
    // Takes over the journal of an interrupted run, to finish it or change it back. Null when
    // another process holds it (its run is still going on) or it cannot be opened.
    static std::unique_ptr<KVRunJournal> takeOver(const KVRunRecord &record);

    ~KVRunJournal();
    KVRunJournal(const KVRunJournal &) = delete;
    KVRunJournal &operator=(const KVRunJournal &) = delete;

    QString id() const { return m_id; }
    QString filePath() const { return m_filePath; }

    // The photo `index` of the plan is about to change from oldDateText to newDateText. The
    // line is written at once but reaches the disk only with the next save(), which must
    // return true before the photo changes. False when it could not be written.
    bool willChange(int index, const QString &oldDateText, const QString &newDateText);
    // Every line written so far is on disk when this returns true. Workers that save at the
    // same time share one flush: whoever comes while one is going on waits for it, or for the
    // next one when its line came too late for it.
    bool save();
    void didChange(int index, const KVWriteOutcome &outcome);
    // Notes the photo as not changed by the run (nothing to do, refused beforehand, or changed
    // back by a recovery, which replaced it with `replacement`).
    void didNotChange(int index, const QString &reason, const KVPhotoIdentity &replacement = {});
    // The run is over; nothing more is written.
    bool close(KVRunRecord::End end);

private:
    KVRunJournal(int fd, const QString &id, const QString &filePath);
    bool append(const QJsonObject &line, bool durable);

    std::mutex m_mutex;
    std::condition_variable m_saved;
    quint64 m_writtenLines = 0;
    quint64 m_savedLines = 0;
    bool m_saving = false;
    int m_fd;
    QString m_id;
    QString m_filePath;
    bool m_closed = false;
};
