// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVParallelFor.h"

#include "KVBaseOperationQueue.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

void KVParallelFor(std::size_t count, const std::function<void(std::size_t)> &body) {
    const std::size_t threads =
        std::min<std::size_t>(count, KVBaseOperationQueue::activeProcessorCount());
    if (threads <= 1) {
        for (std::size_t i = 0; i < count; ++i)
            body(i);
        return;
    }
    std::atomic<std::size_t> next{0};
    auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++)
            body(i);
    };
    std::vector<std::thread> helpers;
    for (std::size_t t = 1; t < threads; ++t)
        helpers.emplace_back(work);
    work();
    for (std::thread &helper : helpers)
        helper.join();
}
