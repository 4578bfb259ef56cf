// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraTimes.h"
#include "KVOffsetEstimator.h"

#include <vector>

// How alike the photos look that a shift between two cameras pairs, against photos of different
// moments: the offset estimator's eyes.
class KVShiftLooks {
public:
    // The distances between the looks of the photos a shift pairs: each photo of c and the photo
    // of r nearest to it within `reach` seconds (0: the same second), at most a few dozen,
    // spread over the day.
    static std::vector<double> paired(const KVCameraTimes &r, const KVCameraTimes &c, qint64 shift,
                                      qint64 reach,
                                      const KVOffsetEstimator::PhotoDistance &distance);
    // Photos of c against photos of r of other moments: how unlike photos look by chance.
    static std::vector<double> apart(const KVCameraTimes &r, const KVCameraTimes &c, qint64 shift,
                                     const KVOffsetEstimator::PhotoDistance &distance);
    // Welch's t of how much further apart the looks of `b` are than those of `a`; 0 with too few
    // of `a`. A handful of `b` is taken to spread as `a` does.
    static double furtherApart(const std::vector<double> &a, const std::vector<double> &b);
};
