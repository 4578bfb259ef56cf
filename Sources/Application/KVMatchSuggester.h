// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVSuggestedMatches.h"

#include <QCoreApplication>

#include <utility>
#include <vector>

// The Suggest Matches command's side of the application: works out the suggestions for the
// photos in the window, marks them as the user's clicks would, and says, per camera, what the
// row header tells about it.
class KVMatchSuggester {
    Q_DECLARE_TR_FUNCTIONS(KVMatchSuggester)
public:
    // Marks the suggested reference photo and, on each sure camera, its photo of that moment;
    // every other mark goes, since it was made against another reference. Without a reference
    // moment nothing is marked.
    const KVSuggestedMatches &suggest(const KVCameraSetsRef &imageFiles,
                                      const QString &referenceKey);
    const KVSuggestedMatches &suggestion() const { return m_suggestion; }
    // (camera index, photo index) of every marked photo, for the rows to show.
    std::vector<std::pair<int, int>> markedPhotos() const;
    // The note on a camera's row header for the photos it was worked out for, empty when there
    // is nothing to say; warnings are for cameras the user has to match by hand.
    QString noteForCamera(const KVCameraSetsRef &imageFiles, const QString &key,
                          bool *isWarning = nullptr) const;
    void clear();

private:
    KVCameraSetsRef m_imageFiles;
    KVSuggestedMatches m_suggestion;
};
