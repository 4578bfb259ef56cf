// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstddef>
#include <functional>

// Calls body(i) for every i below count, spread over one thread per active processor, and
// returns when all are done. Reading many photo files is bound by decoding, not by the disk.
void KVParallelFor(std::size_t count, const std::function<void(std::size_t)> &body);
