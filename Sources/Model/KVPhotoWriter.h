// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include <sys/types.h>

// The photo a write is meant for: its path and the file it was when it was added, so that a
// file swapped in under the same name (a link above all) is never written through.
struct KVPhotoIdentity {
    QString path;
    dev_t device = 0;
    ino_t inode = 0;
};

// What one write did to one photo. The photo is, after every outcome, either its old bytes
// (NotChanged, Cancelled) or its new bytes (Changed), never anything in between.
struct KVWriteOutcome {
    enum class Status { Changed, NotChanged, Cancelled };
    Status status = Status::NotChanged;
    // The capture date as it was read under the photo's lock, and as it was (or would have
    // been) written, both as EXIF text "yyyy:MM:dd HH:mm:ss"; empty when it could not be read.
    QString oldDateText;
    QString newDateText;
    // Why it did not change, in the user's words (the tool's own message where it gave one).
    QString reason;
    // Where the photo is after the write (the same path; kept for the records that follow it).
    QString path;
    // The file at that path afterwards. A change replaces the file, so its inode is new: a
    // record must take this identity over, or its next write (undo, change-back) is refused
    // as "replaced".
    KVPhotoIdentity identity;
    bool changed() const { return status == Status::Changed; }
};

// The tool every writer of this process starts unless told otherwise (set once at launch).
void KVSetToolPath(const QString &path);
QString KVToolPath();

// Writes capture dates into photos through one external tool process that stays open across
// photos. One writer per worker thread; a writer is used by one thread at a time, except
// cancel(), which any thread may call.
//
// Every write: takes an exclusive advisory lock (flock) on the photo, checks that the photo is
// still the file of `identity` (device, inode, not a link), reads its capture date, computes
// the new one (wall-clock text plus seconds, no time zone), asks `willChange` (the journal's
// hook: it records old and new text durably and returns false to stop), has the tool write a
// hidden, exclusively created file in the photo's folder, fsyncs and checks it (non-empty,
// all six date tags read back at the new date), and renames it over the photo, keeping its
// permissions and, where allowed, owner and group. Any failure before the rename removes the
// hidden file and leaves the photo untouched.
//
// The hidden file lives in a private folder (mode 0700, named `leftoverPrefix` plus six random
// characters) made afresh in the photo's folder for each write. The tool reads the photo
// through the descriptor the checks were made on (/proc/<pid>/fd/<n>), so it reads exactly the
// file that was checked, and no name (4,000 bytes, newlines, quotes) is ever handed to it.
//
// The tool starts with the first write and ends with the writer, with cancel(), with a time
// limit, or with the thread that started it (so that no tool outlives a killed process).
//
// The per-photo lock keeps two writers off one photo, but two runs could still interleave
// photo by photo. A run takes KVFolderLocks on its folders for its whole length so that runs
// over the same photos come one after the other; the second should read its photos'
// identities only once it holds the locks, or every photo the first one changed is reported
// as "The file was replaced during syncing.".
class KVPhotoWriter {
    Q_DECLARE_TR_FUNCTIONS(KVPhotoWriter)
public:
    using WillChange = std::function<bool(const QString &oldDateText, const QString &newDateText)>;
    // Called just before the new version replaces the photo; false leaves the photo as it is.
    using WillReplace = std::function<bool()>;

    // A write between its two halves: the tool has made the new version, which has not yet
    // replaced the photo; or the write has already ended, and has its outcome. It holds the
    // photo's lock and the private folder, and removes the folder when it goes.
    class Pending {
    public:
        Pending();
        // A write that ended before it began, with this outcome.
        explicit Pending(KVWriteOutcome outcome);
        ~Pending();
        Pending(Pending &&) noexcept;
        Pending &operator=(Pending &&) noexcept;

    private:
        friend class KVPhotoWriter;
        struct State;
        std::unique_ptr<State> s;
    };

    explicit KVPhotoWriter(const QString &toolPath = KVToolPath());
    ~KVPhotoWriter();
    KVPhotoWriter(const KVPhotoWriter &) = delete;
    KVPhotoWriter &operator=(const KVPhotoWriter &) = delete;

    // Shifts the photo's dates by `seconds`. With `expectedOldDateText` set (undo, redo,
    // change-back, recovery), a photo whose current date is not that text is left alone and
    // reported as not changed.
    KVWriteOutcome shiftDates(const KVPhotoIdentity &identity, qint64 seconds,
                              const WillChange &willChange = {},
                              const std::optional<QString> &expectedOldDateText = std::nullopt);
    // shiftDates in two halves, so that a run can have the tool make the next photo's new
    // version while this one is saved, checked and put in place: begin() returns once the tool
    // has written the new version; finish() keeps the photo's permissions, saves and checks the
    // new version, asks `willReplace` and renames it over the photo. finish() may run on another
    // thread, at the same time as the next begin().
    Pending begin(const KVPhotoIdentity &identity, qint64 seconds,
                  const WillChange &willChange = {},
                  const std::optional<QString> &expectedOldDateText = std::nullopt,
                  WillReplace willReplace = {});
    KVWriteOutcome finish(Pending pending);

    // Ends the write in progress now (the tool's process group gets SIGTERM, then SIGKILL
    // after 2 s); that write returns Cancelled with the photo intact, and so does every later
    // one until reset().
    void cancel();
    void reset();

    // The time the tool may take for one photo before it is killed and the photo reported as
    // not changed: `base` plus `perMebibyte` for every MiB of the photo.
    void setTimeLimit(std::chrono::milliseconds base, std::chrono::milliseconds perMebibyte);
    // How long a write waits for another writer's lock on the photo before it gives up.
    void setLockWait(std::chrono::milliseconds wait);

    // The identity of the file at `path` now (the link itself when it is one); nothing when
    // it cannot be read.
    static std::optional<KVPhotoIdentity> identityOf(const QString &path);

    // Removes the hidden files an interrupted write may have left in `folder`: folders named
    // `leftoverPrefix` followed by six characters, owned by this user, that no writer holds
    // (each writer keeps an flock on its folder while it works in it). Nothing else is touched.
    static void removeLeftovers(const QString &folder);
    static constexpr const char *leftoverPrefix = ".kalvora-write-";
    // Whether a file name is one of those hidden folders (for listings that must skip them).
    static bool isLeftoverName(const QString &name);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// Whether every file system holding these photos has room for one temporary copy of its
// largest photo per worker, plus a margin. The problem in the user's words (naming the folder
// and the space needed), or nothing when there is room.
std::optional<QString> KVCheckRoomToWrite(const QStringList &photoPaths, int workers);
