// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVShiftLooks.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

// Photos that a shift pairs, looked at to weigh it, at most.
constexpr std::size_t lookedAtPairs = 40;
// Photos this far apart in time are of different moments.
constexpr qint64 otherMoment = 600;

} // namespace

std::vector<double> KVShiftLooks::paired(const KVCameraTimes &r, const KVCameraTimes &c,
                                         qint64 shift, qint64 reach,
                                         const KVOffsetEstimator::PhotoDistance &distance) {
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    const std::vector<qint64> &rt = r.times;
    for (std::size_t j = 0; j < c.times.size(); ++j) {
        const qint64 x = c.times[j] + shift;
        const auto it = std::lower_bound(rt.begin(), rt.end(), x - reach);
        if (it == rt.end() || *it > x + reach)
            continue;
        auto closest = it;
        for (auto k = it; k != rt.end() && *k <= x + reach; ++k) {
            if (std::abs(*k - x) < std::abs(*closest - x))
                closest = k;
        }
        pairs.emplace_back(size_t(closest - rt.begin()), j);
    }
    std::vector<double> distances;
    const std::size_t step = std::max<std::size_t>(1, pairs.size() / lookedAtPairs);
    for (std::size_t i = 0; i < pairs.size(); i += step) {
        const std::optional<double> apart = distance(r.camera, r.firstIndex[pairs[i].first],
                                                     c.camera, c.firstIndex[pairs[i].second]);
        if (apart)
            distances.push_back(*apart);
    }
    return distances;
}

std::vector<double> KVShiftLooks::apart(const KVCameraTimes &r, const KVCameraTimes &c,
                                        qint64 shift,
                                        const KVOffsetEstimator::PhotoDistance &distance) {
    std::vector<double> distances;
    const std::size_t n = r.times.size();
    const std::size_t step = std::max<std::size_t>(1, c.times.size() / lookedAtPairs);
    for (std::size_t j = 0; j < c.times.size() && n > 0; j += step) {
        // Spread over r without a random generator: the same answer every time.
        const std::size_t i = (j * 7919 + n / 2) % n;
        if (std::abs(r.times[i] - c.times[j] - shift) <= otherMoment)
            continue;
        if (const std::optional<double> apart =
                distance(r.camera, r.firstIndex[i], c.camera, c.firstIndex[j]))
            distances.push_back(*apart);
    }
    return distances;
}

double KVShiftLooks::furtherApart(const std::vector<double> &a, const std::vector<double> &b) {
    if (a.size() < 3 || b.empty())
        return 0;
    const auto meanAndVariance = [](const std::vector<double> &values) {
        const double mean =
            std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
        double square = 0;
        for (const double value : values)
            square += (value - mean) * (value - mean);
        return std::pair(mean, values.size() > 1 ? square / double(values.size() - 1) : 0.0);
    };
    const auto [meanA, varianceA] = meanAndVariance(a);
    auto [meanB, varianceB] = meanAndVariance(b);
    if (b.size() < 3)
        varianceB = varianceA;
    return (meanB - meanA) /
           std::sqrt(varianceA / double(a.size()) + varianceB / double(b.size()) + 1e-9);
}
