// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QtGlobal>

#include <functional>
#include <optional>
#include <vector>

// Finds, from capture times, how far each camera's clock is off against a reference camera.
// Cameras at one event shoot the same moments (the vows, the rings, the cake), so the right shift
// lines one camera's photos up with the reference's far more often than chance would. A shift is
// judged by three counts of the camera's bursts, each against what chance would give there, how
// busy the reference is around each photo considered: bursts with a photo taken in the very same
// second as one of the reference's, bursts with one within a second, and bursts that begin within
// a second of one of the reference's. So a camera shooting all day long does not win every shift,
// and a camera that missed moments or sat silent for hours only gives less evidence.
//
// Every shift at which the two cameras' spans overlap, up to 400 days either way, is searched:
// the minutes in which both shot, and in which their bursts began, are counted for every shift
// at once, and the best of those shifts are looked at to the second. The confidence weighs the
// best shift against its rivals, near and far, and against the luck that any of the shifts
// searched could have had; photos that look alike (when their looks are given) add to it. A
// camera that lines up with no one is placed, if it can be, through one that does.
class KVOffsetEstimator {
public:
    // From this confidence on a suggestion is acted on: marked in the window, synced by the
    // command line.
    static constexpr double confidentLevel = 0.8;
    static constexpr qint64 maximumShift = qint64(400) * 24 * 3600;

    struct Estimate {
        // Seconds to add to the camera's times so that they agree with the reference's.
        qint64 offset = 0;
        // 0 to 1: how sure the offset is right to within two seconds.
        double confidence = 0;
        // The photos (indexes into the times given) that show the match best: one of the
        // reference camera, one of this camera, taken at the same moment. -1 when there is none.
        qint64 referenceIndex = -1;
        qint64 matchIndex = -1;
        // The camera this one was placed through, when it did not line up with the reference
        // well enough by itself; -1 otherwise.
        int through = -1;
        // The offset remembered for this body was where the search started and was confirmed;
        // drift is how far the clock moved since.
        bool isRemembered = false;
        qint64 drift = 0;
        // Photos of this camera that land on one of the reference's.
        int support = 0;
    };

    // How unlike two photos look, by camera and index into the times given: 0 for the same
    // picture, more the less alike; nothing when either cannot be seen. Asked from several
    // threads at once.
    using PhotoDistance = std::function<std::optional<double>(int camera, qint64 photo, int other,
                                                              qint64 otherPhoto)>;

    // times: each camera's capture times in seconds, in any order. remembered: for a camera,
    // its offset against the reference as known from an earlier sync. distance, when given,
    // weighs the best shifts by how alike the photos they pair look. The reference's own
    // estimate is offset 0 with confidence 1.
    static std::vector<Estimate> estimate(const std::vector<std::vector<qint64>> &times,
                                          int reference,
                                          const std::vector<std::optional<qint64>> &remembered = {},
                                          const PhotoDistance &distance = {});
};
