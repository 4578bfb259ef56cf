// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVRunJournal.h"

#include <QString>

#include <vector>

// Settles the runs a crash or a kill cut off, from their journals. Each photo is judged by the
// date it has now: the date before the run means it was not changed, the date after means it
// was. Changing back moves every changed photo back by its own shift; finishing changes what is
// left. A photo with neither date is left alone and reported. Settling again after a crash in
// the middle gives the same end.
class KVRunRecovery {
public:
    enum class Mode { ChangeBack, Finish };

    struct Photo {
        QString path;
        // Moved: written now. Kept: already as wanted. Failed: could not be brought there.
        enum class Result { Moved, Kept, Failed } result = Result::Kept;
        QString reason;
    };
    struct Result {
        QString runId;
        KVRunKind kind = KVRunKind::Shift;
        // False when another process took the run meanwhile.
        bool settled = false;
        std::vector<Photo> photos;
        qsizetype count(Photo::Result result) const;
    };

    // The runs to settle, and what each of them is: the newest first when changing back, the
    // oldest first when finishing. A change-back cut off together with the run it was changing
    // back is settled with that run.
    static std::vector<KVRunRecord> interruptedRuns(Mode mode);
    // One line for each run, for an alert or a terminal.
    static QString describe(const std::vector<KVRunRecord> &runs);
    static Result settle(const KVRunRecord &run, Mode mode, const QString &toolPath);
    // Settles every interrupted run of this user.
    static std::vector<Result> settleAll(Mode mode, const QString &toolPath);
};
