// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVOffsetEstimator.h"

#include "KVParallelFor.h"
#include "KVShiftLooks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace {

// Shifts are first counted by the minute.
constexpr qint64 coarseBin = 60;
constexpr std::size_t coarsePeaks = 6;
constexpr std::size_t finePeaksPerWindow = 3;
// Two photos less than this apart were taken at the same moment.
constexpr qint64 tolerance = 1;
// How busy the reference is around a photo, either side: what chance alone would line up.
constexpr qint64 neighbourhood = 30;
// A shift further than this from the best one is another answer, not the same one.
constexpr qint64 rivalDistance = 2;
// Photos shot through the same few seconds line up at neighbouring shifts too: these nearest
// other answers are always weighed.
constexpr qint64 nearRivals = 4;
// How far a clock may have drifted since its offset was remembered.
constexpr qint64 rememberedWindow = 600;
// The moment a pair of photos shows: the photos that line up around it are counted.
constexpr qint64 momentSpan = 60;
constexpr qint64 burstGap = KVCameraTimes::burstGap;
// Three tests, two searches, and bursts whose first photos come in clusters make chance luckier
// than the count of shifts alone says: measured on a thousand generated events
// (kalvora-bench-suggest), no wrong answer came near the confidence acted on with this.
constexpr double lookElsewhere = 10;
// How many spreads further apart photos of different moments must look than those a shift pairs
// within a moment for the moments to be taken as lined up.
constexpr double seenMoments = 5;
// Shifts of other moments tried when the photos the best one pairs do not look alike.
constexpr std::size_t seenCandidates = 4;
// The most that the looks of the photos may change the odds between two shifts, in nats.
constexpr double maximumLookOdds = 4;
// A remembered offset with nothing in the photos to confirm it is offered, but not acted on.
constexpr double unconfirmedRememberedConfidence = 0.5;

qint64 floorDiv(qint64 a, qint64 b) {
    return a >= 0 ? a / b : -((-a + b - 1) / b);
}

// log P(X >= k) for X of Poisson(mean), from the series of the tail's terms.
double logPoissonTail(double mean, double k) {
    if (k <= 0 || k <= mean)
        return 0;
    if (mean <= 0)
        return -std::numeric_limits<double>::infinity();
    // lgamma_r, not std::lgamma: that one writes its sign to a global, a race between the
    // threads that score pairs of cameras at once.
    int sign = 0;
    const double logTerm = -mean + k * std::log(mean) - ::lgamma_r(k + 1, &sign);
    double term = 1, sum = 1;
    for (int j = 1; j < 10000 && term > 1e-12 * sum; ++j) {
        term *= mean / (k + j);
        sum += term;
    }
    return logTerm + std::log(sum);
}

// What one test saw at a shift: bursts of the camera that line up with the reference, and how
// many chance alone would line up.
struct Tally {
    int lined = 0;
    double expected = 0;
    double surprise() const { return -logPoissonTail(expected, lined); }
};

struct Scored {
    qint64 shift = 0;
    // How unlikely chance alone makes what lines up at this shift, in nats: the strongest of the
    // tests, less the price of having tried three.
    double surprise = 0;
    int hits = 0;      // photos that land within a second of one of the reference's
    quint32 exact = 0; // pairs of photos at exactly this shift
};

// Three tests of one shift, each counting bursts of camera c, so that the frames of one burst
// witness once: a burst with a photo at exactly the second of one of r's (cameras at one moment
// often fire in the same second); one within a second; and a burst that begins within a second
// of one of r's (a camera that shoots a moment through says when it began). Chance is judged by
// how busy r is around each photo.
Scored scoreShift(const KVCameraTimes &r, const KVCameraTimes &c, qint64 shift) {
    Scored scored;
    scored.shift = shift;
    Tally exact, near, onset;
    const std::vector<qint64> &rt = r.times;
    const std::size_t n = rt.size();
    std::size_t nearFirst = 0, nearEnd = 0, at = 0;
    bool burstExact = false, burstNear = false;
    double burstRate = 0;
    const auto closeBurst = [&] {
        exact.lined += burstExact ? 1 : 0;
        exact.expected += 1.0 - std::exp(-burstRate);
        near.lined += burstNear ? 1 : 0;
        near.expected += 1.0 - std::exp(-burstRate * double(2 * tolerance + 1));
        burstExact = burstNear = false;
        burstRate = 0;
    };
    for (std::size_t j = 0; j < c.times.size(); ++j) {
        const qint64 time = c.times[j];
        if (j > 0 && time - c.times[j - 1] > burstGap)
            closeBurst();
        const qint64 x = time + shift;
        while (nearFirst < n && rt[nearFirst] < x - neighbourhood)
            ++nearFirst;
        while (nearEnd < n && rt[nearEnd] <= x + neighbourhood)
            ++nearEnd;
        at = std::max(at, nearFirst);
        while (at < n && rt[at] < x - tolerance)
            ++at;
        const bool isNear = at < n && rt[at] <= x + tolerance;
        const bool isExact = isNear && (rt[at] == x || (at + 1 < n && rt[at + 1] == x));
        scored.hits += isNear ? 1 : 0;
        burstNear = burstNear || isNear;
        burstExact = burstExact || isExact;
        burstRate += double(nearEnd - nearFirst) / double(2 * neighbourhood + 1);
    }
    if (!c.times.empty())
        closeBurst();

    const std::vector<qint64> &ro = r.onsets;
    std::size_t first = 0, end = 0, hit = 0;
    for (const qint64 time : c.onsets) {
        const qint64 x = time + shift;
        while (first < ro.size() && ro[first] < x - neighbourhood)
            ++first;
        while (end < ro.size() && ro[end] <= x + neighbourhood)
            ++end;
        hit = std::max(hit, first);
        while (hit < ro.size() && ro[hit] < x - tolerance)
            ++hit;
        onset.lined += hit < ro.size() && ro[hit] <= x + tolerance ? 1 : 0;
        const double rate = double(end - first) / double(2 * neighbourhood + 1);
        onset.expected += 1.0 - std::exp(-rate * double(2 * tolerance + 1));
    }
    scored.surprise =
        std::max({exact.surprise(), near.surprise(), onset.surprise()}) - std::log(3.0);
    return scored;
}

std::vector<qint64> occupiedBins(const std::vector<qint64> &times) {
    std::vector<qint64> bins;
    bins.reserve(times.size());
    for (const qint64 time : times) {
        const qint64 bin = floorDiv(time, coarseBin);
        if (bins.empty() || bins.back() != bin)
            bins.push_back(bin);
    }
    return bins;
}

// The highest values of `counts` (index, value), at least `distance` apart, best first.
std::vector<std::size_t> peaks(const std::vector<quint32> &counts, std::size_t wanted,
                               std::size_t distance) {
    std::vector<std::size_t> candidates;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const quint32 value = counts[i];
        if (value == 0 || (i > 0 && counts[i - 1] > value) ||
            (i + 1 < counts.size() && counts[i + 1] > value))
            continue;
        candidates.push_back(i);
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [&](std::size_t a, std::size_t b) { return counts[a] > counts[b]; });
    std::vector<std::size_t> chosen;
    for (std::size_t i : candidates) {
        const bool isNear = std::any_of(chosen.begin(), chosen.end(), [&](std::size_t other) {
            return (i > other ? i - other : other - i) <= distance;
        });
        if (!isNear)
            chosen.push_back(i);
        if (chosen.size() == wanted)
            break;
    }
    return chosen;
}

// Coarse search: for every shift in [low, high] at once, the minutes in which both cameras shot.
// Gives the windows of shifts worth a look to the second.
struct Windows {
    std::vector<std::pair<qint64, qint64>> ranges;
    // Shifts at which the cameras shot in the same minutes at all: where chance can line photos up.
    double searched = 0;
};

// For every shift in bins at once, how many bins of r meet one of c.
std::vector<quint32> coarseVotes(const std::vector<qint64> &reference,
                                 const std::vector<qint64> &camera, qint64 first, qint64 last) {
    std::vector<quint32> votes(size_t(last - first + 1));
    for (const qint64 a : reference) {
        auto begin = std::lower_bound(camera.begin(), camera.end(), a - last);
        const auto end = std::upper_bound(begin, camera.end(), a - first);
        for (; begin != end; ++begin)
            ++votes[size_t(a - *begin - first)];
    }
    return votes;
}

// The windows of shifts worth a look to the second: where the two cameras shot in the same
// minutes most, and where their bursts began in the same minutes most (a camera that shoots
// all day long fills every minute, but its bursts still begin with the moments).
Windows coarseWindows(const KVCameraTimes &r, const KVCameraTimes &c, qint64 low, qint64 high) {
    const qint64 first = floorDiv(low, coarseBin) - 1;
    const qint64 last = floorDiv(high, coarseBin) + 1;
    Windows windows;
    for (const bool isOnsets : {false, true}) {
        const std::vector<quint32> votes =
            coarseVotes(occupiedBins(isOnsets ? r.onsets : r.times),
                        occupiedBins(isOnsets ? c.onsets : c.times), first, last);
        if (!isOnsets)
            windows.searched = double(std::count_if(votes.begin(), votes.end(),
                                                    [](quint32 count) { return count > 0; })) *
                               double(coarseBin) / double(2 * tolerance + 1);
        // A burst that straddles the turn of a minute votes for two neighbouring shifts.
        std::vector<quint32> smoothed(votes.size());
        for (std::size_t i = 0; i < votes.size(); ++i)
            smoothed[i] =
                votes[i] + (i > 0 ? votes[i - 1] : 0) + (i + 1 < votes.size() ? votes[i + 1] : 0);
        for (std::size_t peak : peaks(smoothed, coarsePeaks, 2)) {
            const qint64 bin = first + qint64(peak);
            // The peak sums the bins either side: the shift lies within a bin of it.
            windows.ranges.emplace_back(std::max(low, (bin - 1) * coarseBin),
                                        std::min(high, (bin + 2) * coarseBin));
        }
    }
    // Both searches often point at the same minutes: those are looked at once.
    std::sort(windows.ranges.begin(), windows.ranges.end());
    std::vector<std::pair<qint64, qint64>> merged;
    for (const auto &range : windows.ranges) {
        if (!merged.empty() && range.first <= merged.back().second + 1)
            merged.back().second = std::max(merged.back().second, range.second);
        else
            merged.push_back(range);
    }
    windows.ranges = std::move(merged);
    return windows;
}

// Every pair of times, one of r and one of c, votes for its exact shift in [low, high].
std::vector<quint32> fineVotes(const std::vector<qint64> &rt, const std::vector<qint64> &ct,
                               qint64 low, qint64 high) {
    std::vector<quint32> votes(size_t(high - low + 1));
    std::size_t begin = 0, end = 0;
    for (const qint64 time : ct) {
        while (begin < rt.size() && rt[begin] < time + low)
            ++begin;
        end = std::max(end, begin);
        while (end < rt.size() && rt[end] <= time + high)
            ++end;
        for (std::size_t i = begin; i < end; ++i)
            ++votes[size_t(rt[i] - time - low)];
    }
    return votes;
}

// Fine search within [low, high]: the shifts with most pairs of photos, and of bursts' first
// photos, within a second are scored.
void scoreWindow(const KVCameraTimes &r, const KVCameraTimes &c, qint64 low, qint64 high,
                 std::vector<Scored> &scored) {
    if (low > high)
        return;
    const std::vector<quint32> votes = fineVotes(r.times, c.times, low, high);
    for (const bool isOnsets : {false, true}) {
        const std::vector<quint32> counted =
            isOnsets ? fineVotes(r.onsets, c.onsets, low, high) : votes;
        std::vector<quint32> nearby(counted.size());
        for (std::size_t i = 0; i < counted.size(); ++i) {
            for (qint64 k = -tolerance; k <= tolerance; ++k) {
                const qint64 j = qint64(i) + k;
                if (j >= 0 && j < qint64(counted.size()))
                    nearby[i] += counted[size_t(j)];
            }
        }
        for (std::size_t peak : peaks(nearby, finePeaksPerWindow, size_t(rivalDistance))) {
            // Of the shifts whose pairs fall within a second, the one most pairs hit exactly.
            std::size_t best = peak;
            for (std::size_t i = peak > 0 ? peak - 1 : 0; i <= std::min(peak + 1, votes.size() - 1);
                 ++i) {
                if (votes[i] > votes[best])
                    best = i;
            }
            const qint64 shift = low + qint64(best);
            if (std::any_of(scored.begin(), scored.end(),
                            [shift](const Scored &other) { return other.shift == shift; }))
                continue;
            Scored result = scoreShift(r, c, shift);
            result.exact = votes[best];
            scored.push_back(result);
        }
    }
}

struct PairResult {
    Scored best;
    double confidence = 0;
};

PairResult comparePair(const KVCameraTimes &r, const KVCameraTimes &c,
                       std::optional<qint64> remembered,
                       const KVOffsetEstimator::PhotoDistance &distance) {
    PairResult result;
    if (r.times.empty() || c.times.empty())
        return result;
    const qint64 low = std::max(r.times.front() - c.times.back(), -KVOffsetEstimator::maximumShift);
    const qint64 high = std::min(r.times.back() - c.times.front(), KVOffsetEstimator::maximumShift);
    if (low > high)
        return result;
    Windows windows = coarseWindows(r, c, low, high);
    if (remembered)
        windows.ranges.emplace_back(std::max(low, *remembered - rememberedWindow),
                                    std::min(high, *remembered + rememberedWindow));
    std::vector<Scored> scored;
    for (const auto &[windowLow, windowHigh] : windows.ranges)
        scoreWindow(r, c, windowLow, windowHigh, scored);
    if (scored.empty())
        return result;
    const auto isBetter = [](const Scored &a, const Scored &b) {
        if (a.surprise != b.surprise)
            return a.surprise > b.surprise;
        return a.exact > b.exact;
    };
    // A nearest rival that does better takes over, and its own neighbours are weighed in turn.
    const auto settle = [&](Scored start) {
        for (int round = 0; round < 3; ++round) {
            std::optional<Scored> next;
            for (qint64 step = rivalDistance + 1; step <= rivalDistance + nearRivals; ++step) {
                for (const qint64 shift : {start.shift - step, start.shift + step}) {
                    if (shift < low || shift > high)
                        continue;
                    auto known =
                        std::find_if(scored.begin(), scored.end(),
                                     [shift](const Scored &other) { return other.shift == shift; });
                    const Scored neighbour = known != scored.end()
                                                 ? *known
                                                 : scored.emplace_back(scoreShift(r, c, shift));
                    if (isBetter(neighbour, next.value_or(start)))
                        next = neighbour;
                }
            }
            if (!next)
                break;
            start = *next;
        }
        return start;
    };
    Scored best = settle(*std::min_element(scored.begin(), scored.end(), isBetter));
    // Where the photos can be seen, those the best shift pairs within a moment must look far
    // more alike than photos of different moments do: then the moments surely line up, and
    // each other answer is also weighed by how alike the photos it pairs look. When they do not,
    // the next best shifts by time whose photos are seen to line up take over.
    std::vector<double> bestLooks, bestNearLooks;
    bool isSeen = false;
    if (distance) {
        const auto isSeenAt = [&](qint64 shift, std::vector<double> &near) {
            near = KVShiftLooks::paired(r, c, shift, neighbourhood, distance);
            return KVShiftLooks::furtherApart(near, KVShiftLooks::apart(r, c, shift, distance)) >=
                   seenMoments;
        };
        isSeen = isSeenAt(best.shift, bestNearLooks);
        std::vector<Scored> others = scored;
        std::sort(others.begin(), others.end(), isBetter);
        std::vector<qint64> tried{best.shift};
        for (const Scored &other : others) {
            if (isSeen || tried.size() > seenCandidates)
                break;
            if (std::any_of(tried.begin(), tried.end(), [&](qint64 shift) {
                    return std::abs(shift - other.shift) <= momentSpan;
                }))
                continue;
            tried.push_back(other.shift);
            std::vector<double> near;
            if (isSeenAt(other.shift, near)) {
                best = settle(other);
                isSeen = isSeenAt(best.shift, bestNearLooks);
            }
        }
        bestLooks = KVShiftLooks::paired(r, c, best.shift, 0, distance);
    }
    // A surprise is the log of a shift's odds against chance, so the odds of the best shift
    // against each other answer are in the difference of their surprises.
    double others = 0;
    for (const Scored &other : scored) {
        if (std::abs(other.shift - best.shift) <= rivalDistance)
            continue;
        double logOdds = other.surprise - best.surprise;
        if (isSeen) {
            const bool isNear = std::abs(other.shift - best.shift) <= rivalDistance + nearRivals;
            const double apart =
                isNear ? KVShiftLooks::furtherApart(
                             bestLooks, KVShiftLooks::paired(r, c, other.shift, 0, distance))
                       : KVShiftLooks::furtherApart(
                             bestNearLooks,
                             KVShiftLooks::paired(r, c, other.shift, neighbourhood, distance));
            // Photos of other moments look unlike much more surely than photos a few
            // seconds apart do.
            const double most = isNear ? maximumLookOdds : 2 * maximumLookOdds;
            logOdds -= std::clamp(apart, -most, most);
        }
        others += std::exp(logOdds);
    }
    // And no shift of all those searched, looked at or not, may have done as well by chance. From
    // a remembered offset, only the drift around it had to be searched.
    const bool isNearRemembered =
        remembered && std::abs(best.shift - *remembered) <= rememberedWindow;
    const double searched = isNearRemembered
                                ? std::min(windows.searched, double(2 * rememberedWindow + 1))
                                : windows.searched;
    const double lucky = lookElsewhere * searched * std::exp(-best.surprise);
    result.best = best;
    result.confidence = best.hits > 1 ? (isSeen ? 1.0 : std::exp(-lucky)) / (1.0 + others) : 0;
    return result;
}

// The pair of photos that shows the shift best: of the photos that line up, one in the busiest
// moment, an exact match before one a second off. None when no moment has `fewest` photos that
// line up.
std::pair<qint64, qint64> bestPair(const KVCameraTimes &r, const KVCameraTimes &c, qint64 shift,
                                   std::size_t fewest) {
    struct Hit {
        std::size_t reference;
        std::size_t camera;
        qint64 residual;
    };
    std::vector<Hit> hits;
    const std::vector<qint64> &rt = r.times;
    for (std::size_t j = 0; j < c.times.size(); ++j) {
        const qint64 x = c.times[j] + shift;
        const auto it = std::lower_bound(rt.begin(), rt.end(), x - tolerance);
        std::optional<Hit> nearest;
        for (auto k = it; k != rt.end() && *k <= x + tolerance; ++k) {
            const qint64 residual = std::abs(*k - x);
            if (!nearest || residual < nearest->residual)
                nearest = Hit{size_t(k - rt.begin()), j, residual};
        }
        if (nearest)
            hits.push_back(*nearest);
    }
    if (hits.empty())
        return {-1, -1};
    std::size_t chosen = 0;
    std::size_t chosenCount = 0;
    std::size_t begin = 0, end = 0;
    for (std::size_t i = 0; i < hits.size(); ++i) {
        const qint64 time = c.times[hits[i].camera];
        while (c.times[hits[begin].camera] < time - momentSpan)
            ++begin;
        while (end < hits.size() && c.times[hits[end].camera] <= time + momentSpan)
            ++end;
        const std::size_t count = end - begin;
        if (count > chosenCount ||
            (count == chosenCount && hits[i].residual < hits[chosen].residual)) {
            chosen = i;
            chosenCount = count;
        }
    }
    if (chosenCount < fewest)
        return {-1, -1};
    return {r.firstIndex[hits[chosen].reference], c.firstIndex[hits[chosen].camera]};
}

} // namespace

std::vector<KVOffsetEstimator::Estimate>
KVOffsetEstimator::estimate(const std::vector<std::vector<qint64>> &times, int reference,
                            const std::vector<std::optional<qint64>> &remembered,
                            const PhotoDistance &distance) {
    const std::size_t count = times.size();
    std::vector<Estimate> estimates(count);
    if (reference < 0 || size_t(reference) >= count)
        return estimates;
    std::vector<KVCameraTimes> series(count);
    KVParallelFor(count, [&](std::size_t i) { series[i] = KVCameraTimes::make(times[i], int(i)); });
    const KVCameraTimes &referenceKVCameraTimes = series[size_t(reference)];
    estimates[size_t(reference)].confidence = 1;

    KVParallelFor(count, [&](std::size_t i) {
        if (int(i) == reference)
            return;
        const std::optional<qint64> prior = i < remembered.size() ? remembered[i] : std::nullopt;
        const PairResult pair = comparePair(referenceKVCameraTimes, series[i], prior, distance);
        Estimate &estimate = estimates[i];
        if (pair.best.hits > 0) {
            estimate.offset = pair.best.shift;
            estimate.confidence = pair.confidence;
            estimate.support = pair.best.hits;
        }
        if (prior) {
            if (pair.best.hits > 1 && pair.best.surprise > 0 &&
                std::abs(pair.best.shift - *prior) <= rememberedWindow) {
                estimate.isRemembered = true;
                estimate.drift = pair.best.shift - *prior;
            } else if (estimate.confidence < confidentLevel) {
                estimate.offset = *prior;
                estimate.confidence = unconfirmedRememberedConfidence;
                estimate.isRemembered = true;
            }
        }
    });

    // Cameras that do not line up with the reference by themselves are tried against each
    // camera that does, in rounds, so that a chain of cameras reaches them too.
    std::vector<int> placed;
    for (std::size_t i = 0; i < count; ++i) {
        if (int(i) != reference && estimates[i].confidence >= confidentLevel)
            placed.push_back(int(i));
    }
    while (!placed.empty()) {
        std::vector<int> unplaced;
        for (std::size_t i = 0; i < count; ++i) {
            if (int(i) != reference && estimates[i].confidence < confidentLevel)
                unplaced.push_back(int(i));
        }
        std::vector<Estimate> improved(unplaced.size());
        KVParallelFor(unplaced.size(), [&](std::size_t u) {
            const int camera = unplaced[u];
            improved[u] = estimates[size_t(camera)];
            for (const int via : placed) {
                const PairResult pair = comparePair(series[size_t(via)], series[size_t(camera)],
                                                    std::nullopt, distance);
                const double confidence = pair.confidence * estimates[size_t(via)].confidence;
                if (confidence > improved[u].confidence) {
                    improved[u] = Estimate{};
                    improved[u].offset = estimates[size_t(via)].offset + pair.best.shift;
                    improved[u].confidence = confidence;
                    improved[u].through = via;
                    improved[u].support = pair.best.hits;
                }
            }
        });
        std::vector<int> next;
        for (std::size_t u = 0; u < unplaced.size(); ++u) {
            const int camera = unplaced[u];
            estimates[size_t(camera)] = improved[u];
            if (improved[u].confidence >= confidentLevel)
                next.push_back(camera);
        }
        placed = std::move(next);
    }

    KVParallelFor(count, [&](std::size_t i) {
        Estimate &estimate = estimates[i];
        // A pair is shown only for an offset that is trusted: a camera with no moment in common
        // with the reference gets none.
        if (int(i) == reference || estimate.confidence < confidentLevel)
            return;
        // A camera placed through another may share no moment with the reference: a lone photo
        // that happens to line up is no proof of the match.
        const auto [referenceIndex, matchIndex] = bestPair(
            referenceKVCameraTimes, series[i], estimate.offset, estimate.through < 0 ? 1 : 2);
        estimate.referenceIndex = referenceIndex;
        estimate.matchIndex = matchIndex;
    });
    return estimates;
}
