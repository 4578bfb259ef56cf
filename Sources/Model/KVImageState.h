// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>

using KVImageState = std::int32_t;

enum : KVImageState {
    KVImageStateRemoved = -1,
    KVImageStateNormal = 0,
    KVImageStateSelected = 1,
    KVImageStateEtalon = 2,
};
