// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraTimes.h"

#include <algorithm>
#include <numeric>

KVCameraTimes KVCameraTimes::make(const std::vector<qint64> &times, int camera) {
    std::vector<qint64> order(times.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](qint64 a, qint64 b) { return times[size_t(a)] < times[size_t(b)]; });
    KVCameraTimes result;
    result.camera = camera;
    for (const qint64 index : order) {
        const qint64 time = times[size_t(index)];
        if (result.times.empty() || result.times.back() != time) {
            if (result.times.empty() || time - result.times.back() > burstGap)
                result.onsets.push_back(time);
            result.times.push_back(time);
            result.firstIndex.push_back(index);
        }
    }
    return result;
}
