// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVMatchSuggester.h"

#include "KVCameraOffsetMemory.h"

#include <QCoreApplication>

#include <cmath>

namespace {

QString signedSeconds(double seconds) {
    return QStringLiteral("%1%2")
        .arg(seconds < 0 ? QStringLiteral("−") : QStringLiteral("+"))
        .arg(std::llround(std::fabs(seconds)));
}

} // namespace

const KVSuggestedMatches &KVMatchSuggester::suggest(const KVCameraSetsRef &imageFiles,
                                                    const QString &referenceKey) {
    const KVCameraOffsetMemory memory;
    m_imageFiles = imageFiles;
    m_suggestion = KVSuggestedMatches::suggest(imageFiles, referenceKey, &memory);
    if (!m_suggestion.referencePhoto)
        return m_suggestion;
    const auto isSuggested = [this](const KVImageFileRef &file) {
        if (file == m_suggestion.referencePhoto)
            return true;
        return std::any_of(m_suggestion.matches.begin(), m_suggestion.matches.end(),
                           [&](const auto &match) { return match.second == file; });
    };
    // Marks made against another reference go first, so that the rules of one reference in the
    // list and one photo per camera hold at every step.
    KVCameraSets::forEachImageFile(imageFiles, [&](const KVImageFileRef &file) {
        const KVImageState state = file->imageState();
        if ((state == KVImageStateEtalon || state == KVImageStateSelected) && !isSuggested(file))
            file->setImageState(KVImageStateNormal);
    });
    m_suggestion.referencePhoto->setImageState(KVImageStateEtalon);
    for (const auto &[key, match] : m_suggestion.matches)
        match->setImageState(KVImageStateSelected);
    return m_suggestion;
}

std::vector<std::pair<int, int>> KVMatchSuggester::markedPhotos() const {
    std::vector<std::pair<int, int>> marked;
    if (!m_imageFiles)
        return marked;
    int camera = 0;
    for (const auto &[key, files] : *m_imageFiles) {
        for (int i = 0; i < int(files.size()); ++i) {
            const KVImageFileRef &file = files[size_t(i)];
            const bool isMarked =
                file == m_suggestion.referencePhoto ||
                (m_suggestion.matches.count(key) && m_suggestion.matches.at(key) == file);
            if (isMarked)
                marked.emplace_back(camera, i);
        }
        ++camera;
    }
    return marked;
}

QString KVMatchSuggester::noteForCamera(const KVCameraSetsRef &imageFiles, const QString &key,
                                        bool *isWarning) const {
    if (isWarning)
        *isWarning = false;
    // A note is about the photos it was worked out for, never about photos added since.
    if (!m_imageFiles || imageFiles != m_imageFiles)
        return {};
    if (key == m_suggestion.referenceKey)
        return m_suggestion.referencePhoto ? tr("Reference") : QString();
    const KVSuggestedMatches::Camera *camera = m_suggestion.cameraWithKey(key);
    if (!camera)
        return {};
    QString note;
    if (!camera->isConfident()) {
        note = camera->isRemembered ? tr("Remembered offset %1 s, not confirmed: match by hand")
                                          .arg(signedSeconds(camera->offset))
                                    : tr("No sure match: match by hand");
    } else if (!m_suggestion.matches.count(key)) {
        note = tr("Offset %1 s, but no photo of the reference moment: match by hand")
                   .arg(signedSeconds(camera->offset));
    }
    if (!note.isEmpty()) {
        if (isWarning)
            *isWarning = true;
        return note;
    }
    if (camera->isRemembered)
        return tr("Remembered offset, drift %1 s").arg(signedSeconds(camera->drift));
    if (!camera->through.isEmpty())
        return tr("Matched through %1").arg(camera->through);
    return tr("Suggested: %1 s").arg(signedSeconds(camera->offset));
}

void KVMatchSuggester::clear() {
    m_imageFiles.reset();
    m_suggestion = {};
}
