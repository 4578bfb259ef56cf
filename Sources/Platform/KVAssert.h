// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

// Stops the program when a caller broke an invariant (an impossible unit, a state that cannot
// occur), in release builds too: going on would draw or write nonsense. The text names the failed
// expression, the method, the source file from the tree's root on (so that it does not depend on
// where the tree was checked out) and the line.
[[noreturn]] inline void KVAssertionFailure(const char *expression, const char *method,
                                            const char *file, int line) {
    std::string_view path(file);
    for (std::string_view root : {"/Sources/", "/Tests/", "/Benchmarks/"}) {
        if (const auto position = path.rfind(root); position != std::string_view::npos) {
            path.remove_prefix(position + 1);
            break;
        }
    }
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %.*s, line %d.\n", expression,
                 method, static_cast<int>(path.size()), path.data(), line);
    std::fflush(stderr);
    std::abort();
}

// KV_ASSERT(unit == KVCalendarUnitDay, "-[KVView drawUnit:]"): the method is named by the caller,
// as the messages of the code base name it, not as the compiler spells it.
#define KV_ASSERT(expression, method)                                                              \
    ((expression) ? static_cast<void>(0)                                                           \
                  : KVAssertionFailure(#expression, method, __FILE__, __LINE__))
