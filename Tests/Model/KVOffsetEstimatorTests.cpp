// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVOffsetEstimator.h"

#include "KVSyntheticShooting.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using Plan = KVSyntheticShooting::Plan;
using Estimate = KVOffsetEstimator::Estimate;

std::vector<std::vector<qint64>> timesOf(const std::vector<KVSyntheticShooting::Camera> &cameras) {
    std::vector<std::vector<qint64>> times;
    for (const KVSyntheticShooting::Camera &camera : cameras)
        times.push_back(camera.times);
    return times;
}

bool isConfident(const Estimate &estimate) {
    return estimate.confidence >= KVOffsetEstimator::confidentLevel;
}

bool isRight(const Estimate &estimate, const KVSyntheticShooting::Camera &camera) {
    return !camera.isStranger && std::abs(estimate.offset - camera.offset) <= 2;
}

struct Tally {
    int cameras = 0;
    int right = 0;
    int confident = 0;
    int confidentWrong = 0;
};

// Checks what must hold for every camera of every event, and counts how well it went.
void check(const std::vector<KVSyntheticShooting::Camera> &cameras,
           const std::vector<Estimate> &estimates, Tally &tally, const char *name) {
    const std::vector<qint64> &reference = cameras.front().times;
    for (std::size_t i = 1; i < cameras.size(); ++i) {
        const Estimate &estimate = estimates[i];
        const KVSyntheticShooting::Camera &camera = cameras[i];
        const bool right = isRight(estimate, camera);
        EXPECT_GE(estimate.confidence, 0.0);
        EXPECT_LE(estimate.confidence, 1.0);
        if (isConfident(estimate) && !right) {
            ++tally.confidentWrong;
            ADD_FAILURE() << name << ": camera " << i << " confidently off by "
                          << estimate.offset - camera.offset << " s, confidence "
                          << estimate.confidence;
        }
        if (camera.isStranger) {
            EXPECT_LT(estimate.referenceIndex, 0) << name << ": camera " << i;
            continue;
        }
        ++tally.cameras;
        tally.right += right ? 1 : 0;
        tally.confident += isConfident(estimate) ? 1 : 0;
        // The pair shown is two photos that line up at the offset suggested.
        if (estimate.referenceIndex >= 0) {
            const qint64 lined = reference[size_t(estimate.referenceIndex)] -
                                 camera.times[size_t(estimate.matchIndex)] - estimate.offset;
            EXPECT_LE(std::abs(lined), 1) << name << ": camera " << i;
        } else {
            EXPECT_FALSE(isConfident(estimate) && estimate.through < 0) << name << ": camera " << i;
        }
    }
}

} // namespace

TEST(KVOffsetEstimator, GeneratedEventsLineUpWithoutAConfidentWrongAnswer) {
    struct Case {
        const char *name;
        Plan plan;
        double leastRight;     // share of the cameras within 2 s
        double leastConfident; // share of the cameras sure enough to be marked
    };
    // seed, cameras, fewest and most photos, largest clock error, missed share, chained, strangers
    const Case cases[] = {
        {"seconds apart, sparse", {11, 3, 20, 40, 30, 0.2, 0, 0}, 1.0, 0.5},
        {"an hour off, densities 20 to 2000", {12, 5, 20, 2000, 4000, 0.3, 0, 0}, 1.0, 0.75},
        {"300 days off, dense", {17, 4, 1000, 2000, 300 * 86400, 0.3, 0, 0}, 1.0, 1.0},
        {"most moments missed", {22, 6, 50, 300, 86400, 0.6, 0, 0}, 1.0, 0.6},
        {"two cameras only meet a third", {15, 6, 100, 400, 7200, 0.2, 2, 0}, 1.0, 1.0},
        {"cameras at another event", {16, 8, 40, 600, 3600, 0.3, 1, 2}, 1.0, 1.0},
    };
    for (const Case &test : cases) {
        const std::vector<KVSyntheticShooting::Camera> cameras =
            KVSyntheticShooting::make(test.plan);
        const std::vector<Estimate> estimates = KVOffsetEstimator::estimate(timesOf(cameras), 0);
        ASSERT_EQ(estimates.size(), cameras.size());
        EXPECT_EQ(estimates.front().offset, 0);
        EXPECT_EQ(estimates.front().confidence, 1.0);
        Tally tally;
        check(cameras, estimates, tally, test.name);
        EXPECT_GE(tally.right, test.leastRight * tally.cameras) << test.name;
        EXPECT_GE(tally.confident, test.leastConfident * tally.cameras) << test.name;
        for (std::size_t i = 1; i < cameras.size(); ++i) {
            // A camera that shares no moment with the reference can only be placed through one
            // that does.
            if (cameras[i].isChained && isConfident(estimates[i])) {
                ASSERT_GT(estimates[i].through, 0) << test.name;
                EXPECT_FALSE(cameras[size_t(estimates[i].through)].isStranger) << test.name;
            }
        }
    }
}

TEST(KVOffsetEstimator, ManyGeneratedEventsGiveTheShareWithinTwoSecondsAndNoConfidentWrongAnswer) {
    Tally tally;
    for (quint32 seed = 1; seed <= 100; ++seed) {
        const KVSyntheticShooting::Plan plan = KVSyntheticShooting::randomPlan(seed);
        const std::vector<KVSyntheticShooting::Camera> cameras = KVSyntheticShooting::make(plan);
        check(cameras, KVOffsetEstimator::estimate(timesOf(cameras), 0), tally, "sweep");
    }
    std::printf("%d cameras: %.1f %% within 2 s, %.1f %% confident, %d confident and wrong\n",
                tally.cameras, 100.0 * tally.right / tally.cameras,
                100.0 * tally.confident / tally.cameras, tally.confidentWrong);
    EXPECT_EQ(tally.confidentWrong, 0);
    EXPECT_GE(tally.right, 0.85 * tally.cameras);
    EXPECT_GE(tally.confident, 0.6 * tally.cameras);
}

TEST(KVOffsetEstimator, CamerasThatCannotOverlapGetNoConfidenceAndNoPair) {
    const std::vector<KVSyntheticShooting::Camera> cameras =
        KVSyntheticShooting::make({21, 3, 200, 300, 60, 0.2, 0, 0});
    std::vector<std::vector<qint64>> times = timesOf(cameras);
    // Five hundred days later: beyond any shift searched.
    for (qint64 &time : times[2])
        time += 500 * 86400;
    times.push_back({});
    const std::vector<Estimate> estimates = KVOffsetEstimator::estimate(times, 0);
    ASSERT_EQ(estimates.size(), 4u);
    EXPECT_TRUE(isConfident(estimates[1]));
    for (const std::size_t camera : {2u, 3u}) {
        EXPECT_EQ(estimates[camera].confidence, 0.0) << camera;
        EXPECT_EQ(estimates[camera].referenceIndex, -1) << camera;
        EXPECT_EQ(estimates[camera].matchIndex, -1) << camera;
    }
}

TEST(KVOffsetEstimator, BadInputGivesEmptyAnswersWithoutCrashing) {
    EXPECT_TRUE(KVOffsetEstimator::estimate({}, 0).empty());
    // A reference that is not there: every camera unplaced.
    const std::vector<Estimate> unplaced = KVOffsetEstimator::estimate({{1, 2}, {3, 4}}, 5);
    ASSERT_EQ(unplaced.size(), 2u);
    EXPECT_EQ(unplaced[0].confidence, 0.0);
    EXPECT_EQ(unplaced[1].confidence, 0.0);
    // An empty reference, one photo against one, and a burst of frames all in one second.
    const std::vector<std::vector<qint64>> odd = {{}, {100}, {5, 5, 5, 5}, {100}};
    for (int reference = 0; reference < 4; ++reference) {
        const std::vector<Estimate> estimates = KVOffsetEstimator::estimate(odd, reference);
        ASSERT_EQ(estimates.size(), 4u);
        for (int camera = 0; camera < 4; ++camera) {
            if (camera != reference) {
                EXPECT_FALSE(isConfident(estimates[size_t(camera)])) << reference << camera;
            }
        }
    }
}

TEST(KVOffsetEstimator, RememberedOffsetsAreConfirmedWithTheirDriftOrOfferedUnconfirmed) {
    const std::vector<KVSyntheticShooting::Camera> cameras =
        KVSyntheticShooting::make({31, 3, 150, 300, 86400 * 20, 0.2, 0, 1});
    ASSERT_TRUE(cameras[2].isStranger);
    const qint64 drift = 7;
    std::vector<std::optional<qint64>> remembered(3);
    remembered[1] = cameras[1].offset - drift;
    remembered[2] = 12345;
    const std::vector<Estimate> estimates =
        KVOffsetEstimator::estimate(timesOf(cameras), 0, remembered);
    // The clock moved seven seconds since: the photos say so, and the old offset is named.
    EXPECT_TRUE(estimates[1].isRemembered);
    EXPECT_NEAR(double(estimates[1].offset), double(cameras[1].offset), 2.0);
    EXPECT_NEAR(double(estimates[1].drift), double(drift), 2.0);
    EXPECT_TRUE(isConfident(estimates[1]));
    // Nothing in the photos confirms the stranger's remembered offset: offered, not trusted.
    EXPECT_TRUE(estimates[2].isRemembered);
    EXPECT_EQ(estimates[2].offset, 12345);
    EXPECT_FALSE(isConfident(estimates[2]));
    EXPECT_EQ(estimates[2].referenceIndex, -1);
}
