// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// A calendar step given field by field; a field left at 0 takes no part in the step.
struct KVDateComponents {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;

    bool operator==(const KVDateComponents &) const = default;
};
