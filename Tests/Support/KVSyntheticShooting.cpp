// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVSyntheticShooting.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

namespace {

struct Moment {
    qint64 key = 0;  // true time at which everyone covering it fires
    qint64 span = 0; // seconds the shooting goes on
    bool isMissedByReference = false;
};

// A day of two parts with hours of silence between them: a ceremony in the morning, a party from
// the late afternoon into the night.
std::vector<Moment> planMoments(QRandomGenerator &random, qint64 dayStart, int count) {
    std::vector<Moment> moments;
    for (int i = 0; i < count; ++i) {
        const bool isMorning = random.bounded(3) == 0;
        const qint64 start = dayStart + (isMorning ? 0 : 6 * 3600);
        const qint64 length = (isMorning ? 3 : 7) * 3600;
        Moment moment;
        moment.key = start + qint64(random.bounded(int(length)));
        moment.span = 5 + random.bounded(180);
        moments.push_back(moment);
    }
    std::sort(moments.begin(), moments.end(),
              [](const Moment &a, const Moment &b) { return a.key < b.key; });
    return moments;
}

qint64 randomClockError(QRandomGenerator &random, qint64 largest) {
    // Spread evenly over the orders of magnitude from a few seconds to the largest.
    const double exponent =
        random.generateDouble() * std::log(double(std::max<qint64>(largest, 3)));
    const qint64 magnitude = qint64(std::exp(exponent));
    return random.bounded(2) == 0 ? magnitude : -magnitude;
}

std::vector<qint64> shoot(QRandomGenerator &random, const std::vector<const Moment *> &covered,
                          int photos, qint64 dayStart) {
    std::vector<qint64> times;
    if (covered.empty())
        return times;
    // One frame at each key instant, give or take a second; most of the rest inside the moments,
    // a few strays anywhere in the day.
    for (const Moment *moment : covered) {
        if (int(times.size()) >= photos)
            break;
        const int jitter = random.bounded(4);
        times.push_back(moment->key + (jitter == 0 ? -1 : jitter == 1 ? 1 : 0));
    }
    const int strays = std::max(1, photos / 12);
    while (int(times.size()) < photos - strays) {
        const Moment *moment = covered[size_t(random.bounded(int(covered.size())))];
        times.push_back(moment->key + qint64(random.bounded(int(moment->span))));
    }
    while (int(times.size()) < photos)
        times.push_back(dayStart + qint64(random.bounded(13 * 3600)));
    std::sort(times.begin(), times.end());
    return times;
}

} // namespace

std::vector<KVSyntheticShooting::Camera> KVSyntheticShooting::make(const Plan &plan) {
    QRandomGenerator random(plan.seed);
    const qint64 dayStart = qint64(1749895200); // 2025-06-14 10:00 as wall-clock seconds
    const int momentCount = 12 + random.bounded(60);
    std::vector<Moment> moments = planMoments(random, dayStart, momentCount);
    // A third of the moments the reference misses: there the chained cameras shoot.
    for (Moment &moment : moments)
        moment.isMissedByReference = random.bounded(3) == 0;
    // Somebody else's day, a month later, for the strangers.
    const qint64 otherDay = dayStart + 31 * 86400;
    std::vector<Moment> otherMoments = planMoments(random, otherDay, 30);

    const int regular = plan.cameras - plan.chainedCameras - plan.strangerCameras;
    std::vector<Camera> cameras;
    qint64 referenceError = 0;
    for (int index = 0; index < plan.cameras; ++index) {
        const bool isChained = index >= regular && index < regular + plan.chainedCameras;
        const bool isStranger = index >= regular + plan.chainedCameras;
        const bool isReference = index == 0;
        std::vector<const Moment *> covered;
        for (const Moment &moment : isStranger ? otherMoments : moments) {
            if (isReference && moment.isMissedByReference)
                continue;
            if (isChained && !moment.isMissedByReference)
                continue;
            if (!isChained && !isReference && !isStranger &&
                random.generateDouble() < plan.missedShare)
                continue;
            covered.push_back(&moment);
        }
        const int photos =
            plan.fewestPhotos + random.bounded(plan.mostPhotos - plan.fewestPhotos + 1);
        Camera camera;
        camera.isChained = isChained;
        camera.isStranger = isStranger;
        const qint64 error = randomClockError(random, plan.largestClockError);
        if (isReference)
            referenceError = error;
        camera.offset = referenceError - error;
        for (const qint64 time : shoot(random, covered, photos, isStranger ? otherDay : dayStart))
            camera.times.push_back(time + error);
        cameras.push_back(std::move(camera));
    }
    return cameras;
}

KVSyntheticShooting::Plan KVSyntheticShooting::randomPlan(quint32 seed) {
    QRandomGenerator random(seed * 7919);
    Plan plan;
    plan.seed = seed;
    plan.cameras = 3 + int(random.bounded(6));
    plan.mostPhotos = random.bounded(2) ? 2000 : 200;
    plan.largestClockError = random.bounded(2) ? 300 * 86400 : 4000;
    plan.missedShare = 0.1 + 0.5 * random.generateDouble();
    plan.chainedCameras = plan.cameras >= 4 ? int(random.bounded(2)) : 0;
    plan.strangerCameras = plan.cameras >= 5 ? int(random.bounded(2)) : 0;
    return plan;
}
