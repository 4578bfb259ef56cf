// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>

// What a run of the synchronization queue does; the status display words its progress by it.
using KVOperationType = std::int64_t;

enum : KVOperationType {
    KVOperationTypeSync = 0,
    KVOperationTypeUndo = 1,
    KVOperationTypeRedo = 2,
    // Set by the queue itself while it changes back what a cancelled run had done.
    KVOperationTypeCancel = 3,
};
