// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// Why reading a photo file gave less than it might have, beyond the file simply lacking what
// was asked for: the import names it as the file's reason.
enum class KVReadProblem {
    None,
    // A parse ran out of time; what it gave may be wrong or incomplete.
    TimedOut,
    // The file states sizes that its own length cannot hold (a picture of millions of pixels
    // in a few kilobytes): it was not decoded, rather than allocating what it claims.
    Damaged,
};
